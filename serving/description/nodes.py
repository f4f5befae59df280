# SPDX-License-Identifier: Apache-2.0
"""A camera description as text in, nodes, and text out again; and the making of nodes."""

import re
import sys
import uuid
import xml.etree.ElementTree as ElementTree
from xml.sax.saxutils import escape, quoteattr

# Schemas fix the order of the elements in a node: this one, as far as the nodes made here have them.
ORDER = """ToolTip DisplayName Visibility EventID pIsImplemented pIsAvailable pIsLocked ImposedAccessMode Streamable
           pVariable Formula EnumEntry Address pIndex Length pLength AccessMode pPort Cachable pInvalidator LSB MSB Sign
           Endianess Value pValue ValueIndexed ValueDefault CommandValue Min pMin Max pMax Inc Unit Representation pFeature
           pSelected""".split()

# What schema 1.0 does not know.
KINDS_SINCE_1_1 = {"String"}
ELEMENTS_SINCE_1_1 = {"Constant", "DisplayNotation", "DisplayPrecision", "DocuURL", "Expression", "IsDeprecated", "IsLinear",
                      "IsSelfClearing", "NumericValue", "pBlockPolling", "pCastAlias", "pError", "pValueCopy"}
REPRESENTATIONS_SINCE_1_1 = {"IPV4Address", "MACAddress"}

REGISTERS = ("IntReg", "MaskedIntReg", "FloatReg", "StringReg", "Register")
PORT = "Device"


def display_name(name):
    """GevSCPSPacketSize: Gev SCPS Packet Size."""
    return re.sub(r"(?<=[a-z0-9])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])", " ", name)


def element(tag, text="", **attributes):
    made = ElementTree.Element(tag, attributes)
    made.text = str(text)
    return made


def node(kind, name, space=None, **properties):
    """A node whose elements stand in their order. A property is a text, a number, an element, or a list of them."""
    made = ElementTree.Element(kind, {"Name": name} | ({"NameSpace": space} if space else {}))
    for tag in sorted(properties, key=ORDER.index):
        values = properties[tag]
        for value in values if isinstance(values, list) else [values]:
            if value is not None:
                made.append(value if isinstance(value, ElementTree.Element) else element(tag, value))
    return made


class Description:
    def __init__(self, path):
        self.path = path
        root = ElementTree.parse(path).getroot()
        for each in root.iter():
            each.tag = each.tag.split("}")[-1]
        self.attributes = {key: value for key, value in root.attrib.items() if not key.startswith("{")}
        self.nodes = list(root)
        self._check()

    def _check(self):
        names = [each.get("Name") for each in self.nodes]
        for name in names:
            if name is None or names.count(name) > 1:
                sys.exit(f"{self.path}: there is a node without a name, or two nodes '{name}'")

    def fail(self, name, what):
        sys.exit(f"{self.path}: node '{name}': {what}")

    def find(self, path):
        """The node of that name; NODE/ENTRY: of an enumeration's entry."""
        name, *entry = path.split("/")
        found = next((each for each in self.nodes if each.get("Name") == name), None)
        if found is not None and entry:
            found = next((each for each in found.iter("EnumEntry") if each.get("Name") == entry[0]), None)
        if found is None:
            self.fail(path, "there is none")
        return found

    def one(self, of, tag):
        """The node's only element of that kind."""
        found = of.findall(tag)
        if len(found) != 1:
            self.fail(of.get("Name"), f"has {len(found)} elements '{tag}', 1 is needed")
        return found[0]

    def number(self, of, tag):
        text = self.one(of, tag).text
        try:
            return int(text, 0)
        except ValueError:
            self.fail(of.get("Name"), f"its {tag} is '{text}', a number is needed")

    def on_port(self, port):
        return [each for each in self.nodes if each.findtext("pPort") == port]

    @staticmethod
    def references(of):
        """The names of the nodes that a node refers to."""
        return {each.text for each in of.iter() if re.match("p[A-Z]", each.tag)}

    def users(self, name):
        return [each for each in self.nodes if name in self.references(each)]

    def drop(self, name):
        """Takes a feature out of its category and the description, and what it alone has used."""
        gone = self.find(name)
        for user in self.users(name):
            if user.tag != "Category":
                self.fail(name, f"cannot be left out: '{user.get('Name')}' needs it")
            for listed in [each for each in user.iter("pFeature") if each.text == name]:
                user.remove(listed)
        self.nodes.remove(gone)
        for used in self.references(gone):
            if not self.users(used):
                self.drop(used)

    def add(self, *made):
        """Behind all others, but for the port."""
        for each in made:
            if any(other.get("Name") == each.get("Name") for other in self.nodes):
                self.fail(each.get("Name"), "cannot be added: there is one already")
            self.nodes.insert(self.nodes.index(self.find(PORT)), each)

    def check_references(self):
        names = {each.get("Name") for each in self.nodes}
        for each in self.nodes:
            for missing in self.references(each) - names:
                self.fail(each.get("Name"), f"refers to '{missing}', which there is not")

    def lower_to_1_0(self):
        """Has nothing that schema 1.0 does not know."""
        self.attributes |= {"SchemaMinorVersion": "0", "SchemaSubMinorVersion": "1"}
        for each in self.nodes:
            for inner in each.iter():
                if inner.tag == "Representation" and inner.text in REPRESENTATIONS_SINCE_1_1:
                    inner.text = "HexNumber"
                if inner.tag in ELEMENTS_SINCE_1_1 or each.tag in KINDS_SINCE_1_1:
                    self.fail(each.get("Name"), f"schema 1.0 knows no '{inner.tag}'")
            self._check_for_1_0(each)

    def _check_for_1_0(self, each):
        name = each.get("Name")
        if each.tag not in REGISTERS and each.find("pInvalidator") is not None:
            self.fail(name, "schema 1.0 knows invalidators of registers only")
        if each.tag == "Float" and (each.find("Inc") is not None or each.find("ValueIndexed") is not None):
            self.fail(name, "schema 1.0 knows neither increments nor indexed values of floats")
        if each.tag in REGISTERS and any("Offset" not in index.attrib for index in each.iter("pIndex")):
            self.fail(name, "schema 1.0 needs the offset of each index")

    @property
    def schema(self):
        return f"{self.attributes['SchemaMajorVersion']}_{self.attributes['SchemaMinorVersion']}"

    def text(self):
        """What is the same has the same version; whatever is different has another one."""
        space = uuid.UUID(self.attributes["ProductGuid"])
        self.attributes["VersionGuid"] = ""
        self.attributes["VersionGuid"] = str(uuid.uuid5(space, self._text())).upper()
        return self._text()

    def _text(self):
        url = "http://www.genicam.org/GenApi/"
        version = f"{url}Version_{self.schema}"
        attributes = self.attributes | {
            "xmlns": version, "xmlns:xsi": "http://www.w3.org/2001/XMLSchema-instance",
            "xsi:schemaLocation": f"{version} {url}GenApiSchema_Version_{self.schema}.xsd"}
        lines = "".join(f"\n    {key}={quoteattr(value)}" for key, value in attributes.items())
        body = "\n".join(written(each, 1) for each in self.nodes)
        return f'<?xml version="1.0" encoding="utf-8"?>\n<RegisterDescription{lines}>\n\n{body}\n</RegisterDescription>\n'


def written(each, depth):
    """An element with what is in it, as lines."""
    blank = "    " * depth
    start = "<" + each.tag + "".join(f" {key}={quoteattr(value)}" for key, value in each.attrib.items())
    if len(each):
        inner = "".join(written(child, depth + 1) for child in each)
        return f"{blank}{start}>\n{inner}{blank}</{each.tag}>\n"
    text = escape((each.text or "").strip())
    return f"{blank}{start}>{text}</{each.tag}>\n" if text else f"{blank}{start}/>\n"
