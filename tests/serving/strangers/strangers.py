#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Clients of other projects on our served cameras.

strangers.py TOOL CLIENT [CASE…]
TOOL is the zelmo tool, CLIENT the small client on libaravis. Each case runs in a network namespace of its own, where
there is nothing but lo. Exits with 77 and a line where a program is missing or no namespace can be had; with 1 if CI is set.
"""

import json
import os
import re
import socket
import struct
import sys
import tempfile
import threading
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
from namespaces import Server, enter_namespace, run

PROGRAMS = ["arv-tool-0.8", "arv-camera-test-0.8", "arv-test-0.8", "tshark", "ip", "unshare", "setpriv"]
NOBODY = ["setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups", "--bounding-set=-all", "--inh-caps=-all"]


class Listing(unittest.TestCase):
    def test_lists_reads_and_sets_what_lasts(self):
        with Server(TOOL, "--cameras", "2") as server:
            listed = run("arv-tool-0.8")
            for camera in server.cameras:
                self.assertRegex(listed, rf"Harlix-.*{camera['serial_number']}.*\({camera['address']}\)")
            first, second = (camera["address"] for camera in server.cameras)
            features = run("arv-tool-0.8", "-a", first, "features")
            for name in ("Width", "PixelFormat", "GevSCPSPacketSize", "FaultSelector", "ActionDeviceKey"):
                self.assertRegex(features, rf"\b'?{name}\b")
            values = run("arv-tool-0.8", "-a", first, "values")
            self.assertNotRegex(values, "(?i)error|not found")
            run("arv-tool-0.8", "-a", first, "control", "Width=640", "Height=480", "PixelFormat=Mono12", "Gain=3.5",
                "DeviceUserID=left")
            read = run("arv-tool-0.8", "-a", first, "control", "Width", "Height", "PixelFormat", "Gain", "DeviceUserID")
            for value in ("640", "480", "Mono12", "3.5", "left"):
                self.assertIn(f"= {value}", read)
            self.assertIn("= 1024", run("arv-tool-0.8", "-a", second, "control", "Width"))


class Conformance(unittest.TestCase):
    def test_every_check_that_needs_no_hardware(self):
        with Server(TOOL) as server:
            # Its socket, as it is by default, holds such an image as a whole: a busy host loses none.
            run("arv-tool-0.8", "-a", server.cameras[0]["address"], "control", "Width=256", "Height=256")
            out = run("arv-test-0.8", "-n", "Harlix*", timeout=300, may_fail=True)
        print(out, server.summary)
        self.assertGreater(out.count("SUCCESS"), 15)
        self.assertNotIn("FAILURE", out)
        # It has no table of what our camera should say, so it leaves these out.
        self.assertEqual(re.findall(r"(\S+) +IGNORED", out), ["Genicam:Schema", "Properties:SensorSizeCheck"])


class Frames(unittest.TestCase):
    FRAMES = 500

    def images(self, arguments, client, prefix=()):
        with Server(TOOL, *arguments) as server:
            address = server.cameras[0]["address"]
            counts = json.loads(run(*prefix, CLIENT, address, str(self.FRAMES), *client))
        self.assertEqual((counts["complete"], counts["failed"], counts["torn"], counts["gaps"]),
                         (self.FRAMES, 0, 0, 0), counts)
        return counts, server.summary

    def test_all_come_under_both_schemas_by_either_socket(self):
        for schema in ("1.0", "1.1"):
            for loss in (0, 0.01):
                for socket, prefix in (([], []), (["udp"], NOBODY if os.geteuid() == 0 else [])):
                    with self.subTest(schema=schema, loss=loss, socket=socket):
                        faults = ["--fault", f"packet-loss={loss}"] if loss else []
                        counts, summary = self.images(["--schema", schema, *faults], socket, prefix)
                        self.assertEqual(summary["faults"].get("PacketLoss", 0) > 0, loss > 0, summary)
                        self.assertTrue(counts["resent"] > 0 or not loss, counts)

    def test_extended_ids_and_large_packets(self):
        self.images([], ["extended", "packet-size=8000"])

    def test_chunks(self):
        self.images([], ["chunks"])


class Streaming(unittest.TestCase):
    def test_the_other_projects_own_program_streams(self):
        with Server(TOOL) as server:
            name = server.cameras[0]["address"]
            out = run("arv-camera-test-0.8", "-n", name, "-f", "50", "-w", "640", "-h", "480", "--duration", "3")
        self.assertRegex(out, r"[1-9][0-9]* frames/s")
        self.assertRegex(out, r"n_failures *= *0\b")


class Capture:
    """Packets of lo, each once, into a file."""

    LINK_TYPE = 1  # Ethernet

    def __init__(self, path):
        self.socket = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(0x0800))
        self.socket.setsockopt(socket.SOL_SOCKET, 33, 1 << 26)  # SO_RCVBUFFORCE
        self.socket.bind(("lo", 0))
        self.socket.settimeout(0.2)
        self.file = open(path, "wb")
        self.file.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, self.LINK_TYPE))
        self.ended = threading.Event()
        self.thread = threading.Thread(target=self._run)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.ended.set()
        self.thread.join()
        self.file.close()

    def _run(self):
        count = 0
        while True:
            try:
                packet, address = self.socket.recvfrom(65536)
            except TimeoutError:
                if self.ended.is_set():
                    return
                continue
            if address[2] != 4:  # PACKET_OUTGOING, which lo shows besides
                count += 1
                self.file.write(struct.pack("<IIII", count, 0, len(packet), len(packet)) + packet)


class Dissection(unittest.TestCase):
    """A whole session as the dissector of another project reads it."""

    IMAGES = 20

    def fields(self, path, ports, display, *names):
        decode = [part for port in ports for part in ("-d", f"udp.port=={port},gvsp")]
        out = run("tshark", "-r", str(path), *decode, "-Y", display, "-T", "fields",
                  *(part for name in names for part in ("-e", name)))
        return [line.split("\t") for line in out.splitlines()]

    def test_nothing_is_malformed_and_every_field_is_the_cameras(self):
        for extended in (False, True):
            with self.subTest(extended=extended), tempfile.TemporaryDirectory() as folder:
                self.check_session(Path(folder) / "session.pcap", extended)

    def check_session(self, path, extended):
        with Server(TOOL) as server, Capture(path):
            address = server.cameras[0]["address"]
            run("arv-tool-0.8", "-a", address, "values")
            run(CLIENT, address, str(self.IMAGES), "udp", *(["extended"] if extended else []))
        # Each opening of the channel has a port of its own. First the client tries the packet size: of that one comes
        # nothing but test packets, as long as the size tells.
        sent = self.fields(path, [], f"ip.src=={address} && udp.srcport!=3956 && !icmp", "udp.srcport", "udp.length")
        stream = sent[-1][0]
        tests = {int(length) for port, length in sent if port != stream}
        self.assertEqual(tests, {1500 - 20})
        ports = [stream]
        self.assertEqual(self.fields(path, ports, "_ws.malformed", "frame.number"), [])
        self.check_control(path, ports)
        self.check_stream(path, ports, extended)

    def check_control(self, path, ports):
        commands = self.fields(path, ports, "gvcp && udp.dstport==3956", "gvcp.cmd.command", "gvcp.cmd.req_id",
                               "udp.srcport")
        acknowledges = self.fields(path, ports, "gvcp && udp.srcport==3956", "gvcp.ack", "gvcp.cmd.req_id",
                                   "udp.dstport", "gvcp.cmd.status")
        self.assertGreater(len(commands), 100)
        asked = {(int(number, 0) + 1, int(request, 0), port) for number, request, port in commands}
        answered = {(int(number, 0), int(request, 0), port) for number, request, port, _ in acknowledges}
        self.assertEqual(asked - answered, set(), "commands without their acknowledge")
        self.assertEqual(answered - asked, set(), "acknowledges without their command")
        self.assertEqual({int(status, 0) for *_, status in acknowledges}, {0})

    def check_stream(self, path, ports, extended):
        ids = ("gvsp.blockid64", "gvsp.packetid32") if extended else ("gvsp.blockid16", "gvsp.packetid24")
        packets = self.fields(path, ports, "gvsp", *ids, "gvsp.format", "gvsp.status", "udp.length")
        self.assertGreater(len(packets), self.IMAGES * 3)
        header, payload = (20 if extended else 8), 320 * 240
        data = 1500 - 28 - header
        expected = -(-payload // data) + 2
        blocks = {}
        for block, packet, form, status, length in packets:
            self.assertEqual(int(status, 0), 0)
            blocks.setdefault(int(block, 0), []).append((int(packet, 0), int(form, 0) & 0xF, int(length) - 8 - header))
        for block in sorted(blocks)[:self.IMAGES]:
            self.assertEqual([packet for packet, *_ in blocks[block]], list(range(expected)), block)
            self.assertEqual([form for _, form, _ in blocks[block]], [1] + [3] * (expected - 2) + [2], block)
            self.assertEqual(sum(length for _, form, length in blocks[block] if form == 3), payload)
        self.assertEqual(sorted(blocks), list(range(1, len(blocks) + 1)))
        leaders = self.fields(path, ports, "gvsp.format in {1, 0x81}", "gvsp.payloadtype", "gvsp.pixel", "gvsp.sizex",
                              "gvsp.sizey", "gvsp.offsetx", "gvsp.offsety", "gvsp.paddingx", "gvsp.paddingy",
                              "gvsp.timestamp")
        numbers = [[int(value, 0) for value in leader[:8]] for leader in leaders]
        self.assertEqual({tuple(leader) for leader in numbers}, {(1, 0x01080001, 320, 240, 0, 0, 0, 0)})
        stamps = [int(leader[8], 0) for leader in leaders]
        self.assertEqual(stamps, sorted(set(stamps)), "time stamps rise")
        trailers = self.fields(path, ports, "gvsp.format in {2, 0x82}", "gvsp.payloadtype", "gvsp.sizey")
        self.assertEqual({tuple(int(value, 0) for value in trailer) for trailer in trailers}, {(1, 240)})


if __name__ == "__main__":
    enter_namespace(PROGRAMS)
    TOOL, CLIENT, *cases = sys.argv[1:]
    run("ip", "link", "set", "lo", "up")
    loader = unittest.TestLoader()
    suite = unittest.TestSuite()
    for case in cases or ["Listing", "Conformance", "Frames", "Streaming", "Dissection"]:
        suite.addTests(loader.loadTestsFromTestCase(globals()[case]))
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    sys.exit(0 if result.wasSuccessful() and result.testsRun > 0 else 1)
