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
from programs import PROGRAM, TILTED, ProgramTest, arrays, datasets, options


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
        self.at("link.h5").symlink_to("field.h5")
        os.link(self.at("field.h5"), self.at("same.h5"))
        for name in ("field.h5", "link.h5", "same.h5"):
            for words in ([], ["--overwrite"]):
                message = self.refused("extract", "field.h5", name, *words)
                self.assertIn("both input and output", message)
        self.assertEqual(self.at("field.h5").read_bytes(), before)
        self.at("values").write_text("precious")
        self.assertIn("values exists", self.refused("extract", "field.h5", "values"))
        self.assertEqual(self.at("values").read_text(), "precious")
        self.run_program("extract", "field.h5", "values", "--overwrite")
        pressure = arrays(self.at("field.h5"))["pressure"]
        self.assertEqual(self.at("values").read_bytes(), pressure.tobytes())

    def test_fields_that_are_named_as_temporary_files_once_were_are_extracted(self):
        self.run_program(*options(), "x.new")
        before = self.at("x.new").read_bytes()
        self.run_program("extract", "x.new", "x")
        self.assertEqual(self.at("x.new").read_bytes(), before)

    def test_values_go_to_a_pipe_too(self):
        self.run_program(*options(), "field.h5")
        piped = subprocess.run(
            [PROGRAM, "extract", "field.h5", "/dev/stdout"],
            cwd=self.folder, check=True, stdout=subprocess.PIPE,
        ).stdout  # fmt: skip
        pressure = arrays(self.at("field.h5"))["pressure"]
        self.assertEqual(piped, pressure.tobytes())


class OthersFilesTest(ProgramTest):
    """What is there is not touched, whatever its name, but where that is asked for."""

    def test_stay_whatever_they_are_named(self):
        self.run_program(*options(), "other.h5")
        other = self.at("other.h5").read_bytes()
        names = [f"field.h5{ending}" for ending in (".new", ".compressing", ".lock")]
        for name in names:
            self.at(name).write_bytes(other)
        self.refused(*options(), "field.h5", "--part", "1/24")
        self.run_program(*options(), "field.h5", "--compress", 1)
        self.run_program("field.h5", "--resume")
        for name in names:
            self.assertEqual(self.at(name).read_bytes(), other)

    def test_for_viewers_stay_and_are_told_before_anything_is_computed(self):
        self.at("field.h5.xdmf").write_text("precious")
        message = self.refused(*options(), "field.h5")
        self.assertIn("field.h5.xdmf exists, and is no file of this program", message)
        self.assertEqual(self.files(), ["field.h5.xdmf"])
        self.assertEqual(self.at("field.h5.xdmf").read_text(), "precious")
        self.run_program(*options(), "field.h5", "--no-magnitude")
        self.assertEqual(self.at("field.h5.xdmf").read_text(), "precious")
        self.run_program(*options(), "field.h5", "--overwrite")
        self.assertIn("Xdmf", self.at("field.h5.xdmf").read_text())
        self.at("field.h5.xdmf").write_text("precious")
        with h5py.File(self.at("field.h5"), "r+") as file:
            file["pressure"][0, 0, 0] += 1
        before = self.at("field.h5").read_bytes()
        message = self.refused("field.h5", "--resume")
        self.assertIn("field.h5.xdmf exists, and is no file of this program", message)
        self.assertEqual(self.at("field.h5").read_bytes(), before)

    def test_are_replaced_where_that_is_asked_for(self):
        self.at("field.h5").write_text("old")
        self.assertIn("--overwrite", self.refused(*options(), "field.h5"))
        self.run_program(*options(), "field.h5", "--overwrite")
        self.run_program(*options(k=4000), "field.h5", "--overwrite", ranks=3)
        with h5py.File(self.at("field.h5")) as file:
            self.assertEqual(file.attrs["k"], 4000)
        self.run_program("verify", "field.h5")
        # Not for a request that makes no sense.
        before = self.at("field.h5").read_bytes()
        self.refused(*options(l=0), "field.h5", "--overwrite")
        self.assertEqual(self.at("field.h5").read_bytes(), before)

    def test_behind_links_are_written_and_the_links_stay(self):
        self.at("far").mkdir()
        self.at("link.h5").symlink_to("far/field.h5")
        for words in ([], ["--resume", "--compress", 1], ["--overwrite"]):
            self.run_program(*options(), "link.h5", *words)
            self.assertTrue(self.at("link.h5").is_symlink())
            self.assertFalse(self.at("far/field.h5").is_symlink())
            self.run_program("verify", "far/field.h5")
        self.assertEqual([p.name for p in self.at("far").iterdir()], ["field.h5"])

    def test_that_are_no_files_are_told(self):
        os.mkfifo(self.at("pipe.h5"))
        for words in ([], ["--resume"], ["--overwrite"]):
            self.assertIn("pipe.h5", self.refused(*options(), "pipe.h5", *words))

    def test_that_take_the_outputs_place_are_told(self):
        words = options(sizes=(60, 50, 40), order=3000) + ["--slab", 300]
        process = self.start(*words, "field.h5")
        finished = 0
        while finished < 5:
            self.assertIsNone(process.poll())
            if self.at("field.h5").exists():
                with h5py.File(self.at("field.h5")) as file:
                    finished = sum(file["slabs"]["finished"])
        os.rename(self.at("field.h5"), self.at("moved.h5"))
        self.at("field.h5").write_text("precious")
        _, err = process.communicate(timeout=120)
        self.assertEqual(process.returncode, 1)
        self.assertIn("field.h5 was removed or replaced while it was computed", err)
        self.assertEqual(self.at("field.h5").read_text(), "precious")

    def test_with_names_too_long_for_what_is_beside_them_are_told_before(self):
        name = "f" * 248 + ".h5"
        self.assertIn("too long a name", self.refused(*options(), name))
        self.assertEqual(self.files(), [])
        self.run_program(*options(), name, "--no-magnitude")
        self.run_program(*options(), "f" * 247 + ".h5", "--compress", 1)

    def test_of_which_two_runs_make_one_at_a_time_are_whole(self):
        runs = [self.start(*options(), "field.h5") for _ in range(6)]
        ended = [run.communicate(timeout=120) + (run.returncode,) for run in runs]
        self.assertEqual(sorted(status for *_, status in ended), [0, 1, 1, 1, 1, 1], ended)
        self.run_program("verify", "field.h5")
        self.assertEqual(self.files(), ["field.h5", "field.h5.xdmf"])


class UndefinedValuesTest(ProgramTest):
    def test_are_told(self):
        # The corner of the piston is a point of the lattice.
        corner = [2.5e-3, 0, 0, -2.5e-3, 0, 2.5e-3, 0, -2.5e-3, 0, 0, 1e-3, 1e-3, 0, 0, 0, 1]
        said = self.run_program(*options(corner, sizes=(3, 3, 4), l=5e-3, s=5e-3), "field.h5").out
        with h5py.File(self.at("field.h5")) as file:
            count = int(numpy.isnan(file["pressure"][...]).sum())
            self.assertGreater(count, 0)
            self.assertEqual(file.attrs["undefined"], count)
        self.assertIn(f"note    {count} of them have no value (NaN)", said)


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
            found = arrays(self.at(f"{mode}.table.h5"))
            self.assertEqual(found.keys(), expected.keys())
            # The entries are sealed for the request that they belong to.
            self.assert_same_bits(found["slabs"]["checksum"], expected["slabs"]["checksum"])
            for name in expected.keys() - {"slabs"}:
                self.assert_same_bits(found[name], expected[name], name)


class FileTest(ProgramTest):
    def test_tells_what_it_is_and_how_it_came_about(self):
        words = options(order=21) + ["--slab", 611]
        self.run_program(*words, "field.h5", ranks=2)
        with h5py.File(self.at("field.h5")) as file:
            attributes = dict(file.attrs)
            self.assertEqual(set(datasets(file)), {"pressure", "magnitude", "slabs"})
            for name in ("pressure", "magnitude"):
                self.assertEqual(file[name].shape, (19, 17, 23))
            self.assertEqual(file["pressure"].chunks, tuple(attributes["slab_sizes"][::-1]))
            self.assertEqual(file["pressure"].dtype, complex)
            self.assertEqual(file["magnitude"].dtype, numpy.float32)
        text = {n: v for n, v in attributes.items() if isinstance(v, str)}
        self.assertFalse([n for n, v in attributes.items() if isinstance(v, bytes)])
        self.assertEqual(attributes["transform"].tolist(), numpy.reshape(TILTED, (4, 4)).tolist())
        self.assertEqual(attributes["sizes"].tolist(), [23, 17, 19])
        self.assertEqual(attributes["first_point"].tolist(), [0, 0, 0])
        self.assertEqual([attributes[name] for name in "lsk"], [5e-3, 7.5e-3, 4188.79])
        self.assertEqual((text["mode"], attributes["order"]), ("cpu", 21))
        self.assertEqual(text["creator"], "pistonfield-run")
        version = subprocess.run([PROGRAM, "--version"], check=True, capture_output=True, text=True)
        self.assertEqual(version.stdout.splitlines()[0], f"pistonfield-run {text['version']}")
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

    def test_with_a_colon_in_its_name_is_not_named_to_viewers(self):
        said = self.run_program(*options(), "a:b.h5").out
        self.assertIn("there is no a:b.h5.xdmf", said)
        self.assertEqual(self.files(), ["a:b.h5"])

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
