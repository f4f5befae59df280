# SPDX-License-Identifier: Apache-2.0
"""Networks as they are: two cards in one subnet, a camera in a foreign one, packets of all sizes."""

import contextlib
import json
import os
import subprocess

from .stage import Cable, Server, grab, run, settings, small_images


def networks(stage):
    """Two interfaces, one subnet on both; a foreign subnet; packet sizes by the network."""
    os.environ["ZELMO_GIGE"] = "host0 host1 host2"
    try:
        one_subnet_on_two(stage)
        one_camera_on_two(stage)
        foreign_subnet(stage)
        packet_sizes(stage)
    finally:
        os.environ["ZELMO_GIGE"] = "lo"


def served(stage, cable, *arguments):
    return Server(stage.tool, "--interface", cable.other_end, *arguments, where=cable)


def listed(stage):
    return json.loads(run(stage.tool, "list", "--json"))["devices"]


def trust_all_ways():
    """The kernel's filter by way back is about hosts, not about this."""
    for interface in ("all", "default"):
        with open(f"/proc/sys/net/ipv4/conf/{interface}/rp_filter", "w", encoding="ascii") as file:
            file.write("0")


def one_subnet_on_two(stage):
    images = stage.of(5000, 50)
    print(f"networks: 10.20.0.0/24 on two cards, a camera on each, {images} images from each", flush=True)
    trust_all_ways()
    with Cable("host0", "camera0", "10.20.0.1/24", "10.20.0.10/24") as first, \
         Cable("host1", "camera1", "10.20.0.2/24", "10.20.0.11/24") as second, \
         served(stage, first, "--address", "10.20.0.10"), second_camera(stage, second, "10.20.0.11"):
        stage.expect(len(listed(stage)) == 2, "both are found")
        for address, card in (("10.20.0.10", "host0"), ("10.20.0.11", "host1")):
            counts = grab(stage, "--images", images, *small_images(200, 320, 240), address=address)
            print(f"  {address} on {card}: {counts['complete']} complete, {counts['failed']} failed")
            stage.expect(counts["complete"] == images, f"all of {address} are complete")
            stage.expect_intact(counts)


def second_camera(stage, cable, address):
    """With a number of its own, as a server's first one has always the same: that one is there, but mute."""
    mute = "10.20.0.99"
    cable.ip_there(f"address add {mute}/24 dev {cable.other_end}")
    run(*cable.there, "nft", "add table ip mute; add chain ip mute output { type filter hook output priority 0; }; "
                             f"add rule ip mute output ip saddr {mute} drop")
    return served(stage, cable, "--address", mute, "--address", address)


def one_camera_on_two(stage):
    print("networks: a camera that is reached over two cards", flush=True)
    with Cable("host0", "camera0", "10.20.0.1/24", "10.20.9.1/24") as cable:
        cable.connect("host1", "10.20.0.2/24", "camera1", "10.20.9.2/24")
        cable.ip_there("link add bridge type bridge")
        for line in ("link set camera0 master bridge", "link set camera1 master bridge", "link set bridge up",
                     "address flush dev camera0", "address flush dev camera1", "address add 10.20.0.10/24 dev bridge"):
            cable.ip_there(line)
        with Server(stage.tool, "--interface", "bridge", "--address", "10.20.0.10", where=cable):
            found = listed(stage)
            stage.expect(len(found) == 1, f"it is found once, not {len(found)} times")
            counts = grab(stage, "--images", 50, *small_images(), address="10.20.0.10")
            stage.expect(counts["complete"] == 50, "and grabbed from")


def foreign_subnet(stage):
    print("networks: a camera in a foreign subnet", flush=True)
    with Cable("host0", "camera0", "10.20.0.1/24", "10.99.0.2/24") as cable, \
         served(stage, cable, "--address", "10.99.0.2", "--manage-addresses") as server:
        stage.expect(len(listed(stage)) == 1, "it is listed")
        info = json.loads(run(stage.tool, "info", "--json"))
        stage.expect(info["access_state"] == "wrong_subnet", f"as what it is: {info.get('reason')}")
        opening = subprocess.run([stage.tool, "get", "Width"], capture_output=True, text=True, timeout=60)
        print("    " + opening.stderr.strip().replace("\n", "\n    "))
        stage.expect(opening.returncode != 0 and "10.20.0.0/24" in opening.stderr, "opening is refused with the reason")
        run(stage.tool, "ip", "force", server.cameras[0]["mac_address"], "10.20.0.50/24", "--yes")
        counts = grab(stage, "--images", 50, *small_images(), address="10.20.0.50")
        stage.expect(counts["complete"] == 50, "forced to an address of the subnet, it is grabbed from")


@contextlib.contextmanager
def narrow_way(limit):
    """Larger datagrams do not get through, and nobody is told."""
    run("nft", "add table ip way; add chain ip way input { type filter hook input priority 0; }; "
               f"add rule ip way input ip length > {limit} drop")
    try:
        yield
    finally:
        run("nft", "delete", "table", "ip", "way")


def packet_sizes(stage):
    images = stage.of(2500, 30)
    for mtu, limit in ((576, 9000), (1500, 9000), (9000, 9000), (9000, 1500), (9000, 5000)):
        print(f"networks: MTU {mtu}, a way for at most {limit} bytes, {images} images", flush=True)
        with Cable("host0", "camera0", "10.20.0.1/24", "10.20.0.10/24", mtu) as cable, \
             served(stage, cable, "--address", "10.20.0.10"), narrow_way(limit):
            counts = grab(stage, "--images", images, *small_images(50, 640, 480), *settings("--stream", AutoPacketSize=1),
                          address="10.20.0.10")
        size = counts["statistics"]["GevSCPSPacketSize"]
        most = min(mtu, limit)
        stage.expect(counts["complete"] == images and counts["failed"] == 0, "all are complete")
        stage.expect(most / 2 < size <= most, f"packets of {size} bytes")
        stage.expect_intact(counts)
