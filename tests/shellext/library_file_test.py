"""What the look into the library's file finds wrong: library_file_test.py CHECK LIBRARY PROGRAM"""

import subprocess
import sys
import unittest

CHECK, LIBRARY, PROGRAM = sys.argv[1:4]
del sys.argv[1:4]


def complaints(*words):
    result = subprocess.run([CHECK, *words], capture_output=True, text=True, timeout=60)
    return result.returncode, [line.split(": ", 1)[1] for line in result.stderr.splitlines()]


class LibraryFileTest(unittest.TestCase):
    def test_the_library_is_as_it_should_be(self):
        self.assertEqual(complaints(LIBRARY), (0, []))

    def test_a_function_that_the_oldest_windows_lacks_is_found(self):
        self.assertEqual(complaints("--windows", "6.0", LIBRARY), (1, [
            "imports RaiseFailFastException of kernel32, which Windows 6.0 does not have, only 6.1"]))
        code, lines = complaints("--windows", "5.2", LIBRARY)
        self.assertEqual(code, 1)
        self.assertIn("imports CancelIoEx of kernel32, which Windows 5.2 does not have, only 6.0", lines)
        self.assertEqual(complaints("--windows", "10.0", LIBRARY), (0, []))

    def test_an_import_that_is_not_listed_is_found(self):
        code, lines = complaints(PROGRAM)
        self.assertEqual(code, 1)
        listed = "has no row in scripts/library-imports.txt"
        # Of a library that is not used, and of one that is.
        self.assertIn(f"imports GetFileVersionInfoW of version, which {listed}", lines)
        self.assertIn(f"imports CreateWindowExW of user32, which {listed}", lines)
        self.assertNotIn(f"imports CloseHandle of kernel32, which {listed}", lines)

    def test_a_version_is_needed(self):
        for words in (["--windows"], ["--windows", "seven", LIBRARY]):
            self.assertEqual(complaints(*words)[0], 2)


if __name__ == "__main__":
    unittest.main()
