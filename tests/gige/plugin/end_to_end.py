#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The tool with GigE Vision cameras: our served ones, and the fake camera of another project.

end_to_end.py TOOL [CASE…]
Runs in a network namespace of its own, where there is nothing but lo. Exits with 77 and a line where a program is
missing or no namespace can be had; with 1 if CI is set.
"""

import json
import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "serving"))
from namespaces import Server, enter_namespace, run

PROGRAMS = ["arv-fake-gv-camera-0.8", "tshark", "ip", "unshare"]
STRANGER = "127.0.0.1"


def zelmo(*arguments, **options):
    return run(TOOL, *arguments, **options)


def events(text):
    return [json.loads(line) for line in text.splitlines()]


def summary(text):
    return next(event for event in events(text) if event["type"] == "summary")


class Stranger:
    """The other project's fake camera."""

    def __init__(self):
        self.process = subprocess.Popen([PROGRAMS[0], "-i", "lo"], stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        for _ in range(10):
            if "HarlixGigE" in zelmo("list", "--json"):
                return
        raise AssertionError("the stranger's camera is not found")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()


class ToolTest(unittest.TestCase):
    def assert_whole(self, images, *options):
        counts = summary(zelmo("grab", "-n", str(images), "--json", *options))
        self.assertEqual((counts["frames"], counts["failed"], counts["lost"]), (images, 0, 0), counts)


class OnTheStranger(ToolTest):
    def test_list_features_and_500_frames(self):
        with Stranger():
            self.assertIn("Fake", zelmo("list"))
            self.assertIn("Width", zelmo("features"))
            zelmo("set", "Width=256", "Height=128")
            self.assertIn("256", zelmo("get", "Width"))
            self.assert_whole(500, "--set", "Width=256", "--set", "Height=128", "--set", "AcquisitionFrameRate=100")

    def test_killed_and_opened_again(self):
        with Stranger():
            zelmo("get", "Width")
            with subprocess.Popen([TOOL, "grab", "-n", "100000"], stdout=subprocess.PIPE, stderr=subprocess.PIPE) as first:
                time.sleep(2)
                first.kill()
            self.assert_whole(10)
        with Stranger():
            self.assert_whole(10)


class OnOurs(ToolTest):
    def test_verbs(self):
        with Server(TOOL, "--cameras", "2") as server:
            listed = zelmo("list")
            for camera in server.cameras:
                self.assertIn(camera["address"], listed)
            serial = server.cameras[0]["serial_number"]
            self.assertIn(server.cameras[0]["address"], zelmo("info", serial))
            self.assertIn("Width", zelmo("features", "-d", serial))
            zelmo("set", "-d", serial, "Width=640", "Height=480")
            self.assertIn("640", zelmo("get", "-d", serial, "Width"))
            self.assert_whole(100, "-d", serial)
            zelmo("grab", "--all", "-n", "20")

    def test_chunks_and_events(self):
        with Server(TOOL):
            out = zelmo("grab", "-n", "10", "--json", "--chunks", "Timestamp", "--events", "ExposureEnd")
            self.assertGreaterEqual(out.count("ExposureEnd"), 9)
            self.assertIn("ChunkTimestamp", out)

    def test_reconnect(self):
        with Server(TOOL) as server:
            with subprocess.Popen([TOOL, "grab", "--reconnect", "60", "-n", "200", "--json"], stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE, text=True) as grab:
                time.sleep(2)
                server.process.send_signal(signal.SIGSTOP)
                time.sleep(6)
                server.process.send_signal(signal.SIGCONT)
                out, errors = grab.communicate(timeout=100)
            self.assertEqual(grab.returncode, 0, errors)
            self.assertEqual(summary(out)["frames"], 200, errors)

    def test_whole_sessions_hold_nothing_malformed_and_each_command_its_acknowledge(self):
        with tempfile.TemporaryDirectory() as folder, Server(TOOL):
            capture = os.path.join(folder, "session.pcap")
            with subprocess.Popen(["tshark", "-q", "-i", "lo", "-w", capture], stderr=subprocess.PIPE, text=True) as tshark:
                while "Capturing" not in tshark.stderr.readline():
                    pass
                time.sleep(1)
                zelmo("grab", "-n", "20", "--json", "--events", "ExposureEnd")
                time.sleep(1)
                tshark.send_signal(signal.SIGINT)
                tshark.wait()
            self.assertEqual(run("tshark", "-r", capture, "-Y", "gvcp && _ws.malformed"), "")

            def exchanged(own, other):  # port and id of each
                return run("tshark", "-r", capture, "-Y", f"gvcp && udp.{own}port==3956", "-T", "fields",
                           "-e", f"udp.{other}port", "-e", "gvcp.cmd.req_id").splitlines()

            commands = exchanged("dst", "src")
            self.assertGreater(len(commands), 50)
            self.assertEqual(set(commands), set(exchanged("src", "dst")))


if __name__ == "__main__":
    enter_namespace(PROGRAMS)
    TOOL = sys.argv.pop(1)
    run("ip", "link", "set", "lo", "up")
    os.environ["ZELMO_GIGE"] = "lo"
    os.environ["ZELMO_CAMEMU"] = "0"
    unittest.main()
