"""Both libraries registered in one system: programs for 64 and for 32 bits beside each
other, each with its own, and either kind of agent.

    both_bitnesses_test.py ROOT FOLDER_OF_64_BITS FOLDER_OF_32_BITS VERSION"""

import json
import os
import shutil
import sys
import unittest

from programs import Programs, class_id, end

ROOT, FOLDER_64, FOLDER_32, VERSION = sys.argv[1:5]
del sys.argv[1:5]

BITS = {64: Programs(ROOT, FOLDER_64), 32: Programs(ROOT, FOLDER_32)}
ORDERS = [(64, 32), (32, 64)]
OLDER_VERSION = "2.7.1"
CLASSES = "HKLM\\Software\\Classes"
ICON_HANDLER = f"{CLASSES}\\Nimbrel Veskard Agent\\shellex\\IconHandler"
TREE = "C:\\Mixed"
ITEMS = [TREE + "\\Root\\here.txt", TREE + "\\Root\\Ünïcode 漢字\\away.txt.ghpl"]
PLACEHOLDER = ITEMS[1]


def library(bits, older=False):
    return BITS[bits].library("tests/libraries/older_library.dll" if older else "VeskardShellExt.dll")


def register(bits, older=False):
    BITS[bits].register(library(bits, older))


def unregister(bits, older=False):
    BITS[bits].register(library(bits, older), "/u")


def class_key(index, version=VERSION):
    return f"{CLASSES}\\CLSID\\{class_id(index, version)}"


def menu_keys(version=VERSION):
    return [f"{CLASSES}\\{kind}\\shellex\\ContextMenuHandlers\\Nimbrel Veskard Agent Service {version}"
            for kind in ("*", "lnkfile", "Directory")]


def has_key(bits, key):
    """Whether programs of this kind see the key."""
    return BITS[bits].run("reg", "query", key).returncode == 0


def menu(bits):
    """The commands of a right-click; the probe's exit code where there are none."""
    result = BITS[bits].run("shellprobe.exe", "menu", "--json", *ITEMS)
    return json.loads(result.stdout)["items"] if result.returncode == 0 else result.returncode


NOT_REGISTERED = 10


class Agent:
    """A stand-in for the service's agent; takes two messages, one for each item."""

    def __init__(self, bits):
        self.process = BITS[bits].start("standin-agent.exe", "--count", str(len(ITEMS)), "--time-limit", "60",
                                        "--json")

    def __enter__(self):
        ready = self.process.stdout.readline()
        if '"ready"' not in ready:
            self.__exit__()
            raise AssertionError(f"the stand-in for the agent did not start: {ready!r}")
        return self

    def received(self):
        output, _ = self.process.communicate(timeout=60)
        return output

    def __exit__(self, *_):
        if self.process.poll() is None:
            end(self.process)
        self.process.stdout.close()


class BothBitnessesTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        for bits in BITS:
            self.addCleanup(unregister, bits)
            self.addCleanup(unregister, bits, older=True)
        folder = os.path.join(BITS[64].drive_c(), "Mixed")
        shutil.rmtree(folder, ignore_errors=True)
        self.addCleanup(shutil.rmtree, folder, ignore_errors=True)
        os.makedirs(os.path.join(folder, "Root", "Ünïcode 漢字"))
        with open(os.path.join(folder, "Root", "here.txt"), "w", encoding="ascii") as file:
            file.write("here")
        BITS[64].must("standin-agent.exe", "lay-root", TREE + "\\Root")
        BITS[64].must("standin-agent.exe", "lay-placeholder", PLACEHOLDER, "--progress", "40")

    def expect_menus(self, *kinds):
        """Exactly the programs of these kinds have the menu."""
        with Agent(64):
            for bits in BITS:
                if bits in kinds:
                    self.assertIn("Remove from this device", [item["text"] for item in menu(bits)], bits)
                else:
                    self.assertEqual(menu(bits), NOT_REGISTERED, bits)

    def expect_shared_keys(self, present, version=VERSION):
        for bits in BITS:
            for key in menu_keys(version):
                self.assertEqual(has_key(bits, key), present, f"{key}, as {bits}-bit programs see it")

    def expect_nothing_left(self, version=VERSION):
        self.expect_shared_keys(False, version)
        for bits in BITS:
            for key in (class_key(5, version), class_key(6, version), ICON_HANDLER):
                self.assertFalse(has_key(bits, key), f"{key}, as {bits}-bit programs see it")

    # --- Menus, messages, icons ---

    def test_every_host_speaks_to_every_agent_byte_by_byte_alike(self):
        for bits in BITS:
            register(bits)
        menus, messages = {}, {}
        for host in BITS:
            for agent_bits in BITS:
                with Agent(agent_bits) as agent:
                    menus[host, agent_bits] = menu(host)
                    BITS[host].must("shellprobe.exe", "invoke", "Remove from this device", *ITEMS)
                    messages[host, agent_bits] = agent.received()
        self.assertIn("away.txt", messages[64, 64])
        self.assertEqual(messages[64, 64].count("\n"), len(ITEMS))
        for pair, received in messages.items():
            self.assertEqual(received, messages[64, 64], pair)
        for pair, shown in menus.items():
            self.assertEqual(shown, menus[64, 64], pair)

    def test_icons_and_pictures_are_the_same_bytes(self):
        for bits in BITS:
            register(bits)
        for size in ("large", "small"):
            pictures = {}
            for bits in BITS:
                name = f"{size}{bits}.png"
                BITS[bits].must("shellprobe.exe", "icon", PLACEHOLDER, "--size", size, "--background", "none",
                                "--png", f"{TREE}\\{name}")
                with open(os.path.join(BITS[bits].drive_c(), "Mixed", name), "rb") as file:
                    pictures[bits] = file.read()
            self.assertTrue(pictures[64].startswith(b"\x89PNG"))
            self.assertEqual(pictures[32], pictures[64])

    # --- Registered, removed ---

    def test_either_may_come_and_go_first(self):
        for first, second in ORDERS:
            for leaver, stayer in ORDERS:
                with self.subTest(first=first, leaver=leaver):
                    register(first)
                    self.expect_menus(first)
                    register(second)
                    self.expect_menus(first, second)
                    unregister(leaver)
                    self.expect_menus(stayer)
                    self.expect_shared_keys(True)
                    self.assertTrue(has_key(stayer, ICON_HANDLER))
                    unregister(stayer)
                    self.expect_menus()
                    self.expect_nothing_left()

    # --- Upgraded ---

    def test_either_may_be_upgraded_first(self):
        for first, second in ORDERS:
            with self.subTest(first=first):
                for bits in BITS:
                    register(bits, older=True)
                self.expect_menus()  # the probe asks for its own version
                unregister(first, older=True)
                register(first)
                self.expect_menus(first)
                self.expect_shared_keys(True, OLDER_VERSION)
                self.assertTrue(has_key(second, class_key(5, OLDER_VERSION)))
                unregister(second, older=True)
                register(second)
                self.expect_menus(first, second)
                self.expect_shared_keys(False, OLDER_VERSION)
                self.expect_shared_keys(True)
                for bits in BITS:
                    self.assertFalse(has_key(bits, class_key(5, OLDER_VERSION)))
                    self.assertIn(class_id(6, VERSION), BITS[bits].must("reg", "query", ICON_HANDLER))
                    unregister(bits)
                self.expect_nothing_left()

    # --- Repaired ---

    def test_repairing_one_leaves_the_other_alone(self):
        for broken, sound in ORDERS:
            with self.subTest(broken=broken):
                for bits in BITS:
                    register(bits)
                before = BITS[sound].must("reg", "query", class_key(5), "/s")
                for index in (5, 6):
                    BITS[broken].must("reg", "delete", class_key(index), "/f")
                self.expect_menus(sound)
                # Its exit code is about the whole installation, of which there is no more here.
                BITS[broken].run("shellprobe.exe", "doctor", "--repair", "--dll", library(broken))
                self.expect_menus(64, 32)
                self.assertEqual(BITS[sound].must("reg", "query", class_key(5), "/s"), before)

    def test_either_repairs_what_both_share(self):
        for repairer in BITS:
            with self.subTest(repairer=repairer):
                for bits in BITS:
                    register(bits)
                for key in menu_keys():
                    BITS[64].must("reg", "delete", key, "/f")
                self.expect_shared_keys(False)
                register(repairer)
                self.expect_shared_keys(True)
                self.expect_menus(64, 32)


if __name__ == "__main__":
    unittest.main()
