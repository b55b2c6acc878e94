#!/usr/bin/python3
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Puts small faults into the sources, one at a time, and counts how many the tests notice.

Of every mutant only the objects that see it are compiled again, linked with the rest of a build
into the test programs named here, and these run until one fails. A mutant that does not compile
is none; one that runs too long counts as noticed. survivors.txt says why the others live. The score
is what the tests notice of the mutants that are not equivalent to their source. tests/mutation.sh
installs what this needs.

--check compiles nothing: it says which rows of survivors.txt match no mutant of today's sources.
"""
import argparse
import json
import os
import queue
import random
import re
import resource
import shlex
import subprocess
import sys
import time
from collections import Counter, defaultdict
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from mutants import find_mutants

ROOT = Path(__file__).resolve().parents[2]
SURVIVORS = Path(__file__).with_name("survivors.txt")
REQUIRED = 0.95
# One instruction set stands for all: the code is the same.
INSTRUCTION_SETS = ["baseline", "v3", "v4"]


def best_instruction_set():
    flags = Path("/proc/cpuinfo").read_text(encoding="utf-8").split()
    return "v4" if "avx512dq" in flags else "v3" if "avx2" in flags else "baseline"


GATEWAY = ["matlab_src/matlab_src_test"]
MODULE = ["matlab_host/matlab_host_test"]
RULES = ["FastNearfield/FastNearfieldTest"]
SUMS = ["FastNearfield/FastNearfieldTest", "FastNearfield/NearFieldRoundingTest", *GATEWAY]
PISTON = ["FastNearfield/gpu/gpu_test", "FastNearfield/FastNearfieldTest"]
METHOD = ["method/method_test"]
KERNELS = ["FastNearfield/kernels/kernels_test"]
RUN = ["run/run_test"]
LANES = {"baseline": ["lanes/lanes_test"], "v3": ["lanes/lanes_v3_test", "lanes/lanes_test"],
         "v4": ["lanes/lanes_v4_test", "lanes/lanes_test"]}[best_instruction_set()]
TESTS = {
    "matlab_src/FieldRequest.cpp": GATEWAY,
    "matlab_src/Gateway.cpp": GATEWAY,
    "matlab_src/InternalGateway.cpp": ["matlab_src/internal_gateway_test"],
    "matlab_src/NamedValues.cpp": ["matlab_src/internal_gateway_test"],
    "matlab_src/arrayArguments.cpp": ["matlab_src/internal_gateway_test"],
    "matlab_src/arrayBuilding.cpp": ["matlab_src/internal_gateway_test"],
    "matlab_src/arrayDriving.cpp": ["matlab_src/internal_gateway_test"],
    "matlab_src/beamQuestions.cpp": ["matlab_src/internal_gateway_test"],
    "matlab_src/fieldQuestions.cpp": ["matlab_src/internal_gateway_test"],
    "matlab_src/questionArguments.cpp": ["matlab_src/internal_gateway_test"],
    "matlab_src/MatlabErrorHandler.cpp": GATEWAY,
    "matlab_src/mexFunction.cpp": MODULE,
    "matlab_src/sizes.cpp": GATEWAY,
    "FastNearfield/GaussLegendre.cpp": RULES,
    "FastNearfield/GaussLegendre.h": RULES,
    "FastNearfield/HalfTable.h": RULES,
    "FastNearfield/QuadratureFiles.cpp": RULES,
    "FastNearfield/Integ.h": SUMS,
    "FastNearfield/RectangularPiston2.cpp": PISTON,
    "FastNearfield/PistonKernels.h": KERNELS,
    "FastNearfield/PointSums.lanes.cpp": SUMS,
    "FastNearfield/EdgeIntegrand.h": [*SUMS, *KERNELS],
    "FastNearfield/fillLattice.h": SUMS,
    "lanes/InstructionSet.cpp": LANES,
    "lanes/Lane.h": [*LANES, *METHOD],
    "lanes/Pack.h": LANES,
    "lanes/estimates.h": LANES,
    "lanes/PerInstructionSet.h": LANES,
    "lanes/sinCos.h": LANES,
    "lanes/reducedAngles.h": LANES,
    "lanes/sinCosUpToSign.h": LANES,
    "lanes/slowReduction.cpp": LANES,
    "lanes/pipelined.h": LANES,
}
# What runs as a program of its own is tried by scripts, which take too long for every mutant.
TESTS |= {str(file.relative_to(ROOT)): RUN for file in sorted((ROOT / "run").rglob("*.cpp"))
          if file.name != "main.cpp"}
TESTS |= {str(file.relative_to(ROOT)): ["field/field_test"]
          for file in sorted((ROOT / "field").glob("*.cpp"))}
TESTS |= {str(file.relative_to(ROOT)): ["arrays/arrays_test"]
          for file in sorted((ROOT / "arrays").glob("*.cpp"))}
TESTS |= {str(file.relative_to(ROOT)): ["beam/beam_test"]
          for file in sorted((ROOT / "beam").glob("*.cpp"))}
TESTS |= {str(file.relative_to(ROOT)): ["signals/signals_test"]
          for file in sorted((ROOT / "signals").glob("*.cpp"))}
TESTS |= {str(file.relative_to(ROOT)): METHOD
          for file in sorted((ROOT / "method").iterdir()) if file.suffix in (".cpp", ".h")}


def limit_resources():
    """A fault must not fill the machine's memory or disk."""
    resource.setrlimit(resource.RLIMIT_AS, (16 << 30, 16 << 30))
    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 28, 1 << 28))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def parsing_arguments(folder, file):
    """How a build folder's compiler reads a file; a header as a source of its room."""
    entries = json.loads((folder / "compile_commands.json").read_text(encoding="utf-8"))
    path, room = ROOT / file, ROOT / Path(file).parts[0]
    # Those of the set in use before others, and the file's own before its neighbours'.
    best = f"pistonfield_lanes_{best_instruction_set()}.dir"
    ranked = sorted(entries, key=lambda e: (Path(e["file"]) != path,
                                            room not in Path(e["file"]).parents,
                                            best not in e["command"]))
    command = shlex.split(ranked[0]["command"].replace("-isystem ", "-isystem"))
    return ["-xc++", *(a for a in command if re.match("-(I|D|isystem|std|m)", a))]


class Build:
    """A build folder with the test programs, which it links again with mutated objects."""

    def __init__(self, folder, programs):
        self.folder = folder
        self.scratch = folder / "mutant"
        self.scratch.mkdir(parents=True, exist_ok=True)
        self.call("cmake", "-S", ROOT, "-B", folder, "-G", "Ninja", "-D", "CMAKE_BUILD_TYPE=None",
                  "-D", "CMAKE_CXX_FLAGS=-O1", "-D", "PISTONFIELD_OCTAVE=OFF",
                  "-D", f"PISTONFIELD_RUN={'ON' if {*RUN} & {*programs} else 'OFF'}")
        for program in programs:  # what an earlier run left is not what the sources say
            self.path(program).unlink(missing_ok=True)
        for module in folder.glob("tests/matlab_host/*.mexa64"):
            module.unlink()
        names = [Path(program).name for program in programs]
        self.call("cmake", "--build", folder, "-j1", "--target", *names)
        self.commands = {program: self.commands_of(program) for program in programs}
        self.dependents = self.read_dependents()
        self.seconds = {}
        for program in programs:
            start = time.monotonic()
            if not self.passes(program, timeout=600):
                raise RuntimeError(f"{program} fails without any fault")
            self.seconds[program] = time.monotonic() - start

    @staticmethod
    def call(*command):
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)

    def path(self, program):
        return self.folder / "tests" / program

    def ninja(self, *arguments):
        return subprocess.run(["ninja", "-C", self.folder, "-t", *arguments], check=True, text=True,
                              capture_output=True).stdout

    def commands_of(self, program):
        lines = self.ninja("commands", f"tests/{program}").splitlines()
        return [shlex.split(part) for line in lines for part in line.split(" && ")]

    def read_dependents(self):
        """The objects that see a file."""
        dependents = defaultdict(set)
        target = None
        for line in self.ninja("deps").splitlines():
            if line.startswith(" "):
                dependents[line.strip()].add(target)
            else:
                target = line.split(":")[0]
        return dependents

    def compilations(self, program, file):
        """The commands that compile the file for the program, by their objects."""
        # What is compiled for the sets takes no part in the tests of the lanes themselves.
        others = set(INSTRUCTION_SETS)
        if not file.startswith("lanes/"):
            others.remove(best_instruction_set())
        objects = {o for o in self.dependents[str(ROOT / file)]
                   if not any(f"pistonfield_lanes_{other}.dir" in o for other in others)}
        return {command[command.index("-o") + 1]: command for command in self.commands[program]
                if "-c" in command and command[command.index("-o") + 1] in objects}

    def try_mutant(self, file, text):
        """Whether the tests notice the text in place of the file's own."""
        overlay = self.scratch / file
        overlay.parent.mkdir(parents=True, exist_ok=True)
        overlay.write_text(text, encoding="utf-8")
        try:
            compiled = {}
            for program in TESTS[file]:
                for name, command in self.compilations(program, file).items():
                    if name in compiled:
                        continue
                    compiled[name] = self.scratch / f"{len(compiled)}.o"
                    if not self.compile(command, file, compiled[name]):
                        return "not compiled"
                self.link(program, compiled)
                timeout = 5 + 4 * self.seconds[program]
                if not self.passes(program, timeout):
                    return "killed"
            return "survived"
        finally:
            overlay.unlink()

    def compile(self, command, file, output):
        command = [str(self.scratch / file) if a == str(ROOT / file) else a for a in command]
        command[command.index("-o") + 1] = str(output)
        # A launcher may stand before the compiler.
        first = next(i for i, a in enumerate(command) if a.startswith("-"))
        command[first:first] = ["-w", f"-I{self.scratch}"]
        return self.succeeds(command, self.folder, timeout=300)

    def link(self, program, compiled):
        archives = defaultdict(set)
        for command in self.commands[program]:
            if Path(command[0]).name == "ar":
                archives[command[2]].update(command[3:])
            elif "-o" in command and "-c" not in command:
                self.link_one(command, compiled, archives)

    def link_one(self, command, compiled, archives):
        mutated = [str(compiled.get(a, a)) for a in command]
        # Before an archive, an object stands in for the one of the same symbols in it.
        replaced = [str(compiled[name]) for name in compiled
                    if any(name in archives[a] for a in command if a in archives)]
        if replaced:
            first = next(i for i, a in enumerate(mutated) if a in archives)
            mutated[first:first] = replaced
        if mutated != command:
            subprocess.run(mutated, check=True, cwd=self.folder)

    def passes(self, program, timeout):
        return self.succeeds([self.path(program), "--gtest_fail_fast", "--gtest_brief=1"],
                             self.scratch, timeout)

    @staticmethod
    def succeeds(command, folder, timeout):
        with subprocess.Popen(command, cwd=folder, stdin=subprocess.DEVNULL,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              start_new_session=True, preexec_fn=limit_resources) as process:
            try:
                return process.wait(timeout) == 0
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, 9)
                return False


def read_survivors():
    """The kinds of the known survivors, by file, function, line of text and change."""
    kinds = {}
    for line in SURVIVORS.read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            *key, kind, _reason = line.split(" ;; ")
            kinds[tuple(key)] = kind
    return kinds


def named(file, source, mutants):
    """The mutants, their lines, and their names: file, function, line of text and change, numbered
    where these are the same."""
    seen = Counter()
    lines = source.splitlines()
    for mutant in mutants:
        line = mutant.line(source)
        name = (file, mutant.place, lines[line - 1].strip(), mutant.change(source))
        seen[name] += 1
        if seen[name] > 1:
            name = (*name[:-1], f"{name[-1]} #{seen[name]}")
        yield mutant, line, name


def candidates_of(file, folder):
    source, mutants = find_mutants(str(ROOT / file), parsing_arguments(folder, file))
    return source, list(named(file, source, mutants))


def check_survivors(folder):
    """Prints the rows that match no mutant. True when there are none."""
    known = set(read_survivors())
    for file in {name[0] for name in known}:
        if file in TESTS:
            known -= {name for _, _, name in candidates_of(file, folder)[1]}
    for name in sorted(known):
        print("matches nothing:", " ;; ".join(name))
    return not known


def tried(counts):
    return counts.total() - counts["not compiled"]


def score(counts):
    return counts["killed"] / max(tried(counts) - counts["equivalent"], 1)


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("files", nargs="*", help="the files or rooms to mutate, or all")
    parser.add_argument("--sample", type=int, help="mutants a file, drawn with a fixed seed")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--build", type=Path, default=ROOT / "build-mutation")
    parser.add_argument("--check", type=Path, metavar="FOLDER",
                        help="only check survivors.txt, by the compiler's commands of a build folder")
    arguments = parser.parse_args()
    rooms = [file for file in TESTS if file.split("/")[0] in arguments.files]
    files = [file for file in arguments.files if "/" in file]
    arguments.files = rooms + files if arguments.files else list(TESTS)
    return arguments


def main():
    options = parse_arguments()
    if options.check:
        return 0 if check_survivors(options.check.resolve()) else 1
    programs = sorted({program for file in options.files for program in TESTS[file]})
    builds = queue.SimpleQueue()
    for number in range(options.jobs):
        builds.put(Build(options.build.resolve() / str(number), programs))

    known = read_survivors()
    row = "{:36}{:>9}{:>9}{:>12}{:>9}{:>9}"
    print(row.format("file", "mutants", "tried", "equivalent", "killed", "score"))
    total = Counter()
    with ThreadPoolExecutor(options.jobs) as pool:
        for file in options.files:
            source, candidates = candidates_of(file, options.build.resolve() / "0")
            mutants = len(candidates)
            if options.sample and options.sample < len(candidates):
                candidates = random.Random(1).sample(candidates, options.sample)

            def outcome(candidate, file=file, source=source):
                build = builds.get()
                try:
                    return build.try_mutant(file, candidate[0].applied(source))
                finally:
                    builds.put(build)

            counts = Counter()
            for candidate, result in zip(candidates, pool.map(outcome, candidates)):
                if result == "survived":
                    _, line, name = candidate
                    result = known.get(name, "new")
                    print(f"  line {line}: {' ;; '.join(name)} ;; {result}", flush=True)
                counts[result] += 1
            total += counts
            print(row.format(file, mutants, tried(counts), counts["equivalent"],
                             counts["killed"], f"{score(counts):.1%}"), flush=True)
    print(f"score {score(total):.1%} of {tried(total)} mutants; {total['new']} new survivors")
    return 0 if score(total) >= REQUIRED and total["new"] == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
