# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Counts the instructions of a kernel's hot loops in what nvdisasm prints.

Usage: nvdisasm -c KERNELS.cubin | python3 count_instructions.py

A hot loop has square roots or reciprocals in it. `usual` is its way round when the detours are not taken: a
conditional branch forward is taken where what it passes over has a loop or a call, as the reduction of
large angles and the square roots of subnormal numbers have. `all` is every instruction of it.
"""

import collections
import re
import sys

INSTRUCTION = re.compile(r"\s*/\*[0-9a-f]+\*/\s+(@!?U?P\w+\s+)?([A-Z0-9_.]+)(.*)")
LABEL = re.compile(r"\s*(\.L_x_\d+):")
KINDS = {
    "fp32": ("FFMA", "FMUL", "FADD", "FSEL", "FSETP", "FMNMX"),
    "fp64": ("DFMA", "DMUL", "DADD", "DSETP"),
    "special": ("MUFU",),
    "conversion": ("F2F", "F2I", "I2F", "I2FP", "F2FP", "FRND"),
    "branch": ("BRA", "BSSY", "BSYNC", "CALL", "RET", "WARPSYNC", "BREAK", "NOP"),
}


def parsed(text):
    """The instructions (name, condition, target) of a function and where its labels are."""
    instructions, labels = [], {}
    for line in text.splitlines():
        if label := LABEL.match(line):
            labels[label.group(1)] = len(instructions)
        elif found := INSTRUCTION.match(line):
            target = re.search(r"\.L_x_\d+", found.group(3))
            instructions.append((found.group(2).split(".")[0], found.group(1),
                                 target.group(0) if target else None))
    resolved = [(name, condition, labels.get(target)) for name, condition, target in instructions]
    return resolved


def is_detour(instructions, first, end):
    """Whether there is a loop or a call from one instruction to another."""
    return any(name in ("CALL", "RET") or (name == "BRA" and to is not None and first <= to <= i)
               for i, (name, _, to) in enumerate(instructions[first:end], first))


def usual_way(instructions, begin, end):
    """The names on the way round a loop without detours."""
    at = begin
    while at <= end:
        name, condition, to = instructions[at]
        yield name
        forward = name == "BRA" and to is not None and at < to <= end + 1
        if forward and (condition is None or is_detour(instructions, at + 1, to)):
            at = to
        else:
            at += 1


def counted(names):
    """The kinds of instructions and how many there are."""
    names = list(names)
    counts = collections.Counter()
    for name in names:
        counts[next((kind for kind, of in KINDS.items() if name in of), "other")] += 1
    return len(names), ", ".join(f"{counts[kind]} {kind}" for kind in [*KINDS, "other"])


def main():
    """Reads standard input."""
    for function in re.split(r"(?m)^\.text\.", sys.stdin.read())[1:]:
        instructions = parsed(function)
        name = re.sub(r"^_ZN?\d*", "", function.split(":", 1)[0])
        length = sum(1 for one, _, _ in instructions if one != "NOP")
        print(f"{name[-72:]}: {length} instructions")
        for end, (one, _, begin) in enumerate(instructions):
            if one != "BRA" or begin is None or begin > end:
                continue
            if sum(1 for i in instructions[begin:end] if i[0] == "MUFU") < 2:
                continue
            total, kinds = counted(usual_way(instructions, begin, end))
            print(f"  loop of {end - begin + 1} instructions, usual {total}: {kinds}")


main()
