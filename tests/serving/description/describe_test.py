# SPDX-License-Identifier: Apache-2.0
"""What serving/description/describe.py writes, and what it refuses: usage describe_test.py <describe.py> <its inputs…>"""

import re
import subprocess
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path

DESCRIBE, *INPUTS = (Path(each) for each in sys.argv[1:])
del sys.argv[1:]
CAMERA, FAULTS, ADDRESSES, REGISTERS = range(4)

# The input, the node in it (or nothing), what stands there and what instead; and the complaint.
CASES = [
    (CAMERA, "ImageFilename", 'Name="', 'Name="My', "node 'ImageFilename': there is none"),
    (CAMERA, "TestImageSelector", "<pValue>", "<pIsLocked>ImageFileMode</pIsLocked><pValue>",
     "node 'ImageFileMode': cannot be left out: 'TestImageSelector' needs it"),
    (CAMERA, "DeviceUserID", "until the process ends", "for ever",
     "node 'DeviceUserID': its tool tip no longer says 'until the process ends"),
    (CAMERA, "WidthReg", "LittleEndian", "BigEndian", "node 'WidthReg': is BigEndian; LittleEndian is needed"),
    (CAMERA, "GainReg", "<Length>", "<Address>4</Address><Length>", "node 'GainReg': has 2 elements 'Address'"),
    (CAMERA, "GainReg", "0x0430", "here", "node 'GainReg': its Address is 'here'"),
    (CAMERA, "SimulateRemovalReg", "0x200000", "0x200004", "node 'SimulateRemovalReg': does not come to lie at 0x210000"),
    (CAMERA, "ChunkWidth", "BigEndian", "LittleEndian", "node 'ChunkWidth': is not BigEndian"),
    (CAMERA, "EventFrameStartTimestamp", "16", "12", "node 'EventFrameStartTimestamp': address and length are (12, 8)"),
    (CAMERA, "TriggerSource", "<Value>2<", "<Value>3<", "node 'TriggerSource': its values are not 0, 1 and 2"),
    (CAMERA, "Gain", 'Name="Gain"', 'Name="GevCCP"', "node 'GevCCP': cannot be added"),
    (CAMERA, "Gain", "GainReg", "GoneReg", "node 'Gain': refers to 'GoneReg', which there is not"),
    (CAMERA, "Width", "<pIsLocked>", "<DocuURL>x</DocuURL><pIsLocked>", "node 'Width': schema 1.0 knows no 'DocuURL'"),
    (CAMERA, "", 'SchemaMinorVersion="1"', 'SchemaMinorVersion="2"', "the schema is 1_2"),
    (FAULTS, "", "(LeaderLoss, \"\", 0,", "(LeaderLoss, \"\",", "is no fault"),
    (ADDRESSES, "", "kFaultSeed", "kSeed", "namespace 'Address': there is no 'kFaultSeed'"),
    (REGISTERS, "", "kScpd", "kPause", "namespace 'Register': there is no 'kScpd'"),
]


def changed(text, name, old, new):
    place = re.search(rf'<\w+ Name="{name}".*?\n    </' if name else ".*", text, re.S)
    assert old in place[0], (name, old)
    return text[:place.start()] + place[0].replace(old, new) + text[place.end():]


class DescribeTest(unittest.TestCase):
    def run_step(self, inputs, folder):
        return subprocess.run([sys.executable, DESCRIBE, *inputs, folder], capture_output=True, text=True, check=False)

    def test_the_same_input_gives_the_same_archives_of_what_is_written_as_text(self):
        with tempfile.TemporaryDirectory() as first, tempfile.TemporaryDirectory() as second:
            for folder in (first, second):
                self.assertEqual(self.run_step(INPUTS, folder).returncode, 0)
            names = sorted(each.name for each in Path(first).iterdir())
            self.assertEqual(names, ["DescriptionTable.h"] + [f"Harlix_Emulation_1_{minor}.{form}" for minor in (0, 1)
                                                              for form in ("xml", "zip")])
            for name in names:
                self.assertEqual((Path(first) / name).read_bytes(), (Path(second) / name).read_bytes(), name)
            for archive in Path(first).glob("*.zip"):
                text = archive.with_suffix(".xml")
                with zipfile.ZipFile(archive) as file:
                    self.assertEqual([(each.filename, each.compress_type) for each in file.infolist()],
                                     [(text.name, zipfile.ZIP_DEFLATED)])
                    self.assertEqual(file.read(text.name), text.read_bytes())

    def test_input_that_no_longer_fits_is_refused_by_name_and_nothing_is_written(self):
        for number, name, old, new, complaint in CASES:
            with self.subTest(complaint), tempfile.TemporaryDirectory() as folder:
                other = Path(folder) / INPUTS[number].name
                other.write_text(changed(INPUTS[number].read_text(encoding="utf-8"), name, old, new), encoding="utf-8")
                inputs = [other if place == number else each for place, each in enumerate(INPUTS)]
                run = self.run_step(inputs, f"{folder}/out")
                self.assertEqual(run.returncode, 1)
                self.assertIn(complaint, run.stderr)
                self.assertEqual(list(Path(folder).iterdir()), [other])


unittest.main()
