# SPDX-License-Identifier: Apache-2.0
"""Somebody sends to a host that grabs, under names that are not his."""

import re
import subprocess
import sys
import time
from pathlib import Path

from .stage import CAMERA, Follower, Server, settings, small_images

ATTACKER = Path(__file__).with_name("attacker.py")


def use_of(process):
    text = Path(f"/proc/{process.pid}/status").read_text()
    use = {key: int(re.search(rf"{name}:\s+(\d+)", text).group(1))
           for key, name in (("resident kB", "VmRSS"), ("threads", "Threads"))}
    return {**use, "descriptors": len(list(Path(f"/proc/{process.pid}/fd").iterdir()))}


def attack(stage):
    """Strangers, and somebody at the cable, send to a host that grabs: its images are intact, or told as failed."""
    seconds = stage.of(300, 4)
    # Of what the camera is made to look as if it had begun to count anew, ids say nothing any more.
    cases = (("off-path", 0, ("torn", "doubled", "disordered", "strange")), ("on-path", None, ("torn",)), ("forged", None, ("torn",)))
    for kind, most_failed, never in cases:
        print(f"attack: {kind} for {seconds} s, beside images of 320 × 240 at 100 fps", flush=True)
        with Server(stage.tool, "--address", CAMERA), \
             Follower(stage, *small_images(100, 320, 240), *settings("--stream", AutoPacketSize=0)) as follower:
            follower.next("grabbing")
            with subprocess.Popen([sys.executable, str(ATTACKER), CAMERA, str(seconds), "7", kind],
                                  stdout=subprocess.PIPE, text=True) as attacker:
                time.sleep(2)
                before = use_of(follower.process)
                sent = attacker.communicate()[0].strip()
            after = use_of(follower.process)
            images = follower.images()
            time.sleep(1)
            images_afterwards = follower.images() - images
        report = follower.report
        print(f"  {sent} packets; {report['complete']} images complete, {report['failed']} failed, {images_afterwards} in the "
              f"second after; {len(follower.errors)} lines of log")
        for text in report["texts"] + follower.errors[:5]:
            print(f"    {text.strip()}")
        stage.expect(attacker.returncode == 0 and int(sent) > 1000, "packets were sent")
        stage.expect(report["removals"] == 0 and images_afterwards > 10, "grabbing goes on")
        bad = {name: report[name] for name in never if report[name]}
        stage.expect(not bad, f"nothing that is not the camera's passes for it {bad or ''}")
        stage.expect(report["without_text"] == 0, "each failed one says why")
        if most_failed is not None:
            stage.expect(report["failed"] <= most_failed, f"{report['failed']} failed, at most {most_failed}")
        stage.expect_flat(before, after, 4000)
        stage.expect(len(follower.errors) < 20, "the log is flat")
