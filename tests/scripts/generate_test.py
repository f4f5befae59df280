# SPDX-License-Identifier: Apache-2.0
"""What parameters/generate.py refuses in a list, and how it says so: usage generate_test.py <generate.py>"""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

GENERATE = sys.argv.pop(1)
HEAD = "namespace N\nclass C\nabout For tests.\n"

# A list, and the complaint.
CASES = [
    ("namespace N\nclass C\nBoolean B\n", "there is no line 'about'"),
    (HEAD, "there is no parameter"),
    (HEAD + "class D\n", ":4: 'class' stands alone or again"),
    (HEAD + "Colour B\n", ":4: 'Colour' is no kind of parameter"),
    (HEAD + "Boolean\n", ":4: a parameter is written 'Boolean NAME'"),
    (HEAD + "Boolean 1B\n", ":4: '1B' is no name"),
    (HEAD + "Boolean B\n\nFloat B # again\n", ":6: 'B' is named twice"),
    (HEAD + "Enum E Red\n", ":4: an enumeration is written 'Enum NAME = ENTRY ENTRY'"),
    (HEAD + "Enum E = Red Red\n", ":4: an entry is named twice"),
    (HEAD + "Enum E = Red;\n", ":4: 'Red;' is no name of an entry"),
    (HEAD + "Enum E = Red\n  Green\n  Blue Red\n", ":4: an entry is named twice"),
    (" \n  Boolean B\n", ":2: goes on with nothing"),
]


class GenerateTest(unittest.TestCase):
    def test_wrong_lists_are_refused_by_line_and_nothing_is_written(self):
        for text, complaint in CASES:
            with self.subTest(complaint), tempfile.TemporaryDirectory() as folder:
                source = Path(folder) / "List.params"
                source.write_text(text, encoding="ascii")
                run = subprocess.run([sys.executable, GENERATE, source, f"{folder}/include", f"{folder}/src"],
                                     capture_output=True, text=True, check=False)
                self.assertEqual(run.returncode, 1)
                self.assertIn(complaint, run.stderr)
                self.assertEqual(list(Path(folder).iterdir()), [source])


unittest.main()
