# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Judges over damaged fields: verify, show, extract and --resume of the program, and h5py.

A damage passes when verify tells it, with status 1 and a line, or when no reader sees a difference.
No reader may crash or hang, none may answer 0 with something else where verify tells nothing, a
refused run changes nothing, and a run that goes on ends in the right field or is refused."""

import hashlib
import json
import multiprocessing
import os
import resource
import select
import shutil
import signal
import time

import h5py
import numpy
from attacks import INSIDES, complaints, died, limited, run_limited, unrefused
from programs import PROGRAM

# Seconds after which a reader hangs: far more than the processor's time that the program gives
# HDF5, on a busy machine too.
PATIENCE = 120

# What says how a field came about, and may be another in each run of the same request.
PROVENANCE = {
    "host",
    "started",
    "finished",
    "seconds",
    "processes",
    "peak_memory",
    "version",
    "digest",
}


def digest(values):
    """Of an array's values, without what lies between the members of compounds."""
    values = numpy.asarray(values)
    if values.dtype.names:
        return [digest(values[name]) for name in values.dtype.names]
    if values.dtype.hasobject:
        return repr(values.tolist())
    return hashlib.blake2b(numpy.ascontiguousarray(values).tobytes(), digest_size=16).hexdigest()


def view_attributes(owner):
    found = {}
    for name in owner.attrs:
        value = owner.attrs[name]
        stored = owner.attrs.get_id(name)
        found[name] = [type(value).__name__, str(stored.dtype), stored.shape, digest(value)]
    return found


def view_sources(dataset):
    """Where a virtual dataset takes its values from."""
    return [
        [s.file_name, s.dset_name, s.vspace.get_select_bounds(), s.src_space.shape]
        for s in dataset.virtual_sources()
    ]


def view_dataset(dataset):
    return [
        str(dataset.dtype),
        dataset.shape,
        dataset.maxshape,
        dataset.chunks,
        dataset.compression,
        digest(dataset.fillvalue),
        view_sources(dataset) if dataset.is_virtual else [],
        digest(dataset[...]),
    ]


def view(path):
    """All that h5py sees in a file, as {what: its digest}."""
    found = {}
    with h5py.File(path, "r") as file:
        for name, about in view_attributes(file).items():
            found[f"attribute {name}"] = about
        for name, item in file.items():
            found[f"dataset {name}"] = view_dataset(item)
            for attribute, about in view_attributes(item).items():
                found[f"attribute {attribute} of {name}"] = about
    return json.loads(json.dumps(found))


def view_in_child(path):
    """The same, in a process of its own: the library that reads may crash. A text if that fails."""
    reading, writing = os.pipe()
    child = os.fork()
    if child == 0:
        try:
            limited()
            # Of the processor's time, as others may keep the processors busy.
            resource.setrlimit(resource.RLIMIT_CPU, (3, 3))
            os.dup2(os.open(os.devnull, os.O_WRONLY), 2)
            answer = json.dumps(view(path))
        except BaseException as error:  # pylint: disable=broad-except
            answer = json.dumps(f"h5py fails with {type(error).__name__}")
        finally:
            with os.fdopen(writing, "w") as pipe:
                pipe.write(answer)
            os._exit(0)
    os.close(writing)
    with os.fdopen(reading) as pipe:
        if not select.select([pipe], [], [], PATIENCE)[0]:
            os.kill(child, signal.SIGKILL)
        answer = pipe.read()
    os.waitpid(child, 0)
    return json.loads(answer) if answer else "h5py crashes or hangs"


def views(paths, patience=PATIENCE):
    """What `view_in_child` says of each file, many by one child for as long as it lives."""
    found = []
    while len(found) < len(paths):
        found += views_by_one_child(paths[len(found) :], patience)
        if len(found) < len(paths):
            found.append("h5py crashes or hangs")
    return found


def views_by_one_child(paths, patience):
    """Views of the first of the files, to the one that the child does not survive."""
    reading, writing = os.pipe()
    child = os.fork()
    if child == 0:
        try:
            limited()
            os.dup2(os.open(os.devnull, os.O_WRONLY), 2)
            with os.fdopen(writing, "w", buffering=1) as pipe:
                for path in paths:
                    # For each file anew.
                    used = int(time.process_time())
                    resource.setrlimit(resource.RLIMIT_CPU, (used + 4, resource.RLIM_INFINITY))
                    try:
                        answer = view(path)
                    except BaseException as error:  # pylint: disable=broad-except
                        answer = f"h5py fails with {type(error).__name__}"
                    pipe.write(json.dumps(answer) + "\n")
        finally:
            os._exit(0)
    os.close(writing)
    text = b""
    while select.select([reading], [], [], patience)[0]:
        more = os.read(reading, 1 << 16)
        if not more:
            break
        text += more
    else:
        os.kill(child, signal.SIGKILL)
    os.close(reading)
    os.waitpid(child, 0)
    return [json.loads(line) for line in text.decode().split("\n")[:-1]]


def chunk_ranges(path, dataset, userblock):
    """Where a dataset's chunks are. Some versions of HDF5 count from the file's first byte and some
    from where its own content begins: the chunks' bytes tell which does."""
    content = path.read_bytes()
    chunks = [dataset.get_chunk_info(number) for number in range(dataset.get_num_chunks())]
    for start in (0, userblock):
        ranges = [(start + c.byte_offset, start + c.byte_offset + c.size) for c in chunks]
        stored = [dataset.read_direct_chunk(c.chunk_offset)[1] for c in chunks]
        if [content[begin:end] for begin, end in ranges] == stored:
            return ranges
    raise AssertionError(f"the chunks of {path} are elsewhere")


def raw_ranges(path):
    """Where the file has the field's values, as (begin, end) in bytes."""
    ranges = []
    with h5py.File(path, "r") as file:
        for name in {"pressure", "magnitude"} & set(file):
            dataset = file[name].id
            if file[name].is_virtual:
                continue
            if file[name].chunks:
                ranges += chunk_ranges(path, dataset, file.userblock_size)
            else:
                ranges.append(
                    (dataset.get_offset(), dataset.get_offset() + dataset.get_storage_size())
                )
    return sorted(ranges)


def metadata_bytes(path):
    """The offsets of all bytes that are none of the field's values."""
    offsets, at = [], 0
    for begin, end in raw_ranges(path):
        offsets += range(at, begin)
        at = end
    return offsets + list(range(at, os.path.getsize(path)))


def of_the_field(seen):
    """What of a view is the same in every run of the same request, however it ended."""
    return {
        key: about[-1] if key.startswith("dataset") else about
        for key, about in seen.items()
        if key.partition(" ")[2] not in PROVENANCE
    }


def shown_in(folder, shown):
    """What `show` says of a file in a folder, which the request of an array names."""
    return shown.out.replace(f'table = "{folder}/', 'table = "')


class Judges:
    """They know a field as it should be, and judge what damage does to its file.

    folder    where the field lies, with the parts that it needs
    name      its file there
    whole     the file of the field as an undisturbed run makes it"""

    def __init__(self, folder, name, whole):
        self.folder, self.name = folder, name
        self.bytes = (folder / name).read_bytes()
        self.view = view(folder / name)
        # verify speaks of the parts, too: then one damage is judged at a time.
        with h5py.File(folder / name, "r") as file:
            self.joined = file["pressure"].is_virtual
        self.whole = of_the_field(view(whole))
        self.verified = self.run(folder, "verify", name)
        self.shown = shown_in(folder, self.run(folder, "show", name))
        self.extracted = None
        if self.run(folder, "extract", name, "values").status == 0:
            self.extracted = (folder / "values").read_bytes()
            (folder / "values").unlink()

    @staticmethod
    def run(folder, *arguments, patience=PATIENCE):
        return run_limited([PROGRAM, *arguments], patience=patience, cwd=folder)

    def difference(self, seen):
        """What h5py sees otherwise than before the damage; None where that is nothing."""
        if isinstance(seen, str):
            return seen
        changed = [key for key in self.view if seen.get(key) != self.view[key]]
        changed += [key for key in seen if key not in self.view]
        return f"{changed[0]} differs" if changed else None

    def judge(self, damaged, folder):
        """The findings, and whether verify told the damage. The folder is to work in."""
        path = folder / self.name
        path.write_bytes(damaged)
        findings = []
        difference = self.difference(view_in_child(path))
        verified = self.run(folder, "verify", self.name)
        told = verified.status == 1 and verified[:3] != self.verified[:3]
        if wrong := died(verified) or self.wrong_words(verified):
            findings.append(f"verify {wrong}")
        elif told and not (verified.out or complaints(verified)):
            findings.append("verify says nothing")
        elif not told and difference:
            findings.append(f"verify does not tell that {difference}")
        findings += self.judge_show(folder, told) + self.judge_extract(folder, told)
        return findings + self.judge_resume(folder), told

    def judge_by_readers(self, damages, folder):
        """As `judge`, by verify and h5py alone and so many times as fast: of each damaged file."""
        names = [f"{number:03}.{self.name}" for number in range(len(damages))]
        for name, damaged in zip(names, damages):
            (folder / name).write_bytes(damaged)
        run = self.run(folder, "verify", *names, patience=PATIENCE * len(names))
        if died(run):
            return [self.judge(damaged, folder) for damaged in damages]
        seen = views([folder / name for name in names])
        return [
            self.judge_reading(name, run, self.difference(view_of_one))
            for name, view_of_one in zip(names, seen)
        ]

    def judge_reading(self, name, run, difference):
        """The findings of one of several verified files, and whether verify told its damage."""
        lines = [line for line in complaints(run) if name in line or self.joined]
        said = [line for line in run.out.splitlines() if name in line or self.joined]
        told = lines != [] or said != self.verified.out.replace(self.name, name).splitlines()
        findings = []
        if wrong := self.wrong_line(lines):
            findings.append(f"verify {wrong}")
        if told and not (lines or said):
            findings.append("verify says nothing")
        if told and run.status != 1:
            findings.append(f"verify ends with status {run.status}")
        if not told and difference:
            findings.append(f"verify does not tell that {difference}")
        return findings, told

    def wrong_words(self, run):
        return self.wrong_line(complaints(run))

    @staticmethod
    def wrong_line(lines):
        if len(lines) > 1:
            return f"says {len(lines)} lines"
        return next((f"says '{word}'" for word in INSIDES if lines and word in lines[0]), None)

    def judge_show(self, folder, told):
        shown = self.run(folder, "show", self.name)
        if shown.status != 0:
            return [f"show {wrong}"] if (wrong := unrefused(shown)) else []
        same = shown_in(folder, shown) == self.shown
        return [] if told or same else ["show shows something else"]

    def judge_extract(self, folder, told):
        run = self.run(folder, "extract", self.name, "values")
        values = folder / "values"
        findings = []
        if run.status != 0:
            if wrong := unrefused(run):
                findings.append(f"extract {wrong}")
            if values.exists():
                findings.append("extract is refused and leaves a file")
        elif not told and values.read_bytes() != self.extracted:
            findings.append("extract gives other values")
        values.unlink(missing_ok=True)
        return findings

    def judge_resume(self, folder):
        path = folder / self.name
        seen_before = view_in_child(path)
        before = {file.name for file in folder.iterdir()}
        run = self.run(folder, self.name, "--resume")
        findings = []
        if run.status == 0:
            seen = view_in_child(path)
            if isinstance(seen, str):
                findings.append(f"--resume answers 0 where {seen}")
            elif of_the_field(seen) != self.whole:
                changed = sorted(
                    k for k in self.whole if of_the_field(seen).get(k) != self.whole[k]
                )
                findings.append(f"--resume answers 0 with another {(changed or ['content'])[0]}")
        elif wrong := unrefused(run):
            findings.append(f"--resume {wrong}")
        elif "computing" not in run.err and view_in_child(path) not in (seen_before, self.view):
            # What nobody could read may become what some can, as long as nobody takes it for whole.
            if not isinstance(seen_before, str):
                findings.append("--resume is refused and changes the file")
            elif self.run(folder, "verify", self.name).status == 0:
                findings.append("--resume is refused and makes another file, which verify accepts")
        for left in {file.name for file in folder.iterdir()} - before:
            if run.status != 0 or left != f"{self.name}.xdmf":
                findings.append("--resume leaves a file beside the field")
            (folder / left).unlink()
        return findings


def copy_companions(folder, name, to):
    """All that lies beside a field."""
    shutil.copytree(folder, to, ignore=shutil.ignore_patterns(name, f"{name}.xdmf"))


# What a process of the pool judges by, and how.
_known = None
_folder = None
_damaged = None


def _begin(known, root, damaged):
    """Each process of the pool has a folder of its own."""
    global _known, _folder, _damaged
    _known, _damaged = known, damaged
    _folder = root / f"judged.{os.getpid()}"
    copy_companions(known.folder, known.name, _folder)


def _judge(draw):
    return draw, *_known.judge(_damaged(_known.bytes, draw), _folder)


def judge_all(known, root, damaged, draws):
    """Judges damages, two at a time: damaged(bytes, draw) are those of a damaged file. Yields for each
    the draw, the findings, and whether verify told it."""
    with multiprocessing.Pool(2, _begin, (known, root, damaged)) as pool:
        yield from pool.imap_unordered(_judge, draws, 4)


def _judge_by_readers(draws):
    damages = [_damaged(_known.bytes, draw) for draw in draws]
    return list(zip(draws, _known.judge_by_readers(damages, _folder)))


def judge_all_by_readers(known, root, damaged, draws):
    """As `judge_all`, by verify and h5py alone."""
    at_once = 1 if known.joined else 64
    batches = [draws[first : first + at_once] for first in range(0, len(draws), at_once)]
    with multiprocessing.Pool(2, _begin, (known, root, damaged)) as pool:
        for judged in pool.imap_unordered(_judge_by_readers, batches):
            for draw, (findings, told) in judged:
                yield draw, findings, told
