# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Requests and options that are malformed are refused with status 1 and one line, within seconds,
and nothing is made; numbers that are well formed are the doubles nearest to what was written."""

import math
import os
import re
import shlex
import struct
import subprocess

import h5py
from attacks import FULL, Attack, main, run_limited, tree, unrefused
from programs import PROGRAM, command, options

LINES = {
    "transform": "transform = [1e-4, 0, 0, 0, 0, 1e-4, 0, 0, 0, 0, 2e-4, 1e-3, 0, 0, 0, 1]",
    "sizes": "sizes = [3, 4, 5]",
    "l": "l = 5e-3",
    "s": "s = 7.5e-3",
    "k": "k = 4188.79",
    "mode": 'mode = "cpu"',
    "order": "order = 10",
}
GOOD = "\n".join(LINES.values()) + "\n"


def replaced(key, line):
    """The good request with another line for a key."""
    return "\n".join(line if name == key else text for name, text in LINES.items()) + "\n"


SI_LINES = {
    "frequency": "frequency = 1e6",
    "[medium]": "[medium]",
    "speed": "speed = 1500",
    "[piston]": "[piston]",
    "width": "width = 7.5e-3",
    "height": "height = 5e-3",
    "[grid]": "[grid]",
    "x": "x = [0, 1e-4, 3]",
    "y": "y = [0, 1e-4, 4]",
    "z": "z = [1e-3, 2e-4, 5]",
}


def in_si(key, *lines):
    """The request in SI units with other lines for a key."""
    return {
        f"SI, {key}: {line[:60]!r}": "\n".join({**SI_LINES, key: line}.values()).encode() + b"\n"
        for line in lines
    }


def one(key, *values):
    return {f"{key} = {value}"[:60]: replaced(key, f"{key} = {value}").encode() for value in values}


def twice(text):
    """A key that is there twice, in each spelling of lines."""
    body = replaced("k", "k = 4188.79\n" + text)
    return {
        f"twice, {text!r}": body.encode(),
        f"twice with CRLF, {text!r}": body.replace("\n", "\r\n").encode(),
    }


# fmt: off
# What is no request, by what is wrong with it.
BAD = {
    **one(
        "k", "", "nan", "inf", "-inf", "+inf", "1e999", "-1e999", "0", "-1", "0.0", "-0.0",
        "1e-999", "one", '"one"', '"4188.79 "', "4188,79", "4188.79.1", "4188.79 1", "4188.79e",
        "e5", ".", "+", "-", "--1", "0x", "true", "[4188.79]", "[[1]]", "{ a = 1 }", "1979-05-27",
        "1_", "_1", "1__0", "'4188.79", '"4188.79', "[4188.79", "4188.79]", "4188.79\\", "\x00",
        "4188.79\x00",
        "4188.79 # \x00",
        "4188.79f", "4188.79L", "1d3", "1e+", "1e5.5", "٤١٨٨", "４", "−4188",
    ),
    **one(
        "sizes", "", "[]", "[3]", "[3, 4]", "[3, 4, 5, 6]", "[3, 4, 0]", "[3, 4, -5]",
        "[3, 4, 5.5]", "[3, 4, nan]", "[3, 4, true]", '[3, 4, "5"x]', "[3, [4, 5]]",
        "[[3, 4, 5]]", "3 4 5 6", "[3 4 5", "[18446744073709551622, 4, 5]",
        "[9223372036854775808, 1, 1]", "[9223372036854775807, 9, 9]",
        "[4294967299, 4294967299, 4294967299]", "[1e400, 4, 5]", "[,3,4,5]", "[3,,4,5]",
        "{x=3,y=4,z=5}", "[3, 4, 5",
    ),
    **one(
        "transform", "[]", "[1, 2, 3]", "[" + ", ".join(["nan"] * 16) + "]",
        "[" + ", ".join(["1e999"] * 16) + "]", "[" + ", ".join(["0"] * 16) + "]",
        "[[1e-4, 0, 0, 0], [0, 1e-4, 0], [0, 0, 2e-4, 1e-3], [0, 0, 0, 1]]",
    ),
    **one(
        "order", "0", "-1", "2.5", "nan", "99999999999999999999", "4294967306",
        "18446744073709551626", "true", "[10]", "1e999",
    ),
    **one(
        "mode", "", "cpu2", '"CPU "', '"gpu"', "5", "[]", '"' + "x" * 100000 + '"', '"a\\u0000b"',
        '"\n"', '"%s%n"',
    ),
    **twice("k = 4188.79"),
    **twice("k = 4000"),
    **twice('"k" = 4000'),
    **twice("'k' = 4000"),
    **twice("  k=4000"),
    **twice("\tk\t=\t4000"),
    "no key": b"= 5\n" + GOOD.encode(),
    "no value": b"k\n" + GOOD.encode(),
    "an unknown key": GOOD.encode() + b"colour = 'red'\n",
    "an unknown table": GOOD.encode() + b"[colour]\nred = 1\n",
    "a table of tables": GOOD.encode() + b"[[k]]\na = 1\n",
    "a nested table": b"[request]\n" + GOOD.encode(),
    "a key with dots": GOOD.encode() + b"a.b = 1\n",
    "a table of a key": GOOD.encode() + b"k.value = 1\n",
    "a name of a subcommand": GOOD.encode() + b"[verify]\nfiles = ['x.h5']\n",
    "an option that no request has": GOOD.encode() + b"help = true\n",
    "a request in a request": GOOD.encode() + b'request = "request.toml"\n',
    "only a key": b"k",
    "only a bracket": b"[",
    "only a quote": b'"',
    "empty": b"",
    "a BOM alone": b"\xef\xbb\xbf",
    "UTF-16": GOOD.encode("utf-16"),
    "UTF-32": GOOD.encode("utf-32"),
    "invalid UTF-8": replaced("mode", "mode = 'cpu'").encode().replace(b"cpu", b"\xff\xfe\xc0"),
    "invalid UTF-8 in a comment": GOOD.encode() + b"# \xc3\x28\xff\nk = 1\n",
    "zeros": bytes(4096),
    "noise": bytes(range(256)) * 64,
    "an HDF5 file": b"\x89HDF\r\n\x1a\n" + bytes(2000),
    "old line ends": GOOD.replace("\n", "\r").encode(),
    "a million blanks": b" " * 10**6,
    "a million line ends": b"\n" * 10**6,
    "a million brackets": b"k = " + b"[" * 10**6,
    "a million closed brackets": b"k = " + b"[" * 10**5 + b"]" * 10**5,
    "a hundred thousand tables": b"[a]\n" * 10**5,
    "a million dots": b"a" + b".a" * 10**6 + b" = 1",
    "a long key": b"k" * 10**6 + b" = 1\n",
    "a long line without a key": b"x" * 10**6,
    "a long text": replaced("mode", 'mode = "' + "x" * 10**6 + '"').encode(),
    "a long number": replaced("k", "k = " + "9" * 10**6).encode(),
    "a million sizes": replaced("sizes", "sizes = [" + "1, " * 10**6 + "1]").encode(),
    "a long line of words": replaced("mode", "mode = " + "cpu " * 10**5).encode(),
}

# And what is no request in SI units.
BAD_IN_SI = {
    **in_si(
        "frequency", "", "frequency =", "frequency = 0", "frequency = -1e6", "frequency = nan",
        "frequency = inf", "frequency = 1e400", "frequency = [1e6]", "frequency = { Hz = 1e6 }",
        "frequency = true", "frequency = '1e6'",
        "frequency = '" + "x" * 10**6 + "'", "frequency = 1e6\nfrequency = 1e6", "[frequency]\nHz = 1e6",
        "frequency.Hz = 1e6", "frequency = 1e6\nvelocity = 0", "frequency = 1e6\nvelocity = 'fast'",
        "frequency = 1e6\nk = 4188", "frequency = 1e6\nsizes = [3, 4, 5]", "frequency = 1e308",
        "frequency = 1e6\npiston = 3", "frequency = 1e6\nspeed = 1500",
    ),
    **in_si("[medium]", "[[medium]]", "[medium", "[medium.water]", "[Medium]", "[piston]"),
    **in_si("speed", "speed = 0", "speed = -0.0", "speed = 1e-320", "density = nan", "Speed = 1"),
    **in_si(
        "height", "", "height = 0", "height = [5e-3, 5e-3]", "height = 5e-3\nheight = 5e-3",
        *(f"height = 5e-3\ncenter = {value}" for value in (
            "0", "[]", "[0, 0]", "[0, 0, 0, 0]", "[0, 0, nan]", "[[0, 0, 0]]", "{ x = 0 }",
            "[0, 0, [0]]", "[" + "0, " * 10**5 + "0]",
        )),
        *(f"height = 5e-3\norientation = {value}" for value in (
            "[]", "[[]]", "[[], [], []]", "[[1, 0, 0], [0, 1, 0], [0, 0, 0]]",
            "[[1, 0, 0], [0, 1, 0], [0, 0, -1]]", "[[1, 0, 0], [0, 1, 0], 1]",
            "[[[1, 0, 0]], [[0, 1, 0]], [[0, 0, 1]]]", "[1e200, 0, 0, 0, 1, 0, 0, 0, 1]",
            "[nan, 0, 0, 0, 1, 0, 0, 0, 1]", "[" + "[1], " * 10**5 + "[1]]",
        )),
    ),
    **in_si(
        "x", "", "x = []", "x = [0, 1e-4]", "x = [0, 1e-4, 0]", "x = [0, 1e-4, -3]",
        "x = [0, 1e-4, 3.5]", "x = [0, 0, 3]", "x = [0, 1e-4, 9223372036854775808]",
        "x = [0, 1e-4, 9223372036854775807]", "x = [nan, 1e-4, 3]", "x = [[0, 1e-4, 3]]",
        "x = { first = 0 }", "x.first = 0", "x = 'all'", "x = 0\nx = 0", "x = [0, 1e999, 3]",
        "x = 0\nsizes = [3, 4, 5]",
        "transform = [" + "1, " * 15 + "1]", "sizes = [3, 4, 5]", "x = 0\na = 0",
    ),
}
# fmt: on

# Requests that mean the good one, however they look.
FINE = {
    "as it is": GOOD.encode(),
    "a BOM": b"\xef\xbb\xbf" + GOOD.encode(),
    "CRLF": GOOD.replace("\n", "\r\n").encode(),
    "no line end": GOOD.rstrip().encode(),
    "comments": GOOD.replace("\n", " # öäü \"'[=\n").encode(),
    "blanks": GOOD.replace(" = ", "   =\t ").encode(),
    "trailing blanks": GOOD.replace("\n", " " * 10**5 + "\n").encode(),
    "a million trailing blanks": GOOD.encode() + b" " * 10**6,
    "a long comment": b"# " + b"x" * 10**6 + b"\n" + GOOD.encode(),
    "many lines of comments": b"# x\n" * 10**5 + GOOD.encode(),
    "lists over lines": GOOD.replace(", ", ",\n  ").encode(),
    "a comma at the end of a list": replaced("sizes", "sizes = [3, 4, 5,]").encode(),
    "a number in quotes": replaced("k", 'k = "4188.79"').encode(),
}

# fmt: off
# Options that are malformed: words in the place of those of a good request.
WORDS = {
    "-k": ["", " ", "nan", "NaN", "inf", "1e999", "1e-999", "0", "-0", "-1", "4188.79x", "4188,79",
           "4188 79", "0x", "1e", "--", "²", "1_000_", "=3000=", "9" * 100000],
    "--sizes": ["", "a", "1.5", "-1", "0", "18446744073709551622", "1e3x",
                "99999999999999999999999"],
    "--order": ["", "0", "-5", "1.5", "010x", "4294967306", "nan", "99999999999999999999"],
    "--tolerance": ["", "0", "-0", "1", "-1e-4", "nan", "inf", "1e-999", "1e-4x", "small"],
    "--slab": ["", "0", "-1", "1.5", "18446744073709551617", "many", "99999999999999999999999"],
    "--compress": ["", "0", "10", "-1", "1.5", "one", "4294967297"],
    "--part": ["", "/", "1/", "/1", "0/1", "2/1", "1/0", "-1/3", "1/2/3", "1.5/3",
               "1/99999999999999999999", "18446744073709551617/3", "0x1/3", "1 / 3x", "a/b"],
    "--mode": ["", "cpu ", " cpu", "CPU2", "x" * 100000, "%n%n%n"],
    "--table": ["", " ", "1", "1 2 3", "nan 1", "inf 1", "1 nan", "1e999 1", "one two", ".", "/",
                "/dev/null", "1 1 1 1x", "0.5;1"],
    "--transform": ["", "nan", "1e999", "one"],
    "--request": ["", ".", "/", "/dev/null", "nothing.toml", "nothing/there.toml", "x" * 5000],
}
# fmt: on

# Command lines that are malformed, in a folder that has the complete field whole.h5.
COMMAND_LINES = r"""
""
--
-
"" ""
--request
field.h5 --transform
--sizes 3 4 5 x.h5
join
join x.h5
join x.h5 nothing.h5
join "" ""
join x .
verify
verify ""
verify .
verify /dev/null
verify nothing.h5
show
show ""
show /
show nothing.h5
show whole.h5 whole.h5
extract
extract whole.h5
extract whole.h5 ""
extract "" x
extract whole.h5 .
extract whole.h5 nothing/x
extract whole.h5 x --first 0 0
extract whole.h5 x --first 0 0 x
extract whole.h5 x --first -1 0 0
extract whole.h5 x --first 3 0 0
extract whole.h5 x --first 0 0 18446744073709551616
extract whole.h5 x --first 0.5 0 0
extract whole.h5 x --first nan 0 0
extract whole.h5 x --first 9223372036854775807 0 0
extract whole.h5 x --first 0 0 0 0
extract whole.h5 x --size 1 1
extract whole.h5 x --size 0 1 1
extract whole.h5 x --size 4 1 1
extract whole.h5 x --size 9223372036854775807 1 1
extract whole.h5 x --size 18446744073709551617 1 1
extract whole.h5 x --size -1 1 1
REQUEST ""
REQUEST .
REQUEST x/
REQUEST LONGER
REQUEST x.h5 y.h5
REQUEST /dev/full
REQUEST /dev/null
REQUEST /proc/x.h5
REQUEST nothing/x.h5
x.h5 --resume
whole.h5 --resume -k 1
"""


class MalformedTest(Attack):
    def attempt(self, what, *words, ranks=1, seconds=10, **others):
        """A run that must be refused within some seconds, and make nothing."""
        before = tree(self.folder)
        run = run_limited(command(*words, ranks=ranks), cwd=self.folder, **others)
        self.expect_refusal("malformed:", run, what)
        if run.status is not None and run.seconds > seconds:
            self.found(f"takes more than {seconds} s", f"{what}: {run.seconds:.1f} s")
        if tree(self.folder) != before:
            self.found("a refused run changes its folder", f"{what}: {self.files()}")
            for name in tree(self.folder).keys() - before.keys():
                self.at(name).unlink()
        return run

    def test_requests(self):
        for what in BAD if FULL else self.random.sample(list(BAD), 40):
            self.at("request.toml").write_bytes(BAD[what])
            self.attempt(what, "--request", "request.toml", "field.h5")

    def test_requests_in_si_units(self):
        for what, text in BAD_IN_SI.items():
            self.at("request.toml").write_bytes(text)
            self.attempt(what, "--request", "request.toml", "field.h5")

    def test_requests_before_several_processes(self):
        names = list(BAD) if FULL else self.random.sample(list(BAD), 2)
        for what in names[:: 5 if FULL else 1]:
            self.at("request.toml").write_bytes(BAD[what])
            self.attempt(f"{what}, 3 processes", "--request", "request.toml", "field.h5", ranks=3)

    def test_requests_that_look_otherwise(self):
        self.run_program(*self.request_words(), "expected.h5", "--no-magnitude")
        for what, text in FINE.items():
            self.at("request.toml").write_bytes(text)
            run = self.run_limited("--request", "request.toml", "--no-magnitude", "field.h5")
            if self.expect_success("a good request", run, what):
                with h5py.File(self.at("field.h5")) as one_file, h5py.File(
                    self.at("expected.h5")
                ) as other:
                    for name in ("transform", "sizes", "l", "s", "k", "mode", "order"):
                        if repr(one_file.attrs[name]) != repr(other.attrs[name]):
                            self.found("a good request is taken otherwise", f"{what}: {name}")
                self.at("field.h5").unlink()

    @staticmethod
    def request_words():
        transform = [1e-4, 0, 0, 0, 0, 1e-4, 0, 0, 0, 0, 2e-4, 1e-3, 0, 0, 0, 1]
        return options(transform, sizes=(3, 4, 5), order=10)

    def test_requests_that_are_no_files(self):
        self.at("folder").mkdir()
        self.at("loop").symlink_to("loop")
        os.mkfifo(self.at("pipe"))
        for ranks in (1, 3):
            for name in ("folder", "loop", "/dev/null", "/dev/zero", "/", "folder/"):
                words = ["--request", name, "field.h5"]
                self.attempt(f"--request {name}, {ranks} processes", *words, ranks=ranks)

    def test_requests_from_a_pipe_with_a_name(self):
        """A shell makes such pipes for the output of commands."""
        os.mkfifo(self.at("pipe"))
        self.at("request.toml").write_text(GOOD)
        for ranks in (1, 3):
            for words in (["--request", "pipe"], [*self.without("--order"), "--table", "pipe"]):
                text = self.at("request.toml") if words[0] == "--request" else "rule"
                self.at("rule").write_text("-0.57735 1 0.57735 1\n")
                writer = subprocess.Popen(
                    ["dd", f"if={text}", "of=pipe", "status=none"], cwd=self.folder
                )
                words = [*words, "--no-magnitude", "field.h5"]
                run = self.run_limited(*words, ranks=ranks)
                writer.kill()
                writer.wait()
                self.tried += 1
                if run.status != 0 and (wrong := unrefused(run)):
                    self.found(f"a pipe as a request {wrong}", f"{ranks}: {run.err[-200:]!r}")
                self.at("field.h5").unlink(missing_ok=True)

    def test_requests_from_the_standard_input(self):
        self.at("request.toml").write_text(GOOD)
        for ranks in (1, 3):
            with open(self.at("request.toml"), "rb") as stream:
                words = command(
                    "--request", "/dev/stdin", "--no-magnitude", "field.h5", ranks=ranks
                )
                run = run_limited(words, cwd=self.folder, stdin=stream)
            self.tried += 1
            # The first process of several has it, the others have not.
            if run.status != 0 and (ranks == 1 or run.status != 1):
                self.found(f"a request on /dev/stdin ends with status {run.status}",
                           f"{ranks} processes: {run.err[-200:]!r}")  # fmt: skip
            self.at("field.h5").unlink(missing_ok=True)

    def test_options(self):
        for option, values in WORDS.items():
            for value in values if FULL else self.random.sample(values, 4):
                for words in ([option, value], [f"{option}={value}"]):
                    if option in ("--sizes", "--transform"):
                        words = [option] + [value] * (3 if option == "--sizes" else 16)
                    elif option == "-k" and words[0].startswith("-k="):
                        words = [f"-k{value}"]
                    # With an order any tolerance is refused.
                    others = self.without("--order" if option == "--tolerance" else option)
                    self.attempt(f"{' '.join(words)[:80]}", "field.h5", *others, *words)

    def without(self, option):
        words = self.request_words()
        if option in words:
            at = words.index(option)
            words = words[:at] + words[at + {"--sizes": 4, "--transform": 17}.get(option, 2) :]
        return [] if option == "--request" else words

    def test_command_lines(self):
        self.run_program(*self.request_words(), "whole.h5", "--no-magnitude")
        places = {"REQUEST": self.request_words(), "LONGER": ["x" * 5000]}
        for line in COMMAND_LINES.splitlines():
            words = [word for part in shlex.split(line) for word in places.get(part, [part])]
            self.attempt(line, *words)

    def test_arguments_that_are_no_text(self):
        for bad in (b"\xff\xfe", b"\xc3\x28", b"\x1b[31m", b"a\nb"):
            for words in (
                [b"verify", bad],
                [b"show", bad],
                [b"field.h5", b"--mode", bad],
                [b"field.h5", b"-k", bad],
                [b"--" + bad],
                [b"--request", bad, b"x.h5"],
            ):
                run = run_limited([PROGRAM.encode(), *words], cwd=self.folder)
                self.expect_refusal("malformed:", run, repr(words))

    def test_numbers(self):
        """Decimals of all lengths, halfway cases among them, in files and in options."""
        shown = re.compile(r"^k = (.*)$", re.MULTILINE)
        for number in range(300 if FULL else 12):
            text = self.decimal(number)
            value = float(text)
            for where in ("option", "file", "file in quotes"):
                self.tried += 1
                if where == "option":
                    words = [*self.without("-k"), "-k", text]
                else:
                    word = text if where == "file" else f'"{text}"'
                    self.at("request.toml").write_text(replaced("k", f"k = {word}"))
                    words = ["--request", "request.toml"]
                if where == "file" and len(text) > 128:
                    self.attempt("a number of more than 128 characters", *words, "field.h5")
                    continue
                run = self.run_limited(*words, "--no-magnitude", "field.h5")
                if run.status != 0:
                    self.found(f"a number is refused in a {where}", f"{text}: {run.err[-200:]!r}")
                    continue
                with h5py.File(self.at("field.h5")) as file:
                    if float(file.attrs["k"]) != value:
                        self.found(f"a number of a {where} is rounded wrongly", f"{text}: "
                                   f"{file.attrs['k']!r} for {value!r}")  # fmt: skip
                show = self.run_limited("show", "field.h5")
                if float(shown.search(show.out)[1]) != value:
                    self.found("show shows another number", text)
                self.at("field.h5").unlink()

    def decimal(self, number):
        """A decimal between about 1e-3 and 1e5, by turns of few digits, of many, and the exact
        middle between two doubles, or a little beside it."""
        value = 10 ** self.random.uniform(-3, 5)
        if number % 3 == 0:
            return f"{value:.{self.random.randint(1, 17)}g}"
        if number % 3 == 1:
            return f"{value:.6f}{self.random.randrange(10**20):020}"
        numerator, denominator = (math.nextafter(value, math.inf)).as_integer_ratio()
        other, scale = value.as_integer_ratio()
        # Exact, for denominators are powers of two.
        top, bottom = numerator * scale + other * denominator, 2 * denominator * scale
        places = bottom.bit_length() - 1
        digits = str(top * 10**places // bottom).rjust(places + 1, "0")
        text = f"{digits[:-places]}.{digits[-places:]}"
        return text + self.random.choice(("", "1", "0" * 20 + "1"))

    def test_whole_numbers(self):
        """Leading zeros mean nothing; an integer is what it says or is refused."""
        for text, size in [("010", 10), ("0010", 10), ("08", 8), ("09", 9), ("1_0", 10), ("+7", 7)]:
            for where in ("option", "file"):
                self.tried += 1
                if where == "file":
                    self.at("request.toml").write_text(replaced("sizes", f"sizes = [{text}, 4, 5]"))
                    words = ["--request", "request.toml"]
                else:
                    words = [*self.without("--sizes"), "--sizes", text, "4", "5"]
                run = self.run_limited(*words, "--no-magnitude", "field.h5")
                if run.status != 0:
                    if run.status != 1:
                        self.found(
                            f"{text} in a {where} ends with status {run.status}", run.err[-200:]
                        )
                    continue
                with h5py.File(self.at("field.h5")) as file:
                    found = int(file.attrs["sizes"][0])
                if found != size:
                    self.found(f"{text} in a {where} is {found}", text)
                self.at("field.h5").unlink()

    def test_points_without_a_value_are_told(self):
        # Straight over the corners of the piston the formula has no value.
        transform = [2.5e-3, 0, 0, -2.5e-3, 0, 3.75e-3, 0, -3.75e-3, 0, 0, 1e-3, 1e-3, 0, 0, 0, 1]
        request = options(transform, sizes=(3, 3, 2), l=7.5e-3, s=5e-3)
        for words in ([], ["--compress", "1"], ["--part", "1/1"]):
            run = self.run_limited(*request, f"corners{len(words)}.h5", *words)
            self.tried += 1
            path = self.at(f"corners{len(words)}.{'part-1-of-1.' if '--part' in words else ''}h5")
            with h5py.File(path) as file:
                values = file["pressure"][...]
            none = int((values != values).sum())
            if none and not re.search(
                r"\bNaN\b|no value|not a number", run.out + run.err, re.IGNORECASE
            ):
                self.found("points without a value are not told", f"{none} of {values.size}")

    def test_what_show_shows_is_a_request(self):
        """Also with a table of 3000 pairs, which is one long line."""
        rule = " ".join(f"{math.cos(i)!r} {1 / 3000!r}" for i in range(3000))
        self.at("rule.txt").write_text(rule)
        words = [*self.without("--order"), "--table", "rule.txt"]
        run = self.run_limited(*words, "--no-magnitude", "field.h5")
        if not self.expect_success("a table of 3000 pairs", run, "computed"):
            return
        shown = self.run_limited("show", "field.h5")
        self.at("shown.toml").write_text(shown.out)
        run = self.run_limited("--request", "shown.toml", "--no-magnitude", "again.h5")
        if self.expect_success("a request that show wrote", run, "a table of 3000 pairs"):
            with h5py.File(self.at("field.h5")) as one_file, h5py.File(
                self.at("again.h5")
            ) as other:
                pair = [
                    struct.pack("6000d", *file["table"][...].ravel()) for file in (one_file, other)
                ]
            if pair[0] != pair[1]:
                self.found("a table that show wrote is another", "a table of 3000 pairs")


if __name__ == "__main__":
    main()
