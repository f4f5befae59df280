# SPDX-License-Identifier: Apache-2.0
"""The features that a served camera has beside those of the emulated one: of GigE Vision, of actions, and of faults. Their
addresses and masks come from the headers of the C++ side, the list of faults from Faults.def."""

import re
import sys
from types import SimpleNamespace

from nodes import PORT, display_name, element, node

CONSTANT = {"Cachable": "WriteThrough"}  # as long as the camera is served
LOCKED = {"pIsLocked": "TLParamsLocked"}
SAVED = {"Streamable": "Yes"}
OF_REGISTER = ("Cachable", "pInvalidator", "pIndex", "Length")


class Constants:
    """The numbers of one namespace of a header."""

    def __init__(self, path, name):
        found = re.search(rf"\bnamespace {name} \{{(.*?)\n\}}", path.read_text(encoding="utf-8"), re.S)
        if not found:
            sys.exit(f"{path}: there is no namespace '{name}'")
        self._where = f"{path}: namespace '{name}'"
        self._values = {key: int(value, 0) for key, value in re.findall(r"\b(k\w+) = (\w+)", found[1])}

    def __getattr__(self, key):
        if key not in self._values:
            sys.exit(f"{self._where}: there is no '{key}'")
        return self._values[key]


class Header:
    """The namespaces of a header, as members."""

    def __init__(self, path):
        self._path = path

    def __getattr__(self, name):
        return Constants(self._path, name)


def read_faults(path):
    """In the order of the file, which is that of the registers."""
    text = re.sub(r"//[^\n]*|\\\n", "", path.read_text(encoding="ascii"))
    faults = []
    for row in re.findall(r"\bSERVING_FAULT\((.*?\")\)", text):
        parts = re.fullmatch(r'(\w+), "([^"]*)", (\w+), (\w+), (\w+), "([^"]*)"', re.sub(r"\s+", " ", row))
        if not parts:
            sys.exit(f"{path}: '{row}' is no fault: name, parameter, default, minimum, maximum and text are needed")
        faults.append(SimpleNamespace(name=parts[1], parameter=parts[2], minimum=int(parts[4], 0),
                                      maximum=int(parts[5], 0), text=parts[6]))
    if len(faults) != len(re.findall(r"\bSERVING_FAULT\(", text)) or not faults:
        sys.exit(f"{path}: {len(faults)} faults can be read, there are more")
    return faults


def bits_of(mask):
    """Big endian: bit 0 is the highest one."""
    low = (mask & -mask).bit_length() - 1
    if mask >> low & (mask >> low) + 1:
        sys.exit(f"the bits of 0x{mask:08X} do not stand together")
    return {"LSB": 31 - low, "MSB": 32 - mask.bit_length()}


def register(name, address, mask=None, access="RO", kind=None, space=None, **properties):
    """A register of four bytes, read each time unless it is said otherwise."""
    place = {"Address": f"0x{address:04X}", "Length": 4, "AccessMode": access, "pPort": PORT, "Cachable": "NoCache",
             "Endianess": "BigEndian"}
    if kind is None:
        kind = "MaskedIntReg" if mask else "IntReg"
        place |= (bits_of(mask) if mask else {}) | {"Sign": "Unsigned"}
    return node(kind, name, space, **({"Visibility": "Invisible"} | place | properties))


class Category:
    """A category under another one, with features behind those of the description."""

    def __init__(self, description, name, tip, above, space="Standard"):
        self._description, self._space = description, space
        self._node = node("Category", name, space, ToolTip=tip, DisplayName=display_name(name))
        description.find(above).append(element("pFeature", name))
        places = [place for place, each in enumerate(description.nodes) if each.tag == "Category"]
        description.nodes.insert(places[-1] + 1, self._node)

    def _add(self, name, *made):
        self._description.add(*made)
        self._node.append(element("pFeature", name))

    def add(self, kind, name, tip, visibility="Guru", **properties):
        """A feature without a register of its own."""
        self._add(name, node(kind, name, self._space, ToolTip=tip, DisplayName=display_name(name), Visibility=visibility,
                             **properties))

    def number(self, name, tip, address, mask=None, access="RO", visibility="Guru", **properties):
        """A register that is the feature."""
        self._add(name, register(name, address, mask, access, space=self._space, ToolTip=tip,
                                 DisplayName=display_name(name), Visibility=visibility, **properties))

    def over(self, kind, name, tip, address, mask=None, access="RO", **properties):
        """A feature over a register."""
        below = {tag: value for tag, value in properties.items() if tag in OF_REGISTER}
        above = {tag: value for tag, value in properties.items() if tag not in OF_REGISTER}
        self.add(kind, name, tip, pValue=f"{name}Reg", **above)
        self._description.add(register(f"{name}Reg", address, mask, access, "FloatReg" if kind == "Float" else None, **below))

    def choice(self, name, tip, entries, *place, **properties):
        made = [node("EnumEntry", entry, self._space, ToolTip=text, Value=value) for entry, value, text in entries]
        self.over("Enumeration", name, tip, *place, EnumEntry=made, **properties)

    def text(self, name, tip, address, length):
        self._add(name, register(name, address, kind="StringReg", space=self._space, ToolTip=tip,
                                 DisplayName=display_name(name), Visibility="Guru", Length=length, Endianess=[], **CONSTANT))

    def wide(self, name, tip, high, low, visibility="Guru", representation=None, unit=None, **properties):
        """64 bits in two registers, as commands for single registers read four bytes."""
        self.add("Integer", name, tip, visibility, pValue=f"{name}Both", Unit=unit or [], Representation=representation or [])
        self._description.add(
            node("IntSwissKnife", f"{name}Both", Visibility="Invisible", Formula="(HIGH << 32) | LOW",
                 pVariable=[element("pVariable", f"{name}{half}", Name=half.upper()) for half in ("High", "Low")]),
            register(f"{name}High", high, **properties), register(f"{name}Low", low, **properties))


def add_gigevision(description, addresses, registers):
    gev = Category(description, "GigEVision", "What belongs to GigE Vision.", "TransportLayerControl")
    add_device(gev, registers)
    add_addresses(gev, registers)
    add_capabilities(gev, registers)
    add_time(gev, description, registers)
    add_control(gev, description, registers)
    add_stream(gev, description, registers)
    add_chunk_form(gev, addresses)
    add_messages(gev, registers)


def add_device(gev, registers):
    at, version, mode = registers.Register, registers.Version, registers.DeviceMode
    for half, mask in (("Major", version.kMajor), ("Minor", version.kMinor)):
        gev.number(f"GevVersion{half}", f"{half} version of GigE Vision that the camera follows.", at.kVersion, mask,
                   **CONSTANT)
    gev.over("Boolean", "GevDeviceModeIsBigEndian", "Whether the registers are big endian.", at.kDeviceMode, mode.kBigEndian,
             **CONSTANT)
    gev.choice("GevDeviceModeCharacterSet", "Character set of all texts.",
               [("UTF8", mode.kUtf8, "Unicode, in UTF-8."), ("ASCII", mode.kAscii, "ASCII.")], at.kDeviceMode,
               mode.kCharacterSet, **CONSTANT)
    gev.wide("GevMACAddress", "MAC address of the network interface.", at.kMacHigh, at.kMacLow, "Beginner", "MACAddress",
             **CONSTANT)
    gev.text("GevFirstURL", "Where the description of the camera is.", at.kFirstUrl, 512)
    gev.text("GevSecondURL", "Where else the description of the camera is.", at.kSecondUrl, 512)
    gev.number("GevNumberOfInterfaces", "Number of network interfaces.", at.kInterfaces, **CONSTANT)
    gev.number("GevLinkSpeed", "Speed of the link, in megabits a second.", at.kLinkSpeed, Unit="Mbps")
    gev.number("GevMessageChannelCount", "Number of message channels.", at.kMessageChannels, **CONSTANT)
    gev.number("GevStreamChannelCount", "Number of stream channels.", at.kStreamChannels, **CONSTANT)


def add_addresses(gev, registers):
    at, way = registers.Register, registers.IpConfiguration
    for name, mask, text in (("PersistentIP", way.kPersistent, "a fixed address"), ("DHCP", way.kDhcp, "an address by DHCP"),
                             ("LLA", way.kLinkLocal, "a link-local address")):
        gev.over("Boolean", f"GevSupportedIPConfiguration{name}", f"Whether the camera can have {text}.", at.kIpSupported,
                 mask, **CONSTANT)
    gev.choice("GevCurrentIPConfiguration", "How the camera gets its address at its next start.",
               [("PersistentIP", way.kPersistent | way.kLinkLocal, "The fixed one, else link-local."),
                ("DHCP", way.kDhcp | way.kLinkLocal, "By DHCP, else link-local."), ("LLA", way.kLinkLocal, "Link-local.")],
               at.kIpInUse, way.kPersistent | way.kDhcp | way.kLinkLocal, "RW")
    parts = (("IPAddress", "IP address"), ("SubnetMask", "Subnet mask"), ("DefaultGateway", "Default gateway"))
    for (name, text), address in zip(parts, (at.kCurrentIp, at.kCurrentMask, at.kCurrentGateway)):
        gev.number(f"GevCurrent{name}", f"{text} of the network interface.", address, visibility="Beginner",
                   Representation="IPV4Address")
    for (name, text), address in zip(parts, (at.kPersistentIp, at.kPersistentMask, at.kPersistentGateway)):
        gev.number(f"GevPersistent{name}", f"{text} that the camera has from its next start on, if that is its way to get "
                   "one.", address, access="RW", Representation="IPV4Address")


def add_capabilities(gev, registers):
    at, mask = registers.Register, registers.GvcpCapability
    for name, bit, text in (("Concatenation", mask.kConcatenation, "several operations in one command"),
                            ("WRITEMEM", mask.kWriteMem, "WRITEMEM"), ("PACKETRESEND", mask.kPacketResend, "PACKETRESEND"),
                            ("EVENT", mask.kEvent, "EVENT"), ("EVENTDATA", mask.kEventData, "EVENTDATA")):
        gev.over("Boolean", f"GevSupportedOptionalCommands{name}", f"Whether the camera knows {text}.", at.kGvcpCapability, bit,
                 **CONSTANT)


def add_time(gev, description, registers):
    at, control = registers.Register, registers.TimestampControl
    gev.wide("GevTimestampTickFrequency", "Ticks of the time stamps in a second.", at.kTickFrequencyHigh,
             at.kTickFrequencyLow, unit="Hz", **CONSTANT)
    for name, value, text in (("Latch", control.kLatch, "Puts the time of now into GevTimestampValue."),
                              ("Reset", control.kReset, "Lets the time begin at 0 again.")):
        gev.add("Command", f"GevTimestampControl{name}", text, "Expert", pValue="GevTimestampControlReg", CommandValue=value)
    description.add(register("GevTimestampControlReg", at.kTimestampControl, access="WO"))
    gev.wide("GevTimestampValue", "Time of the last GevTimestampControlLatch, in ticks.", at.kTimestampHigh, at.kTimestampLow,
             "Expert", pInvalidator=["GevTimestampControlLatch", "GevTimestampControlReset"])


def add_control(gev, description, registers):
    at = registers.Register
    gev.over("Integer", "GevHeartbeatTimeout", "How long the camera waits for a command before it takes control away from the "
             "application, in milliseconds.", at.kHeartbeatTimeout, access="RW", Min=500, Max=600000, Inc=1, Unit="ms")
    ccp = registers.Ccp
    gev.choice("GevCCP", "Who has control of the camera.",
               [("OpenAccess", 0, "Nobody."),
                ("ExclusiveAccess", ccp.kExclusive, "One application, and no other may even read."),
                ("ControlAccess", ccp.kControl, "One application; others may read."),
                ("ControlAccessSwitchoverActive", ccp.kControl | ccp.kSwitchover,
                 "The same, and another one that knows the key may take it over.")],
               at.kCcp, ccp.kExclusive | ccp.kControl | ccp.kSwitchover, "RW")
    switchover = description.find("GevCCP/ControlAccessSwitchoverActive")
    switchover.insert(1, element("pIsImplemented", "GevSwitchoverSupported"))
    description.add(register("GevSwitchoverSupported", at.kGvcpCapability, registers.GvcpCapability.kSwitchover, **CONSTANT))


def add_stream(gev, description, registers):
    at, port, scps, scc = registers.Register, registers.ChannelPort, registers.Scps, registers.Scc
    channel = at.kStreamChannel
    gev.choice("GevGVSPExtendedIDMode", "Whether blocks, and events with them, have ids of 64 bits.",
               [("Off", 0, "Ids of 16 bits."), ("On", 1, "Ids of 64 bits.")], at.kGvspConfiguration,
               registers.GvspConfiguration.kExtendedIds, "RW", pInvalidator="DeviceReset", **LOCKED, **SAVED, **CONSTANT)
    selected = ["GevSCPHostPort", "GevSCPInterfaceIndex", "GevSCPSPacketSize", "GevSCPSFireTestPacket", "GevSCPSDoNotFragment",
                "GevSCPSBigEndian", "GevSCPD", "GevSCDA", "GevSCSP", "GevSCCFGExtendedChunkData"]
    gev.add("Integer", "GevStreamChannelSelector", "The stream channel that all that begins with GevSC belongs to.", "Expert",
            Value=0, Min=0, Max=0, pSelected=selected)
    gev.number("GevSCPHostPort", "Port that the stream is sent to; 0: none, and the channel is closed.", channel + at.kScp,
               port.kPort, "RW")
    gev.number("GevSCPInterfaceIndex", "Network interface that the stream is sent over.", channel + at.kScp, port.kInterface)
    gev.over("Integer", "GevSCPSPacketSize", "Size of a packet of the stream with its headers, from that of IP on, in bytes. "
             "The camera takes the next smaller one that the network lets it have.", channel + at.kScps, scps.kSize, "RW",
             Min=576, Max=16000, Inc=4, Unit="B", **LOCKED, **SAVED)
    gev.over("Boolean", "GevSCPSFireTestPacket", "Writing true sends one test packet of that size.", channel + at.kScps,
             scps.kFireTestPacket, "RW", **LOCKED)
    gev.over("Boolean", "GevSCPSDoNotFragment", "Whether the network may not cut packets of the stream into pieces.",
             channel + at.kScps, scps.kDoNotFragment, "RW", **LOCKED)
    gev.over("Boolean", "GevSCPSBigEndian", "Whether pixels of several bytes are sent big endian.", channel + at.kScps,
             scps.kBigEndian)
    gev.number("GevSCPD", "Pause between two packets of the stream, in ticks of GevTimestampTickFrequency.", channel + at.kScpd,
               access="RW", visibility="Expert", **SAVED)
    gev.number("GevSCDA", "Address that the stream is sent to.", channel + at.kScda, access="RW", Representation="IPV4Address")
    gev.number("GevSCSP", "Port that the stream comes from, while the channel is open.", channel + at.kScsp, port.kPort)
    gev.over("Boolean", "GevSCCFGExtendedChunkData", "Whether images with chunks are sent as images that chunks follow, not "
             "as chunks alone.", channel + at.kSccfg, scc.kExtendedChunks, "RW", pIsImplemented="GevExtendedChunkDataSupported",
             **LOCKED, **SAVED)
    description.add(register("GevExtendedChunkDataSupported", channel + at.kScc, scc.kExtendedChunks, **CONSTANT))


def add_chunk_form(gev, addresses):
    entries = [("ExtendedChunkData", 0, "Payload type 5: the leader tells of the image, the chunks of the rest."),
               ("ChunkData", 1, "Payload type 4: nothing but the chunks tells of the image.")]
    gev.choice("GevChunkForm", "How images with chunks are sent while GevSCCFGExtendedChunkData is off.", entries,
               addresses.kChunkForm, None, "RW", **LOCKED, **SAVED)


def add_messages(gev, registers):
    at, port = registers.Register, registers.ChannelPort
    gev.number("GevMCPHostPort", "Port that messages are sent to; 0: none, and the channel is closed.", at.kMcp, port.kPort,
               "RW")
    gev.number("GevMCDA", "Address that messages are sent to.", at.kMcda, access="RW", Representation="IPV4Address")
    gev.number("GevMCTT", "How long the camera waits for the acknowledge of a message, in milliseconds; 0: it wants none.",
               at.kMctt, access="RW", Unit="ms")
    gev.number("GevMCRC", "How often a message without an acknowledge is sent again.", at.kMcrc, access="RW")
    gev.number("GevMCSP", "Port that messages come from, while the channel is open.", at.kMcsp, port.kPort)


def add_actions(description, registers):
    at = registers.Register
    actions = Category(description, "ActionControl", "Signals that one command gives to many cameras.", "Root")
    actions.number("ActionDeviceKey", "Key that an action command must have.", at.kActionDeviceKey, access="WO",
                   Representation="HexNumber")
    actions.add("Integer", "ActionSelector", "The action signal that ActionGroupKey and ActionGroupMask belong to.", Value=1,
                Min=1, Max=2, Inc=1, pSelected=["ActionGroupKey", "ActionGroupMask"])
    description.add(node("IntSwissKnife", "ActionIndex", Visibility="Invisible", Formula="SIGNAL - 1",
                         pVariable=element("pVariable", "ActionSelector", Name="SIGNAL")))
    place = {"access": "RW", "Representation": "HexNumber", **SAVED}
    for name, address, tip in (
            ("ActionGroupKey", at.kActionGroupKey, "Group key that an action command must have."),
            ("ActionGroupMask", at.kActionGroupMask, "An action command must have one of these bits in its group mask.")):
        actions.number(name, tip, address, pIndex=element("pIndex", "ActionIndex", Offset=f"0x{at.kActionStride:X}"), **place)


def add_faults(description, at, faults):
    control = Category(description, "FaultControl", "Faults of the network that the camera makes on purpose.", "Root", "Custom")
    entries = [(fault.name, number, fault.text + (f" FaultParameter: {fault.parameter}." if fault.parameter else ""))
               for number, fault in enumerate(faults)]
    selected = ["FaultRate", "FaultParameter", "FaultLeft", "FaultBlockID", "FaultPacketID", "FaultCount"]
    control.choice("FaultSelector", "The fault that FaultRate, FaultParameter, FaultLeft, FaultBlockID, FaultPacketID and "
                   "FaultCount belong to.", entries, at.kFaultSelector, None, "RW", pSelected=selected,
                   pInvalidator="DeviceReset", **CONSTANT)

    def of_fault():
        return {"pIndex": element("pIndex", "FaultSelectorReg", Offset=f"0x{at.kFaultStride:X}")}

    control.over("Float", "FaultRate", "How often the selected fault happens, of all times that it could; 0: never.",
                 at.kFault + at.kFaultRate, access="RW", Length=8, Min="0.0", Max="1.0", **of_fault())
    control.over("Integer", "FaultParameter", "Number that the selected fault goes by; the tip of the fault tells what it is.",
                 at.kFault + at.kFaultParameter, access="RW", pIsAvailable="FaultHasParameter", pMin="FaultParameterMin",
                 pMax="FaultParameterMax", **of_fault())
    add_limits(description, faults)
    control.number("FaultLeft", "How many more times the selected fault happens; 0: without end.", at.kFault + at.kFaultLeft,
                   access="RW", **of_fault())
    control.number("FaultBlockID", "Block in which alone the selected fault happens; 0: in all.", at.kFault + at.kFaultBlock,
                   access="RW", **of_fault())
    control.number("FaultPacketID", "Packet id at which alone the selected fault happens; 0xFFFFFFFF: at all.",
                   at.kFault + at.kFaultPacket, access="RW", **of_fault())
    control.number("FaultCount", "How often the selected fault has happened since FaultReset.", at.kFault + at.kFaultCount,
                   Length=8, **of_fault())
    control.number("FaultSeed", "Decides, with the rates, where faults happen: the same seed, the same packets.", at.kFaultSeed,
                   access="RW")
    control.over("Command", "FaultReset", "Ends all faults, and lets their counts begin at 0 again.", at.kFaultReset,
                 access="WO", CommandValue=1)


def add_limits(description, faults):
    for name, limits in (("Min", [fault.minimum for fault in faults]), ("Max", [fault.maximum for fault in faults])):
        rows = [element("ValueIndexed", value, Index=str(number)) for number, value in enumerate(limits)]
        description.add(node("Integer", f"FaultParameter{name}", Visibility="Invisible",
                             pIndex=element("pIndex", "FaultSelectorReg"), ValueIndexed=rows, ValueDefault=0))
    description.add(node("IntSwissKnife", "FaultHasParameter", Visibility="Invisible", Formula="MAX > 0",
                         pVariable=element("pVariable", "FaultParameterMax", Name="MAX")))
