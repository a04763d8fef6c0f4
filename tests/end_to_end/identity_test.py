"""What shellprobe doctor and explain say of the first menu of Windows 11, on a system that
calls itself Windows 11: identity_test.py ROOT PROGRAMS_FOLDER VERSION"""

import base64
import hashlib
import json
import os
import shutil
import sys
import unittest
import zipfile

from programs import Programs, end

ROOT, FOLDER, VERSION = sys.argv[1:4]
del sys.argv[1:4]

PROGRAMS = Programs(ROOT, FOLDER)
# A copy: beside the built library is the identity package that a whole build makes.
CLASSIC = "C:\\Classic\\VeskardShellExt.dll"
INSTALLED, TREE = "C:\\Installed", "C:\\Identified"
PUBLISHER = "CN=Nimbrel, C=AT"
WINE_KEY = "HKCU\\Software\\Wine"
VERSION_KEY = "HKLM\\Software\\Microsoft\\Windows NT\\CurrentVersion"
VERSION_VALUES = [("CurrentBuildNumber", "REG_SZ", "22631"), ("CurrentMajorVersionNumber", "REG_DWORD", "10"),
                  ("CurrentMinorVersionNumber", "REG_DWORD", "0")]
USER_KEY = ("HKCU\\Software\\Classes\\Local Settings\\Software\\Microsoft\\Windows\\CurrentVersion\\AppModel\\Repository\\"
            "Packages")
ALL_KEY = "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Appx\\AppxAllUserStore\\Applications"
BLOCKED_KEY = "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Shell Extensions\\Blocked"
RECORD_KEY = "HKLM\\Software\\Nimbrel\\Explorer Extension"
MENU_CLASS = "{8AF59407-CC05-%04X-%02X%02X-AE6472CC92B2}" % tuple(map(int, VERSION.split(".")))
CLASSES = "HKLM\\Software\\Classes"
FILE_TYPE = {f"{CLASSES}\\.ghpl": "Nimbrel Veskard Agent",
             f"{CLASSES}\\Nimbrel Veskard Agent\\DefaultIcon": "%1"}


def on_disk(path):
    return os.path.join(PROGRAMS.drive_c(), *path.removeprefix("C:\\").split("\\"))


def reg(verb, key, *words):
    """In the view of 64-bit programs, whatever this flavour is: Explorer's."""
    PROGRAMS.must("reg", verb, key, *words, "/f", "/reg:64")


def publisher_id(publisher):
    """Windows' own: base 32 of 64 bits, in another alphabet."""
    bits = base64.b32encode(hashlib.sha256(publisher.encode("utf-16-le")).digest()[:8]).decode().rstrip("=")
    return bits.translate(str.maketrans("ABCDEFGHIJKLMNOPQRSTUVWXYZ234567", "0123456789abcdefghjkmnpqrstvwxyz"))


def full_name(version=VERSION, publisher=PUBLISHER):
    return f"Nimbrel.VeskardAgent_{version}.0_neutral__{publisher_id(publisher)}"


class IdentityTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.be_windows_11()
        os.makedirs(os.path.dirname(on_disk(CLASSIC)), exist_ok=True)
        cls.addClassCleanup(shutil.rmtree, os.path.dirname(on_disk(CLASSIC)), ignore_errors=True)
        shutil.copy(os.path.join(FOLDER, "VeskardShellExt.dll"), on_disk(CLASSIC))
        PROGRAMS.register(CLASSIC)
        cls.addClassCleanup(PROGRAMS.register, CLASSIC, "/u")
        for key, data in FILE_TYPE.items():
            reg("add", key, "/ve", "/d", data)
            cls.addClassCleanup(reg, "delete", key)

    @classmethod
    def be_windows_11(cls):
        """Wine has no name for it, but takes the version that the registry holds."""
        for value, kind, data in VERSION_VALUES:
            before = PROGRAMS.run("reg", "query", VERSION_KEY, "/v", value, "/reg:64")
            reg("add", VERSION_KEY, "/v", value, "/t", kind, "/d", data)
            back = ["delete", VERSION_KEY, "/v", value]
            if before.returncode == 0:
                back = ["add", VERSION_KEY, "/v", value, "/t", kind, "/d", before.stdout.split()[-1]]
            cls.addClassCleanup(reg, *back)
        reg("delete", WINE_KEY, "/v", "Version")
        cls.addClassCleanup(cls.be_windows_10)

    @staticmethod
    def be_windows_10():
        reg("add", WINE_KEY, "/v", "Version", "/d", "win10")

    def setUp(self):
        for folder in [on_disk(INSTALLED), on_disk(TREE), PROGRAMS.agent_folder()]:
            shutil.rmtree(folder, ignore_errors=True)
            os.mkdir(folder)
            self.addCleanup(shutil.rmtree, folder, ignore_errors=True)
        self.install()
        PROGRAMS.must("standin-agent.exe", "lay-root", TREE)
        with open(on_disk(TREE + "\\plain.txt"), "w", encoding="ascii") as file:
            file.write("content")

    @staticmethod
    def install():
        for name in ["shellprobe.exe", "VeskardExplorerCommand.dll"]:
            shutil.copy(os.path.join(FOLDER, name), on_disk(INSTALLED))
        with zipfile.ZipFile(on_disk(INSTALLED + "\\VeskardExplorerCommand.msix"), "w", zipfile.ZIP_DEFLATED) as package:
            package.writestr("AppxManifest.xml", f'<Package><Identity Publisher="{PUBLISHER}" Version="{VERSION}.0"/></Package>')

    def keep(self, key, name):
        reg("add", f"{key}\\{name}", "/v", "PackageID", "/d", name)
        self.addCleanup(reg, "delete", f"{key}\\{name}")

    def start_agent(self):
        agent = PROGRAMS.start("standin-agent.exe", "--count", "1", "--time-limit", "60")
        self.addCleanup(agent.stdout.close)
        self.addCleanup(end, agent)
        self.assertIn("ready: ", agent.stdout.readline())

    @staticmethod
    def probe(*words):
        return PROGRAMS.run(on_disk(INSTALLED + "\\shellprobe.exe"), *words)

    def expect_doctor(self, code, *lines):
        result = self.probe("doctor")
        self.assertEqual((result.returncode, result.stderr), (code, ""), result.stdout)
        section = result.stdout.split("First menu of Windows 11\n")[1].split("\n\n")[0]
        for line in lines:
            self.assertIn(line, section.splitlines())
        answer = self.probe("doctor", "--json")
        self.assertEqual((answer.returncode, answer.stderr), (code, ""))
        self.assertEqual(json.loads(answer.stdout)["healthy"], code == 0)

    def explain(self, *paths):
        """The answer for programs; the text shows the same commands."""
        text, result = self.probe("explain", *paths), self.probe("explain", "--json", *paths)
        self.assertEqual((text.stderr, result.stderr), ("", ""))
        answer = json.loads(result.stdout)
        for title, name in [("Commands", "commands"), ("Commands in the first menu", "firstMenu")]:
            lines = "".join(f"        {command['text']:24}  {command['state']}: {command['reason']}\n"
                            for command in answer[name])
            self.assertEqual(f"\n\n{title}\n{lines}" in text.stdout, answer[name] != [])
        self.assertEqual(answer["menu"], result.returncode == 0)
        return answer

    @staticmethod
    def states(commands):
        return [command["state"] for command in commands]

    def test_all_is_well(self):
        self.keep(USER_KEY, full_name())
        self.keep(ALL_KEY, full_name())
        self.start_agent()
        self.expect_doctor(0, f"  ok    the identity {full_name()} is registered for this user, and for all users",
                           f"  ok    its publisher is {PUBLISHER}", f"  ok    its version is {VERSION}.0",
                           f"  ok    its library is {INSTALLED}\\VeskardExplorerCommand.dll",
                           "  ok    Explorer's own menu has the commands")
        answer = self.explain(TREE + "\\plain.txt")
        self.assertEqual(self.states(answer["commands"]), ["hidden", "hidden", "shown", "shown"])
        self.assertEqual(answer["firstMenu"], answer["commands"])

    def test_before_windows_11_there_is_one_menu(self):
        self.be_windows_10()
        self.addCleanup(reg, "delete", WINE_KEY, "/v", "Version")
        self.start_agent()
        result = self.probe("doctor")
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertRegex(result.stdout, r"        this Windows \(build \d+\) shows the classic menu only\n")
        answer = self.explain(TREE + "\\plain.txt")
        self.assertEqual((self.states(answer["commands"]), answer["firstMenu"]), (["hidden", "hidden", "shown", "shown"], []))

    def test_no_identity(self):
        self.start_agent()
        self.expect_doctor(25, "  BAD   no identity is registered, though VeskardExplorerCommand.msix is installed",
                           '  BAD   the commands are behind "Show more options" only: no identity is registered')
        answer = self.explain(TREE + "\\plain.txt")
        self.assertEqual(self.states(answer["commands"]), ["hidden", "hidden", "shown", "shown"])
        self.assertEqual(self.states(answer["firstMenu"]), ["hidden"] * 4)
        self.assertEqual(answer["firstMenu"][2]["reason"], "no identity is registered; otherwise shown: a "
                                                           "selected file is on this device")

    def test_an_installation_without_a_package(self):
        os.remove(on_disk(INSTALLED + "\\VeskardExplorerCommand.msix"))
        self.expect_doctor(0, "        no identity is registered, and no VeskardExplorerCommand.msix is installed")

    def test_an_installation_that_left_it_out(self):
        reg("add", RECORD_KEY, "/v", "FirstLevelMenu", "/d", "0")
        self.addCleanup(reg, "delete", RECORD_KEY, "/v", "FirstLevelMenu")
        self.start_agent()
        self.expect_doctor(0, "        no identity is registered: the installation left it out (FIRSTLEVELMENU=0)")
        answer = self.explain(TREE + "\\plain.txt")
        self.assertTrue(answer["firstMenu"][2]["reason"].startswith("the installation left it out; otherwise shown: "))

    def test_an_identity_for_the_others(self):
        self.keep(ALL_KEY, full_name())
        self.expect_doctor(25, "        this user gets it at the next sign-in: sign out and in again")

    def test_a_foreign_identity(self):
        self.keep(USER_KEY, full_name(publisher="CN=Somebody"))
        self.expect_doctor(25, f"  BAD   it is of another publisher, not of {PUBLISHER}")

    def test_an_older_identity(self):
        self.keep(USER_KEY, full_name("1.9.0"))
        self.expect_doctor(25, f"  BAD   its version is 1.9.0.0, this program's is {VERSION}.0")

    def test_a_missing_library(self):
        self.keep(USER_KEY, full_name())
        os.remove(on_disk(INSTALLED + "\\VeskardExplorerCommand.dll"))
        self.expect_doctor(25, f"  BAD   its library {INSTALLED}\\VeskardExplorerCommand.dll does not exist")

    def test_a_blocked_class(self):
        self.keep(USER_KEY, full_name())
        reg("add", BLOCKED_KEY, "/v", MENU_CLASS, "/d", "")
        self.addCleanup(reg, "delete", BLOCKED_KEY, "/v", MENU_CLASS)
        self.expect_doctor(25, "  BAD   its class is blocked by a value of " +
                           BLOCKED_KEY.replace("HKLM", "HKEY_LOCAL_MACHINE"))

    def test_the_first_menu_without_the_classic_one(self):
        self.keep(USER_KEY, full_name())
        PROGRAMS.register(CLASSIC, "/u")
        self.addCleanup(PROGRAMS.register, CLASSIC)
        self.start_agent()
        answer = self.explain(TREE + "\\plain.txt")
        self.assertTrue(answer["menu"])
        self.assertEqual(self.states(answer["commands"]), ["hidden"] * 4)
        self.assertEqual(self.states(answer["firstMenu"]), ["hidden", "hidden", "shown", "shown"])

    def test_without_an_agent_both_menus_are_empty(self):
        self.keep(USER_KEY, full_name())
        answer = self.explain(TREE + "\\plain.txt")
        self.assertFalse(answer["menu"])
        for commands in [answer["commands"], answer["firstMenu"]]:
            self.assertTrue(commands[2]["reason"].startswith("the agent does not run; otherwise shown: "))

    def test_a_name_that_only_the_first_menu_takes_whole(self):
        self.keep(USER_KEY, full_name())
        self.start_agent()
        name = TREE + "\\" + "x" * 200 + "\\" + "y" * 60
        os.makedirs(os.path.dirname(on_disk(name)))
        with open(on_disk(name), "w", encoding="ascii"):
            pass
        answer = self.explain(name)
        self.assertEqual(self.states(answer["commands"]), ["hidden"] * 4)
        self.assertEqual(self.states(answer["firstMenu"]), ["hidden", "hidden", "shown", "shown"])


if __name__ == "__main__":
    unittest.main()
