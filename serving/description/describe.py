#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the description that a served camera has in its memory from that of the emulated camera.

describe.py CAMERA FAULTS ADDRESSES REGISTERS FOLDER
CAMERA:    CamEmu.xml.  FAULTS: Faults.def.  ADDRESSES: AddressMap.h.  REGISTERS: gigevision/Registers.h.
Writes FOLDER/<name>.xml and .zip, under schema 1.1 and under 1.0, and FOLDER/DescriptionTable.h, which has them as bytes.
The same input gives the same bytes.

The served camera has the features of the emulated one, but for those that are of use in its own process only. Its registers
lie higher, are big endian, and stand beside those of GigE Vision and of the faults. Whatever is taken for granted about
CAMERA is looked at first: if it is no longer so, nothing is written, and the message names the node.
"""

import io
import re
import sys
import zipfile
from pathlib import Path

sys.dont_write_bytecode = True

from features import Header, add_actions, add_faults, add_gigevision, read_faults
from nodes import PORT, REGISTERS, Description, element, node

PRODUCT_GUID = "C1A4A9D6-6B0E-4F0B-9D53-2E1B7C6F4A08"

# A client names no file of the serving host, and its own stream and buffers are no business of the camera.
DROPPED = ["ImageFileMode", "ImageFilename", "ForceFailedStart", "ForceFailedStartCount", "ForceFailedRetrieval",
           "ForceFailedRetrievalDelay"]

# Whose tool tip says what is not true over a network: the words, and those in their place.
WORDS = [
    ("DeviceUserID", "until the process ends, also over a reset.",
     "until the program that serves the camera ends, also over a reset. Whoever looks for cameras is told its first 16 bytes."),
    ("SimulateRemovalDuration", "stays away at least after", "stays away after"),
    ("SimulateRemovalDuration",
     " It is never back before nobody has it open any more and somebody looks for cameras.", ""),
    ("AcquisitionFrameRateEnable", "as fast as buffers are queued", "as fast as the link takes them"),
    ("SimulateEvents", "their frame ids count from 0", "their block ids count up"),
    ("EventNotification/On", "to whoever grabs events", "over the message channel"),
    ("ChunkSelector/Framecounter", ": its block id.", ", from 0. Block ids count from 1."),
    ("ChunkFramecounter", ": its block id.", ", from 0. Block ids count from 1."),
    ("EventExposureEndFrameID", "Number of the image", "Block id of the image"),
    ("EventFrameStartFrameID", "Number of the image", "Block id of the image"),
    ("EventFrameStartOvertriggerFrameID", "Number of the image", "Block id of the image"),
    ("EventOverrunEventFrameID", "Number of the image", "Block id of the image"),
]

# Where a message with 64-bit block ids has what, by address and length, and where one with 16-bit ids has it: address and
# length again.
EVENT_FIELDS = {(2, 2): (2, 2), (8, 8): (6, 2), (16, 8): (8, 8)}


def move_registers(description, distance):
    """Those of the camera lie higher, in the byte order of the network."""
    for each in description.on_port(PORT):
        name = each.get("Name")
        if each.tag not in REGISTERS:
            description.fail(name, f"is a {each.tag}; only registers can be moved")
        description.one(each, "Address").text = f"0x{description.number(each, 'Address') + distance:05X}"
        if each.tag not in ("StringReg", "Register"):
            order = description.one(each, "Endianess")
            if order.text != "LittleEndian":
                description.fail(name, f"is {order.text}; LittleEndian is needed")
            order.text = "BigEndian"


def check_chunks(description):
    """What travels in images and messages is as the network has it already."""
    for each in description.nodes:
        if each.findtext("pPort", PORT) != PORT and description.one(each, "Endianess").text != "BigEndian":
            description.fail(each.get("Name"), "is not BigEndian, as all chunks and messages are")


def fit_events(description, extended_ids):
    """Messages carry 16-bit block ids unless 64-bit ones are on: fields have two places, by the node @p extended_ids."""
    for port in [each for each in description.nodes if each.tag == "Port" and each.find("EventID") is not None]:
        for each in description.on_port(port.get("Name")):
            place = description.number(each, "Address"), description.number(each, "Length")
            if place not in EVENT_FIELDS:
                description.fail(each.get("Name"), f"address and length are {place}; no field of a message is there")
            short = EVENT_FIELDS[place]
            if short[0] != place[0]:
                address = description.one(each, "Address")
                address.text = str(short[0])
                each.insert(list(each).index(address) + 1,
                            element("pIndex", extended_ids, Offset=str(place[0] - short[0])))
            if short[1] != place[1]:
                length = description.one(each, "Length")
                length.tag, length.text = "pLength", "EventBlockIDLength"
    description.add(node("IntSwissKnife", "EventBlockIDLength", Visibility="Invisible",
                         pVariable=element("pVariable", extended_ids, Name="EXTENDED"), Formula="EXTENDED ? 8 : 2"))


def replace_words(description):
    for name, words, others in WORDS:
        tip = description.one(description.find(name), "ToolTip")
        if words not in tip.text:
            description.fail(name, f"its tool tip no longer says '{words}'")
        tip.text = tip.text.replace(words, others)
    description.attributes["ToolTip"] = "Features of the emulated camera, served over the network."


def add_action_triggers(description):
    source = description.find("TriggerSource")
    entries = source.findall("EnumEntry")
    if [description.number(entry, "Value") for entry in entries] != [0, 1, 2]:
        description.fail("TriggerSource", "its values are not 0, 1 and 2, so that 3 and 4 are not those of actions")
    place = list(source).index(entries[-1]) + 1
    for number in (2, 1):
        source.insert(place, node("EnumEntry", f"Action{number}", "Standard", Value=2 + number,
                                  ToolTip=f"The action signal {number}."))


def served(camera, faults, addresses, registers):
    description = Description(camera)
    if description.schema != "1_1":
        sys.exit(f"{camera}: the schema is {description.schema}, 1_1 is needed")
    for name in DROPPED:
        description.drop(name)
    replace_words(description)
    check_chunks(description)
    move_registers(description, addresses.kCamera)
    if description.number(description.find("SimulateRemovalReg"), "Address") != addresses.kRemoval:
        description.fail("SimulateRemovalReg", f"does not come to lie at 0x{addresses.kRemoval:X}")
    fit_events(description, "GevGVSPExtendedIDModeReg")
    add_action_triggers(description)
    add_gigevision(description, addresses, registers)
    add_actions(description, registers)
    add_faults(description, addresses, faults)
    description.check_references()
    description.attributes["ProductGuid"] = PRODUCT_GUID
    return description


def zipped(name, text):
    """An archive with one file, and nothing that depends on when or by whom it is made."""
    archive = io.BytesIO()
    info = zipfile.ZipInfo(name, (1980, 1, 1, 0, 0, 0))
    info.compress_type = zipfile.ZIP_DEFLATED
    info.external_attr = 0o644 << 16
    with zipfile.ZipFile(archive, "w") as file:
        file.writestr(info, text, compresslevel=9)
    return archive.getvalue()


def table(documents):
    """Text literals have a portable length limit that descriptions exceed; byte arrays have none."""
    arrays = rows = ""
    for name, forms in documents:
        row = f'"{name}"'
        for form, content in forms.items():
            array = f"k{form.capitalize()}{name}"
            content = "".join(f"'\\x{byte:02x}'," for byte in content)
            arrays += f"inline constexpr char {array}[] = {{{content}}};\n"
            row += f", {{{array}, sizeof {array}}}"
        rows += f"    {{{row}}},\n"
    return f"""#pragma once

#include <string_view>

namespace Serving {{

struct ServedDocument {{
    std::string_view name, zip, xml;
}};

{arrays}
inline constexpr ServedDocument kServedDocuments[] = {{
{rows}}};

}} // namespace Serving
"""


def document(description):
    """The name of its files, and their content."""
    name = "_".join([description.attributes["VendorName"], description.attributes["ModelName"], description.schema])
    if not re.fullmatch(r"\w+", name):
        sys.exit(f"{description.path}: vendor and model make '{name}', which is no name of a file")
    text = description.text().encode()
    return name, {"zip": zipped(f"{name}.xml", text), "xml": text}


def main():
    if len(sys.argv) != 6:
        sys.exit(__doc__.split("\n")[2])
    camera, faults, addresses, registers, folder = (Path(each) for each in sys.argv[1:])
    description = served(camera, read_faults(faults), Header(addresses).Address, Header(registers))
    documents = [document(description)]
    description.lower_to_1_0()
    documents.append(document(description))
    folder.mkdir(parents=True, exist_ok=True)
    for name, forms in documents:
        for form, content in forms.items():
            (folder / f"{name}.{form}").write_bytes(content)
    (folder / "DescriptionTable.h").write_text(table(documents), encoding="ascii")


main()
