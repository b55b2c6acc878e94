// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/Transducer.h"

#include "core/ErrorHandler.h"

void Transducer::compute(CudaStorage* data, const Grid3DR<double>& grid) const {
    if (data->getType() != CudaStorage::DT_FLOAT)
        ErrorHandler::getErrorHandler()->fail("data->getType() == CudaStorage::DT_FLOAT", 14,
                                              "FastNearfield/Transducer");
    compute(static_cast<float*>(data->getHostPointer()), grid);
}
