#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes a page as doxygen wants it: docs-page.py PAGE, to standard output.

A heading gets the name by which links reach it, and code its language alone and quotes that may hold an apostrophe. Links and
names have the page's name in front, as several pages have headings of the same text.
"""

import re
import sys
from pathlib import Path


def main():
    page = Path(sys.argv[1])
    label = page.stem.lower()
    lines, in_code, names = [], False, set()
    for line in page.read_text(encoding="utf-8").split("\n"):
        if line.startswith("```"):
            in_code = not in_code
            line = line.split(" ")[0]
        elif not in_code:
            line = re.sub(r"\]\(#([\w-]+)\)", rf"](#{label}-\1)", line)
            line = re.sub(r"(?<!`)`([^`\n]*'[^`\n]*)`(?!`)", r"``\1``", line)
            heading = re.match(r"##+ (.*)", line)
            if heading:
                name = re.sub(r"[^\w -]", "", heading[1].lower()).replace(" ", "-")
                while name in names:
                    name += "-1"
                names.add(name)
                line += f" {{#{label}-{name}}}"
        lines.append(line)
    sys.stdout.write("\n".join(lines))


main()
