# SPDX-License-Identifier: Apache-2.0
"""Holds the schema of rule files against the built-in rules and the example that docs/configuration.md shows, and against files
that are none. Skipped, with code 77, without xmllint.

usage: rules_schema_test.py <source folder>
"""

import re
import shutil
import subprocess
import sys
from pathlib import Path

SOURCE = Path(sys.argv[1])
SCHEMA = SOURCE / "resources/ConfigFileRegistry/BindingRules.xsd"
FRAME = '<BindingRules xmlns="urn:zelmo:BindingRules">{}</BindingRules>'
LAYER = FRAME.format('<TransportLayer name="HarlixUsb">{}</TransportLayer>')
RULE = LAYER.format("<Rule{}>{}</Rule>")

GOOD = {
    "any order, several times": RULE.format("", "<File>a</File><Name>b</Name><File>c</File><Download> YES\n</Download>"),
    "the highest priority": RULE.format(' priority="4294967295"', "<Name/>"),
}
BAD = {
    "another document": "<settings/>",
    "no namespace": RULE.format("", "<Name/>").replace(' xmlns="urn:zelmo:BindingRules"', ""),
    "no transport layer": FRAME.format(""),
    "a transport layer without a name": FRAME.format("<TransportLayer><Rule><Name/></Rule></TransportLayer>"),
    "no rule": LAYER.format(""),
    "a rule that says nothing": RULE.format("", ""),
    "an unknown element": RULE.format("", "<Model>a</Model>"),
    "small letters": RULE.format("", "<name>a</name>"),
    "text": RULE.format("", "a"),
    "another word": RULE.format("", "<Download>true</Download>"),
    "a negative priority": RULE.format(' priority="-1"', "<Name/>"),
    "another type": RULE.format("", "<Name/>").replace("xmlns", 'type="Custom" xmlns'),
}


def fault(text):
    """What xmllint says against the text; empty when all is well."""
    done = subprocess.run(["xmllint", "--noout", "--schema", SCHEMA, "-"], input=text.encode(), capture_output=True)
    return "" if done.returncode == 0 else done.stderr.decode()


def main():
    if not shutil.which("xmllint"):
        print("xmllint is not installed (package libxml2-utils): the schema of rule files is not looked at")
        sys.exit(77)
    page = (SOURCE / "docs/configuration.md").read_text(encoding="utf-8")
    example = re.search(r"RulesSite\.xml <<'END'\n(.*?)^END$", page, re.M | re.S)
    good = dict(GOOD, **{
        "the built-in rules": (SOURCE / "resources/ConfigFileRegistryStandardRules.xml").read_text(encoding="utf-8"),
        "the example of docs/configuration.md": example.group(1),
    })
    faults = [f"{name}: {fault(text)}" for name, text in good.items() if fault(text)]
    faults += [f"{name}: is let pass" for name, text in BAD.items() if not fault(text)]
    sys.exit("\n".join(faults) or 0)


main()
