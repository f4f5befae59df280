# SPDX-License-Identifier: Apache-2.0
"""What becomes of images when packets are lost."""

import json
import math

from .stage import CAMERA, MAX_IMAGES_A_START, Server, nobody_prefix, pinned, run, settings, statistics_of, undisturbed


def packets_of(width, height, packet_size):
    return math.ceil(width * height / (packet_size - 36)) + 2


def stream(stage, images, width, height, fps, faults=(), packet_size=1500, buffers=64, stream_settings=None, prefix=()):
    """Grabs so many images that are sent, and closes the account of them."""
    starts = math.ceil(images / MAX_IMAGES_A_START)
    each = math.ceil(images / starts)
    arguments = ["--images", each, "--starts", starts, "--drain", 3, "--buffers", buffers]
    arguments += settings("--set", Width=width, Height=height, PixelFormat="Mono8", TestImageSelector="FrameCounter",
                          AcquisitionMode="MultiFrame", AcquisitionFrameCount=each, AcquisitionFrameRateEnable=1,
                          ExposureTime=100, AcquisitionFrameRate=fps)
    arguments += settings("--stream", AutoPacketSize=0, **(stream_settings or {}))
    arguments += settings("--set", GevSCPSPacketSize=packet_size)
    options = [part for fault in faults for part in ("--fault", fault)]
    with undisturbed(), Server(stage.tool, "--address", CAMERA, "--rate", "1000000000", *options) as server:
        command = [*prefix, *pinned(1, stage.client, "--address", CAMERA, *map(str, arguments))]
        counts = json.loads(run(*command, timeout=50_000))
    sent, stats = server.summary, statistics_of(counts)
    check_account(stage, each * starts, counts, stats, sent)
    stage.expect_intact(counts)
    stage.expect(counts["without_text"] == 0, "each failed one says why")
    stage.expect(counts["missing_by_text"] == stats["Failed_Packet_Count"], "texts and counter tell the same")
    stage.expect(counts["after"]["threads"] <= counts["before"]["threads"] + 1, "threads are flat")
    return counts, stats, sent


def check_account(stage, wanted, counts, stats, sent):
    """A camera on a busy host may not make all of them: they are lost by id, but for those at the begin and at the end."""
    missed, underruns, unmade = stats["Missed_Frame_Count"], stats["Buffer_Underrun_Count"], sent["lost_blocks"]
    print(f"  {sent['blocks']} blocks sent in {counts['seconds']:.0f} s, {unmade} not made, {sent['packets']} packets, "
          f"faults {sent['faults']}; complete {counts['complete']}, failed {counts['failed']}, lost by id {missed}, "
          f"no buffer {underruns}; {stats['Resend_Request_Count']} requests for {stats['Resend_Packet_Count']} packets; "
          f"missing {stats['Failed_Packet_Count']}, dropped by this host {stats['Host_Dropped_Packet_Count']}, "
          f"socket buffer {counts['socket_buffer']}", flush=True)
    for text in counts["texts"]:
        print(f"    {text}")
    stage.expect(sent["blocks"] + unmade == wanted, f"{wanted} blocks were sent, or could not be made")
    rest = sent["blocks"] + unmade - counts["complete"] - counts["failed"] - missed - underruns
    stage.expect(0 <= rest <= unmade, f"sent = complete + failed + lost by id + no buffer; difference {rest}")


def incomplete_of(counts, stats, sent):
    return counts["failed"] + max(0, stats["Missed_Frame_Count"] - sent["lost_blocks"]) + stats["Buffer_Underrun_Count"]


def both_ways(rate):
    return [f"packet-loss={rate}", f"resend-loss={rate}", f"request-loss={rate}"]


def loss(stage):
    """What is lost on the way, and asked for again."""
    cases = [  # name, images, width, height, fps, faults, incomplete ones allowed in all of them
        ("1 % both ways, 640 × 480 at 400 fps", 100_000, 640, 480, 400, both_ways(0.01), 0),
        ("5 % both ways, 640 × 480 at 400 fps", 100_000, 640, 480, 400, both_ways(0.05), 10),
        ("bursts of 32, 640 × 480 at 400 fps", 10_000, 640, 480, 400, ["packet-loss=0.0003,32"], 0),
        ("1 % both ways, 5 packets at 2,000 fps", 10_000, 64, 64, 2000, both_ways(0.01), 0),
        ("1 % both ways, 2048 × 2048 at 25 fps", 10_000, 2048, 2048, 25, both_ways(0.01), 0),
        ("reordered and doubled, 640 × 480 at 400 fps", 10_000, 640, 480, 400, ["reorder=0.02,3", "duplicate=0.02"], 0)]
    for name, images, width, height, fps, faults, allowed in cases:
        count = stage.of(images, 100)
        print(f"loss: {name}, {count} images", flush=True)
        counts, stats, sent = stream(stage, count, width, height, fps, faults)
        incomplete = incomplete_of(counts, stats, sent)
        stage.expect(incomplete <= allowed, f"{incomplete} incomplete, at most {allowed}")
        stage.expect(sum(sent["faults"].values()) > 0, "faults struck")


def refused(stage):
    """Resends that the camera refuses: no image that lacks a packet passes for whole."""
    count = stage.of(1_000_000, 2000)
    print(f"refused: 64 × 48 at 5,000 fps, {count} images", flush=True)
    counts, stats, sent = stream(stage, count, 64, 48, 5000, ["packet-loss=0.002", "resend-refused=1"], buffers=512,
                                 stream_settings={"PacketTimeout": 5, "FrameRetention": 20})
    packets = packets_of(64, 48, 1500)
    injected, unmade = sent["faults"].get("PacketLoss", 0), sent["lost_blocks"]
    # Of a block that had no buffer, and of one that never came, nobody knows what was lost.
    vague = (stats["Buffer_Underrun_Count"] + max(0, stats["Missed_Frame_Count"] - unmade)) * packets
    told = stats["Failed_Packet_Count"] - stats["Host_Dropped_Packet_Count"]
    stage.expect(counts["failed"] > 0, "some failed")
    stage.expect(abs(told - injected) <= vague, f"missing {told} packets, lost on purpose {injected}, give or take {vague}")


def clean(stage):
    """A network that loses nothing: nothing is asked for."""
    count = stage.of(20_000, 100)
    print(f"clean: 640 × 480 at 200 fps, {count} images", flush=True)
    counts, stats, _ = stream(stage, count, 640, 480, 200)
    stage.expect(counts["complete"] == count, "all are complete")
    stage.expect(stats["Resend_Request_Count"] == 0, "nothing was asked for again")


def nobody(stage):
    """A user without rights, who gets the receive buffer that Debian allows: with and without losses. It holds what comes in
    3 ms: where the host stands still for longer, the kernel drops datagrams, and more than half of an image is not asked
    for again."""
    count = stage.of(20_000, 100)
    limit_kib = 2 * 212_992 // 1024  # the kernel doubles what it is asked for
    for name, faults in (("", ()), (" 1 % both ways,", both_ways(0.01))):
        print(f"nobody:{name} 640 × 480 at 400 fps, {count} images", flush=True)
        counts, stats, sent = stream(stage, count, 640, 480, 400, faults, prefix=nobody_prefix(),
                                     stream_settings={"SocketBufferSize": limit_kib})
        stage.expect(0 < counts["socket_buffer"] <= limit_kib, f"the buffer has {counts['socket_buffer']} KiB")
        incomplete, dropped = incomplete_of(counts, stats, sent), stats["Host_Dropped_Packet_Count"]
        stage.expect(incomplete == 0 or dropped > 0, f"{incomplete} incomplete; none but by the {dropped} dropped here")
        stage.expect(incomplete <= max(4, count // 200), "few at most")


def drops(stage):
    """The same by the kernel's filter, which knows nothing of cameras: commands are struck, too."""
    count = stage.of(10_000, 100)
    print(f"drops: 1 % of all datagrams, 640 × 480 at 200 fps, {count} images", flush=True)
    run("nft", "add table ip drops; add chain ip drops input { type filter hook input priority 0; }; "
               "add rule ip drops input meta l4proto udp numgen random mod 100 < 1 counter drop")
    try:
        counts, stats, sent = stream(stage, count, 640, 480, 200)
        rules = json.loads(run("nft", "-j", "list", "chain", "ip", "drops", "input"))["nftables"]
    finally:
        run("nft", "delete", "table", "ip", "drops")
    dropped = next(part["counter"]["packets"] for entry in rules if "rule" in entry
                   for part in entry["rule"]["expr"] if "counter" in part)
    stage.expect(dropped > count, f"{dropped} datagrams were dropped")
    stage.expect(incomplete_of(counts, stats, sent) == 0, "0 incomplete")
