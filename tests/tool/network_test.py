#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The tool with cameras on Ethernet: their addresses, what keeps them from being reached, and where packets get lost.

network_test.py TOOL
Runs in a network namespace of its own, with the cameras in a second one. Exits with 77 and a line where none can be
had; with 1 if CI is set.
"""

import json
import os
import pty
import subprocess
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "serving"))
from namespaces import Server, enter_namespace, run

SERIAL = "0815-0000"


def zelmo(*words, expect=0):
    """Standard output and error."""
    done = subprocess.run([TOOL, *words], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60)
    if done.returncode != expect:
        raise AssertionError(f"zelmo {' '.join(words)} ended with {done.returncode}: {done.stdout}{done.stderr}")
    return done.stdout + done.stderr


def document(*words):
    return json.loads(run(TOOL, *words, "--json"))


def answer(word, *words):
    """Exit code of a command that asks at a terminal."""
    child, terminal = pty.fork()
    if child == 0:
        os.execv(TOOL, [TOOL, *words])
    told = b""
    while b"[y/N]" not in told:
        told += os.read(terminal, 1000)
    os.write(terminal, word.encode() + b"\n")
    try:
        while os.read(terminal, 1000):
            pass
    except OSError:  # the other end is closed
        pass
    return os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])


class CamerasServer(Server):
    """In the other namespace, at 10.9.9.9: a subnet that this host is not in."""

    def __init__(self, *arguments):
        inside = ["nsenter", "-t", str(CAMERAS.pid), "-n", TOOL, "serve", "--json", "--interface", "cameras",
                  "--manage-addresses", *arguments]
        self.process = subprocess.Popen(inside, stdout=subprocess.PIPE, stderr=subprocess.PIPE, stdin=subprocess.PIPE,
                                        text=True)
        self.cameras = [json.loads(self.process.stdout.readline())]


class Network(unittest.TestCase):
    def address(self):
        return document("ip")["cameras"][0]["ip_address"]

    def test_camera_in_a_foreign_subnet_is_told_and_brought_home(self):
        with CamerasServer() as server:
            mac = server.cameras[0]["mac_address"]
            for words in (["list"], ["info"], ["ip"], ["doctor"]):
                self.assertIn("10.9.9.9/24 is not in host's 192.168.7.0/24", zelmo(*words))
            self.assertEqual(document("list")["devices"][0]["interface"], "host")
            info = document("info")
            self.assertEqual(info["reason"], info["subnet_verdict"])
            self.assertIn("zelmo ip force", zelmo("grab", expect=4))
            refused = zelmo("ip", "force", mac, "192.168.8.20/24", expect=2)
            self.assertIn("out of reach of this host at 192.168.8.20/24: host has 192.168.7.1/24", refused)
            self.assertIn("--yes", refused)
            self.assertIn("address of this host", zelmo("ip", "force", mac, "192.168.7.1/24", expect=2))
            self.assertEqual(answer("n", "ip", "force", mac, "192.168.8.20/24"), 1)
            self.assertEqual(self.address(), "10.9.9.9")
            self.assertEqual(answer("y", "ip", "force", mac, "192.168.8.20/24"), 0)
            self.assertEqual(self.address(), "192.168.8.20")
            zelmo("ip", "force", mac.upper(), "192.168.7.20/24")
            self.assertIn("1 camera", zelmo("doctor"))
            zelmo("ip", "persistent", "192.168.7.20", "192.168.7.21/24", "--gateway", "192.168.7.1")
            camera = document("ip")["cameras"][0]
            self.assertEqual((camera["stored"]["ip_address"], camera["stored"]["gateway"]), ("192.168.7.21", "192.168.7.1"))
            self.assertEqual(camera["configuration_used"], ["persistent", "link_local"])
            for action, used in ("dhcp", "persistent"), ("restart", "dhcp"):
                self.assertIn("may be out of reach of this host", zelmo("ip", action, SERIAL, expect=2))
                self.assertEqual(answer("n", "ip", action, SERIAL), 1)
                camera = document("ip")["cameras"][0]
                self.assertEqual((camera["configuration_used"][0], camera["ip_address"]), (used, "192.168.7.20"))
                zelmo("ip", action, SERIAL, "--yes")
            self.assertEqual(self.address(), "10.9.9.9")
            zelmo("ip", "force", mac, "192.168.7.20/24")
            run("ip", *"address add 169.254.1.1/16 dev host".split())  # it will be in reach there
            zelmo("ip", "restart", SERIAL)
            run("ip", *"address del 169.254.1.1/16 dev host".split())

    def test_camera_that_somebody_controls_keeps_its_address(self):
        with CamerasServer("--address", "192.168.7.20"):
            with subprocess.Popen([TOOL, "grab", "--duration", "60"], stderr=subprocess.DEVNULL) as grab:
                while document("info")["accessible"]:
                    pass
                self.assertIn("somebody has control", zelmo("ip", "force", SERIAL, "192.168.7.30/24", expect=4))
                zelmo("ip", "dhcp", SERIAL, "--yes", expect=4)
                grab.terminate()
            self.assertEqual(self.address(), "192.168.7.20")

    def test_grab_says_why_images_fail(self):
        for fault, resend, cause in (("resend-refused", 1, r", and the camera answered with \d+ errors"),
                                     ("request-loss", 1, r", and \d+ requests did not bring them back"),
                                     ("request-loss", 0, " and were not asked for again")):
            with CamerasServer("--address", "192.168.7.20", "--fault", "packet-loss=0.01", "--fault", fault):
                told = zelmo("grab", "-n", "20", "--set", f"stream:EnableResend={resend}")
                self.assertIn("ASKED FOR", told)
                self.assertRegex(told, rf"images? w.* damaged or incomplete: \d+ packets? got lost on the network{cause}")
        with CamerasServer("--address", "192.168.7.20", "--fault", "packet-loss=0.01"):
            stream = document("bench", "--duration", "1")["cameras"][0]["stream"]
            self.assertGreater(stream["resent"], 0)
            self.assertEqual(stream["missing"], 0)
            silent = zelmo("grab", "--set", "TriggerMode=On", "--timeout", "1500", expect=5)
            self.assertIn("not one packet of its stream has arrived", silent)


def set_up():
    for line in ("link set lo up", "link add host type veth peer name cameras", f"link set cameras netns {CAMERAS.pid}",
                 "address add 192.168.7.1/24 dev host", "link set host up"):
        run("ip", *line.split())
    for line in ("link set lo up", "address add 10.9.9.9/24 dev cameras", "link set cameras up"):
        run("nsenter", "-t", str(CAMERAS.pid), "-n", "ip", *line.split())


if __name__ == "__main__":
    enter_namespace(["ip", "nsenter", "unshare"])
    TOOL = sys.argv.pop(1)
    for name, value in {"ZELMO_GIGE": "host", "ZELMO_CAMEMU": "0"}.items():
        os.environ[name] = value
    with subprocess.Popen(["unshare", "-n", "sh", "-c", "echo; exec cat"], stdin=subprocess.PIPE,
                          stdout=subprocess.PIPE) as CAMERAS:
        CAMERAS.stdout.readline()
        set_up()
        done = unittest.main(exit=False)
    sys.exit(not done.result.wasSuccessful())
