# SPDX-License-Identifier: Apache-2.0
"""Cameras that fall silent, cables that are cut, and heartbeats that must not wait."""

import math
import random
import time
from concurrent.futures import ThreadPoolExecutor

from .relay import BeatWatch, DescriptionRelay
from .stage import CAMERA, Cable, Follower, Server, grab, settings, small_images

WIRE = "10.1.0.2"


def silences(stage):
    """Cameras that fall silent: told once, within the time-out and a second, and grabbed from again; one in ten is not
    waited for."""
    count, lanes = stage.of(2000, 8), 4  # most of the time passes with waiting
    print(f"silences: {count} removals, {lanes} cameras at a time", flush=True)
    with ThreadPoolExecutor(lanes) as pool:
        for lane in pool.map(lambda lane: Silences(stage, lane, math.ceil(count / lanes)), range(lanes)):
            lane.check()


class Silences:
    """A camera that falls silent again and again."""

    HEARTBEAT = 0.5

    def __init__(self, stage, lane, count):
        self.stage, self.count, self.latest, self.early, self.stops = stage, count, 0, 0, math.ceil(count / 10)
        address = f"127.0.1.{lane + 1}"
        with Server(stage.tool, "--address", address) as self.server:
            with self.follow(address, self.HEARTBEAT) as follower:
                for _ in range(count):
                    follower.next("grabbing")
                    began = self.fall_silent(1600)
                    self.latest = max(self.latest, follower.next("removed")[0]["time"] - began)
                follower.next("grabbing")
            self.told = follower.report
            with self.follow(address, 3) as follower:  # none of these silences is as long
                for number in range(self.stops):
                    follower.next("grabbing")
                    self.fall_silent(2500)
                    time.sleep((13 + 5 * number) % 16 * 0.1)  # the heartbeat strikes it first where that is more than a second
                    follower.restart()
                    before = follower.next("closed")[1]
                    self.early += "removed" not in before
                follower.next("grabbing")
            self.stopped = follower.report

    def follow(self, address, heartbeat):
        return Follower(self.stage, *settings("--connection", HeartbeatTimeout=int(heartbeat * 1000)), *small_images(),
                        address=address)

    def fall_silent(self, milliseconds):
        """@return when; it strikes at the next command"""
        began = time.monotonic()
        self.server.tell(f"fault silence,{milliseconds}x1")
        return began

    def check(self):
        # The command that the silence strikes comes a third of the time-out later.
        check_follower(self.stage, self.told, self.count, self.latest, self.HEARTBEAT * 4 / 3)
        check_follower(self.stage, self.stopped, 0)
        self.stage.expect(self.early == self.stops, f"{self.stops} grabs were ended before a removal could be told")


def check_follower(stage, report, removals=None, latest=None, heartbeat=0):
    """What holds of each; of removals where they are known."""
    print(f"  {report['removals']} removals; {report['complete']} images, {report['failed']} failed; longest stop "
          f"{report['longest_stop_ms']:.0f} ms, longest end {report['longest_close_ms']:.0f} ms, longest vain opening "
          f"{report['longest_open_ms']:.0f} ms")
    stage.expect_intact(report)
    if removals is not None:
        stage.expect(report["removals"] == removals, f"{removals} were told")
    if latest is not None:
        stage.expect(0 < latest <= heartbeat + 1, f"each within {heartbeat + 1:.2f} s, the latest after {latest:.2f} s")
    stage.expect(report["longest_stop_ms"] < 1000 and report["longest_close_ms"] < 1000, "stop and end take less than a second")
    stage.expect_flat(report["before"], report["after"])


def matrix(stage):
    """Silence at the n-th command of a camera object's life, n rising over all of it."""
    step = 1 if stage.part == 1 else 20
    heartbeat, address, number, lives = 0.5, "127.0.1.9", 1, 0
    print(f"matrix: every {step} commands", flush=True)
    with Server(stage.tool, "--address", address) as server, \
         Follower(stage, *settings("--connection", HeartbeatTimeout=int(heartbeat * 1000)), *small_images(),
                  address=address) as follower:
        follower.next("grabbing")
        while number < 10_000:
            server.tell(f"fault silence,3000@{number}x1")  # beyond the end, and a search
            follower.restart()
            ended = follower.next("closed")[1]
            begun = follower.next("grabbing", 60)[1]
            if any(event.startswith("removed again") for event in ended + begun):
                stage.expect(False, f"silence at command {number}: told twice: {ended + begun}")
            if not begun:  # the next heartbeats are struck
                break
            lives += 1
            number += step
        follower.next("removed")
        follower.next("grabbing", 60)
    print(f"  {lives} lives with a silence before their first image, the last at command {number - step}")
    stage.expect(lives * step >= 60 and number < 10_000, "all commands up to the first image were struck")
    check_follower(stage, follower.report)


def links(stage):
    """Real link downs: a short one is got over; a long one is told once; stop and end do not wait for that."""
    count = stage.of(200, 6)
    heartbeat = 3.0
    latest = told = 0
    print(f"links: {count} link downs", flush=True)
    with Cable() as cable, Server(stage.tool, "--address", WIRE, "--interface", "served"):
        arguments = [*settings("--connection", HeartbeatTimeout=int(heartbeat * 1000)), *small_images()]
        with Follower(stage, *arguments, prefix=[*cable.there, "env", "ZELMO_GIGE=client"], address=WIRE) as follower:
            follower.next("grabbing")
            for number in range(count):
                kind = ("short", "long", "stopped")[number % 3]
                if number % 2 == 0:
                    cut, mend = cable.cut, cable.mend
                else:  # the host's own card
                    def cut():
                        when = time.monotonic()
                        cable.ip_there("link set client down")
                        return when

                    def mend():
                        cable.ip_there("link set client up")
                began = cut()
                if kind == "short":
                    time.sleep(1)
                    mend()
                    got_over(stage, follower)
                    continue
                if kind == "long":
                    latest = max(latest, follower.next("removed")[0]["time"] - began)
                    told += 1
                else:
                    time.sleep(0.5)
                    follower.restart()
                before = follower.next("closed")[1]
                if kind == "stopped" and "removed" in before:
                    stage.expect(False, f"link down {number}: ended before the removal was told")
                mend()
                follower.next("grabbing")
    check_follower(stage, follower.report, told, latest, heartbeat)


def got_over(stage, follower):
    """Images go on, in the same session, and no removal is told."""
    images, last = follower.images(), time.monotonic() + 5
    while follower.images() < images + 20:
        if time.monotonic() > last:
            stage.expect(False, "images go on after a short cut")
            return
        time.sleep(0.1)
    follower.tell("count")
    _, before = follower.next("count")
    if set(before) - {"count"}:
        stage.expect(False, f"a short cut is got over: {before}")


def cuts(stage):
    """The life of a camera object, again and again, with the network cut at any moment of it."""
    count = stage.of(1000, 4)
    rng = random.Random(5)
    told = latest = 0
    print(f"cuts: {count} cycles", flush=True)
    with Cable() as cable, Server(stage.tool, "--address", WIRE, "--interface", "served"):
        arguments = [*settings("--connection", HeartbeatTimeout=500), *small_images()]
        with Follower(stage, *arguments, prefix=[*cable.there, "env", "ZELMO_GIGE=client"], address=WIRE) as follower:
            for _ in range(count):
                follower.next("grabbing", 60)
                time.sleep(rng.random() / 5)
                began = cable.cut()
                if rng.random() < 0.5:
                    removed = follower.next("removed")[0]
                    latest = max(latest, removed["time"] - began)
                    told += 1
                    follower.next("closed")
                else:
                    time.sleep(rng.random() / 2)
                    follower.restart()
                    told += "removed" in follower.next("closed")[1]
                time.sleep(rng.random() / 3)
                cable.mend()
                if rng.random() < 0.5:  # now in the middle of its opening
                    time.sleep(rng.random() / 5)
                    cable.cut()
                    time.sleep(rng.random())
                    cable.mend()
            follower.next("grabbing", 60)
    report = follower.report
    print(f"  {report['sessions']} sessions, {report['complete']} images; longest stop {report['longest_stop_ms']:.0f} ms, "
          f"end {report['longest_close_ms']:.0f} ms, vain opening {report['longest_open_ms']:.0f} ms; removal told "
          f"{latest:.2f} s after the cut at the latest")
    stage.expect_intact(report)
    stage.expect(report["sessions"] > count, f"{count} cycles")
    stage.expect(report["removals"] >= told, f"removals were told, at least {told}")
    stage.expect(latest <= 1.5, "each within 1.5 s")
    stage.expect(report["longest_stop_ms"] < 1000 and report["longest_close_ms"] < 1000, "stop and end take less than a second")
    stage.expect_flat(report["before"], report["after"])


def heartbeat(stage):
    """Registers are hammered; the description has 2 MB: the heartbeat keeps its pace."""
    seconds, timeout_ms = stage.of(60, 6), 1500
    arguments = ["--seconds", seconds, "--images", 10**12, "--hammers", 8, *settings("--connection", HeartbeatTimeout=timeout_ms),
                 *settings("--stream", AutoPacketSize=0)]
    print(f"heartbeat: 8 threads for {seconds} s, beside images of 640 × 480 at 100 fps", flush=True)
    with Server(stage.tool, "--address", CAMERA), BeatWatch(CAMERA) as watch:
        counts = grab(stage, *arguments, *small_images(100, 640, 480))
    check_heartbeat(stage, watch, counts, timeout_ms)
    stage.expect(counts["complete"] > 50 * seconds and counts["failed"] == 0, f"{counts['complete']} images meanwhile")

    print(f"heartbeat: the same with a description of 2 MB, without images", flush=True)
    relayed = "127.0.0.3"
    with Server(stage.tool, "--address", CAMERA), DescriptionRelay(relayed, CAMERA, 2_000_000) as relay, \
         BeatWatch(relayed) as watch:
        counts = grab(stage, "--idle", 10**6, *arguments, address=relayed)
    stage.expect(relay.described >= 2_000_000, f"{relay.described} bytes of description were read")
    check_heartbeat(stage, watch, counts, timeout_ms)


def check_heartbeat(stage, watch, counts, timeout_ms):
    gap = watch.longest_gap() * 1000
    print(f"  {counts['accesses']} accesses, {counts['failed_accesses']} failed; {len(watch.times)} heartbeats, "
          f"longest gap {gap:.0f} ms of {timeout_ms} ms")
    stage.expect(counts["accesses"] > 1000 and counts["failed_accesses"] == 0, "registers were accessed, and none failed")
    stage.expect(gap <= timeout_ms * 2 / 3, "the longest gap is at most 2/3 of the time-out")
