# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""What is not a whole field of this program is told, and never touched unless it can be mended."""

import unittest

import h5py
import numpy
from programs import ProgramTest, arrays, options, slab_boxes


class ForeignFilesTest(ProgramTest):
    def assert_refused_untouched(self, name, reason):
        before = self.at(name).read_bytes()
        for words in ([name, "--resume"], ["verify", name], ["extract", name, "values"]):
            with self.subTest(name=name, words=words):
                message = self.refused(*words)
                self.assertIn(name, message)
                self.assertIn(reason, message)
                self.assertEqual(self.at(name).read_bytes(), before)
                self.assertEqual(self.files(), [name])
        self.at(name).unlink()

    def test_without_hdf5_in_them(self):
        self.at("text.h5").write_text("no field\n" * 100)
        self.assert_refused_untouched("text.h5", "cannot be opened as HDF5: ")
        self.at("empty.h5").write_bytes(b"")
        self.assert_refused_untouched("empty.h5", "cannot be opened as HDF5: ")

    def test_before_four_processes(self):
        self.at("text.h5").write_text("no field\n")
        message = self.refused("text.h5", "--resume", ranks=4)
        self.assertIn("text.h5 cannot be opened as HDF5: ", message)
        self.assertEqual(self.at("text.h5").read_text(), "no field\n")
        self.assertEqual(self.files(), ["text.h5"])

    def test_of_other_programs(self):
        for name, creator in [
            ("bare.h5", None),
            ("other.h5", numpy.bytes_("another program")),
            ("fixed.h5", numpy.bytes_("pistonfield")),
            ("number.h5", 7),
            ("list.h5", numpy.array([b"pistonfield-run"] * 1000)),
        ]:
            with h5py.File(self.at(name), "w") as file:
                file["pressure"] = numpy.zeros((2, 3, 4))
                if creator is not None:
                    file.attrs["creator"] = creator
                    file.attrs["format"] = 1
            self.assert_refused_untouched(name, "is not a file of pistonfield-run")

    def test_of_another_format(self):
        # Fields with a tolerance, of arrays and with losses would have these, and more to say.
        for number, complaint in [
            (1, "has the format 1, and this version"),
            (3, "field.h5 is damaged: the attribute 'tolerance': "),
            (4, "field.h5 is damaged: the attribute 'tolerance': "),
            (5, "field.h5 is damaged: the attribute 'tolerance': "),
            (7, "has the format 7, and this version"),
        ]:
            self.run_program(*options(), "--no-magnitude", "field.h5")
            with h5py.File(self.at("field.h5"), "r+") as file:
                file.attrs.modify("format", number)
            self.assert_refused_untouched("field.h5", complaint)

    def test_of_another_request(self):
        for attribute, value in [("k", 4188.8), ("order", 11), ("mode", "cpusp"), ("complete", 0)]:
            self.run_program(*options(), "--no-magnitude", "field.h5")
            with h5py.File(self.at("field.h5"), "r+") as file:
                if isinstance(value, str):
                    file.attrs[attribute] = value
                else:
                    file.attrs.modify(attribute, value)
            self.assert_refused_untouched("field.h5", "field.h5 is damaged: ")

    def test_cut_off_at_any_length(self):
        self.run_program(*options(), "--no-magnitude", "field.h5")
        whole = self.at("field.h5").read_bytes()
        for length in (1, 8, 100, 1000, 5000, 7000):
            self.at("field.h5").write_bytes(whole[:length])
            self.assert_refused_untouched("field.h5", "cannot be opened as HDF5: ")

    def test_with_pieces_missing(self):
        for name in ("pressure", "slabs", "transform", "sizes", "k", "mode", "slab_sizes"):
            self.run_program(*options(), "--no-magnitude", "field.h5")
            with h5py.File(self.at("field.h5"), "r+") as file:
                del (file if name in file else file.attrs)[name]
            self.assert_refused_untouched("field.h5", "field.h5 is damaged")

    def test_in_which_hdf5_reads_texts_from_beyond_its_memory(self):
        for kind in ([], ["--compress", 1]):
            self.run_program(*options(), "--no-magnitude", "--slab", 611, "field.h5", *kind)
            content = bytearray(self.at("field.h5").read_bytes())
            # The size of a text lies before it. This one is not in the first page, which has a copy.
            size = content.rindex(b"pressure[iz]") - 8
            self.assertGreater(size, 8192 + 4096)
            content[size + 3] ^= 1
            self.at("field.h5").write_bytes(content)
            self.assert_refused_untouched("field.h5", "field.h5 is damaged: ")

    def test_with_slabs_that_make_no_sense(self):
        for sizes in ([0, 17, 19], [-1, 17, 19], [23, 17, 2**62]):
            self.run_program(*options(), "--no-magnitude", "field.h5")
            with h5py.File(self.at("field.h5"), "r+") as file:
                file.attrs["slab_sizes"] = numpy.array(sizes)
            self.assert_refused_untouched("field.h5", "field.h5 is damaged")


class DamagedFieldsTest(ProgramTest):
    def test_are_mended_where_they_were_cut_off_or_their_beginning_is_damaged(self):
        self.run_program(*options(), "--slab", 611, "field.h5")
        whole = arrays(self.at("field.h5"))
        good = self.at("field.h5").read_bytes()
        flipped = bytearray(good)
        flipped[8192 + 300] ^= 1
        for bad, reason in [
            (good[:-1], f"is cut off: {len(good) - 1} of "),
            (good[: len(good) // 2], f"is cut off: {len(good) // 2} of "),
            (bytes(flipped), "is damaged at its beginning; --resume mends it"),
        ]:
            self.at("field.h5").write_bytes(bad)
            for words in (["verify", "field.h5"], ["show", "field.h5"]):
                self.assertIn(f"field.h5 {reason}", self.refused(*words))
            said = self.run_program("field.h5", "--resume").out
            self.assertIn("field.h5 was damaged at its beginning or cut off, and is mended", said)
            self.assert_same_field(self.at("field.h5"), whole)
            self.run_program("verify", "field.h5")

    def test_that_are_compressed_are_mended_as_they_were(self):
        self.run_program(*options(), "--slab", 611, "--compress", 1, "field.h5")
        good = self.at("field.h5").read_bytes()
        for at in (8192 + 300, 8192 + 12):
            flipped = bytearray(good)
            flipped[at] ^= 1
            self.at("field.h5").write_bytes(flipped)
            self.assertIn("is damaged at its beginning", self.refused("verify", "field.h5"))
            self.run_program("field.h5", "--resume")
            self.assertEqual(self.at("field.h5").read_bytes(), good)

    def test_that_are_compressed_and_cut_off_are_left_alone(self):
        self.run_program(*options(), "--slab", 611, "--compress", 1, "field.h5")
        cut = self.at("field.h5").read_bytes()[:-100]
        self.at("field.h5").write_bytes(cut)
        for words in (["verify", "field.h5"], ["field.h5", "--resume"]):
            self.assertIn("bytes are there; compute it anew", self.refused(*words))
        self.assertEqual(self.at("field.h5").read_bytes(), cut)

    def test_that_are_joined_are_left_alone(self):
        self.run_program(*options(), "--part", "1/1", "part.h5")
        self.run_program("join", "field.h5", "part.part-1-of-1.h5")
        flipped = bytearray(self.at("field.h5").read_bytes())
        flipped[8192 + 300] ^= 1
        self.at("field.h5").write_bytes(flipped)
        for words in (["verify", "field.h5"], ["field.h5", "--resume"]):
            self.assertIn("field.h5 cannot be opened as HDF5: ", self.refused(*words))
        self.assertEqual(self.at("field.h5").read_bytes(), flipped)
        self.at("field.h5").write_bytes(flipped[:-1])
        reason = "field.h5 cannot be opened as HDF5: it is cut off"
        self.assertIn(reason, self.refused("show", "field.h5"))

    def test_a_bit_of_an_entry_is_told_and_mended(self):
        self.run_program(*options(), "--slab", 611, "field.h5")
        whole = arrays(self.at("field.h5"))
        for member in ("checksum", "seal", "undefined", "finished"):
            with h5py.File(self.at("field.h5"), "r+") as file:
                entries = file["slabs"][...]
                entries[member][3] ^= entries[member].dtype.type(4)
                file["slabs"][...] = entries
            said = self.run_program("verify", "field.h5", status=1).out
            self.assertIn("0 missing, 1 changed", said)
            self.run_program("field.h5", "--resume")
            self.assert_same_field(self.at("field.h5"), whole)

    def flip_a_bit(self, name, dataset, slab):
        with h5py.File(self.at(name), "r+") as file:
            box = slab_boxes(file)[slab]
            at = tuple(edges.start for edges in box)
            value = numpy.atleast_1d(file[dataset][at])
            value.view(numpy.uint8)[0] ^= 1
            file[dataset][at] = value[0]

    def test_are_told_and_mended(self):
        for ranks in (1, 4):
            for dataset in ("pressure", "magnitude"):
                with self.subTest(ranks=ranks, dataset=dataset):
                    name = f"{dataset}{ranks}.h5"
                    self.run_program(*options(), "--slab", 611, name)
                    whole = arrays(self.at(name))
                    count = len(whole["slabs"])
                    said = self.run_program("verify", name).out
                    self.assertIn(f"{count} slabs, 0 missing, 0 changed", said)
                    self.flip_a_bit(name, dataset, 3)
                    self.flip_a_bit(name, dataset, count - 1)
                    said = self.run_program("verify", name, status=1).out
                    self.assertIn(f"{name}: {count} slabs, 0 missing, 2 changed", said)
                    said = self.run_program(name, "--resume", ranks=ranks).out
                    self.assertIn(f"changed since it was written: 2 of {count} slabs", said)
                    self.assert_same_field(self.at(name), whole)
                    self.run_program("verify", name)

    def test_are_not_compressed(self):
        self.run_program(*options(), "--slab", 611, "field.h5", "--compress", 1)
        self.flip_a_bit("field.h5", "pressure", 2)
        before = self.files()
        self.run_program("verify", "field.h5", status=1)
        message = self.refused("field.h5", "--resume")
        self.assertIn("field.h5 has changed since it was compressed", message)
        self.assertEqual(self.files(), before)

    def test_are_told_among_whole_ones(self):
        for name in ("a.h5", "b.h5", "c.h5"):
            self.run_program(*options(), "--part", "1/1", name)
        names = [f"{n}.part-1-of-1.h5" for n in "abc"]
        self.run_program("verify", *names)
        self.flip_a_bit(names[1], "pressure", 0)
        said = self.run_program("verify", *names, status=1).out
        self.assertEqual(
            said.splitlines(),
            [
                f"{n}: 1 slabs, 0 missing, {c} changed since they were written"
                for n, c in zip(names, (0, 1, 0))
            ],
        )


if __name__ == "__main__":
    unittest.main(verbosity=2)
