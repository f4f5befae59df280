# SPDX-License-Identifier: Apache-2.0
"""Checks that the C++ block of the README is a program of the examples, but for its leading comment."""
import pathlib
import re
import sys

readme, program = (pathlib.Path(argument).read_text(encoding="utf-8") for argument in sys.argv[1:3])
shown = re.search(r"```cpp\n(.*?)```", readme, re.DOTALL)
if not shown:
    sys.exit("the README shows no program")
if shown.group(1) != re.sub(r"^(//.*\n|\n)+", "", program):
    sys.exit("the program in the README differs from " + sys.argv[2])
