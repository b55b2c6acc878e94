# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Options that make no sense are refused in one line that names them; a field that was begun is
completed only with the options that it was begun with."""

import unittest

from programs import TILTED, ProgramTest, arrays, options

# A request's options where they say nothing, as (option, its words), and what is said of them.
BAD = [
    ("--transform", TILTED[:15]),
    ("--transform", TILTED[:15] + [0]),
    ("--transform", ["nan"] + TILTED[1:]),
    ("--transform", ["one"] + TILTED[1:]),
    ("--sizes", [1, 2]),
    ("--sizes", [1, 2, 0]),
    ("--sizes", [1, 2, -3]),
    ("--sizes", [1, 2, 2.5]),
    ("--sizes", [10**9, 10**9, 10**9]),
    ("--sizes", [2**53 + 1, 1, 1]),
    ("--sizes", [10**30, 1, 1]),
    ("-l", [0]),
    ("-l", [-1]),
    ("-s", ["inf"]),
    ("-s", ["wide"]),
    ("-k", ["nan"]),
    ("-k", [0]),
    ("-k", []),
    ("--mode", ["gpu"]),
    ("--order", [0]),
    ("--order", [-1]),
    ("--order", [18001]),
    ("--order", [2.5]),
    ("--order", ["many"]),
    ("--table", ["nothing.txt"]),
    ("--table", ["odd.txt"]),
    ("--table", ["text.txt"]),
    ("--table", ["empty.txt"]),
    ("--request", ["nothing.txt"]),
    ("--slab", [0]),
    ("--threads", [0]),
    ("--threads", [1025]),
    ("--slab", [2**27 + 1]),
    ("--compress", [0]),
    ("--compress", [10]),
    ("--part", ["3"]),
    ("--colour", ["red"]),
]


def replaced(option, words):
    """A request with this option in the place of what it has."""
    request = []
    rest = options()
    while rest:
        name = rest.pop(0)
        values = []
        while rest and not rest[0].startswith(("--", "-l", "-s", "-k")):
            values.append(rest.pop(0))
        if name != option:
            request += [name, *values]
    return request + [option, *map(str, words)]


class OptionsTest(ProgramTest):
    def test_with_a_number_too_many_are_refused_in_a_line_that_names_it(self):
        for option, words in [("--transform", TILTED + [77]), ("--sizes", [1, 2, 3, 77])]:
            message = self.refused("field.h5", *replaced(option, words))
            self.assertIn("not expected: 77;", message)

    def test_without_meaning_are_refused_in_a_line_that_names_them(self):
        self.at("odd.txt").write_text("0.5 1 0.25\n")
        self.at("text.txt").write_text("0.5 1 none 1\n")
        self.at("empty.txt").write_text("")
        before = self.files()
        for option, words in BAD:
            with self.subTest(option=option, words=words):
                # The output first: an option may take what follows it.
                self.assertIn(option, self.refused("field.h5", *replaced(option, words)))
                self.assertEqual(self.files(), before)

    def test_that_are_missing_are_named(self):
        for option in ("--transform", "--sizes", "-l", "-s", "-k"):
            with self.subTest(option=option):
                words = replaced(option, [])[:-1]
                self.assertIn(f"{option} is missing", self.refused("field.h5", *words))
        self.assertIn("output", self.refused(*options()))
        self.assertIn("output", self.refused())
        self.assertIn("files", self.refused("verify"))
        self.assertEqual(self.files(), [])

    def test_that_exclude_each_other_are_refused(self):
        self.at("rule.txt").write_text("-0.57735 1 0.57735 1\n")
        message = self.refused("field.h5", *options(order=2, table="rule.txt"))
        self.assertIn("--order", message)
        self.assertIn("--table", message)

    def test_in_a_request_file_are_checked_too(self):
        for text, complaint in [
            ("sizes = [1, 2]\n", "request.toml:1: sizes: takes 3 numbers, not 2"),
            ("k = 1\ncolour = 2\n", "request.toml:2: colour is no option"),
            ("k = 1\n\nk = 2\n", "request.toml:3: .* redefine .* 'k'"),
        ]:
            for ranks in (1, 3):
                with self.subTest(text=text, ranks=ranks):
                    self.at("request.toml").write_text(text)
                    words = ["field.h5", "--request", "request.toml"]
                    self.assertRegex(self.refused(*words, ranks=ranks), complaint)

    def test_are_refused_in_one_line_by_four_processes_too(self):
        self.assertIn("--colour", self.refused("field.h5", "--colour", "red", ranks=4))
        self.assertIn("-k is missing", self.refused("field.h5", *replaced("-k", [])[:-1], ranks=4))


class ResumeTest(ProgramTest):
    def test_takes_the_same_options_or_none(self):
        self.run_program(*options(), "field.h5")
        complete = arrays(self.at("field.h5"))
        for words in ([], options(), options(mode="cpudp"), options(order=10), ["-k", "4188.79"]):
            with self.subTest(words=words):
                self.run_program("field.h5", "--resume", *words)
                self.assert_same_field(self.at("field.h5"), complete)

    def test_refuses_another_request_and_changes_nothing(self):
        self.run_program(*options(), "field.h5")
        self.at("rule.txt").write_text("-0.57735 1 0.57735 1\n")
        before = self.at("field.h5").read_bytes()
        for option, words in [
            ("-k", [4188.790000000001]),
            ("-l", [5.1e-3]),
            ("-s", [5e-3]),
            ("--sizes", [23, 17, 20]),
            ("--transform", [1e-4] + TILTED[1:]),
            ("--mode", ["cpusp"]),
            ("--order", [11]),
            ("--table", ["rule.txt"]),
        ]:
            with self.subTest(option=option):
                message = self.refused("field.h5", "--resume", option, *words)
                self.assertIn(f"{option} differs", message)
                self.assertIn("field.h5", message)
                self.assertEqual(self.at("field.h5").read_bytes(), before)

    def test_begins_a_field_that_is_not_there(self):
        self.run_program(*options(), "field.h5", "--resume")
        self.assertEqual(arrays(self.at("field.h5"))["pressure"].shape, (19, 17, 23))
        self.assertIn(
            "--transform, --sizes, -l, -s, -k is missing, and there is no nothing.h5 to go on with",
            self.refused("nothing.h5", "--resume"),
        )

    def test_has_to_be_asked_for(self):
        self.run_program(*options(), "field.h5")
        before = self.at("field.h5").read_bytes()
        for ranks in (1, 4):
            message = self.refused(*options(), "field.h5", ranks=ranks)
            self.assertIn("field.h5 exists", message)
            self.assertIn("--resume", message)
        self.assertEqual(self.at("field.h5").read_bytes(), before)


if __name__ == "__main__":
    unittest.main(verbosity=2)
