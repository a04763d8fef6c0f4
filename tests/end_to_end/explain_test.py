"""shellprobe explain in every state that a tree, a registration and an agent can be
in, as text and as JSON: explain_test.py ROOT PROGRAMS_FOLDER VERSION"""

import functools
import json
import os
import shutil
import sys
import unittest

from programs import Programs, class_id, end

ROOT, FOLDER, VERSION = sys.argv[1:4]
del sys.argv[1:4]

PROGRAMS = Programs(ROOT, FOLDER)
TREE = "C:\\Explained"
LIBRARY = PROGRAMS.library("VeskardShellExt.dll")
OLDER_LIBRARY = PROGRAMS.library("tests/libraries/older_library.dll")
MENU_CLASS = class_id(5, VERSION)
MENU_KEY = f"HKLM\\Software\\Classes\\*\\shellex\\ContextMenuHandlers\\Nimbrel Veskard Agent Service {VERSION}"
SERVER_KEY = f"HKLM\\Software\\Classes\\CLSID\\{MENU_CLASS}\\InprocServer32"
ICON_SERVER_KEY = SERVER_KEY.replace("8AF59405", "8AF59406")
ICON_KEY = "HKLM\\Software\\Classes\\Nimbrel Veskard Agent\\shellex\\IconHandler"
MARKS = {"good": "  ok    ", "note": "        ", "bad": "  BAD   "}
SERVICE_MUTEX, SERVICE_PIPE = "Global\\pipesynccmd_SIT", "\\\\.\\pipe\\syncsvccmd_SIT"


def on_disk(path):
    """Where a path of the tree lies for this program; a stream is a file of its own under Wine."""
    return os.path.join(PROGRAMS.drive_c(), *path.removeprefix("C:\\").split("\\"))


def write(path, contents):
    os.makedirs(os.path.dirname(on_disk(path)), exist_ok=True)
    with open(on_disk(path), "wb") as file:
        file.write(contents)


def lay_root(path, *options):
    PROGRAMS.must("standin-agent.exe", "lay-root", path, *options)


def lay_placeholder(path, *options):
    PROGRAMS.must("standin-agent.exe", "lay-placeholder", path, *options)


def record(path, contents):
    """The record of a root, byte by byte."""
    write(path + "\\.sync\\ID", b"")
    write(path + "\\.sync\\FolderType", contents)


class Agent:
    """A stand-in for the service's agent, for as long as the block lasts."""

    def __init__(self, *options):
        self.process = PROGRAMS.start("standin-agent.exe", "--count", "1", "--time-limit", "60", *options)

    def __enter__(self):
        ready = self.process.stdout.readline()
        if not ready.startswith("ready: "):
            self.__exit__()
            raise AssertionError(f"the stand-in for the agent did not start: {ready!r}")

    def __exit__(self, *_):
        end(self.process)
        self.process.stdout.close()


class ExplainTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.register()
        cls.addClassCleanup(PROGRAMS.register, LIBRARY, "/u")

    @staticmethod
    def register():
        PROGRAMS.register(LIBRARY)

    def setUp(self):
        self.addCleanup(shutil.rmtree, on_disk(TREE), ignore_errors=True)
        write(TREE + "\\plain.txt", b"content")

    def explain(self, *paths):
        """The facts by name, the commands' states by text, the exit code; text and JSON agree."""
        text = PROGRAMS.run("shellprobe.exe", "explain", *paths)
        result = PROGRAMS.run("shellprobe.exe", "explain", "--json", *paths)
        self.assertEqual((text.stderr, result.stderr), ("", ""))
        self.assertEqual(text.returncode, result.returncode)
        answer = json.loads(result.stdout)
        self.assertEqual(answer["paths"], list(paths))
        self.assertEqual(answer["menu"], result.returncode == 0)
        self.assertEqual(self.as_text(answer), text.stdout)
        facts = {fact["name"]: fact for section in answer["sections"] for fact in section["facts"]}
        states = [command["state"] for command in answer["commands"]]
        reasons = [command["reason"] for command in answer["commands"]]
        return facts, states, reasons, result.returncode

    @staticmethod
    def as_text(answer):
        lines = []
        for section in answer["sections"]:
            lines += [section["title"], *(MARKS[fact["finding"]] + fact["text"] for fact in section["facts"]), ""]
        lines.append("Commands")
        for command in answer["commands"]:
            lines.append(f"        {command['text']:24}  {command['state']}: {command['reason']}")
        return "\n".join(lines) + "\n"

    def expect(self, facts, **wanted):
        """Each name with its finding, and with its value or text where one is given."""
        for name, (finding, *what) in wanted.items():
            self.assertIn(name, facts)
            self.assertEqual(facts[name]["finding"], finding, facts[name])
            for part in what:
                self.assertIn(part, [facts[name].get("value"), facts[name]["text"]])

    def expect_no_menu(self, explained, reason):
        facts, states, reasons, code = explained
        self.assertEqual(code, 14)
        self.assertEqual(states, ["hidden"] * 4)
        self.assertEqual(set(reasons), {reason})
        return facts

    def test_the_whole_chain_is_good(self):
        lay_root(TREE, "--owner", self.user())
        with Agent():
            facts, states, _, code = self.explain(TREE + "\\plain.txt")
        self.assertEqual((states, code), (["hidden", "hidden", "shown", "shown"], 0))
        self.assertNotIn("bad", {fact["finding"] for fact in facts.values()})
        self.expect(facts, handler=("good", MENU_CLASS), library=("good", LIBRARY), version=("good", VERSION),
                    exports=("good",), menuClass=("good", MENU_CLASS), iconHandler=("good",), iconClass=("good",),
                    root=("good", TREE), nested=("note", "no nested folder is involved"),
                    mark=("note", TREE + "\\.sync\\FolderType"), selective=("good", "yes"), type=("note", "2"),
                    removal=("note", "allowed"), owner=("good", self.user()), scope=("note", "2"),
                    mutex=("good", SERVICE_MUTEX), pipe=("good", SERVICE_PIPE))
        self.assertIn('"mode": 1', facts["content"]["text"])

    @staticmethod
    @functools.cache
    def user():
        return PROGRAMS.must("cmd", "/c", "echo %USERNAME%").strip()

    def test_outside_every_folder(self):
        with Agent():
            facts = self.expect_no_menu(self.explain(TREE + "\\plain.txt"),
                                        "the first item is not in a synchronised folder")
        self.expect(facts, root=("bad", "neither the item nor a folder above it holds the mark .sync\\ID"))

    def test_inside_the_root_s_own_folder(self):
        lay_root(TREE)
        with Agent():
            facts = self.expect_no_menu(self.explain(TREE + "\\.sync\\ID"),
                                        "the first item is not in a synchronised folder")
        self.expect(facts, root=("bad", TREE, f"the item is one of the agent's own files: it lies in .sync of {TREE}"))

    def test_nested_folders(self):
        lay_root(TREE, "--mode", "0")
        inner = TREE + "\\inner"
        lay_root(inner, "--type", "1")
        write(inner + "\\a.txt", b"a")
        with Agent():
            below = self.explain(inner + "\\a.txt")
            itself = self.explain(inner)
            outer = self.explain(TREE)
        facts = self.expect_no_menu(below, "the folder is synchronised whole, not selectively")
        self.expect(facts, root=("good", TREE), nested=("note", inner, "it lies in the nested folder " + inner +
                    " too, whose record does not count: the outermost root decides"), selective=("bad", "no"))
        self.expect(itself[0], root=("good", TREE), nested=("note", inner), selective=("good", "yes"),
                    mark=("note", inner + "\\.sync\\FolderType"))
        self.assertEqual(itself[1:], (["shown", "hidden", "shown", "greyed"],
                         ["a folder is selected", "no selected placeholder is being received",
                          "a folder is selected", "the folder's type is not 2"], 0))
        self.expect(outer[0], nested=("note", "the item is the root itself"))

    def test_every_source_of_the_record(self):
        for source, place in [("file", ".sync\\FolderType"), ("stream", ".sync\\ID:com.nimbrel.VeskardAgent"),
                              ("type-stream", ".sync\\ID:_TYPE")]:
            with self.subTest(source):
                root = f"{TREE}\\{source}"
                lay_root(root, "--source", source)
                facts, *_ = self.explain(root)
                self.expect(facts, mark=("note", f"{root}\\{place}"), selective=("good", "yes"))

    def test_a_root_without_a_record(self):
        write(TREE + "\\.sync\\ID", b"")
        facts, *_ = self.explain(TREE + "\\plain.txt")
        self.expect(facts, mark=("note", "it has no record; every value counts as unset"),
                    selective=("bad", "no"), owner=("good", "it belongs to everyone"))

    def test_damage_is_told_by_its_byte(self):
        unset = "; its values count as unset"
        for contents, text in [
                (b"", "it is damaged at byte 0" + unset),
                (b"whatever", "it is damaged at byte 0" + unset),
                (b"d4:modei1e4:type", "it is damaged at byte 16" + unset),
                (b"d4:modei1e99:type", "it is damaged at byte 10" + unset),
                (b"d4:modei1e4:modei1ee", "it is damaged at byte 10" + unset),
                (b"d4:modee", "it is damaged at byte 7" + unset),
                (b"l4:modee", 'it is not a dictionary: [ "mode" ]' + unset),
                (b" " * (16 * 1024 * 1024 + 1), "it is larger than any mark and is not read" + unset)]:
            with self.subTest(contents[:20]):
                record(TREE, contents)
                facts, *_ = self.explain(TREE + "\\plain.txt")
                self.expect(facts, content=("bad", text), selective=("bad", "no"))

    def test_a_foreign_owner(self):
        lay_root(TREE, "--owner", "Adèle")
        with Agent():
            facts = self.expect_no_menu(self.explain(TREE + "\\plain.txt"), "the folder belongs to another user")
        self.expect(facts, owner=("bad", "Adèle", f"it belongs to Adèle; the current user is {self.user()}"))
        self.assertIn('"owner": "Adèle"', facts["content"]["text"])
        record(TREE, b"d5:owner5:Ad\xE8lee")
        facts, *_ = self.explain(TREE + "\\plain.txt")
        self.assertIn('"owner": the bytes 41 64 E8 6C 65', facts["content"]["text"])

    def test_whether_the_record_forbids_removing_from_all_devices(self):
        lay_root(TREE)
        facts, *_ = self.explain(TREE)
        self.expect(facts, removal=("note", "allowed", "the record does not forbid removing from all devices"))
        lay_root(TREE, "--no-remove-from-all")
        facts, *_ = self.explain(TREE)
        self.expect(facts, removal=("note", "forbidden", "the record forbids removing from all devices"))

    def test_placeholders_of_every_source(self):
        lay_root(TREE)
        file = TREE + "\\Résumé.docx.ghpl"
        for options, place, state in [
                ((), "com.nimbrel.VeskardAgent", ", not being received"),
                (("--progress", "47"), "com.nimbrel.VeskardAgent", ", being received, 45 %"),
                (("--folder",), "com.nimbrel.VeskardAgent", " of a folder, not being received"),
                (("--source", "predecessor", "--progress", "47"), "com.marlowgate.sync", ", being received, 45 %"),
                (("--source", "download", "--progress", "50"), "VLKDOWN", ", being received, 50 %")]:
            with self.subTest(options):
                lay_placeholder(file, *options)
                facts, *_ = self.explain(file)
                self.expect(facts, item=("note", file, f"{file}: a placeholder{state}"), mark=("note", f"{file}:{place}"),
                            content=("note",))
                os.remove(on_disk(f"{file}:{place}"))
        self.assertEqual(facts["content"]["text"], "the bytes 32 00 00 00 00 00 00 00")

    def test_placeholders_whose_mark_is_damaged_or_missing(self):
        lay_root(TREE)
        file = TREE + "\\a.ghpl"
        write(file, b"")
        facts, *_ = self.explain(file)
        self.expect(facts, mark=("note", "it has no mark; nothing is being received"))
        write(file + ":VLKDOWN", b"2222")
        facts, *_ = self.explain(file)
        self.expect(facts, content=("bad", "it has fewer than 8 bytes and counts as not being received"))
        write(file + ":com.nimbrel.VeskardAgent", b"d10:vlk_statusi4")
        facts, *_ = self.explain(file)
        self.expect(facts, content=("bad", "16"), item=("note", f"{file}: a placeholder, not being received"))

    def test_without_an_agent(self):
        lay_root(TREE)
        facts, states, reasons, code = self.explain(TREE + "\\plain.txt")
        self.assertEqual((states, code), (["hidden"] * 4, 14))
        self.assertEqual(reasons[2], "the agent does not run; otherwise shown: a selected file is on this device")
        self.expect(facts, mutex=("bad", SERVICE_MUTEX), pipe=("note", SERVICE_PIPE))

    def test_the_user_s_agent_is_not_the_service_s(self):
        lay_root(TREE)
        with Agent("--user"):
            facts, states, _, _ = self.explain(TREE + "\\plain.txt")
        self.assertEqual(states, ["hidden"] * 4)
        self.expect(facts, mutex=("bad", SERVICE_MUTEX))

    def test_an_agent_without_its_pipe(self):
        lay_root(TREE)
        with Agent("--fault", "no-pipe"):
            facts, states, _, code = self.explain(TREE + "\\plain.txt")
        self.assertEqual((states, code), (["hidden", "hidden", "shown", "shown"], 0))
        self.expect(facts, mutex=("good", SERVICE_MUTEX),
                    pipe=("bad", f"its pipe {SERVICE_PIPE} does not exist; a chosen command would be lost"))

    def test_several_items_and_one_that_is_gone(self):
        lay_root(TREE)
        lay_placeholder(TREE + "\\a.ghpl", "--progress", "10")
        paths = [TREE, TREE + "\\a.ghpl", TREE + "\\gone.txt"]
        with Agent():
            _, states, reasons, _ = self.explain(*paths)
            gone_first = self.explain(TREE + "\\gone.txt", TREE)
        self.assertEqual(states, ["shown", "shown", "shown", "greyed"])
        self.assertEqual(reasons[3], "a selected placeholder is being received")
        self.assertIn("first item does not exist", gone_first[0]["root"]["text"])
        self.assertEqual(gone_first[1], ["hidden"] * 4)

    def test_a_name_too_long_for_the_menu(self):
        lay_root(TREE)
        long_name = TREE + "\\" + "x" * 200 + "\\" + "y" * 60
        write(long_name, b"")
        facts, states, _, _ = self.explain(long_name)
        self.assertEqual(facts["item"]["value"], long_name[:259])
        self.expect(facts, item=("bad",))
        self.assertEqual(states, ["hidden"] * 4)

    def test_an_unregistered_library(self):
        lay_root(TREE)
        self.addCleanup(self.register)
        PROGRAMS.must("reg", "delete", MENU_KEY, "/f")
        with Agent():
            facts, states, reasons, code = self.explain(TREE + "\\plain.txt")
        self.assertEqual((states, code), (["hidden"] * 4, 14))
        self.assertEqual(reasons[2], "no menu handler is registered for the first item; otherwise shown: a "
                                     "selected file is on this device")
        self.expect(facts, handler=("bad", "no menu handler is registered: no " +
                                    MENU_KEY.replace("HKLM", "HKEY_LOCAL_MACHINE")))

    def test_a_library_that_is_gone_or_another_one(self):
        lay_root(TREE)
        self.addCleanup(self.register)
        with open(os.path.join(FOLDER, "VeskardShellExt.dll"), "rb") as whole:
            write(TREE + "\\cut.dll", whole.read(4096))
        for library, fact, text in [
                ("C:\\gone.dll", "library", "the registry names a library that does not exist: C:\\gone.dll"),
                (TREE + "\\plain.txt", "architecture", "it is not a library"),
                (TREE + "\\cut.dll", "exports", None),
                ("C:\\windows\\system32\\version.dll", "exports", "it loads but has no DllGetClassObject"),
                (OLDER_LIBRARY, "version", f"its version is 2.7.1, this program's is {VERSION}"),
                # It serves its own version's classes only.
                (OLDER_LIBRARY, "menuClass", "the menu handler's class cannot be activated")]:
            with self.subTest(library):
                PROGRAMS.must("reg", "add", SERVER_KEY, "/ve", "/d", library, "/f")
                with Agent():
                    facts, states, reasons, _ = self.explain(TREE + "\\plain.txt")
                self.expect(facts, **{fact: ("bad", text) if text else ("bad",)})
                self.assertEqual(states, ["hidden"] * 4)
                self.assertTrue(reasons[2].startswith("the registered library cannot be used; otherwise shown: "))

    def test_a_class_that_names_no_library(self):
        lay_root(TREE)
        self.addCleanup(self.register)
        PROGRAMS.must("reg", "delete", SERVER_KEY, "/f")
        with Agent():
            facts, states, reasons, _ = self.explain(TREE + "\\plain.txt")
        self.expect(facts, library=("bad", "the handler's class names no library"))
        self.assertEqual(states, ["hidden"] * 4)
        self.assertTrue(reasons[2].startswith("the registered library cannot be used; otherwise shown: "))

    def test_a_wrong_icon_handler_hides_no_command(self):
        lay_root(TREE)
        self.addCleanup(self.register)
        PROGRAMS.must("reg", "add", ICON_SERVER_KEY, "/ve", "/d", "C:\\gone.dll", "/f")
        with Agent():
            gone = self.explain(TREE + "\\plain.txt")
        self.expect(gone[0], iconHandler=("good",), iconClass=("bad", "the icon handler's class was not activated, because "
                                                               "its library is missing or is not the expected one"))
        PROGRAMS.must("reg", "delete", ICON_KEY, "/f")
        with Agent():
            missing = self.explain(TREE + "\\plain.txt")
        self.expect(missing[0], iconHandler=("bad", "no icon handler is registered: no " +
                                             ICON_KEY.replace("HKLM", "HKEY_LOCAL_MACHINE")))
        for explained in [gone, missing]:
            self.assertEqual(explained[1:], (["hidden", "hidden", "shown", "shown"], gone[2], 0))

    def test_a_drive_that_is_a_root(self):
        self.addCleanup(shutil.rmtree, on_disk("C:\\.sync"))
        lay_root("C:\\")
        with Agent():
            facts, states, _, code = self.explain("C:\\")
        self.expect(facts, root=("good", "C:"), nested=("note", "the item is the root itself"))
        self.assertEqual((states, code), (["shown", "hidden", "shown", "shown"], 0))

    def test_a_folder_with_the_name_of_a_placeholder(self):
        lay_root(TREE)
        folder = TREE + "\\photos.ghpl"
        write(folder + "\\a.jpg", b"")
        with Agent():
            facts, states, reasons, _ = self.explain(folder)
        self.expect(facts, item=("note", folder + ": a folder with the name of a placeholder, not being received"))
        self.assertEqual((states[0], reasons[0]), ("shown", "a folder is selected"))


if __name__ == "__main__":
    unittest.main()
