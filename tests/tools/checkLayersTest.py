"""Tests of tools/check-layers, each on a small tree of its own."""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROGRAM = Path(__file__).resolve().parents[2] / "tools" / "check-layers"
MARKERS = "<!-- drawn by tools/check-layers --draw: begin -->\n<!-- drawn by tools/check-layers --draw: end -->\n"


class CheckLayersTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        self.write("docs/architecture.md", "before\n" + MARKERS + "after\n")

    def write(self, path, text):
        (self.root / path).parent.mkdir(parents=True, exist_ok=True)
        (self.root / path).write_text(text, encoding="utf-8")

    def run_program(self, *arguments):
        command = [sys.executable, str(PROGRAM), "--root", str(self.root), *arguments]
        return subprocess.run(command, capture_output=True, text=True, check=False)

    def expect_complaints(self, *complaints):
        result = self.run_program()
        self.assertEqual(result.stdout.splitlines(), [f"check-layers: {line}" for line in complaints])
        self.assertEqual(result.returncode, 1 if complaints else 0, result.stderr)

    def draw(self):
        self.assertEqual(self.run_program("--draw").returncode, 0)

    def make_two_layers(self):
        self.write("tools/layers.txt", "low/:\nhigh/: low\n")
        self.write("low/a.h", "#pragma once\nint a();\n")
        self.write("high/b.cpp", '#include "low/a.h"\n#include <vector>\n')
        self.draw()

    def test_a_tree_that_keeps_the_rules_passes(self):
        self.make_two_layers()
        self.expect_complaints()

    def test_an_include_upwards_is_named_with_its_line_and_what_is_allowed(self):
        self.make_two_layers()
        self.write("high/c.h", "#pragma once\nint c();\n")
        self.write("low/a.cpp", '#include "low/a.h"\n\n#include "high/c.h"\n')
        self.expect_complaints("low/a.cpp:3: low may not include high/c.h, but only low")

    def test_opening_files_of_the_system_needs_leave(self):
        self.make_two_layers()
        self.write("high/c.cpp", "#include <fstream>\n// fopen(\nint f = ::open(path, 0);\nauto g = std::fopen(a, b);\n")
        self.expect_complaints(
            *(f"high/c.cpp:{line}: high may not open files, but gets them from core" for line in (1, 3, 4))
        )
        self.write("tools/layers.txt", "low/:\nhigh/: low <files>\n")
        self.draw()
        self.expect_complaints()

    def test_leave_to_open_files_that_nobody_uses_is_named(self):
        self.make_two_layers()
        self.write("tools/layers.txt", "low/: <files>\nhigh/: low\n")
        self.draw()
        self.expect_complaints("tools/layers.txt:1: low may open files, but does not")

    def test_members_called_open_are_no_files(self):
        self.make_two_layers()
        self.write("high/c.cpp", "auto a = files.open(name);\nauto b = HttpClient::open(c);\nauto d = x->open(e);\n")
        self.expect_complaints()

    def test_angle_brackets_count_as_well(self):
        self.make_two_layers()
        self.write("high/c.h", "#pragma once\nint c();\n")
        self.write("low/a.cpp", "#  include <high/c.h>\n")
        self.expect_complaints("low/a.cpp:1: low may not include high/c.h, but only low")

    def test_a_folder_without_a_line_belongs_to_the_one_above_only_if_that_ends_with_a_slash(self):
        self.make_two_layers()
        self.write("low/deep/d.cpp", '#include "low/a.h"\n')
        self.expect_complaints()
        self.write("tools/layers.txt", "low:\nhigh/: low\n")
        self.draw()
        self.expect_complaints("low/deep/d.cpp: no line of tools/layers.txt stands for low/deep")

    def test_a_folder_of_no_layer_is_named(self):
        self.make_two_layers()
        self.write("other/e.cpp", "int e;\n")
        self.expect_complaints("other/e.cpp: no line of tools/layers.txt stands for other")

    def test_a_cycle_is_named(self):
        self.make_two_layers()
        self.write("tools/layers.txt", "low/: middle\nmiddle/: high\nhigh/: low\n")
        self.expect_complaints("tools/layers.txt: a cycle: low -> middle -> high -> low")

    def test_what_is_allowed_in_vain_is_named(self):
        self.make_two_layers()
        self.write("tools/layers.txt", "low/:\nmiddle/:\nhigh/: low middle\n")
        self.draw()
        self.expect_complaints("tools/layers.txt:3: high may include middle, but does not")

    def test_an_unknown_folder_in_the_rules_is_named(self):
        self.make_two_layers()
        self.write("tools/layers.txt", "low/:\nhigh/: law\n")
        self.expect_complaints("tools/layers.txt:2: high may include law, which has no line")

    def test_an_old_table_is_named(self):
        self.make_two_layers()
        self.write("docs/architecture.md", "before\n" + MARKERS + "after\n")
        self.expect_complaints(
            "docs/architecture.md: its table is not that of tools/layers.txt: run tools/check-layers --draw"
        )

    def test_drawing_keeps_what_stands_around_the_table(self):
        self.make_two_layers()
        text = (self.root / "docs/architecture.md").read_text(encoding="utf-8")
        self.assertTrue(text.startswith("before\n") and text.endswith("after\n"), text)
        self.assertLess(text.index("| 1 | `high` | `low` |"), text.index("| 0 | `low` |  |"))

    def test_a_forwarding_header_counts_where_it_leads_and_only_tests_may_include_it(self):
        self.make_two_layers()
        self.write("high/c.h", "#pragma once\nint c();\n")
        self.write("low/c.h", '#pragma once\n\n// the old place\n#include "high/c.h"\n')
        self.write("tools/layers.txt", "low/:\nhigh/: low\ntests/: *\n")
        self.write("tests/t.cpp", '#include "low/c.h"\n')
        self.draw()
        self.expect_complaints()
        self.write("high/d.cpp", '#include "low/c.h"\n')
        self.expect_complaints("high/d.cpp:1: low/c.h forwards to high/c.h, include that")


if __name__ == "__main__":
    unittest.main()
