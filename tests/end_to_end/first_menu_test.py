"""shellprobe menu --first-level: what Explorer of Windows 11 would show, and a command that
is chosen there: first_menu_test.py ROOT PROGRAMS_FOLDER VERSION"""

import json
import os
import shutil
import struct
import subprocess
import sys
import unittest

from programs import Programs, end

ROOT, FOLDER, VERSION = sys.argv[1:4]
del sys.argv[1:4]

PROGRAMS = Programs(ROOT, FOLDER)
OWN = PROGRAMS.architecture()
LIBRARY = PROGRAMS.library("VeskardExplorerCommand.dll")
CLASSIC = PROGRAMS.library("VeskardShellExt.dll")
TREE = "C:\\FirstMenu"
FLY_OUT = "Nimbrel Veskard Agent"
TITLES = ["Sync to this device", "Cancel receiving", "Remove from this device", "Remove from all devices"]


def on_disk(path):
    return os.path.join(PROGRAMS.drive_c(), *path.removeprefix("C:\\").split("\\"))


def png_size(path):
    with open(path, "rb") as file:
        start = file.read(24)
    assert start.startswith(b"\x89PNG\r\n\x1a\n"), start
    return struct.unpack(">II", start[16:24])


class FirstMenuTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        shutil.rmtree(on_disk(TREE), ignore_errors=True)
        self.addCleanup(shutil.rmtree, on_disk(TREE), ignore_errors=True)
        PROGRAMS.must("standin-agent.exe", "lay-root", TREE)
        os.mkdir(on_disk(TREE + "\\Maps"))
        PROGRAMS.must("standin-agent.exe", "lay-placeholder", TREE + "\\a.zip.ghpl", "--progress", "45")

    def start_agent(self):
        agent = PROGRAMS.start("standin-agent.exe", "--count", "1", "--time-limit", "60", "--json")
        self.addCleanup(agent.stdout.close)
        self.addCleanup(lambda: agent.poll() is None and end(agent))
        self.assertIn('"ready"', agent.stdout.readline())
        return agent

    def menu(self, *words):
        result = PROGRAMS.run("shellprobe.exe", "menu", "--first-level", *words)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return result.stdout

    def answer(self, *words):
        return json.loads(self.menu("--json", *words))

    @staticmethod
    def states(answer):
        return [answer["flyOut"]["state"], *(item["state"] for item in answer["items"])]

    def add_network_drive(self, drive, target):
        link, drives = os.path.join(os.environ["WINEPREFIX"], "dosdevices", drive), "HKLM\\Software\\Wine\\Drives"
        os.symlink(target, link)
        self.addCleanup(os.remove, link)
        PROGRAMS.must("reg", "add", drives, "/v", drive, "/d", "network", "/f", "/reg:64")
        self.addCleanup(PROGRAMS.must, "reg", "delete", drives, "/v", drive, "/f",
                        "/reg:64")
        # Wine looks at its drives when it starts.
        subprocess.run([os.path.join(ROOT, "scripts", "wine-prefix.sh"), "stop", os.environ["WINEPREFIX"]], check=True,
                       capture_output=True)

    def refuse(self, code, error, *words):
        result = PROGRAMS.run("shellprobe.exe", "menu", *words)
        self.assertEqual(result.returncode, code)
        self.assertRegex(result.stderr, r"\Ashellprobe: [^\n]*\n\Z")
        self.assertIn(error, result.stderr)

    def test_a_folder(self):
        self.start_agent()
        lines = self.menu(TREE + "\\Maps").splitlines()
        self.assertEqual(lines[:2], [f"{OWN} library {LIBRARY}", "Position  State    Asked  Icon    Text"])
        self.assertEqual([line.split()[1] for line in lines[2:]], ["enabled", "enabled", "hidden", "enabled", "enabled"])
        self.assertTrue(lines[2].startswith("fly-out "))
        self.assertEqual([line[34:] for line in lines[2:]], [FLY_OUT, *TITLES])

    def test_a_file_that_is_being_received(self):
        self.start_agent()
        answer = self.answer(TREE + "\\a.zip.ghpl")
        self.assertEqual((answer["library"], answer["architecture"]), (LIBRARY, OWN))
        self.assertEqual(self.states(answer), ["enabled", "hidden", "enabled", "hidden", "greyed"])
        self.assertEqual([item["text"] for item in answer["items"]], TITLES)
        self.assertEqual([item["position"] for item in answer["items"]], [0, 1, 2, 3])
        names = {command["canonicalName"] for command in [answer["flyOut"], *answer["items"]]}
        self.assertEqual(len(names), 5)
        for command in [answer["flyOut"], *answer["items"]]:
            self.assertRegex(command["canonicalName"], r"\A\{[0-9A-F-]{36}\}\Z")
            self.assertTrue(command["icon"].startswith(LIBRARY + ",-"))
            self.assertEqual((command["answer"], command["askedTwice"]), ("0x00000000", False))

    def test_without_an_agent_the_fly_out_is_hidden(self):
        self.assertEqual(self.states(self.answer(TREE + "\\Maps")), ["hidden"] * 5)
        self.assertTrue(self.menu(TREE + "\\Maps").endswith("the first menu shows no commands\n"))

    def test_outside_every_folder_the_fly_out_is_hidden(self):
        self.start_agent()
        self.assertEqual(self.states(self.answer("C:\\windows")), ["hidden"] * 5)

    def test_a_network_drive_is_asked_twice(self):
        self.add_network_drive("n:", "../drive_c/FirstMenu")
        self.start_agent()
        answer = self.answer("n:\\Maps")
        self.assertTrue(answer["flyOut"]["askedTwice"])
        self.assertEqual(self.states(answer), ["enabled", "enabled", "hidden", "enabled", "enabled"])
        # The children's answer is known by then.
        self.assertEqual([item["askedTwice"] for item in answer["items"]], [False] * 4)
        self.assertIn("enabled  twice", self.menu("n:\\Maps"))

    def test_a_chosen_command_sends_what_the_classic_menu_sends(self):
        file, messages = TREE + "\\a.zip.ghpl", []
        for words in [["menu", "--first-level", file, "--choose", "cancel receiving"], ["invoke", "--dll", CLASSIC, TITLES[1], file]]:
            agent = self.start_agent()
            PROGRAMS.must("shellprobe.exe", *words)
            messages.append(json.loads(agent.stdout.readline()))
            agent.wait()
        self.assertEqual(messages[0], messages[1])
        self.assertIn("a.zip.ghpl", json.dumps(messages[0]))

    def test_a_command_that_cannot_be_chosen(self):
        self.start_agent()
        file = TREE + "\\a.zip.ghpl"
        self.refuse(12, '"Remove from all devices" is greyed', "--first-level", file, "--choose", "3")
        self.refuse(12, '"Sync to this device" is hidden', "--first-level", file, "--choose", TITLES[0])
        self.refuse(12, 'the first menu has no command "Share"', "--first-level", file, "--choose", "Share")

    def test_what_the_shell_and_the_library_do_not_have(self):
        self.refuse(1, "the Shell has no item for C:\\gone (0x80070002)", "--first-level", "C:\\gone")
        self.refuse(1, "cannot load C:\\gone.dll: ", "--first-level", TREE, "--dll", "C:\\gone.dll")
        self.refuse(10, "the library does not provide the class (0x80040111)", "--first-level", TREE, "--dll", CLASSIC)

    def test_options_of_the_other_menu(self):
        self.refuse(2, "--choose needs --first-level", TREE, "--choose", "0")
        self.refuse(2, "--dark needs --first-level", TREE, "--dark")
        self.refuse(2, "--first-level cannot be combined with --show", "--first-level", TREE, "--show", "1")

    def test_a_picture_without_a_screen(self):
        self.start_agent()
        picture, file = on_disk(TREE + "\\menu.png"), TREE + "\\a.zip.ghpl"
        sizes = {}
        for name, options in {"light": [], "dark": ["--dark"], "others": ["--among-others"]}.items():
            self.menu(file, "--png", TREE + "\\menu.png", *options)
            sizes[name] = png_size(picture)
            os.remove(picture)
        self.assertEqual(sizes["light"], sizes["dark"])
        self.assertGreater(sizes["others"][1], sizes["light"][1])

    def test_nothing_to_draw(self):
        result = PROGRAMS.run("shellprobe.exe", "menu", "--first-level", TREE, "--png", TREE + "\\menu.png")
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr, "shellprobe: there is nothing to draw: the first menu shows no commands\n")
        self.assertFalse(os.path.exists(on_disk(TREE + "\\menu.png")))


if __name__ == "__main__":
    unittest.main()
