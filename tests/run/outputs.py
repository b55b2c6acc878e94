# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""What is made of a field: extracts, compressed files, and what other programs see in the file."""

import os
import re
import socket
import subprocess
import unittest
import xml.etree.ElementTree

import h5py
import numpy
from programs import PROGRAM, TILTED, ProgramTest, arrays, options


class ExtractTest(ProgramTest):
    def test_whole_fields_and_boxes_have_the_values_x_fastest(self):
        for mode in ("cpu", "cpusp"):
            self.run_program(*options(mode=mode), "--slab", 611, f"{mode}.h5")
            pressure = arrays(self.at(f"{mode}.h5"))["pressure"]
            for box, values in [
                ([], pressure),
                (["--first", 3, 4, 5], pressure[5:, 4:, 3:]),
                (["--size", 1, 2, 3], pressure[:3, :2, :1]),
                (["--first", 22, 0, 7, "--size", 1, 17, 12], pressure[7:, :, 22:]),
            ]:
                with self.subTest(mode=mode, box=box):
                    self.at("values").unlink(missing_ok=True)
                    self.run_program("extract", f"{mode}.h5", "values", *box)
                    extracted = numpy.fromfile(self.at("values"), dtype=pressure.dtype)
                    self.assert_same_bits(extracted, values.flatten())

    def test_boxes_beyond_the_field_are_refused(self):
        self.run_program(*options(), "field.h5")
        for box, option in [
            (["--first", 23, 0, 0], "--first: 23 is not within 0 to 22"),
            (["--first", 0, -1, 0], "--first: -1 is not within 0 to 16"),
            (["--first", 0, 0, 18, "--size", 1, 1, 2], "--size: 2 is not within 1 to 1"),
            (["--size", 1, 0, 1], "--size: 0 is not within 1 to 17"),
            (["--size", 1, 1], "--size"),
        ]:
            with self.subTest(box=box):
                self.assertIn(option, self.refused("extract", "field.h5", "values", *box))
                self.assertFalse(self.at("values").exists())

    def test_files_that_are_there_are_not_overwritten(self):
        self.run_program(*options(), "field.h5")
        before = self.at("field.h5").read_bytes()
        self.assertIn("field.h5 exists", self.refused("extract", "field.h5", "field.h5"))
        self.assertEqual(self.at("field.h5").read_bytes(), before)

    def test_values_go_to_a_pipe_too(self):
        self.run_program(*options(), "field.h5")
        piped = subprocess.run(
            [PROGRAM, "extract", "field.h5", "/dev/stdout"],
            cwd=self.folder, check=True, stdout=subprocess.PIPE,
        ).stdout  # fmt: skip
        pressure = arrays(self.at("field.h5"))["pressure"]
        self.assertEqual(piped, pressure.tobytes())


class CompressTest(ProgramTest):
    def compressed(self, path):
        """The bytes that the values take, raw and in the file."""
        with h5py.File(path) as file:
            self.assertEqual(file["pressure"].compression, "gzip")
            self.assertTrue(file["pressure"].shuffle)
            return file["pressure"].nbytes, file["pressure"].id.get_storage_size()

    def test_files_have_the_same_bits_in_less_room(self):
        request = options(mode="cpusp", sizes=(60, 50, 40)) + ["--slab", 6000]
        self.run_program(*request, "raw.h5")
        raw = arrays(self.at("raw.h5"))
        for ranks in (1, 4):
            with self.subTest(ranks=ranks):
                name = f"small{ranks}.h5"
                self.run_program(*request, name, "--compress", 6, ranks=ranks)
                self.assert_same_field(self.at(name), raw)
                size, stored = self.compressed(self.at(name))
                self.assertLess(stored, size)
                self.assertLess(self.at(name).stat().st_size, self.at("raw.h5").stat().st_size)
                self.run_program("verify", name)
        self.assertEqual(
            self.files(), [f"{n}.h5{e}" for n in ("raw", "small1", "small4") for e in ("", ".xdmf")]
        )

    def test_complete_files_are_compressed_later(self):
        self.run_program(*options(), "field.h5")
        raw = arrays(self.at("field.h5"))
        self.run_program("field.h5", "--resume", "--compress", 1)
        self.assert_same_field(self.at("field.h5"), raw)
        self.compressed(self.at("field.h5"))
        before = self.at("field.h5").stat().st_ino
        self.run_program("field.h5", "--resume", "--compress", 9)
        self.assertEqual(self.at("field.h5").stat().st_ino, before)


class RequestTest(ProgramTest):
    def test_files_say_the_same_as_options(self):
        self.at("request.toml").write_text(
            f"transform = {TILTED}\nsizes = [23, 17, 19]\nl = 5e-3\ns = 7.5e-3\nk = 4188.79\n"
            'mode = "cpusp"\norder = 21\n'
        )
        self.run_program("--request", "request.toml", "file.h5")
        self.run_program(*options(mode="cpusp", order=21), "options.h5")
        self.assert_same_field(self.at("file.h5"), arrays(self.at("options.h5")))

    def test_that_cannot_be_shown_is_told(self):
        self.run_program(*options(), "field.h5")
        with open("/dev/full", "w", encoding="ascii") as full:
            words = [PROGRAM, "show", self.at("field.h5")]
            run = subprocess.run(words, stdout=full, stderr=subprocess.PIPE, text=True)
        self.assertEqual(run.returncode, 1)
        self.assertIn("the standard output cannot be written", run.stderr)

    def test_options_go_before_files(self):
        self.at("request.toml").write_text(f"transform = {TILTED}\nsizes = [23, 17, 19]\nk = 1\n")
        words = ["--request", "request.toml", "-l", "5e-3", "-s", "7.5e-3", "-k", "4188.79"]
        self.run_program(*words, "file.h5")
        self.run_program(*options(), "options.h5")
        self.assert_same_field(self.at("file.h5"), arrays(self.at("options.h5")))

    def test_a_rule_in_a_table_is_the_rule(self):
        rule = subprocess.run(
            [os.environ["PISTONFIELD_PRINT_RULE"], "21"], check=True, capture_output=True
        )
        self.at("rule.txt").write_bytes(rule.stdout)
        for mode in ("cpu", "cpusp"):
            self.run_program(*options(mode=mode, table="rule.txt"), f"{mode}.table.h5")
            self.run_program(*options(mode=mode, order=21), f"{mode}.order.h5")
            expected = arrays(self.at(f"{mode}.order.h5"))
            expected["table"] = numpy.loadtxt(self.at("rule.txt"))
            self.assert_same_field(self.at(f"{mode}.table.h5"), expected)


class FileTest(ProgramTest):
    def test_tells_what_it_is_and_how_it_came_about(self):
        words = options(order=21) + ["--slab", 611]
        self.run_program(*words, "field.h5", ranks=2)
        with h5py.File(self.at("field.h5")) as file:
            attributes = dict(file.attrs)
            self.assertEqual(file["pressure"].shape, (19, 17, 23))
            self.assertEqual(file["pressure"].chunks, tuple(attributes["slab_sizes"][::-1]))
            self.assertEqual(file["pressure"].dtype, complex)
            self.assertEqual(file["magnitude"].dtype, numpy.float32)
        text = {n: v.decode() for n, v in attributes.items() if isinstance(v, bytes)}
        self.assertEqual(attributes["transform"].tolist(), numpy.reshape(TILTED, (4, 4)).tolist())
        self.assertEqual(attributes["sizes"].tolist(), [23, 17, 19])
        self.assertEqual(attributes["first_point"].tolist(), [0, 0, 0])
        self.assertEqual([attributes[name] for name in "lsk"], [5e-3, 7.5e-3, 4188.79])
        self.assertEqual((text["mode"], attributes["order"]), ("cpu", 21))
        self.assertEqual(text["creator"], "pistonfield-run")
        version = subprocess.run([PROGRAM, "--version"], check=True, capture_output=True, text=True)
        self.assertEqual(version.stdout, f"pistonfield-run {text['version']}\n")
        self.assertIn("exp(-j*k*R)/R", text["conventions"])
        self.assertIn("radians", text["units"])
        self.assertIn("pressure[iz][iy][ix]", text["axes"])
        self.assertEqual(text["host"], socket.gethostname())
        for name in ("started", "finished"):
            self.assertRegex(text[name], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        self.assertGreaterEqual(text["finished"], text["started"])
        self.assertTrue(0 < attributes["seconds"] < 100)
        self.assertEqual((attributes["processes"], attributes["complete"]), (2, 1))
        # More than the program's text, less than a machine.
        self.assertTrue(10**6 < attributes["peak_memory"] < 10**9, attributes["peak_memory"])

    def test_is_opened_by_the_tools_of_hdf5(self):
        self.run_program(*options(), "field.h5")
        dump = subprocess.run(
            ["h5dump", "-H", "field.h5"],
            cwd=self.folder,
            check=True,
            capture_output=True,
            text=True,
        )
        for name in ("pressure", "magnitude", "slabs"):
            self.assertIn(f'DATASET "{name}"', dump.stdout)
        self.assertIn("( 19, 17, 23 )", dump.stdout)

    def test_is_named_by_the_file_for_viewers(self):
        name = "a & b <c>.h5"
        self.run_program(*options(), name)
        root = xml.etree.ElementTree.parse(self.at(f"{name}.xdmf")).getroot()
        item = root.find(".//Attribute/DataItem")
        self.assertEqual(item.text.strip(), f"{name}:/magnitude")
        self.assertEqual(item.get("Dimensions"), "19 17 23")
        # Tilted: the steps along the lattice's own directions.
        steps = [float(v) for v in root.findall(".//Geometry/DataItem")[1].text.split()]
        matrix = numpy.reshape(TILTED, (4, 4))[:3, :3] / TILTED[15]
        numpy.testing.assert_allclose(steps, numpy.linalg.norm(matrix, axis=0)[::-1], rtol=1e-15)

    def test_is_placed_by_the_file_for_viewers(self):
        straight = [2e-4, 0, 0, -6e-3, 0, 3e-4, 0, -5e-3, 0, 0, 4e-4, 3e-3, 0, 0, 0, 2]
        self.run_program(*options(straight), "field.h5", "--part", "2/3")
        path = self.at("field.part-2-of-3.h5.xdmf")
        geometry = xml.etree.ElementTree.parse(path).getroot().findall(".//Geometry/DataItem")
        origin, steps = ([float(v) for v in item.text.split()] for item in geometry)
        # The first of three parts has seven of nineteen layers.
        numpy.testing.assert_allclose(origin, [1.5e-3 + 7 * 2e-4, -2.5e-3, -3e-3], rtol=1e-15)
        numpy.testing.assert_allclose(steps, [2e-4, 1.5e-4, 1e-4], rtol=1e-15)

    def test_leaves_the_magnitude_out_where_it_is_not_wanted(self):
        self.run_program(*options(), "with.h5")
        self.run_program(*options(), "--no-magnitude", "without.h5")
        self.assertEqual(self.files(), ["with.h5", "with.h5.xdmf", "without.h5"])
        with_magnitude, without = arrays(self.at("with.h5")), arrays(self.at("without.h5"))
        self.assertEqual(without.keys(), {"pressure", "slabs"})
        self.assert_same_bits(without["pressure"], with_magnitude["pressure"])

    def test_has_the_size_that_was_estimated(self):
        words = options(sizes=(100, 90, 70))
        estimate = self.run_program(*words, "--estimate", "field.h5").out
        self.assertEqual(self.files(), [])
        disk = float(re.search(r"disk +([0-9.]+) MB in field.h5", estimate)[1])
        self.run_program(*words, "field.h5")
        size = self.at("field.h5").stat().st_size / 1e6
        # The estimate has one digit after the point; the file's own structure takes kilobytes.
        self.assertAlmostEqual(disk, size, delta=0.1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
