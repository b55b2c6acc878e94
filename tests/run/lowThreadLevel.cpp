// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Preloaded into a program: an MPI that gives the level of threads which the variable THREAD_LEVEL
// of the environment names, and no more. Says on standard error how many of the writes to fields
// were not made by the main thread.

#include <dlfcn.h>
#include <fcntl.h>
#include <mpi.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace {

std::atomic<int> aside = 0;

void count() {
    if (syscall(SYS_gettid) != getpid()) ++aside;
}

}  // namespace

extern "C" {

int MPI_Init_thread(int* count, char*** arguments, int required, int* provided) {
    const int most = std::atoi(std::getenv("THREAD_LEVEL"));
    const int failed = PMPI_Init_thread(count, arguments, std::min(required, most), provided);
    *provided = std::min(*provided, most);
    return failed;
}

int MPI_Finalize() {
    static_cast<void>(std::fprintf(stderr, "writes aside: %d\n", aside.load()));
    return PMPI_Finalize();
}

int MPI_File_write_at(MPI_File file, MPI_Offset at, const void* data, int size, MPI_Datatype type,
                      MPI_Status* status) {
    count();
    return PMPI_File_write_at(file, at, data, size, type, status);
}
}
