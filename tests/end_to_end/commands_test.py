"""Every command that a person can type: what it says of itself, and how it refuses
what it cannot understand: commands_test.py ROOT PROGRAMS_FOLDER VERSION"""

import os
import re
import subprocess
import sys
import unittest

from programs import Programs

ROOT, FOLDER, VERSION = sys.argv[1:4]
del sys.argv[1:4]
PROGRAMS = Programs(ROOT, FOLDER)

# The command, what its help must say of it, and wrong command lines with the
# beginning of the one line that answers them. {} is the command's own name.
TABLE = [
    # the probe
    ("shellprobe.exe", "Acts on the Explorer extension as Explorer does", {
        "": "which command?", "dance": 'there is no command "dance"'}),
    ("shellprobe.exe explain", "Gives the reason for each command of the paths", {
        "": "something is missing: shellprobe explain PATH...", "--xml a": "there is no option --xml"}),
    ("shellprobe.exe doctor", "Checks the installation", {
        "now": 'cannot use "now" here', "--dll": "--dll needs a value",
        "--dll a.dll": "--dll needs --repair"}),
    ("shellprobe.exe tail", "Prints the diagnostic log's lines", {
        "--lines many": '--lines needs a number, not "many"', "file": 'cannot use "file" here'}),
    ("shellprobe.exe menu", "Right-clicks the paths and prints the commands", {
        "": "something is missing: shellprobe menu PATH...", "a --gif b": "there is no option --gif",
        "a --choose b": "--choose needs --first-level", "a --first-level --show 1": "--first-level cannot be combined with --show"}),
    ("shellprobe.exe invoke", "Right-clicks the paths and chooses a command", {
        "Sync": "something is missing: shellprobe invoke COMMAND PATH...",
        "Sync a --wait x": '--wait needs a number, not "x"'}),
    ("shellprobe.exe icon", "Asks the extension for a placeholder's icon", {
        "": "something is missing: shellprobe icon FILE", "a b": 'cannot use "b" here',
        "a --size huge": "--size is one of: large, small"}),
    # the stand-in for the agent
    ("standin-agent.exe", "Plays the agent", {
        "serve": 'cannot use "serve" here', "--count many": '--count needs a number, not "many"',
        "--fault lazy": "--fault is one of: "}),
    ("standin-agent.exe lay-root", "Marks a folder as synchronised", {
        "": "something is missing: standin-agent lay-root FOLDER",
        "a --source pipe": "--source is one of: file, stream, type-stream"}),
    ("standin-agent.exe lay-placeholder", "Makes placeholder files and writes their states", {
        "": "something is missing: standin-agent lay-placeholder FILE.ghpl...",
        "a.ghpl --progress half": '--progress needs a number, not "half"'}),
    # the painter
    ("contact-sheet.exe", "Draws placeholder icons", {
        "a": "something is missing: contact-sheet FOLDER", "a b c d --paper": "there is no option --paper"}),
    # the painters of the menu's icons
    ("shellext/contextmenu/artwork/make_icon.sh", "Draws one icon at every size", {
        "": "SOURCE.svg and RESULT.ico are needed", "a.svg": "SOURCE.svg and RESULT.ico are needed",
        "-x a b": "there is no option -x", "a b c": 'cannot use "c" here'}),
    ("shellext/contextmenu/artwork/fit_to_pixels.py", "straight edges moved onto pixels", {
        "": "SOURCE.svg SIZE are needed", "a.svg wide": 'SIZE is a number of pixels, not "wide"'}),
    # the translators' and the packers' programs
    ("tools/langlint/langlint.py", "Checks the translations", {"": "which folder?", "a b c": "which folder?"}),
    ("lang/make_archive.py", "Packs the language archive", {"": "FOLDER VERSION ZIP are needed"}),
    ("installer/make_msix.py", "Makes the identity package", {"": "LIBRARY SOURCES PICTURE.svg RESULT.msix are needed"}),
    ("installer/publisher.py", "Checks that an identity package is made for the certificate", {
        "": "PACKAGE.msix is needed"}),
    ("installer/make_msi.py", "Makes the installation package", {"": "an architecture and RESULT.msi are needed"}),
    ("scripts/dependencies.py", "Checks and draws the folders' dependencies", {
        "": "check or draw, and which folder?", "paint .": "check or draw, and which folder?"}),
    ("scripts/instructions_table.py", "Prints the instructions", {"": "which output?"}),
    ("scripts/measured_tables.py", "tables of the last measurements", {
        "": "which folder, and which pages?", "build": "which folder, and which pages?"}),
    # the scripts
    ("scripts/bench.sh", "Measures everything in one run", {
        "now": 'there is no benchmark "now"', "--clicks": "--clicks needs a number",
        "--clicks many": '--clicks needs a number, not "many"',
        "--clicks 5 now": 'there is no benchmark "now"'}),
    ("scripts/bench-instructions.sh", "Counts the instructions", {"all": 'cannot use "all" here'}),
    ("scripts/build.sh", "Builds a flavour by its preset", {"win16": 'there is no preset "win16"'}),
    ("scripts/check-library.sh", "Checks built libraries", {"": "which library?", "-x": "there is no option -x"}),
    ("scripts/check-reproducible.sh", "Builds the libraries once more", {"--twice": "there is no option --twice"}),
    ("scripts/contact-sheet.sh", "Draws a picture of placeholder icons", {
        "--large": "there is no option --large", "a b": 'cannot use "b" here'}),
    ("scripts/coverage.sh", "coverage of lines and branches", {"core": 'cannot use "core" here'}),
    ("scripts/demo.sh", "Shows a right-click from the menu to the agent", {
        "--fast": "there is no option --fast", "--keep-pictures now": 'cannot use "now" here'}),
    ("scripts/arm64-sysroot.sh", "Builds the libraries for Windows on ARM64", {
        "again": 'cannot use "again" here', "step crt2": 'there is no step "crt2"', "step crt now": 'cannot use "now" here',
        "renew now": 'cannot use "now" here'}),
    ("scripts/arm64-wine.sh", "Makes an emulated ARM64 machine with Wine", {
        "": 'make or run, not ""', "start": 'make or run, not "start"', "make it": 'cannot use "it" here',
        "run": "which program?"}),
    ("scripts/fetch-minizip.sh", "Unpacks the distribution's source package", {"again": 'cannot use "again" here'}),
    ("scripts/fetch-source.sh", "Downloads a source package", {
        "": "which package, into which folder?", "zlib": "which package, into which folder?",
        "a b c": 'cannot use "c" here', "--all a": "there is no option --all"}),
    ("scripts/format.sh", "Applies .clang-format", {"--chekc": "there is no option --chekc"}),
    ("scripts/fuzz.sh", "Fuzzes every target", {
        "": "how many seconds?", "long": 'SECONDS is a number, not "long"',
        "1 nothing": 'there is no target "nothing"'}),
    ("scripts/install-deps.sh", "Installs what building, testing and the demo need", {
        "all": 'cannot use "all" here', "bench all": 'cannot use "all" here'}),
    ("scripts/install-wine32.sh", "Installs the 32-bit half of Wine", {"now": 'cannot use "now" here'}),
    ("scripts/library_file.py", "Checks built libraries", {
        "": "IMPORTS ROOT VERSION PRODUCT WINDOWS LIBRARY are needed"}),
    ("scripts/library-size.sh", "prints the size of its parts", {"small": 'cannot use "small" here'}),
    ("scripts/library_size.py", "Prints the size of the library's parts", {"": "which library, which map, which folder?"}),
    ("scripts/lint.sh", "clang-tidy", {"--fix": "there is no option --fix"}),
    ("scripts/old-library.sh", "Builds the library of an older commit", {"again": 'cannot use "again" here'}),
    ("scripts/package.sh", "Makes the installation package", {
        "--from": "--from needs a folder", "--into x": "there is no option --into"}),
    ("scripts/read_dump.py", "Reads a minidump of Windows", {
        "": "DUMP SYMBOLS are needed", "a.dmp": "DUMP SYMBOLS are needed"}),
    ("scripts/release.sh", "Makes a release", {
        "--fast": "there is no option --fast", "--to": "--to needs a folder", "1.0.0 2.0.0": 'cannot use "2.0.0" here'}),
    ("scripts/sign.sh", "Signs programs, libraries, installation packages and identity packages", {
        "": "which files?", "--all": "there is no option --all"}),
    ("scripts/soak.sh", "Right-clicks and icons", {
        "long": 'ROUNDS is a number, not "long"', "1 2": 'cannot use "2" here', "--fast": "there is no option --fast"}),
    # These three hand every word on to the program that runs the tests.
    ("scripts/test-heap.sh", "The test suite with heap checks", {}),
    ("scripts/test-traps.sh", "The test suite of the checked flavour", {}),
    ("scripts/third_party.py", "third-party code that is linked into programs", {
        "": "notices, check or bill, and of which maps?", "notices . a.txt": "notices, check or bill, and of which maps?"}),
    ("scripts/torture.sh", "Fails each request for memory", {}),
    ("scripts/test.sh", "Runs the tests", {
        "some": 'there are no tests of a preset "some"', "native-fuzz": 'there are no tests of a preset "native-fuzz"'}),
    ("scripts/wine-prefix.sh", "Makes a Wine prefix", {
        "": "make, renew or stop", "burn x": "make, renew or stop", "make": "which folder?",
        "stop a b": 'cannot use "b" here'}),
    ("scripts/wine-run.sh", "Runs one Windows program under Wine", {
        "": "which program?", "-q": "there is no option -q"}),
    ("scripts/wine-run-restricted.sh", "without the right to override permissions", {
        "": "which program?", "-q": "there is no option -q"}),
]


def run(command, *words):
    program, *first = command.split()
    if program.endswith(".exe"):
        return PROGRAMS.run(program, *first, *words)
    start = [sys.executable, "-B"] if program.endswith(".py") else []
    return subprocess.run([*start, os.path.join(ROOT, program), *words], capture_output=True, text=True, cwd="/",
                          timeout=120)


def is_script(path):
    """What can be started by its name; of scripts/ the programs that others there start, too."""
    if os.path.dirname(path) == os.path.join(ROOT, "scripts") and path.endswith(".py"):
        return True
    with open(path, "rb") as file:
        return os.access(path, os.X_OK) and file.read(2) == b"#!"


def scripts_of_the_tree():
    for folder, folders, names in os.walk(ROOT):
        # What is built, and what no person starts.
        folders[:] = [name for name in folders if name != "build" and not name.startswith(".")]
        for path in (os.path.join(folder, name) for name in names):
            if os.path.isfile(path) and is_script(path):
                yield os.path.relpath(path, ROOT)


class CommandsTest(unittest.TestCase):
    def test_every_command_says_what_it_does(self):
        for command, summary, _ in TABLE:
            for option in ["--help", "-h"]:
                with self.subTest(command, option=option):
                    result = run(command, option)
                    self.assertEqual((result.returncode, result.stderr), (0, ""))
                    self.assertIn(summary, result.stdout)
                    if command != "shellprobe.exe":  # its commands tell theirs
                        self.assertRegex(result.stdout, r"(?m)^Exit codes: .*[02]")

    def test_what_cannot_be_understood_is_refused_in_one_line(self):
        for command, _, refusals in TABLE:
            for words, answer in refusals.items():
                with self.subTest(command, words=words):
                    result = run(command, *words.split())
                    self.assertEqual(result.returncode, 2)
                    self.assertEqual(result.stdout, "")
                    self.assertRegex(result.stderr, r"\A(error|[a-z0-9_-]+(\.py)?): " + re.escape(answer) + r".*\n\Z")
                    self.assertRegex(result.stderr, r"\(see [a-z0-9_ .-]+ --help\)\n\Z")

    def test_the_probe_says_its_version_and_whose_code_it_contains(self):
        result = run("shellprobe.exe", "--version")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        first, _, notices = result.stdout.partition("\n\n")
        self.assertRegex(first, rf"\Ashellprobe {re.escape(VERSION)} \((64-bit|32-bit|ARM64)\)\Z")
        with open(os.path.join(FOLDER, "THIRD-PARTY-NOTICES.txt"), encoding="utf-8") as file:
            self.assertEqual(notices, file.read())

    def test_the_other_programs_say_their_version(self):
        for program in ("standin-agent", "contact-sheet"):
            self.assertRegex(run(program + ".exe", "--version").stdout,
                             rf"\A{program} {re.escape(VERSION)} \((64-bit|32-bit|ARM64)\)\n\Z")

    def test_the_table_has_every_command(self):
        listed = {command for command, _, _ in TABLE}
        self.assertLessEqual(set(scripts_of_the_tree()), listed)
        overview = run("shellprobe.exe", "--help").stdout
        commands = re.findall(r"(?m)^  ([a-z]+)  ", overview)
        self.assertEqual({f"shellprobe.exe {name}" for name in commands},
                         {command for command in listed if command.startswith("shellprobe.exe ")})
        for name in re.findall(r"lay-[a-z]+", run("standin-agent.exe", "--help").stdout):
            self.assertIn(f"standin-agent.exe {name}", listed)


if __name__ == "__main__":
    unittest.main()
