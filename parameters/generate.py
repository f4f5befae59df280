#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the classes of one catalogue of parameters from its list.

generate.py LIST HEADER_FOLDER SOURCE_FOLDER
Writes HEADER_FOLDER/<stem>.h, with the enumerations and the class; HEADER_FOLDER/<stem>Classes.h, with the class of each
enumeration; and SOURCE_FOLDER/<stem>.cpp. All three are always written.

Whoever includes the first header instantiates no template, as there are hundreds of enumerations. For the same reason
the library shows nothing of their classes: they stand in the second header whole, for the few that anybody else uses.

A list has one line for each parameter, in any order, behind lines that name the whole; # begins a comment, and a line
that begins with a blank goes on with the one before:
    namespace <name>
    class     <name>               the catalogue
    derived   <name>               optional: a class that derives from it and adds nothing
    about     <a sentence>         what node map it is for
    <kind>    <parameter>          kind: Array Boolean Command Float Integer String
    Enum      <parameter> = <entry> <entry> ...
Members and entries stand in ascending byte order of their names, whatever the order of the list.
"""

import re
import sys
from pathlib import Path

INTERFACES = {"Array": "IRegisterEx", "Boolean": "IBooleanEx", "Command": "ICommandEx", "Float": "IFloatEx",
              "Integer": "IIntegerEx", "String": "IStringEx"}
HEAD = ("namespace", "class", "derived", "about")
NAME = re.compile(r"[A-Za-z_]\w*")
LICENSE = "// SPDX-License-Identifier: Apache-2.0\n"


class Parameter:
    def __init__(self, kind, name, entries):
        self.kind = kind
        self.name = name
        self.entries = entries

    @property
    def enumeration(self):
        return self.name + "Enums"

    @property
    def enum_class(self):
        return self.name + "EnumParameter"

    @property
    def object_type(self):
        return f"EnumParameterClasses::{self.enum_class}" if self.kind == "Enum" else f"Zelmo::C{self.kind}Parameter"

    @property
    def reference_type(self):
        return f"Zelmo::IEnumParameterT<{self.enumeration}>" if self.kind == "Enum" else f"Zelmo::{INTERFACES[self.kind]}"


class Catalogue:
    def __init__(self, path):
        self.stem = path.stem
        self.path = path
        self.head = {}
        self.parameters = []
        for number, words in self._lines():
            self.where = f"{path}:{number}"
            self._take(words)
        for word in set(HEAD) - {"derived"}:
            if word not in self.head:
                sys.exit(f"{path}: there is no line '{word}'")
        if not self.parameters:
            sys.exit(f"{path}: there is no parameter")
        self.parameters.sort(key=lambda parameter: parameter.name.encode())

    def _lines(self):
        """Number and words of each, those that go on with others joined to them."""
        lines = []
        for number, line in enumerate(self.path.read_text(encoding="ascii").split("\n"), 1):
            text = line.split("#")[0]
            if text[:1].isspace() and text.strip():
                if not lines:
                    sys.exit(f"{self.path}:{number}: goes on with nothing")
                lines[-1][1].extend(text.split())
            elif text.strip():
                lines.append((number, text.split()))
        return lines

    def _take(self, words):
        kind, rest = words[0], words[1:]
        if kind in HEAD:
            if kind in self.head or not rest:
                sys.exit(f"{self.where}: '{kind}' stands alone or again")
            self.head[kind] = " ".join(rest)
            return
        if kind != "Enum" and kind not in INTERFACES:
            sys.exit(f"{self.where}: '{kind}' is no kind of parameter")
        entries = []
        if kind == "Enum":
            if len(rest) < 3 or rest[1] != "=":
                sys.exit(f"{self.where}: an enumeration is written 'Enum NAME = ENTRY ENTRY'")
            entries = sorted(rest[2:], key=str.encode)
            rest = rest[:1]
        if len(rest) != 1:
            sys.exit(f"{self.where}: a parameter is written '{kind} NAME'")
        for word in rest:
            if not NAME.fullmatch(word):
                sys.exit(f"{self.where}: '{word}' is no name")
        for word in entries:
            if not re.fullmatch(r"\w+", word):
                sys.exit(f"{self.where}: '{word}' is no name of an entry")
        if len(set(entries)) != len(entries):
            sys.exit(f"{self.where}: an entry is named twice")
        if any(parameter.name == rest[0] for parameter in self.parameters):
            sys.exit(f"{self.where}: '{rest[0]}' is named twice")
        self.parameters.append(Parameter(kind, rest[0], entries))

    @property
    def enumerations(self):
        return [parameter for parameter in self.parameters if parameter.kind == "Enum"]

    def _headers(self):
        kinds = {parameter.kind for parameter in self.parameters}
        names = {"EnumParameterT" if kind == "Enum" else kind + "Parameter" for kind in kinds} | {"Export"}
        return "".join(f"#include <zelmo/{name}.h>\n" for name in sorted(names))

    def header(self):
        text = LICENSE + f"// Generated from parameters/{self.path.name}.\n#pragma once\n\n"
        text += f"{self._headers()}\n#include <GenApi/INodeMap.h>\n\n"
        text += f"namespace {self.head['namespace']} {{\n\n"
        for parameter in self.enumerations:
            text += f"enum {parameter.enumeration} : int {{\n"
            text += ",\n".join(f"    {parameter.name}_{entry}" for entry in parameter.entries) + "\n};\n\n"
        name = self.head["class"]
        text += f"""/// {self.head['about']}
/// One reference for each parameter, named as its node. A parameter whose node is missing, or is of another kind, is
/// invalid; see Zelmo::CParameter. Owns the parameters, not the node map: attach to another one, or none, or destroy the
/// catalogue, before the node map goes.
class ZELMO_API {name} {{
    struct Data;
    Data* m_data;

public:
    {name}(); ///< All invalid. @throws std::bad_alloc
    ~{name}();
    {name}(const {name}&) = delete;
    {name}& operator=(const {name}&) = delete;

    /// Attaches each parameter to the node of its name; null leaves all of them invalid. Not while another thread uses
    /// the parameters.
    void _Initialize(GenApi::INodeMap* nodeMap);

"""
        for parameter in self.parameters:
            text += f"    {parameter.reference_type}& {parameter.name};\n"
        text += "};\n"
        if "derived" in self.head:
            text += f"\nclass {self.head['derived']} : public {name} {{}};\n"
        return text + f"\n}} // namespace {self.head['namespace']}\n"

    def classes_header(self):
        text = LICENSE + f"// Generated from parameters/{self.path.name}.\n#pragma once\n\n"
        text += f"#include <zelmo/EnumParameterT.h>\n#include <zelmo/{self.stem}.h>\n\n"
        text += f"""/// The classes behind the enumerations of {self.head['namespace']}::{self.head['class']}, for views of single
/// nodes; see Zelmo::CParameter.
namespace {self.head['namespace']}::EnumParameterClasses {{
"""
        for parameter in self.enumerations:
            name = parameter.enum_class
            rows = ", ".join(f'{{"{entry}", {len(entry) + 1}}}' for entry in parameter.entries)
            text += f"""
class {name} : public Zelmo::CEnumParameterT<{parameter.enumeration}> {{
public:
    using CEnumParameterT::CEnumParameterT;
    using CEnumParameterT::operator=;
    const Table_t& GetTable() const override {{
        static constexpr Table_t::Entry kEntries[] = {{{rows}}};
        static constexpr Table_t kTable{{kEntries, {len(parameter.entries)}}};
        return kTable;
    }}
}};
"""
        return text + f"\n}} // namespace {self.head['namespace']}::EnumParameterClasses\n"

    def source(self):
        name = self.head["class"]
        text = LICENSE + f"// Generated from parameters/{self.path.name}.\n#include <zelmo/{self.stem}.h>\n"
        text += f"#include <zelmo/{self.stem}Classes.h>\n\nnamespace {self.head['namespace']} {{\n\nstruct {name}::Data {{\n"
        text += "".join(f"    {parameter.object_type} {parameter.name};\n" for parameter in self.parameters)
        text += f"}};\n\n{name}::{name}()\n    : m_data(new Data)"
        text += "".join(f",\n      {p.name}(m_data->{p.name})" for p in self.parameters)
        text += f" {{}}\n\n{name}::~{name}() {{\n    delete m_data;\n}}\n\n"
        text += f"void {name}::_Initialize(GenApi::INodeMap* nodeMap) {{\n"
        text += "".join(f'    m_data->{p.name}.Attach(nodeMap, "{p.name}");\n' for p in self.parameters)
        return text + f"}}\n\n}} // namespace {self.head['namespace']}\n"


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__.split("\n")[2])
    catalogue = Catalogue(Path(sys.argv[1]))
    headers, sources = Path(sys.argv[2]), Path(sys.argv[3])
    for path, text in ((headers / f"{catalogue.stem}.h", catalogue.header()),
                       (headers / f"{catalogue.stem}Classes.h", catalogue.classes_header()),
                       (sources / f"{catalogue.stem}.cpp", catalogue.source())):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="ascii")


main()
