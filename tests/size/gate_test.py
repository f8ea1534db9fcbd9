#!/usr/bin/env python3
"""Checks that the size gate passes and fails as it should.   gate_test.py NM STRIP PROGRAM"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

NM, STRIP, PROGRAM = sys.argv[1:4]
GATE = pathlib.Path(__file__).with_name("gate.py")


class Gate(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.recorded = pathlib.Path(self.folder.name) / "sizes"

    def tearDown(self):
        self.folder.cleanup()

    def gate(self, program, *words, compiler="1"):
        run = subprocess.run(
            [GATE, *words, "--nm", NM, "--strip", STRIP, "--compiler", compiler, "--recorded", self.recorded, program],
            capture_output=True, text=True, check=False)
        return run.returncode, run.stdout

    def edit(self, change):
        lines = self.recorded.read_text().splitlines()
        self.recorded.write_text("\n".join(change(line) for line in lines) + "\n")

    def test_what_was_recorded_passes_and_nothing_has_changed(self):
        self.gate(f"it={PROGRAM}", "--record")
        status, output = self.gate(f"it={PROGRAM}:100000")
        self.assertEqual(status, 0, output)
        self.assertEqual(len(output.splitlines()), 2, output)

    def test_a_program_above_its_limit_fails(self):
        self.gate(f"it={PROGRAM}", "--record")
        status, output = self.gate(f"it={PROGRAM}:1")
        self.assertEqual(status, 1, output)
        self.assertRegex(output, "FAIL: it is [0-9]+ bytes above its limit")

    def test_a_program_that_was_never_looked_at_fails(self):
        status, output = self.gate(f"it={PROGRAM}")
        self.assertEqual(status, 1, output)
        self.assertIn("FAIL: it has no recorded size", output)

    def test_growth_fails_and_names_the_function(self):
        self.gate(f"it={PROGRAM}", "--record")
        # It was half as large, and had no nvram_zel_commit.
        whole = int(self.recorded.read_text().splitlines()[2].split()[0])
        self.edit(lambda line: f"{whole // 2} it" if line == f"{whole} it" else line)
        self.edit(lambda line: "# no such function" if line.endswith(" nvram_zel_commit") else line)
        status, output = self.gate(f"it={PROGRAM}")
        self.assertEqual(status, 1, output)
        self.assertIn("FAIL: it has grown by more than 1 %", output)
        self.assertRegex(output, r"\+[0-9]+ it: nvram_zel_commit  \(new\)")

    def test_another_compiler_counts_only_for_limits(self):
        self.gate(f"it={PROGRAM}", "--record")
        self.edit(lambda line: "10 it" if line.endswith(" it") else line)
        self.assertEqual(self.gate(f"it={PROGRAM}", compiler="2")[0], 0)
        self.assertEqual(self.gate(f"it={PROGRAM}:1", compiler="2")[0], 1)


unittest.main(argv=sys.argv[:1])
