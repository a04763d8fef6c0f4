"""shellprobe doctor: each exit code, and each state that leads to it:
doctor_test.py ROOT PROGRAMS_FOLDER VERSION"""

import json
import os
import shutil
import sys
import unittest

from programs import Programs, class_id

ROOT, FOLDER, VERSION = sys.argv[1:4]
del sys.argv[1:4]

PROGRAMS = Programs(ROOT, FOLDER)
LIBRARY = PROGRAMS.library("VeskardShellExt.dll")
OLDER_LIBRARY = PROGRAMS.library("tests/libraries/older_library.dll")
REFUSING_LIBRARY = PROGRAMS.library("tests/libraries/refusing_library.dll")
CLASSES = "HKLM\\Software\\Classes"
SERVER_KEYS = [f"{CLASSES}\\CLSID\\{class_id(index, VERSION)}\\InprocServer32" for index in (5, 6)]
FILE_TYPE = {f"{CLASSES}\\.ghpl": "Nimbrel Veskard Agent",
             f"{CLASSES}\\Nimbrel Veskard Agent\\DefaultIcon": "%1"}
OWN = PROGRAMS.architecture()
# In the 64-bit view, whichever kind of program asks.
SWITCH_KEY = "HKLM\\Software\\Nimbrel\\Sync"


class DoctorTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        PROGRAMS.register(LIBRARY)
        self.addCleanup(PROGRAMS.register, LIBRARY, "/u")
        for key, data in FILE_TYPE.items():
            PROGRAMS.must("reg", "add", key, "/ve", "/d", data, "/f")
            self.addCleanup(PROGRAMS.run, "reg", "delete", key, "/f")
        self.agent_folder = PROGRAMS.agent_folder()
        shutil.rmtree(self.agent_folder, ignore_errors=True)
        os.mkdir(self.agent_folder)
        self.addCleanup(shutil.rmtree, self.agent_folder, ignore_errors=True)

    def expect(self, code, *lines, **environment):
        """The exit code, and lines of its text; as JSON the same facts."""
        text = PROGRAMS.run("shellprobe.exe", "doctor", **environment)
        # The build machine's own shell may not know the user's language, and says so.
        errors = [line for line in text.stderr.splitlines() if "setlocale" not in line]
        self.assertEqual((text.returncode, errors), (code, []), text.stdout)
        for line in lines:
            self.assertIn(line + "\n", text.stdout)
        self.assertEqual("BAD" in text.stdout, code != 0)
        answer = PROGRAMS.run("shellprobe.exe", "doctor", "--json", **environment)
        self.assertEqual(answer.returncode, code)
        self.assertEqual(json.loads(answer.stdout)["healthy"], code == 0)

    def serve(self, library):
        for key in SERVER_KEYS:
            PROGRAMS.must("reg", "add", key, "/ve", "/d", library, "/f")

    def test_all_is_well(self):
        self.expect(0, "  ok    the four values that all programs share exist",
                    "  ok    the six values of the classes exist", f"  ok    it is for {OWN} programs",
                    f"  ok    {OWN} programs show the menu", "  ok    texts are English")

    def test_a_user_who_speaks_german(self):
        self.expect(0, "  ok    texts come from German!de.txt", '        for example "Auf dieses Gerät synchronisieren"',
                    LC_ALL="de_AT.UTF-8")

    def test_nothing_is_registered(self):
        PROGRAMS.register(LIBRARY, "/u")
        self.expect(20, "  BAD   the registry names no library")

    def test_an_older_library(self):
        self.serve(OLDER_LIBRARY)
        self.expect(21, f"  ok    the library is {OLDER_LIBRARY}",
                    f"  BAD   its version is 2.7.1, this program's is {VERSION}",
                    "  ok    it loads and has its five exports",
                    "  BAD   the registered class cannot be activated (0x80040111); "
                    "register it with: regsvr32 /n /i:S VeskardShellExt.dll")

    def test_a_library_that_is_none_of_ours(self):
        self.serve(REFUSING_LIBRARY)
        self.expect(21, "  BAD   it loads but has no DllGetClassObject")

    def test_a_missing_file_type(self):
        PROGRAMS.must("reg", "delete", f"{CLASSES}\\.ghpl", "/f")
        self.expect(22, "  BAD   \".ghpl\" files have no type: no placeholder icons")

    def test_a_log_without_its_folder(self):
        shutil.rmtree(self.agent_folder)
        self.expect(23, "        it is switched on")

    def test_a_log_that_cannot_be_written(self):
        os.mkdir(os.path.join(self.agent_folder, "ShellExtCM.log"))
        self.expect(23)

    def test_a_log_that_is_switched_off_needs_no_folder(self):
        PROGRAMS.must("reg", "add", SWITCH_KEY, "/v", "ShellExtLog", "/t", "REG_DWORD", "/d", "0", "/f", "/reg:64")
        self.addCleanup(PROGRAMS.must, "reg", "delete", SWITCH_KEY, "/v", "ShellExtLog", "/f", "/reg:64")
        shutil.rmtree(self.agent_folder)
        self.expect(0, "        it is switched off (ShellExtLog is 0)")

    def test_a_library_without_texts(self):
        PROGRAMS.register(PROGRAMS.library("tests/libraries/missing_texts.dll"))
        self.expect(24, "  BAD   the library's texts cannot be read")

    def test_a_library_with_damaged_texts(self):
        PROGRAMS.register(PROGRAMS.library("tests/libraries/broken_texts.dll"))
        self.expect(24, "  BAD   ZIP: Can't locate [version] in zip, error -102.", "        texts are English")

    def test_what_is_wrong_first_decides(self):
        PROGRAMS.register(PROGRAMS.library("tests/libraries/missing_texts.dll"))
        shutil.rmtree(self.agent_folder)
        self.expect(23)
        PROGRAMS.must("reg", "delete", f"{CLASSES}\\.ghpl", "/f")
        self.expect(22)
        self.serve("C:\\gone.dll")
        self.expect(21)
        PROGRAMS.must("reg", "delete", f"{CLASSES}\\*\\shellex\\ContextMenuHandlers", "/f")
        self.expect(20)

    def test_a_repair_that_fails(self):
        self.addCleanup(PROGRAMS.register, REFUSING_LIBRARY, "/u")
        for library, problem in [(REFUSING_LIBRARY, "registration failed (0x80004005); it needs administrator rights"),
                                 ("C:\\gone.dll", "cannot load C:\\gone.dll: "),
                                 ("C:\\windows\\system32\\version.dll", "version.dll has no DllInstall: ")]:
            with self.subTest(library):
                result = PROGRAMS.run("shellprobe.exe", "doctor", "--repair", "--dll", library)
                self.assertEqual((result.returncode, result.stdout), (1, ""))
                self.assertRegex(result.stderr, r"\Ashellprobe: [^\n]*\n\Z")
                self.assertIn(problem, result.stderr)


if __name__ == "__main__":
    unittest.main()
