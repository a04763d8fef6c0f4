"""Tests of scripts/measured_tables.py: measured_tables_test.py SCRIPT"""

import os
import subprocess
import sys
import tempfile
import unittest

SCRIPT = sys.argv[1]
del sys.argv[1]

PAGE = """# Page
<!-- measured one -->
old
<!-- end one -->
between
<!-- measured two -->
older
<!-- end two -->
"""


class MeasuredTablesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.page = self.write("page.md", PAGE)

    def write(self, name, text):
        path = os.path.join(self.folder, name)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        return path

    def put(self, *pages):
        return subprocess.run([sys.executable, "-B", SCRIPT, self.folder, *pages], capture_output=True, text=True)

    def text(self):
        with open(self.page, encoding="utf-8") as file:
            return file.read()

    def test_a_measured_table_takes_the_old_one_s_place(self):
        self.write("one.md", "\nnew | table\n\n")
        result = self.put(self.page)
        self.assertEqual((result.returncode, result.stdout), (0, f"{self.page}: one\n"))
        self.assertEqual(self.text(), PAGE.replace("\nold\n", "\n\nnew | table\n\n"))

    def test_a_second_run_changes_nothing(self):
        self.write("two.md", "table")
        self.put(self.page)
        once = self.text()
        self.put(self.page)
        self.assertEqual(self.text(), once)

    def test_a_table_that_was_not_measured_stays(self):
        self.assertEqual(self.put(self.page).stdout, f"{self.page}: nothing measured\n")
        self.assertEqual(self.text(), PAGE)

    def test_a_missing_page_is_an_error(self):
        result = self.put(self.page + ".txt")
        self.assertEqual(result.returncode, 1)
        self.assertIn("page.md.txt", result.stderr)


if __name__ == "__main__":
    unittest.main()
