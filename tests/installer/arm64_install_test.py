"""The ARM64 package, installed and removed under the emulated Wine:
arm64_install_test.py ROOT PROGRAMS_FOLDER VERSION"""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT, FOLDER, VERSION = sys.argv[1:4]
del sys.argv[1:4]
sys.path.insert(0, os.path.join(ROOT, "tests", "end_to_end"))

from programs import Programs, class_id  # noqa: E402

PROGRAMS = Programs(ROOT, FOLDER)
PRODUCT = f"Nimbrel Veskard Agent Explorer Extension\\{VERSION}"
INSTALLED = ["VeskardShellExt.dll", "VeskardExplorerCommand.dll", "VeskardExplorerCommand.msix", "shellprobe.exe",
             "THIRD-PARTY-NOTICES.txt"]
CLASSES = "HKLM\\Software\\Classes"
SERVER_KEYS = [f"{CLASSES}\\CLSID\\{class_id(index, VERSION)}\\InprocServer32" for index in (5, 6)]
# What Windows sets on each machine of 64 bits, and Wine's installer on those for x64 only.
MISSING_PROPERTIES = {"VersionNT64": "1000", "System64Folder": "C:\\windows\\system32\\",
                      "ProgramFiles64Folder": "C:\\Program Files\\"}


def change(package, statement):
    subprocess.run(["msibuild", package, "-q", statement], check=True, capture_output=True)


def on_disk(*names):
    return os.path.join(PROGRAMS.drive_c(), "Program Files", *PRODUCT.split("\\"), *names)


def read(path):
    with open(path, "rb") as file:
        return file.read()


class InstallTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        package = os.path.join(folder.name, "package.msi")
        shutil.copy(os.path.join(FOLDER, f"VeskardShellExt-{VERSION}-arm64.msi"), package)
        for name, value in MISSING_PROPERTIES.items():
            change(package, f"INSERT INTO `Property` (`Property`, `Value`) VALUES ('{name}', '{value}')")
        # This Wine has no 32-bit half, and its installer takes the 64-bit one for it.
        change(package, "DELETE FROM `AppSearch` WHERE `Property` = 'HALF_OF_32_BITS'")
        self.package = "Z:" + package.replace("/", "\\")

    def install(self):
        PROGRAMS.must("msiexec", "/i", self.package, "/qn")
        self.addCleanup(PROGRAMS.run, "msiexec", "/x", self.package, "/qn")

    def test_its_files_are_the_built_ones(self):
        self.install()
        self.assertEqual(sorted(os.listdir(on_disk())), sorted(INSTALLED))
        for name in INSTALLED:
            self.assertEqual(read(on_disk(name)), read(os.path.join(FOLDER, name)), name)

    def test_the_installed_probe_finds_all_well(self):
        self.install()
        os.makedirs(PROGRAMS.agent_folder(), exist_ok=True)
        result = PROGRAMS.run(on_disk("shellprobe.exe"), "doctor")
        self.assertEqual(result.returncode, 0, result.stdout)
        for line in (f"the library is C:\\Program Files\\{PRODUCT}\\VeskardShellExt.dll", "it is for ARM64 programs",
                     "ARM64 programs show the menu"):
            self.assertIn(f"  ok    {line}\n", result.stdout)

    def test_removing_it_leaves_nothing(self):
        self.install()
        for key in SERVER_KEYS:
            self.assertEqual(PROGRAMS.run("reg", "query", key, "/ve").returncode, 0, key)
        PROGRAMS.must("msiexec", "/x", self.package, "/qn")
        for key in [*SERVER_KEYS, f"{CLASSES}\\Nimbrel Veskard Agent", f"{CLASSES}\\.ghpl"]:
            self.assertEqual(PROGRAMS.run("reg", "query", key, "/ve").returncode, 1, key)
        self.assertFalse(os.path.exists(os.path.dirname(on_disk())))


if __name__ == "__main__":
    unittest.main()
