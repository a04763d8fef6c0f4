"""What the look into the library's file finds wrong: library_file_test.py CHECK LIBRARY PROGRAM"""

import os
import struct
import subprocess
import sys
import tempfile
import unittest

CHECK, LIBRARY, PROGRAM = sys.argv[1:4]
del sys.argv[1:4]
I386 = 0x014C


def complaints(*words):
    result = subprocess.run([CHECK, *words], capture_output=True, text=True, timeout=60)
    return result.returncode, [line.split(": ", 1)[1] for line in result.stderr.splitlines()]


class Image:
    """The bytes of a library, to be damaged; offsets as the format of Windows' programs has them."""

    def __init__(self):
        with open(LIBRARY, "rb") as file:
            self.bytes = bytearray(file.read())
        self.header = self.read("I", 0x3C) + 4
        self.options = self.header + 20
        self.sections = self.options + self.read("H", self.header + 16)

    def read(self, kind, offset):
        return struct.unpack_from("<" + kind, self.bytes, offset)[0]

    def write(self, kind, offset, *values):
        struct.pack_into("<" + kind, self.bytes, offset, *values)

    def machine(self):
        return self.read("H", self.header)

    def section(self, name):
        """Where the section's row begins."""
        count = self.read("H", self.header + 2)
        rows = range(self.sections, self.sections + 40 * count, 40)
        return next(row for row in rows if self.bytes[row:row + 8].rstrip(b"\0") == name)

    def replace(self, old, new):
        self.bytes = self.bytes.replace(old, new)

    def complaints(self, name=os.path.basename(LIBRARY)):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, name)
            with open(path, "wb") as file:
                file.write(self.bytes)
            return complaints(path)


class LibraryFileTest(unittest.TestCase):
    def test_the_library_is_as_it_should_be(self):
        self.assertEqual(complaints(LIBRARY), (0, []))

    def test_a_function_that_an_older_windows_lacks_is_found(self):
        code, lines = complaints("--windows", "6.0", LIBRARY)
        self.assertEqual(code, 1)
        self.assertIn("imports RaiseFailFastException of kernel32, which Windows 6.0 does not have, only 6.1", lines)
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

    def test_another_export_is_found(self):
        image = Image()
        image.replace(b"\0DllInstall\0", b"\0DllInstalk\0")
        self.assertEqual(image.complaints(), (1, [
            "exports DllGetClassObject DllInstalk DllRegisterServer DllUnregisterServer GetExtVersion"]))

    def test_the_exports_depend_on_the_name(self):
        code, lines = Image().complaints("VeskardExplorerCommand.dll")
        self.assertEqual(code, 1)
        self.assertIn(
            "exports DllGetClassObject DllInstall DllRegisterServer DllUnregisterServer GetExtVersion", lines)
        self.assertIn("its OriginalFilename is VeskardShellExt.dll, not VeskardExplorerCommand.dll", lines)
        code, lines = Image().complaints("Other.dll")
        self.assertEqual(code, 1)
        self.assertIn(
            "has a name that no library of ours has: VeskardShellExt.dll, VeskardExplorerCommand.dll", lines)

    def test_a_missing_protection_is_found(self):
        image = Image()
        image.write("H", image.options + 70, 0)
        wanted = ["DYNAMIC_BASE", "NX_COMPAT", *([] if image.machine() == I386 else ["HIGH_ENTROPY_VA"])]
        self.assertEqual(image.complaints(), (1, [f"{name} is not set" for name in wanted]))

    def test_a_section_that_can_be_written_and_run_is_found(self):
        image = Image()
        flags = image.section(b".text") + 36
        image.write("I", flags, image.read("I", flags) | 0x80000000)
        self.assertEqual(image.complaints(), (1, ["its section .text can be written and run"]))

    def test_a_section_that_is_not_expected_is_found(self):
        image = Image()
        image.write("8s", image.section(b".data"), b".debug")
        self.assertEqual(image.complaints(), (1, ["has no section .data", "has a section .debug"]))

    def test_a_time_and_a_path_of_the_machine_are_found(self):
        image = Image()
        image.write("I", image.header + 4, 1_600_000_000)
        image.bytes += os.fsencode(os.path.dirname(os.path.dirname(CHECK)) + "/shellext/Exports.cpp")
        self.assertEqual(image.complaints(), (1, [
            "carries the time of its linking", "carries the path of the tree that it was built in"]))

    def test_a_missing_build_identifier_is_found(self):
        image = Image()
        image.replace(b"RSDS", b"XXXX")
        self.assertEqual(image.complaints(), (1, ["has no build identifier"]))

    def test_another_version_is_found(self):
        image = Image()
        key, value = "ProductName".encode("utf-16-le"), "Nimbrel".encode("utf-16-le")
        place = image.bytes.index(value, image.bytes.index(key))
        image.bytes[place:place + len(value)] = "Nimbral".encode("utf-16-le")
        self.assertEqual(image.complaints(), (1, [
            "its ProductName is Nimbral Veskard Agent, not Nimbrel Veskard Agent"]))

    def test_a_library_that_is_too_large_is_found(self):
        image = Image()
        image.bytes += bytes(1024 * 1024)
        code, lines = image.complaints()
        self.assertEqual((code, len(lines)), (1, 1))
        self.assertRegex(lines[0], r"has [\d,]+ bytes, more than [\d,]+")

    def test_another_processor_is_found(self):
        image = Image()
        image.write("H", image.header, 0x01C4)
        self.assertEqual(image.complaints(), (1, ["is for a processor that no library of ours is for"]))

    def test_a_version_is_needed(self):
        for words in (["--windows"], ["--windows", "seven", LIBRARY]):
            self.assertEqual(complaints(*words)[0], 2)


if __name__ == "__main__":
    unittest.main()
