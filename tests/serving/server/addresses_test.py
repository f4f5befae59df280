#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Addresses that zelmo serve adds to an interface, and those that it leaves alone.

addresses_test.py TOOL
Runs in a network namespace of its own. Exits with 77 and a line where none can be had; with 1 if CI is set.
"""

import json
import socket
import struct
import subprocess
import sys
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
from namespaces import Server, enter_namespace, run

PATIENCE_S = 30
HOST = "10.7.0.1"


def addresses():
    listed = json.loads(run("ip", "-4", "-j", "address", "show", "served"))
    return sorted(f"{one['local']}/{one['prefixlen']}" for one in listed[0].get("addr_info", []))


def force_address(camera, mac, address, mask="255.255.255.0"):
    payload = bytearray(56)
    payload[2:8] = bytes.fromhex(mac.replace(":", ""))
    payload[20:24], payload[36:40] = socket.inet_aton(address), socket.inet_aton(mask)
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as client:
        client.bind((HOST, 0))
        client.sendto(struct.pack(">BBHHH", 0x42, 1, 4, len(payload), 1) + payload, (camera, 3956))


class Addresses(unittest.TestCase):
    def setUp(self):
        run("ip", "link", "add", "served", "type", "veth", "peer", "name", "other")
        self.addCleanup(run, "ip", "link", "del", "served")
        for interface in ("lo", "other", "served"):
            run("ip", "link", "set", interface, "up")

    def expect_addresses(self, *expected):
        end = time.monotonic() + PATIENCE_S
        while addresses() != sorted(expected) and time.monotonic() < end:
            time.sleep(0.01)  # nothing tells of a change by the kernel
        self.assertEqual(addresses(), sorted(expected))

    def test_added_ones_go_with_the_camera_and_others_stay(self):
        run("ip", "address", "add", f"{HOST}/24", "dev", "served")
        run("ip", "address", "add", "10.7.0.9/24", "dev", "served")
        with Server(TOOL, "--interface", "served", "--manage-addresses", "--address", "10.7.0.5", "--address",
                    "10.7.0.9") as server:
            self.expect_addresses(f"{HOST}/24", "10.7.0.5/24", "10.7.0.9/24")
            force_address("10.7.0.5", server.cameras[0]["mac_address"], "10.8.0.5", "255.255.0.0")
            force_address("10.7.0.9", server.cameras[1]["mac_address"], "10.7.0.6")
            self.expect_addresses(f"{HOST}/24", "10.7.0.6/24", "10.7.0.9/24", "10.8.0.5/16")
        self.expect_addresses(f"{HOST}/24", "10.7.0.9/24")

    def test_later_address_of_the_same_network_outlives_the_first(self):
        with Server(TOOL, "--interface", "served", "--manage-addresses", "--address", "10.7.0.5"):
            run("ip", "address", "add", "10.7.0.20/24", "dev", "served")
            self.expect_addresses("10.7.0.5/24", "10.7.0.20/24")
        self.expect_addresses("10.7.0.20/24")

    def test_nothing_is_added_unasked(self):
        run("ip", "address", "add", f"{HOST}/24", "dev", "served")
        refused = subprocess.run([TOOL, "serve", "--interface", "served", "--address", "10.7.0.5"], capture_output=True,
                                 text=True, timeout=60)
        self.assertEqual(refused.returncode, 2)
        self.assertIn(f"10.7.0.5 is no address of served, which has {HOST}/24; --manage-addresses", refused.stderr)
        few = subprocess.run([TOOL, "serve", "--interface", "served", "--cameras", "2"], capture_output=True, text=True,
                             timeout=60)
        self.assertIn("too few for 2 cameras", few.stderr)
        with Server(TOOL, "--interface", "served") as server:
            self.assertEqual(server.cameras[0]["address"], HOST)
            force_address(HOST, server.cameras[0]["mac_address"], "10.7.0.5")
            self.assertEqual(json.loads(server.tell("status"))["address"], HOST)
        self.assertEqual(addresses(), [f"{HOST}/24"])


if __name__ == "__main__":
    enter_namespace(["ip", "unshare"])
    TOOL = sys.argv.pop(1)
    unittest.main()
