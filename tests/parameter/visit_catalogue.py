#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes a unit that hands each parameter of a catalogue to a test, as its list tells: usage LIST SOURCE

Knows nothing of the generator of the catalogues. What the compiled classes are compared with comes from the list: that
each member is there and refers to the interface of its kind is for the compiler to see, the rest for CataloguesTest.cpp.
"""

import sys
from pathlib import Path

path = Path(sys.argv[1])
head, parameters = {}, []
for line in path.read_text(encoding="ascii").replace("\n          ", " ").split("\n"):
    words = line.partition("#")[0].split()
    if words[:1] and words[0].islower():
        head[words[0]] = " ".join(words[1:])
    elif words:
        parameters.append(words)

namespace, name = head["namespace"], head["class"]
text = f"""// SPDX-License-Identifier: Apache-2.0
#include "parameter/CatalogueVisitor.h"
#include <zelmo/{path.stem}.h>
#include <zelmo/{path.stem}Classes.h>

namespace {{

using namespace {namespace};
using Catalogue = {name};

void Visit(Catalogue& catalogue, tests::CatalogueVisitor& visitor) {{
"""
for kind, parameter, *rest in parameters:
    if kind == "Enum":
        entries = rest[1:]
        rows = ", ".join(f'{{"{entry}", {parameter}_{entry}}}' for entry in entries)
        text += f"    visitor.Enum<{parameter}Enums, EnumParameterClasses::{parameter}EnumParameter>(\n"
        text += f'        catalogue.{parameter}, "{parameter}", {{{rows}}});\n'
    else:
        text += f'    visitor.{kind}(catalogue.{parameter}, "{parameter}");\n'
text += f"""}}

const tests::CatalogueUnderTest kUnderTest{{"{namespace}", "{name}", tests::VisitAll<Catalogue, Visit>}};

}} // namespace
"""
Path(sys.argv[2]).write_text(text, encoding="ascii")
