# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Three hosts, each with a network, a name, processes and mounts of its own, which mpirun reaches
through a launch agent: folders that they do not share, a host that dies, a link that goes down. All
ends, or says what it waits for.

Network namespaces are the hosts, so the superuser has to run it; for others it is skipped."""

import os
import re
import shutil
import signal
import subprocess
import sys
import time
import unittest

import h5py
from attacks import FULL, Attack, Run, main
from judges import of_the_field, view
from programs import MPIRUN, PROGRAM, options

INSIDE = "PISTONFIELD_HOSTS"
NAMESPACES = ["unshare", "--net", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
ADDRESS = "10.77.0."
HOSTS = (1, 2, 3)
# How long a run may be silent about a host that does not answer.
SILENCE = 240

# Stands for ssh: ADDRESS WORDS... runs the words on a host. mounts.N says what that mounts first.
AGENT = """#!/bin/sh
number=${1##*.}
shift
echo $$ >"$HOSTS_FOLDER/pid.$number"
mounts=$(cat "$HOSTS_FOLDER/mounts.$number" 2>/dev/null || echo :)
exec ip netns exec "host$number" unshare --uts --mount --pid --fork --kill-child --mount-proc \\
    sh -c "hostname node$number; $mounts; exec sh -c '$*'"
"""


def why_not():
    """Why there can be no hosts here, or None."""
    if os.geteuid() != 0:
        return "no hosts: only the superuser can make them of namespaces"
    for program in ("ip", "unshare", "mount"):
        if not shutil.which(program):
            return f"no hosts: there is no {program}"
    probe = "mount -t tmpfs none /mnt && ip link add probe0 type bridge && ip link add v0 type veth"
    run = subprocess.run([*NAMESPACES, "sh", "-c", probe], capture_output=True, text=True)
    return f"no hosts: {run.stderr.strip()}" if run.returncode else None


def shell(script):
    subprocess.run(["sh", "-euc", script], check=True)


def make_hosts():
    """A network of three hosts, in namespaces that end with this process."""
    script = "mkdir -p /run/netns; mount -t tmpfs none /run/netns; ip link set lo up\n"
    script += "ip link add lan0 type bridge; ip link set lan0 up\n"
    for number in HOSTS:
        script += f"""
            ip netns add host{number}
            ip link add link{number} type veth peer name eth0 netns host{number}
            ip link set link{number} master lan0 up
            ip -n host{number} address add {ADDRESS}{number}/24 dev eth0
            ip -n host{number} link set eth0 up
            ip -n host{number} link set lo up
        """
    shell(script)


class HostsTest(Attack):
    request = options(sizes=(40, 30, 20), order=40) + ["--slab", "300"]
    long_request = options(sizes=(40, 30, 20), order=6000) + ["--slab", "100"]

    @classmethod
    def setUpClass(cls):
        if INSIDE not in os.environ:
            raise unittest.SkipTest(why_not())
        make_hosts()

    def setUp(self):
        super().setUp()
        self.agents = self.at("agents")
        self.agents.mkdir()
        agent = self.agents / "agent"
        agent.write_text(AGENT)
        agent.chmod(0o755)
        self.at("disk/shared").mkdir(parents=True)
        self.environment = {
            **{k: v for k, v in os.environ.items() if not k.startswith("OMPI_MCA_")},
            "HOSTS_FOLDER": str(self.agents),
            "TMPDIR": str(self.agents),
            "OMPI_MCA_plm_rsh_agent": str(agent),
            "OMPI_MCA_pml": "ob1",
            "OMPI_MCA_btl": "self,tcp",
            "OMPI_MCA_btl_tcp_if_include": f"{ADDRESS}0/24",
            "OMPI_MCA_oob_tcp_if_include": f"{ADDRESS}0/24",
        }

    def tearDown(self):
        for pid in self.agents.glob("pid.*"):
            try:
                os.kill(int(pid.read_text()), signal.SIGKILL)
            except ProcessLookupError:
                pass
        super().tearDown()

    def start_hosts(self, *arguments, ranks=3):
        """The program on the three hosts, started from the first one."""
        addresses = ",".join(f"{ADDRESS}{number}:4" for number in HOSTS)
        words = [
            MPIRUN,
            "--host",
            addresses,
            "--map-by",
            "node",
            "--bind-to",
            "none",
            "-n",
            str(ranks),
        ]
        words += [PROGRAM, *map(str, arguments)]
        # Here the first host has the processes and mounts of this test, which can so see the others'.
        name = ["sh", "-c", 'hostname node1; exec "$@"', "sh"]
        words = ["ip", "netns", "exec", "host1", "unshare", "--uts", *name, *words]
        with open(self.agents / "out", "w") as out, open(self.agents / "err", "w") as err:
            return subprocess.Popen(
                words,
                cwd="/",
                env=self.environment,
                stdin=subprocess.DEVNULL,
                stdout=out,
                stderr=err,
            )

    def finish(self, process, patience):
        """How a run ended, or that it did not while patience lasted."""
        begin = time.monotonic()
        try:
            status = process.wait(timeout=patience)
        except subprocess.TimeoutExpired:
            status = None
            process.kill()
            process.wait()
        out, err = ((self.agents / name).read_text() for name in ("out", "err"))
        return Run(status, out, err, time.monotonic() - begin)

    def on_hosts(self, *arguments, patience=60, ranks=3):
        return self.finish(self.start_hosts(*arguments, ranks=ranks), patience)

    @staticmethod
    def words_of(run):
        """What the program itself says on standard error, without progress."""
        lines = [line for line in run.err.splitlines() if line.startswith("pistonfield-run: ")]
        return [line for line in lines if not re.match(r"[a-z-]+: [a-z]+ [0-9]+ %", line)]

    def whole(self, request):
        self.run_program(*request, "whole.h5")
        return of_the_field(view(self.at("whole.h5")))

    def expect_field(self, what, run, whole, path):
        if self.expect_success(what, run, "on three hosts") and of_the_field(view(path)) != whole:
            self.found(f"{what} makes another field", "on three hosts")

    def test_make_the_field_together(self):
        path = self.at("disk/shared/field.h5")
        self.expect_field(
            "a run", self.on_hosts(*self.request, path), self.whole(self.request), path
        )

    def expect_told(self, what, run, *names):
        """That a run ended with one line, and named the host that differs from the others."""
        self.tried += 1
        if run.status is None:
            self.found(f"{what}: the run hangs", run.err[-300:])
            return
        if run.status == 0:
            self.found(f"{what}: the run ends with status 0", run.out[-300:])
        words = self.words_of(run)
        if len(words) != 1:
            self.found(f"{what}: the run says {len(words)} lines", f"{words} {run.err[-300:]}")
        elif names and not any(name in words[0] for name in names):
            self.found(f"{what}: the host is not named", words[0])

    def test_whose_folder_is_not_shared(self):
        folder = self.at("disk/shared")
        mine = self.at("another")
        mine.mkdir()
        tmpfs = f"mount -t tmpfs none {folder}"
        other = f"mount --bind {mine} {folder}"
        cases = {
            "the last host's folder is its own": {3: tmpfs},
            "the first host's folder is its own": {2: other, 3: other},
            "every host's folder is its own": {2: tmpfs, 3: tmpfs},
            "the second host has another folder there": {2: other},
            "the last host lacks the folder": {3: f"mount -t tmpfs none {folder.parent}"},
            "the last host may only read": {
                3: f"mount --bind {folder} {folder}; mount -o remount,bind,ro {folder}"
            },
            "the last host has a copy of the file": {
                3: f"cp {folder}/field.h5 {mine} 2>/dev/null; mount --bind {mine} {folder}"
            },
        }
        whole = self.whole(self.request)
        for resumed in (False, True):
            for what, mounts in list(cases.items()) if FULL else list(cases.items())[:1]:
                shutil.rmtree(folder)
                folder.mkdir()
                if resumed:
                    self.run_program(*self.request, "disk/shared/field.h5")
                    with h5py.File(folder / "field.h5", "r+") as file:
                        file["pressure"][0, 0, 0] += 1
                self.mount(mounts)
                words = ["--resume"] if resumed else self.request
                run = self.on_hosts(*words, folder / "field.h5")
                label = f"{what}{', --resume' if resumed else ''}"
                self.expect_told(label, run, *(f"node{number}" for number in mounts))
                self.mount({})
                if resumed:
                    run = self.run_limited("disk/shared/field.h5", "--resume")
                    self.expect_field(f"{label}, and resumed", run, whole, folder / "field.h5")
                elif left := self.at("disk/shared").iterdir():
                    for path in left:
                        if path.name not in ("field.h5", "field.h5.xdmf"):
                            self.found(f"{label}: a file is left", path.name)

    def mount(self, mounts):
        for number in HOSTS:
            (self.agents / f"mounts.{number}").write_text(mounts.get(number, ":"))

    def start_computing(self, path):
        """A long run that has finished some slabs."""
        process = self.start_hosts(*self.long_request, path)
        deadline = time.monotonic() + 60
        while self.finished(path) < 5:
            self.assertIsNone(process.poll(), (self.agents / "err").read_text())
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.05)
        return process

    @staticmethod
    def finished(path):
        if not path.exists():
            return 0
        try:
            with h5py.File(path) as file:
                return int(sum(file["slabs"]["finished"]))
        except (OSError, KeyError):
            return 0

    @unittest.skipUnless(FULL, "takes minutes: in the full share")
    def test_of_which_one_dies(self):
        whole = self.whole(self.long_request)
        for number in (2, 3):
            path = self.at(f"disk/shared/{number}.h5")
            process = self.start_computing(path)
            os.kill(int((self.agents / f"pid.{number}").read_text()), signal.SIGKILL)
            run = self.finish(process, 90)
            self.tried += 1
            if run.status is None:
                self.found("a run hangs whose host died", run.err[-300:])
            elif run.status == 0:
                self.found("a run whose host died ends with status 0", run.out[-300:])
            self.expect_no_survivors()
            run = self.on_hosts("--resume", path, patience=120)
            self.expect_field("a run resumed after a host died", run, whole, path)

    def expect_no_survivors(self):
        deadline = time.monotonic() + 30
        while time.monotonic() < deadline:
            running = [
                pid
                for pid in filter(str.isdigit, os.listdir("/proc"))
                if self.executable(pid) == PROGRAM
            ]
            if not running:
                return
            time.sleep(0.2)
        self.found("processes outlive a host that died", str(len(running)))
        for pid in running:
            os.kill(int(pid), signal.SIGKILL)

    @staticmethod
    def executable(pid):
        try:
            return os.readlink(f"/proc/{pid}/exe")
        except OSError:
            return None

    @unittest.skipUnless(FULL, "takes minutes: in the full share")
    def test_whose_link_is_down_for_a_while(self):
        path = self.at("disk/shared/field.h5")
        process = self.start_computing(path)
        shell("ip link set link3 down")
        time.sleep(8)
        shell("ip link set link3 up")
        whole = self.whole(self.long_request)
        self.expect_field("a run whose link was down", self.finish(process, 240), whole, path)

    @unittest.skipUnless(FULL, "takes minutes: in the full share")
    def test_whose_link_stays_down(self):
        path = self.at("disk/shared/field.h5")
        process = self.start_computing(path)
        shell("ip link set link3 down")
        deadline = time.monotonic() + SILENCE
        told = None
        while time.monotonic() < deadline and process.poll() is None and not told:
            time.sleep(1)
            err = (self.agents / "err").read_text()
            words = self.words_of(Run(None, "", err, 0))
            told = next((line for line in words if "process 2" in line or "node3" in line), None)
        self.tried += 1
        print(f"of a link that stays down: {told!r}, status {process.poll()}", flush=True)
        if not told and process.poll() is None:
            self.found(
                "a run waits without a word for a host whose link is down", f"for {SILENCE} s"
            )
        shell("ip link set link3 up")
        process.send_signal(signal.SIGKILL)
        process.wait()
        for pid in self.agents.glob("pid.*"):
            try:
                os.kill(int(pid.read_text()), signal.SIGKILL)
            except ProcessLookupError:
                pass
        self.expect_no_survivors()
        run = self.on_hosts("--resume", path, patience=120)
        self.expect_field(
            "a run resumed after its link was down", run, self.whole(self.long_request), path
        )


if __name__ == "__main__":
    if INSIDE not in os.environ and not why_not():
        os.execvpe(
            NAMESPACES[0], [*NAMESPACES, sys.executable, *sys.argv], {**os.environ, INSIDE: "1"}
        )
    main()
