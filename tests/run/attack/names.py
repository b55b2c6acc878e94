# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Files, links, pipes and folders of a user's own beside, or in the place of, what the program
reads and writes: all that no --overwrite names stays as it is, to the byte and the inode."""

import os
import shutil
import signal
import socket
import stat
import time
import xml.etree.ElementTree

from attacks import FULL, Attack, Run, main, run_limited, tree, unrefused
from judges import of_the_field, view
from programs import PROGRAM, command, options

REQUEST = [*options(sizes=(7, 5, 6)), "--slab", "40"]
OTHER = [*options(sizes=(7, 5, 6), k=4000), "--slab", "40"]

NEIGHBOURS = (
    "{}.new", "{}.compressing", "{}.lock", "{}.xdmf", "{}.xdmf.new", "{}.tmp", "{}.old", "{}~",
    "{}.bak",
    "{}.new.lock", "{}-0-0.lock", ".{}.new", ".{}.lock", ".{}.tmp", ".{}.swp",
)  # fmt: skip

UNUSUAL = (
    "a b", "-k", "--resume", "a:b", "%s%n%d", "a'b", 'a"b', "<&>", "#", "äöü", "a\\b", "$(x)", "*",
    "%2F", "a;b", "=", "~", "verify", "\x01", "a\nb", "..x", "a.h5.h5", "[1]", "{}", "a,b",
)  # fmt: skip


def text(path, cases):
    path.write_text("a user's own\n" * 50)


def empty(path, cases):
    path.touch()


def finished_field(path, cases):
    shutil.copy(cases / "other.h5", path)


def pipe(path, cases):
    os.mkfifo(path)


def bound_socket(path, cases):
    here = os.getcwd()
    # The name of a socket has no room for long paths.
    os.chdir(path.parent)
    with socket.socket(socket.AF_UNIX) as server:
        server.bind(path.name)
    os.chdir(here)


def empty_folder(path, cases):
    path.mkdir()


def full_folder(path, cases):
    path.mkdir()
    (path / "inside").write_text("a user's own\n")


def link_to_file(path, cases):
    target = path.parent / "a user's file"
    target.write_text("behind a link\n")
    path.symlink_to(target.name)


def link_to_nothing(path, cases):
    path.symlink_to("nowhere")


def link_to_folder(path, cases):
    (path.parent / "a user's folder").mkdir()
    path.symlink_to("a user's folder")


def link_to_itself(path, cases):
    path.symlink_to(path.name)


def hard_link(path, cases):
    target = path.parent / "a user's other name"
    target.write_text("one file of two names\n")
    path.hardlink_to(target)


def read_only(path, cases):
    path.write_text("read only\n")
    path.chmod(0o444)


KINDS = (
    text, empty, finished_field, pipe, bound_socket, empty_folder, full_folder, link_to_file,
    link_to_nothing, link_to_folder, link_to_itself, hard_link, read_only,
)  # fmt: skip

# What a command may make, and its words; they stand in a folder that has "whole.h5" (complete),
# "unfinished.h5" and the parts of "joined".
PARTS = ["joined.part-1-of-2.h5", "joined.part-2-of-2.h5"]
COMMANDS = {
    "compute": ("field.h5", [*REQUEST, "field.h5"]),
    "compute with options that are refused": ("field.h5", [*REQUEST, "field.h5", "--order", "0"]),
    "compute with an unknown option": ("field.h5", [*REQUEST, "field.h5", "--colour", "red"]),
    "--resume": ("unfinished.h5", ["unfinished.h5", "--resume"]),
    "--resume with another request": ("unfinished.h5", [*OTHER, "unfinished.h5", "--resume"]),
    "--compress": ("whole.h5", ["whole.h5", "--resume", "--compress", "1"]),
    "--part": ("field.part-1-of-2.h5", [*REQUEST, "field.h5", "--part", "1/2"]),
    "--estimate": ("field.h5", [*REQUEST, "field.h5", "--estimate"]),
    "join": ("joined.h5", ["join", "joined.h5", *PARTS]),
    "join with a part missing": ("joined.h5", ["join", "joined.h5", PARTS[0]]),
    "extract": ("values", ["extract", "whole.h5", "values"]),
    "extract of a box that is refused": ("values", ["extract", "whole.h5", "values", "--first", 99,
                                                    0, 0]),
    "verify": ("whole.h5", ["verify", "whole.h5"]),
    "show": ("whole.h5", ["show", "whole.h5"]),
}  # fmt: skip


class NamesTest(Attack):
    def setUp(self):
        super().setUp()
        self.cases = self.at("cases")
        self.cases.mkdir()
        self.run_program(*REQUEST, "cases/whole.h5", "--no-magnitude")
        self.run_program(*OTHER, "cases/other.h5", "--no-magnitude")
        self.run_program(*REQUEST, "cases/joined.h5", "--part", "1/2", "--no-magnitude")
        self.run_program(*REQUEST, "cases/joined.h5", "--part", "2/2", "--no-magnitude")
        self.make_unfinished()
        self.count = 0

    def make_unfinished(self):
        shim = {"LD_PRELOAD": os.environ["PISTONFIELD_FAILING_WRITES"], "WRITES_THEN": "SIGKILL"}
        whole = (self.cases / "whole.h5").stat().st_size
        for writes in range(5, 200):
            environment = {**os.environ, **shim, "WRITES": str(writes)}
            words = [*REQUEST, "cases/unfinished.h5", "--resume", "--no-magnitude"]
            self.run_program(*words, status=-signal.SIGKILL, env=environment)
            path = self.cases / "unfinished.h5"
            # Its name comes when its layout is whole.
            if path.exists() and path.stat().st_size >= whole // 2:
                break
        for name in os.listdir(self.cases):
            if "unfinished.h5" in name and name != "unfinished.h5":
                (self.cases / name).unlink()

    def case(self):
        """A new folder that has all that commands work on."""
        self.count += 1
        folder = self.at(f"case {self.count}")
        shutil.copytree(self.cases, folder)
        return folder

    def check_survival(self, command_name, folder, before, made, example):
        """That nothing changed but what was to be made."""
        after = tree(folder)
        for name, about in before.items():
            if name not in made and after.get(name) != about:
                verb = "changes" if name in after else "removes"
                self.found(f"{command_name} {verb} what it was not told to", f"{example}: {name}")
        for name in after.keys() - before.keys():
            if name not in made:
                self.found(f"{command_name} leaves a file", f"{example}: {name}")

    def attack(self, command_name, neighbour, kind):
        output, words = COMMANDS[command_name]
        folder = self.case()
        name = neighbour.format(output)
        kind(folder / name, self.cases)
        before = tree(folder)
        run = run_limited([PROGRAM, *map(str, words)], cwd=folder)
        self.tried += 1
        example = f"{kind.__name__} {name}"
        if run.status != 0 and (wrong := unrefused(run)):
            self.found(f"{command_name} {wrong}", f"{example}: {run.err[-200:]!r}")
        made = {output} if command_name not in ("verify", "show", "--estimate") else set()
        if run.status == 0 and made:
            # The file for viewers goes with its field, where the user has none of that name: one
            # without a byte is none, and a link that leads to nothing is written where it leads.
            viewers = f"{output}.xdmf"
            if viewers not in before or kind is empty:
                made.add(viewers)
            elif kind is link_to_nothing and name == viewers:
                made.add("nowhere")
        self.check_survival(command_name, folder, before, made, example)
        shutil.rmtree(folder)

    def test_beside_what_is_read_and_written(self):
        cases = [(c, n, k) for c in COMMANDS for n in NEIGHBOURS for k in KINDS]
        # The names of its own that the program might have had.
        likely = [
            (c, n, k) for c, n, k in cases if n in NEIGHBOURS[:4] and k in (text, finished_field)
        ]
        for case in cases if FULL else likely[::4] + self.random.sample(cases, 20):
            self.attack(*case)

    def test_in_the_place_of_an_output(self):
        outputs = {
            "compute": [*REQUEST, "output"],
            "--part": [*REQUEST, "output", "--part", "1/1"],
            "--resume": [*REQUEST, "output", "--resume"],
            "join": ["join", "output", *PARTS],
            "extract": ["extract", "whole.h5", "output"],
        }
        for command_name, words in outputs.items():
            for kind in KINDS:
                for overwrite in ([], ["--overwrite"]):
                    if not FULL and self.random.random() < 0.7:
                        continue
                    for ranks in (1, 2) if command_name in ("compute", "--resume") else (1,):
                        if command_name == "--resume" and overwrite:
                            continue
                        self.attack_output(command_name, [*words, *overwrite], kind, ranks)

    def attack_output(self, command_name, words, kind, ranks):
        # Values go into pipes, which wait for their readers.
        if (
            command_name == "extract"
            and kind is pipe
            or ranks > 1
            and not FULL
            and kind is not pipe
        ):
            return
        folder = self.case()
        output = folder / ("output.part-1-of-1" if command_name == "--part" else "output")
        kind(output, self.cases)
        before = tree(folder)
        run = run_limited(command(*words, ranks=ranks), cwd=folder)
        self.tried += 1
        overwrite = "--overwrite" in words
        label = f"{command_name}{' --overwrite' if overwrite else ''}"
        example = f"{kind.__name__} as output, {ranks} processes"
        if run.status != 0 and (wrong := unrefused(run)):
            self.found(f"{label} {wrong}", f"{example}: {run.err[-200:]!r}")
        plain = kind in (text, empty, finished_field, hard_link, read_only, link_to_file)
        if not overwrite and run.status == 0 and kind is not link_to_nothing:
            self.found(f"{label} takes what exists for its output", example)
        if overwrite and run.status != 0 and kind in (text, empty, finished_field):
            self.found(f"{label} does not overwrite", f"{example}: {run.err[-200:]!r}")
        made = set()
        if run.status == 0:
            made = {output.name, f"{output.name}.xdmf", "nowhere"}
            if overwrite and plain:
                made |= {"a user's file", "nowhere.xdmf", "a user's file.xdmf"}
        self.check_survival(label, folder, before, made, example)
        if stat.S_IFMT(output.lstat().st_mode) != stat.S_IFMT(before[output.name][1]):
            self.found(f"{label} replaces what is no file", example)
        if "a user's other name" in before:
            self.check_survival(label, folder,
                                {"a user's other name": before["a user's other name"]},
                                set(tree(folder)), example)  # fmt: skip
        shutil.rmtree(folder)

    def test_of_inputs_are_never_outputs(self):
        def same(folder, name):
            return name

        def spelt_otherwise(folder, name):
            return f"../{folder.name}/./{name}"

        def symbolic_link(folder, name):
            (folder / "alias").symlink_to(name)
            return "alias"

        def another_name(folder, name):
            (folder / "alias").hardlink_to(folder / name)
            return "alias"

        (self.cases / "request.toml").write_text(
            f"transform = {[float(w) for w in REQUEST[1:17]]}\nsizes = [7, 5, 6]\n"
            "l = 5e-3\ns = 7.5e-3\nk = 4188.79\n"
        )
        (self.cases / "rule.txt").write_text("-0.57735 1 0.57735 1\n")
        for alias in (same, spelt_otherwise, symbolic_link, another_name):
            for overwrite in ([], ["--overwrite"]):
                for name, words in [
                    ("whole.h5", ["extract", "whole.h5"]),
                    (PARTS[0], ["join", None, *PARTS]),
                    ("request.toml", ["--request", "request.toml"]),
                    ("rule.txt", [*REQUEST, "--table", "rule.txt"]),
                ]:
                    folder = self.case()
                    output = alias(folder, name)
                    words = [output if word is None else word for word in words]
                    words += [] if output in words and words[0] == "join" else [output]
                    before = tree(folder)
                    run = run_limited([PROGRAM, *map(str, words), *overwrite], cwd=folder)
                    example = f"{alias.__name__}: {' '.join(map(str, words[-3:] + overwrite))}"
                    self.expect_refusal("an input as output", run, example)
                    self.check_survival("an input as output", folder, before, set(), example)
                    shutil.rmtree(folder)

    def test_of_inputs_that_look_like_temporary_ones(self):
        for ending in ("new", "compressing", "lock", "tmp", "xdmf"):
            for words, made in [
                (["extract", f"x.{ending}", "x"], {"x"}),
                (["join", "x", f"x.{ending}", PARTS[1]], {"x", "x.xdmf"}),
                ([f"x.{ending}", "--resume"], set()),
            ]:
                folder = self.case()
                source = PARTS[0] if words[0] == "join" else "whole.h5"
                (folder / source).rename(folder / f"x.{ending}")
                before = tree(folder)
                run = run_limited([PROGRAM, *words], cwd=folder)
                example = " ".join(words)
                self.expect_success("an input with an unusual name", run, example)
                self.check_survival("an input with an unusual name", folder, before, made, example)
                if words[0] == "extract" and run.status == 0:
                    if (folder / "x").stat().st_size != 210 * 16:
                        self.found("extract gives other values", example)
                shutil.rmtree(folder)

    def test_that_are_long_are_taken_or_refused_at_once(self):
        for length in range(200, 258) if FULL else (200, 230, 246, 250, 255, 256):
            for words in ([], ["--part", "1/1"], ["--compress", "1"]):
                folder = self.at("long")
                folder.mkdir()
                name = "x" * (length - 3) + ".h5"
                run = run_limited([PROGRAM, *OTHER, name, *words], cwd=folder)
                self.tried += 1
                example = f"{length} characters, {' '.join(words)}"
                if run.status != 0:
                    if wrong := unrefused(run):
                        self.found(f"a long name {wrong}", f"{example}: {run.err[-200:]!r}")
                    if "computing" in run.err:
                        self.found("a long name is refused when all is computed", example)
                    for left in os.listdir(folder):
                        self.found("a long name is refused and leaves a file", f"{example}: {left}")
                shutil.rmtree(folder)

    def test_that_are_unusual(self):
        for name in UNUSUAL:
            folder = self.case()
            example = repr(name)
            part = folder / f"{name}.part-1-of-1.h5"
            for words, made in [
                ([*REQUEST, f"./{name}.h5"], folder / f"{name}.h5"),
                ([*REQUEST, f"./{name}.h5", "--part", "1/1"], part),
                (["join", f"./{name} joined.h5", f"./{part.name}"], folder / f"{name} joined.h5"),
                (["verify", f"./{name}.h5", f"./{part.name}", f"./{name} joined.h5"], None),
                (["extract", f"./{name} joined.h5", f"./{name}"], folder / name),
                ([f"./{name}.h5", "--resume", "--compress", "1"], folder / f"{name}.h5"),
            ]:
                run = run_limited([PROGRAM, *words], cwd=folder)
                if not self.expect_success("an unusual name:", run, f"{example}, {words[0]}"):
                    break
                if made and not made.exists():
                    self.found("an unusual name: the file has another", example)
                xdmf = made and made.with_name(f"{made.name}.xdmf")
                if xdmf and xdmf.exists():
                    self.check_xdmf(xdmf, made.name, example)
            else:
                if (folder / name).stat().st_size != 210 * 16:
                    self.found("an unusual name: extract gives other values", example)
            shutil.rmtree(folder)

    def check_xdmf(self, path, name, example):
        try:
            root = xml.etree.ElementTree.parse(path).getroot()
        except xml.etree.ElementTree.ParseError as error:
            self.found("an unusual name: the file for viewers is no XML", f"{example}: {error}")
            return
        item = root.find(".//Attribute/DataItem").text.strip()
        # There a colon ends the name of a file, and cannot be in it.
        if ":" in name or item != f"{name}:/magnitude":
            self.found(
                "an unusual name: the file for viewers names another", f"{example}: {item!r}"
            )

    def test_of_links_stay_links(self):
        """A field is computed, gone on with, compressed and joined behind a link."""
        for words, target in [
            ([*REQUEST, "link", "--no-magnitude"], "field.h5"),
            (["link", "--resume"], "unfinished.h5"),
            (["link", "--resume", "--compress", "1"], "whole.h5"),
        ]:
            for far in (False, True):
                folder = self.case()
                place = self.at(f"far {self.count}") if far else folder
                place.mkdir(exist_ok=True)
                if far and (folder / target).exists():
                    (folder / target).rename(place / target)
                (folder / "link").symlink_to(os.path.relpath(place / target, folder))
                run = run_limited([PROGRAM, *map(str, words)], cwd=folder)
                example = f"{' '.join(map(str, words[-3:]))} -> {target}"
                self.tried += 1
                if run.status != 0 and (wrong := unrefused(run)):
                    self.found(f"an output behind a link {wrong}", example)
                if not (folder / "link").is_symlink():
                    self.found("a link is replaced by the field", example)
                elif run.status == 0:
                    whole = of_the_field(view(self.cases / "whole.h5"))
                    seen = of_the_field(view(place / target))
                    if any(seen.get(key) != about for key, about in whole.items()):
                        self.found("the field behind a link is another", example)
                shutil.rmtree(folder)
                if far:
                    shutil.rmtree(place)

    def test_of_a_compressed_field_keeps_owner_mode_and_other_names(self):
        modes = [(0o600, 0), (0o640, 0), (0o664, 12345)]
        # Others may not go on with what they may not write, and lose such bits with what they write.
        if os.geteuid() == 0:
            modes += [(0o444, 0), (0o2755, 0)]
        for mode, owner in modes:
            folder = self.case()
            path = folder / "whole.h5"
            if os.geteuid() == 0:
                os.chown(path, owner, owner)
            path.chmod(mode)
            about = path.stat()
            run = run_limited([PROGRAM, "whole.h5", "--resume", "--compress", "1"], cwd=folder)
            if self.expect_success("--compress", run, f"mode {mode:o}"):
                after = path.stat()
                for what in ("st_mode", "st_uid", "st_gid"):
                    if getattr(after, what) != getattr(about, what):
                        self.found(f"--compress changes {what}", f"{getattr(about, what):o} to "
                                   f"{getattr(after, what):o}")  # fmt: skip
            shutil.rmtree(folder)
        folder = self.case()
        (folder / "second name").hardlink_to(folder / "whole.h5")
        run = run_limited([PROGRAM, "whole.h5", "--resume", "--compress", "1"], cwd=folder)
        self.tried += 1
        if run.status == 0:
            for name in ("whole.h5", "second name"):
                if run_limited([PROGRAM, "verify", name], cwd=folder).status != 0:
                    self.found("--compress destroys a field with two names", name)
        elif wrong := unrefused(run):
            self.found(f"--compress of a field with two names {wrong}", run.err[-200:])

    def test_of_an_output_that_is_replaced_during_the_run(self):
        request = [*options(sizes=(30, 20, 20), order=3000), "--slab", "300"]
        for ranks in (1, 3) if FULL else (1,):
            for kind in (text, finished_field, empty_folder, None) if FULL else (finished_field,):
                folder = self.case()
                process = self.start(*request, f"{folder.name}/field.h5", ranks=ranks)
                path = folder / "field.h5"
                while not path.exists() and process.poll() is None:
                    time.sleep(0.005)
                time.sleep(0.1)
                path.rename(folder / "moved away")
                if kind:
                    kind(path, self.cases)
                before = tree(folder).get("field.h5")
                out, err = process.communicate(timeout=120)
                example = f"{kind.__name__ if kind else 'nothing'} in its place, {ranks} processes"
                self.tried += 1
                if process.returncode == 0 or "is complete" in out:
                    self.found("a replaced output is called complete", example)
                elif wrong := unrefused(Run(process.returncode, out, err, 0)):
                    self.found(f"a replaced output {wrong}", f"{example}: {err[-200:]!r}")
                if tree(folder).get("field.h5") != before:
                    self.found("what took the output's place is changed", example)
                shutil.rmtree(folder)

    def test_of_impostors_of_temporary_files(self):
        """Whatever a killed run leaves, a user's file of that name stays."""
        shim = {"LD_PRELOAD": os.environ["PISTONFIELD_FAILING_WRITES"], "WRITES_THEN": "SIGKILL"}
        names = set()
        for words in (["field.h5"], ["field.h5", "--compress", "1"]):
            for writes in range(0, 120, 1 if FULL else 20):
                folder = self.case()
                before = set(os.listdir(folder))
                environment = {**os.environ, **shim, "WRITES": str(writes)}
                run_limited([PROGRAM, *REQUEST, *words], cwd=folder, env=environment)
                names |= set(os.listdir(folder)) - before - {"field.h5", "field.h5.xdmf"}
                shutil.rmtree(folder)
        for name in sorted(names):
            for kind in KINDS if FULL else KINDS[:3]:
                for words in ([*REQUEST, "field.h5"], [*REQUEST, "field.h5", "--compress", "1"]):
                    folder = self.case()
                    kind(folder / name, self.cases)
                    before = tree(folder)
                    run = run_limited([PROGRAM, *words], cwd=folder)
                    self.tried += 1
                    example = f"{kind.__name__} {name}"
                    if run.status != 0 and (wrong := unrefused(run)):
                        self.found(
                            f"beside an impostor the run {wrong}", f"{example}: {run.err[-200:]!r}"
                        )
                    made = {"field.h5", "field.h5.xdmf"}
                    self.check_survival("a run beside an impostor", folder, before, made, example)
                    shutil.rmtree(folder)


if __name__ == "__main__":
    main()
