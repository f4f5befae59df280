# SPDX-License-Identifier: Apache-2.0
"""What proofs with cameras on a network stand on: counts, checks, a program that grabs, and cables that can be cut."""

import contextlib
import json
import math
import os
import queue
import subprocess
import sys
import threading
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tests" / "serving"))
from namespaces import Neighbour, Server, run

CAMERA = "127.0.0.2"
MAX_IMAGES_A_START = 50_000  # a camera counts no more than 65,535 of one acquisition
PARTS = {"full": 1, "fiftieth": 50, "brief": 1000}
AS_NOBODY = ["chrt", "--other", "0", "setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups", "--bounding-set=-all",
             "--inh-caps=-all"]


class Stage:
    """The programs, how much of a proof is run, and what did not hold."""

    def __init__(self, folder, scale):
        self.tool, self.client = str(Path(folder) / "zelmo"), str(Path(folder) / "gige_soak")
        self.part = PARTS[scale]
        self.failures = []

    def of(self, count, least=1):
        return max(least, math.ceil(count / self.part))

    def expect(self, holds, what):
        print(f"  {'ok    ' if holds else 'FAILED'}  {what}", flush=True)
        if not holds:
            self.failures.append(what)

    def expect_intact(self, counts):
        bad = {name: counts[name] for name in ("torn", "doubled", "disordered", "strange", "told_again") if counts[name]}
        self.expect(not bad, f"none torn, doubled, out of order or another's, no removal told twice {bad or ''}")

    def expect_flat(self, before, after, kilobytes=20_000):
        print(f"  {before} → {after}")
        for what, room in (("resident kB", kilobytes), ("descriptors", 2), ("threads", 1)):
            if what in before:
                self.expect(after[what] <= before[what] + room, f"{what}: flat")


@contextlib.contextmanager
def undisturbed():
    """Programs that are started run before all others, where that is allowed, and but for those that are pinned to another
    core on the first one: what else the machine does is not asked."""
    cores = os.sched_getaffinity(0)
    os.sched_setaffinity(0, {min(cores)})
    try:
        os.sched_setscheduler(0, os.SCHED_RR, os.sched_param(10))
    except PermissionError:
        print("  no real-time priority here: other programs disturb", flush=True)
    try:
        yield
    finally:
        os.sched_setscheduler(0, os.SCHED_OTHER, os.sched_param(0))
        os.sched_setaffinity(0, cores)


def nobody_prefix():
    """Before a command that a user without rights is to run; nothing where this program is run by one."""
    users = int(Path("/proc/self/uid_map").read_text().split()[2])
    return AS_NOBODY if os.geteuid() == 0 and users > 65534 else []


def pinned(core, *command):
    return ["taskset", "-c", str(core % os.cpu_count()), *command]


def settings(option, **values):
    return [part for name, value in values.items() for part in (option, f"{name}={value}")]


def small_images(fps=100, width=64, height=48, **others):
    """Settings of the camera for images that say which they are."""
    return settings("--set", Width=width, Height=height, PixelFormat="Mono8", TestImageSelector="FrameCounter",
                    ExposureTime=100, AcquisitionFrameRateEnable=1, AcquisitionFrameRate=fps, **others)


def grab(stage, *arguments, prefix=(), address=CAMERA, core=1, timeout=20_000):
    command = [*prefix, *pinned(core, stage.client, "--address", address, *map(str, arguments))]
    return json.loads(run(*command, timeout=timeout))


def statistics_of(counts):
    return {name.removeprefix("Statistic_"): value for name, value in counts["statistics"].items()}


class Follower:
    """A program that grabs, tells what happens to it, and may be told to begin again."""

    def __init__(self, stage, *arguments, prefix=(), address=CAMERA):
        command = [*prefix, stage.client, "--address", address, "--follow", "--images", str(10**12), *map(str, arguments)]
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                        text=True)
        self.events, self.report, self.errors, self.ended = queue.Queue(), None, [], 0
        self.threads = [threading.Thread(target=self._read), threading.Thread(target=self._read_errors)]
        for thread in self.threads:
            thread.start()

    def _read(self):
        for line in self.process.stdout:
            event = json.loads(line)
            if "event" in event:
                self.events.put(event)
            else:
                self.report = event
        self.events.put({"event": "gone"})

    def _read_errors(self):
        self.errors.extend(self.process.stderr)

    def next(self, name, timeout=30):
        """The next event of that name, and the names of those before it."""
        before, last = [], time.monotonic() + timeout
        while True:
            try:
                event = self.events.get(timeout=max(0.01, last - time.monotonic()))
            except queue.Empty:
                raise AssertionError(f"no '{name}' came within {timeout} s, but {before}") from None
            self.ended += event["event"] == "closed"
            if event["event"] == name:
                return event, before
            if event["event"] == "gone":
                raise AssertionError(f"the program ended: {''.join(self.errors[-3:])}")
            before.append(event["event"] + (": " + event["why"] if "why" in event else "") +
                          (" again" if event.get("times", 1) > 1 else ""))

    def restart(self):
        """Ends the life that is under way, if it still is the one that the events taken so far tell of."""
        self.tell(f"restart {self.ended}")

    def tell(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def images(self):
        self.tell("count")
        return self.next("count")[0]["images"]

    def __enter__(self):
        return self

    def __exit__(self, kind, *_):
        try:
            if kind is None:
                self.tell("end")
            self.process.stdin.close()
            self.process.wait(timeout=90)
        except (BrokenPipeError, subprocess.TimeoutExpired):
            self.process.kill()
        for thread in self.threads:
            thread.join()
        self.process.wait()
        if kind is None and self.report is None:
            raise AssertionError(f"the program ended with {self.process.returncode}: {''.join(self.errors[-3:])}")


class Cable(Neighbour):
    """A network card here and one in another namespace, joined by a cable."""

    def __init__(self, here="served", there="client", address="10.1.0.2/24", other_address="10.1.0.1/24", mtu=1500):
        super().__init__()
        self.here, self.other_end, self.there = here, there, self.inside
        self.connect(here, address, there, other_address)
        if mtu != 1500:
            self.ip(f"link set {here} mtu {mtu}")
            self.ip_there(f"link set {there} mtu {mtu}")

    def ip(self, line):
        run("ip", *line.split())

    def ip_there(self, line):
        run(*self.there, "ip", *line.split())

    def cut(self):
        """@return when, by the clock of all processes"""
        when = time.monotonic()
        self.ip(f"link set {self.here} down")
        return when

    def mend(self):
        self.ip(f"link set {self.here} up")
