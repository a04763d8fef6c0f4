"""The README, its neighbours and docs/ against the tree: documents_test.py ROOT"""

import os
import re
import sys
import unittest

ROOT = sys.argv[1]
del sys.argv[1]
sys.path.insert(0, os.path.join(ROOT, "scripts"))

from dependencies import LIBRARY, LIBRARY_TOPS  # noqa: E402

# Folders of the tree; build/ is made, and not looked into.
FOLDERS = sorted(name for name in os.listdir(ROOT)
                 if os.path.isdir(os.path.join(ROOT, name)) and name != "build" and not name.startswith("."))
IN_TREE = re.compile(rf"(?<![\w/\\.-])((?:\./)?(?:{'|'.join(FOLDERS)})/[\w./*!-]*[\w*/])")
LINK = re.compile(r"!?\[[^\]]*\]\(([^)\s]+)\)")
CODE = re.compile(r"`([^`\n]+)`")
FENCE = re.compile(r"^```.*?^```", re.MULTILINE | re.DOTALL)

# Words that CONTRIBUTING.md asks to avoid, and claims that nobody can make before Windows has shown them.
AVOIDED = re.compile(r"\b(tells|believes|forgets|shall|mends|mended|proof|proven)\b|laid down|next to (all|nothing)|"
                     r"the road of|none of ours|where it stands|\bbut for\b|\bused to (be|do|have)\b", re.IGNORECASE)

# What pages name of Windows and no source does.
NAMES_OF_WINDOWS = {"DependentLoadFlags", "DumpType", "ImpersonateNamedPipeClient", "SysWOW64"}

# In the sources: a call, a row of the commands' table, the two lines of the log itself.
LOG_CALL = re.compile(r'\bLog\(\s*L"((?:[^"\\]|\\.)*)"')
ANY_LOG_CALL = re.compile(r"\bLog\(\s*([^)\s][^,)]*)")
ADDED_LINE = re.compile(r'L"(Added menu item[^"]*)"')
OWN_LINE = re.compile(r'constexpr wchar_t k(?:Start|End)Line\[\] = L"([^"]*)"')


def read(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return file.read()


def documents():
    """The README first."""
    others = ["docs/" + name for name in os.listdir(os.path.join(ROOT, "docs")) if name.endswith(".md")]
    others += [name for name in os.listdir(ROOT) if name.endswith(".md") and name != "README.md"]
    return ["README.md", *sorted(others)]


def anchors(text):
    """The anchors of a page's headings, as its readers' programs make them."""
    headings = re.findall(r"^#+ +(.+?) *$", FENCE.sub("", text), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def library_sources():
    for top in LIBRARY_TOPS:
        for folder, _, names in os.walk(os.path.join(ROOT, top)):
            for name in names:
                if name.endswith((".cpp", ".h")):
                    yield os.path.relpath(os.path.join(folder, name), ROOT)


def exists(path):
    """A file, a folder, a pair of sources without their ending; "*" stands for any name,
    and so does a word in capitals."""
    whole = re.split(r"[^/]*\*|\b[A-Z]+\b(?!\.)", path)[0]
    place = os.path.join(ROOT, whole)
    return os.path.exists(place) or os.path.exists(place + ".h")


def product_version():
    return re.search(r"^project\(.* VERSION ([\d.]+) ", read("CMakeLists.txt"), re.MULTILINE).group(1)


def in_identifier(version):
    """The version as the two groups of a class identifier that hold it."""
    return "{:04X}-{:02X}{:02X}".format(*map(int, version.split(".")))


def tree_files():
    """Every file of the tree outside docs/ and build/ that is text."""
    yield from (name for name in os.listdir(ROOT) if name.endswith((".txt", ".json")))
    for top in set(FOLDERS) - {"docs"}:
        for folder, _, names in os.walk(os.path.join(ROOT, top)):
            for name in names:
                if name.endswith((".cpp", ".h", ".in", ".rc", ".txt", ".cmake", ".py", ".sh", ".manifest")):
                    yield os.path.relpath(os.path.join(folder, name), ROOT)


def commands(pattern, folder, *files):
    sources = "".join(read(f"{folder}/{name}") for name in files or os.listdir(os.path.join(ROOT, folder)))
    return set(re.findall(pattern, sources))


class DocumentsTest(unittest.TestCase):
    def test_every_relative_link_leads_somewhere(self):
        for document in documents():
            for link in LINK.findall(FENCE.sub("", read(document))):
                if re.match(r"[a-z]+:", link):
                    continue
                with self.subTest(document, link=link):
                    path, _, anchor = link.partition("#")
                    target = os.path.normpath(os.path.join(os.path.dirname(document), path)) if path else document
                    self.assertTrue(os.path.exists(os.path.join(ROOT, target)))
                    if anchor:
                        self.assertIn(anchor, anchors(read(target)))

    def test_every_path_of_the_tree_is_there(self):
        for document in documents():
            for path in IN_TREE.findall(read(document)):
                with self.subTest(document, path=path):
                    self.assertTrue(exists(path), f"{path} is not there")

    def test_every_command_is_there(self):
        names = r'\.name = "([a-z-]+)"'
        known = {"shellprobe": commands(names, "tools/shellprobe"),
                 "standin-agent": commands(names, "tools/standin_agent"),
                 "--preset": commands(r'"configurePreset": "([\w-]+)"', ".", "CMakePresets.json")}
        known["scripts/build.sh"] = known["scripts/test.sh"] = known["--preset"]
        for document in documents():
            text = read(document)
            spans = [*CODE.findall(FENCE.sub("", text)), *(line for block in FENCE.findall(text)
                                                           for line in block.splitlines())]
            for program, word in re.findall(
                    r"(?m)(shellprobe|standin-agent|--preset|scripts/(?:build|test)\.sh) ([a-z][\w-]*)",
                    "\n".join(spans)):
                with self.subTest(document, program=program):
                    self.assertIn(word, known[program])

    def test_the_readme_leads_to_every_document(self):
        links = {link.partition("#")[0] for link in LINK.findall(read("README.md"))}
        self.assertEqual([name for name in documents()[1:] if name not in links], [])

    def test_the_readme_has_every_folder(self):
        table = read("README.md").partition("\n## Folders\n")[2]
        rows = set(re.findall(r"`([\w/]+)/`(?=[^|]*\|[^|]+\|$)", table, re.MULTILINE))
        tops = {name for name in FOLDERS if not any(folder.startswith(name + "/") for folder in LIBRARY)}
        self.assertEqual({*LIBRARY, *tops} - rows, set(), "not in the table")
        for folder in rows:
            with self.subTest(folder):
                self.assertTrue(os.path.isdir(os.path.join(ROOT, folder)))

    def test_every_line_of_the_log_is_explained(self):
        lines = set()
        for source in library_sources():
            text = read(source)
            lines |= set(LOG_CALL.findall(text)) | set(ADDED_LINE.findall(text)) | set(OWN_LINE.findall(text))
        self.assertGreaterEqual(len(lines), 15)
        rows = dict(re.findall(r"^\| `([^`]+)` \| (.+) \|$", read("docs/log.md"), re.MULTILINE))
        self.assertEqual(lines - set(rows), set(), "not explained")
        explained = {row for row in rows if not re.match(r"(HKEY|%APPDATA)", row)}
        self.assertEqual(explained - lines, set(), "never written")
        for line in lines:
            with self.subTest(line):
                meaning, _, action = rows[line].partition(" | ")
                self.assertTrue(meaning and action, "its meaning and what to do")

    def test_no_line_of_the_log_escapes_the_search(self):
        """Each call holds the text of its line, except the one that logs a row of the commands' table."""
        others = {}
        for source in library_sources():
            if source == "shellext/module/Log.h":
                continue
            for argument in ANY_LOG_CALL.findall(read(source)):
                if not argument.startswith('L"'):
                    others[source] = argument
        self.assertEqual(others, {"shellext/contextmenu/MenuInspection.cpp": "command.addedLine"})

    def test_the_words_to_avoid_do_not_occur(self):
        own = "tests/documents/documents_test.py"  # holds them as a pattern
        for place in {*documents(), *tree_files()} - {own}:
            for number, line in enumerate(read(place).splitlines(), 1):
                if place == "CONTRIBUTING.md" and line.startswith("- Avoid: "):
                    continue  # the list itself
                with self.subTest(place, line=number):
                    self.assertIsNone(AVOIDED.search(line), line)

    def test_every_option_of_the_stand_in_is_explained(self):
        page = read("docs/marks-and-messages.md")
        rows = set(re.findall(r"^\| `(--[a-z-]+)[^`]*` \| .+ \|$", page, re.MULTILINE))
        options = set(re.findall(r'^    \{"(--[a-z-]+)",', read("tools/standin_agent/standin_agent.cpp"), re.MULTILINE))
        self.assertGreaterEqual(len(options), 12)
        self.assertEqual(rows, options)

    def test_every_name_of_the_code_is_there(self):
        """A class, a function or a test that a page names occurs in the sources."""
        words = {word for path in tree_files() for word in re.findall(r"\w+", read(path))}
        for document in documents():
            for name in re.findall(r"`([A-Z]\w*[a-z]\w*[A-Z]\w*)`", FENCE.sub("", read(document))):
                with self.subTest(document):
                    self.assertTrue(name in words or name in NAMES_OF_WINDOWS, name)

    def test_the_first_menu_s_names_and_pictures_are_those_of_the_code(self):
        source = "".join(read(f"shellext/{name}") for name in (
            "explorercommand/CommandNames.h", "contextmenu/MenuCommands.h", "contextmenu/MenuCommands.cpp"))
        guids = re.findall(r"0x([0-9A-F]{8}), 0x([0-9A-F]{4}), 0x([0-9A-F]{4}), \{(0x.+?)\}", source)
        names = ["{%s-%s-%s-%s-%s}" % (*first, rest[:4], rest[4:]) for *first, rest in (
            (*guid[:3], re.sub(r"0x|, ", "", guid[3])) for guid in guids)]
        rows = re.findall(r"^\| (.+?) \| `(\{.+?\})` \| (\d+) \|$", read("docs/first-menu.md"), re.MULTILINE)
        self.assertEqual([name for _, name, _ in rows], names)
        self.assertEqual(len(rows), 5)
        pictures = {*re.findall(r"kFlyOutPicture = (\d+)", source), *re.findall(r'_\w+\.ico", +(\d+)', source)}
        self.assertLessEqual({picture for *_, picture in rows}, pictures)

    def test_every_exit_code_of_the_probe_is_in_its_help_and_the_checks_are_explained(self):
        codes = dict(re.findall(r"int k(\w+) = (\d+);", read("tools/shellprobe/ProbeExit.h")))
        self.assertGreaterEqual(len(codes), 11)
        rows = dict(re.findall(r"^\| `(explain|doctor|tail|menu --first-level)` \| (\d.+) \|$",
                               read("docs/support.md"), re.MULTILINE))
        faults = {code for name, code in codes.items() if name.endswith("Bad")}
        self.assertEqual(set(re.findall(r"\b(\d\d) ", rows["doctor"])), faults)
        self.assertIn(codes["NoCommands"] + " ", rows["explain"])
        helps = "".join(read(f"tools/shellprobe/{name}") for name in os.listdir(os.path.join(ROOT, "tools/shellprobe"))
                        if name.endswith("Command.cpp"))
        for code in codes.values():
            with self.subTest(code=code):
                self.assertRegex(helps, rf"[ \"\n]{code} ")

    def test_every_installed_file_is_listed(self):
        tables = read("installer/tables.py").partition("\nFILES = {\n")[2].partition("\n}\n")[0]
        installed = set(re.findall(r'", "([\w-]+\.[a-z]+)"', tables))
        self.assertGreaterEqual(len(installed), 5)
        rows = re.findall(r"^\| `(?:x86\\)?([\w-]+\.\w+)` \|", read("docs/administrators.md"), re.MULTILINE)
        self.assertEqual(set(rows), installed)

    def test_the_samples_of_the_probe_are_its_texts(self):
        """Of each line that is shown, three words in a row are in the sources, or the first two."""
        sources = " ".join("".join(read(f"tools/shellprobe/{name}") for name in sorted(
            os.listdir(os.path.join(ROOT, "tools/shellprobe"))) if name.endswith(".cpp")).split())
        lines = [line for block in FENCE.findall(read("docs/support.md"))
                 for line in re.findall(r"^  (?:ok |BAD|   )   ([a-z\".].*?)(?: +<- .*)?$", block, re.MULTILINE)]
        self.assertGreaterEqual(len(lines), 30)
        for line in lines:
            words = line.replace('"', '\\"').split()
            with self.subTest(line):
                parts = [" ".join(words[i:i + 3]) for i in range(len(words) - 2)]
                self.assertTrue(any(part in sources for part in [*parts, '"' + " ".join(words[:2])]))

    def test_what_is_measured_says_by_which_command_when_and_where(self):
        blocks = [(document, *block) for document in documents()
                  for block in re.findall(r"^<!-- measured ([\w-]+) -->\n(.*?)^<!-- end ", read(document), re.M | re.S)]
        self.assertGreaterEqual(len(blocks), 11)
        for document, name, table in blocks:
            with self.subTest(document, name=name):
                line = table.strip().partition("\n")[0]
                self.assertRegex(line, r"^Measured by `scripts/[^`]+` on \d{4}-\d\d-\d\d.*: \d+ processors?")
                self.assertIn("\n|", table)

    def test_the_version_stands_in_one_place(self):
        """What else holds it pins what a version registers."""
        version = product_version()
        spellings = {version, in_identifier(version), version.replace(".", ",") + ",0"}
        found = {path for path in tree_files() if any(spelling in read(path) for spelling in spellings)}
        pins = {"tests/shellext/" + name for name in ("ClassIdsTest.cpp", "LibraryRegistrationTest.cpp",
                                                      "LibraryTest.cpp", "RegisteredValues.h", "RegistrationTest.cpp")}
        self.assertEqual(found, {"CMakeLists.txt", *pins})

    def test_documents_name_this_version(self):
        version = product_version()
        names = 0
        for document in set(documents()) - {"CHANGELOG.md"}:  # it names every version
            text = read(document)
            for found in re.findall(r"(?<![\d.])\d+\.\d+\.\d+(?!\d|\.\d)", text):
                names += 1
                with self.subTest(document):
                    self.assertEqual(found, version)
            for found in re.findall(r"CC05-([0-9A-F]{4}-[0-9A-F]{4})-AE64|`([0-9A-F]{4}-[0-9A-F]{4})`", text):
                with self.subTest(document):
                    self.assertEqual("".join(found), in_identifier(version))
        self.assertGreaterEqual(names, 10)

    def test_the_changelog_begins_with_this_version(self):
        sections = re.findall(r"^## \[(.+?)\](.*)$", read("CHANGELOG.md"), re.MULTILINE)
        versions = [(name, rest) for name, rest in sections if name != "Unreleased"]
        self.assertEqual(versions[0][0], product_version())
        for name, rest in versions:
            with self.subTest(name):
                self.assertRegex(rest, r"^ - \d{4}-\d\d-\d\d$")


if __name__ == "__main__":
    unittest.main()
