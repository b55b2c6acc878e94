# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""decimals.py COUNT: that many random decimals are read to the nearest double, whether they are in a
request file, in a table or in an option."""

import math
import random
import sys
import unittest
from decimal import Decimal, localcontext

import numpy
from programs import ProgramTest, arrays, options

COUNT = int(sys.argv.pop())


def between(number):
    """The exact decimal half way to the next double, or just beside it."""
    with localcontext() as context:
        context.prec = 800
        half = (Decimal(number) + Decimal(math.nextafter(number, math.inf))) / 2
    digits = f"{half:e}"
    at = digits.index("e")
    return random.choice([digits, digits[:at] + "0001" + digits[at:]])


def decimal():
    kind = random.randrange(4)
    sign = random.choice(["", "-"])
    if kind == 0:
        return sign + repr(random.uniform(1e-6, 1e6))
    if kind == 1:
        return sign + between(random.uniform(1e-3, 1e3))
    digits = str(random.randrange(10 ** random.randrange(1, 25)))
    return f"{sign}{digits}.{random.randrange(1000)}e{random.randrange(-290, 270)}"


class DecimalsTest(ProgramTest):
    def assert_read(self, texts, *words):
        words = [*options(sizes=(1, 1, 1)), "--no-magnitude", *words, "field.h5"]
        self.run_program(*words)
        found = arrays(self.at("field.h5"))["table"]
        self.assert_same_bits(found.reshape(-1), numpy.array([float(text) for text in texts]))
        self.at("field.h5").unlink()

    def test_are_read_to_the_nearest_double(self):
        random.seed(20261121)
        for begin in range(0, COUNT, 30000):
            texts = [decimal() for _ in range(min(30000, COUNT - begin))]
            self.at("request.toml").write_text(f"table = [{', '.join(texts)}]\n")
            self.assert_read(texts, "--request", "request.toml")
            self.at("table.txt").write_text("\n".join(texts))
            self.assert_read(texts, "--table", "table.txt")
            # As much as a word of a command line may have.
            some = texts[:500]
            self.assert_read(some, "--table", " ".join(some))


if __name__ == "__main__":
    unittest.main(verbosity=2)
