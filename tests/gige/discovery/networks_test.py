#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Cameras on real interfaces: in foreign subnets, on several networks, and what is sent to find them.

networks_test.py TOOL [CASE…]
Runs in network namespaces of its own. Exits with 77 and a line where none can be had; with 1 if CI is set.
"""

import json
import os
import socket
import struct
import subprocess
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "serving"))
from namespaces import Neighbour, Server, enter_namespace, run, sent_packets, skip


def zelmo(*arguments, **options):
    return run(TOOL, *arguments, **options)


def refused(*arguments):
    """What the tool says where it does not do it."""
    result = subprocess.run([TOOL, *arguments], capture_output=True, text=True, timeout=120)
    assert result.returncode != 0, result.stdout
    return result.stderr


def cameras():
    return [device for device in json.loads(zelmo("list", "--json"))["devices"]]


def take_control(camera, value):
    client = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    client.settimeout(30)
    client.sendto(struct.pack(">BBHHHII", 0x42, 1, 0x82, 8, 1, 0xA00, value), (camera, 3956))
    status, = struct.unpack(">H", client.recv(2000)[:2])
    assert status == 0, hex(status)
    return client


class Networks(unittest.TestCase):
    def setUp(self):
        os.environ.pop("ZELMO_GIGE", None)

    def only_camera(self):
        found = cameras()
        self.assertEqual(len(found), 1, found)
        return found[0]

    def verdict(self):
        return self.only_camera().get("subnet_verdict")

    def test_camera_in_a_foreign_subnet_is_told_of_and_forced_to_come(self):
        with Neighbour().connect("host0", "192.168.1.1/24", "camera0", "10.0.0.5/24") as there, \
                Server(TOOL, "--interface", "camera0", "--manage-addresses", where=there):
            camera = self.only_camera()
            mac = camera["properties"]["MacAddress"]
            verdict = "10.0.0.5/24 is not in host0's 192.168.1.0/24; force an address or add one to host0"
            self.assertEqual(camera["subnet_verdict"], verdict)
            self.assertIn(verdict, refused("get", "Width"))
            zelmo("ip", "force", mac, "192.168.1.7/24", "--yes")
            forced = self.only_camera()
            self.assertEqual(forced["properties"]["Address"], "192.168.1.7:3956")
            self.assertNotIn("subnet_verdict", forced)
            self.assertEqual(forced["full_name"], camera["full_name"])
            self.assertIn("1024", zelmo("get", "Width"))
            with take_control("192.168.1.7", 2):
                self.assertIn("somebody has control", refused("ip", "force", mac, "192.168.1.8/24", "--yes"))

    def test_forced_address_is_asked_where_only_addresses_are(self):
        with Neighbour().connect("host0", "192.168.1.1/24", "camera0", "192.168.1.5/24") as there, \
                Server(TOOL, "--interface", "camera0", "--manage-addresses", where=there):
            os.environ["ZELMO_GIGE"] = "192.168.1.5"
            zelmo("ip", "force", self.only_camera()["properties"]["MacAddress"], "192.168.1.7/24", "--yes")
            os.environ["ZELMO_GIGE"] = "192.168.1.7"
            self.assertEqual(self.only_camera()["properties"]["IpAddress"], "192.168.1.7")

    def test_stored_address_is_taken_at_the_next_start(self):
        with Neighbour().connect("host0", "192.168.1.1/24", "camera0", "192.168.1.5/24") as there, \
                Server(TOOL, "--interface", "camera0", "--manage-addresses", where=there):
            mac = self.only_camera()["properties"]["MacAddress"]
            zelmo("ip", "persistent", mac, "192.168.1.9/24", "--gateway", "192.168.1.254", "--yes")
            stored = json.loads(zelmo("ip", "--json"))["cameras"][0]
            self.assertEqual(stored["stored"], {"ip_address": "192.168.1.9", "subnet_mask": "255.255.255.0",
                                                "gateway": "192.168.1.254"})
            self.assertIn("persistent", stored["configuration_used"])
            zelmo("ip", "restart", mac, "--yes")
            for _ in range(30):
                if self.only_camera()["properties"]["IpAddress"] == "192.168.1.9":
                    break
            self.assertEqual(self.only_camera()["properties"]["IpAddress"], "192.168.1.9")

    def test_no_camera_is_taken_for_another_one_nor_put_where_one_is(self):
        with Neighbour() as one, Neighbour() as other:
            one.connect("host0", "10.7.0.1/24", "camera0", "10.7.0.5/24")
            other.connect("host1", "10.8.0.1/24", "camera1", "10.8.0.4/24")
            with Server(TOOL, "--interface", "camera0", where=one), \
                    Server(TOOL, "--interface", "camera1", "--address", "10.9.0.8", "--address", "10.7.0.5",
                           "--address", "10.8.0.9", "--manage-addresses", where=other):
                self.assertIn("2 cameras match '10.7.0.5'", refused("ip", "restart", "10.7.0.5", "--yes"))
                last = next(camera["properties"] for camera in cameras() if camera["properties"]["IpAddress"] == "10.8.0.9")
                self.assertIn("10.7.0.5 is the address of camera", refused("ip", "force", "10.8.0.9", "10.7.0.5/24", "--yes"))
                zelmo("ip", "force", "10.8.0.9", "10.8.0.9/16", "--yes")  # nothing but the mask changes
                self.assertIn([last["MacAddress"], "255.255.0.0"],
                              [[camera["properties"]["MacAddress"], camera["properties"]["SubnetMask"]]
                               for camera in cameras()])

    def test_wrong_mask_is_told_of(self):
        with Neighbour().connect("host0", "192.168.1.1/24", "camera0", "192.168.1.133/25") as there, \
                Server(TOOL, "--interface", "camera0", where=there):
            self.assertEqual(self.verdict(), "host0's 192.168.1.1 is not in the camera's 192.168.1.128/25; force the mask "
                                             "255.255.255.0")
            self.assertIn("force the mask 255.255.255.0", refused("get", "Width"))

    def test_two_interfaces_in_one_subnet(self):
        """The first camera that a server has is always the same one: it is on both networks."""
        with Neighbour() as one, Neighbour() as other:
            one.connect("host0", "10.7.0.1/24", "camera0", "10.7.0.5/24")
            other.connect("host1", "10.7.0.2/24", "camera1", "10.7.0.6/24")
            with Server(TOOL, "--interface", "camera1", where=other):
                with Server(TOOL, "--interface", "camera0", where=one):
                    self.only_camera()
                    self.assertIn("1024", zelmo("get", "Width"))
                # The system's routes lead elsewhere.
                self.assertEqual(self.only_camera()["properties"]["InterfaceID"], "host1")
                self.assertIn("1024", zelmo("get", "Width"))
            with Server(TOOL, "--interface", "camera0", where=one):
                self.assertEqual(self.only_camera()["properties"]["InterfaceID"], "host0")
                self.assertIn("1024", zelmo("get", "Width"))

    def test_network_that_reaches_the_camera_is_preferred(self):
        with Neighbour() as one, Neighbour() as other:
            one.connect("host0", "10.7.0.1/24", "camera0", "10.9.0.5/24")
            other.connect("host1", "10.8.0.1/24", "camera1", "10.8.0.5/24")
            with Server(TOOL, "--interface", "camera0", where=one), Server(TOOL, "--interface", "camera1", where=other):
                self.assertIsNone(self.verdict())
                self.assertIn("1024", zelmo("get", "Width"))  # found by its serial number, before all have answered
            os.environ["ZELMO_GIGE"] = "host0"
            with Server(TOOL, "--interface", "camera0", where=one), Server(TOOL, "--interface", "camera1", where=other):
                self.assertIn("10.9.0.5/24 is not in host0's", self.verdict())

    def test_only_what_was_asked_for_is_sent(self):
        with Neighbour().connect("host0", "192.168.1.1/24", "camera0", "192.168.1.5/24") as there, \
                Server(TOOL, "--interface", "camera0", where=there):
            for choice, filtered, is_sent in (("off", None, False), ("lo", None, False), (None, "HarlixUsb", False),
                                              (None, "HarlixGigE", True), (None, None, True),
                                              ("192.168.1.5", None, True)):
                environment = dict(os.environ)
                environment.update({"ZELMO_GIGE": choice} if choice else {})
                environment.update({"ZELMO_DEVICE_FILTER": f"DeviceClass={filtered}"} if filtered else {})
                before = sent_packets("host0")
                for verb in ["list"], *([] if is_sent else [["doctor"], ["get", "Width"]]):
                    subprocess.run([TOOL, *verb], env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                self.assertEqual(sent_packets("host0") > before, is_sent, (choice, filtered))


if __name__ == "__main__":
    enter_namespace(["ip", "unshare", "nsenter"])
    TOOL = sys.argv.pop(1)
    os.environ["ZELMO_CAMEMU"] = "0"
    run("ip", "link", "set", "lo", "up")
    try:  # answers from a foreign subnet are let in
        for name in "all", "default":
            Path(f"/proc/sys/net/ipv4/conf/{name}/rp_filter").write_text("0", encoding="utf-8")
    except OSError as error:
        skip(f"no settings of the network namespace: {error}")
    unittest.main()
