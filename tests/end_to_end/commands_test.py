"""The help of every command that a person can type, and the messages for wrong command
lines: commands_test.py ROOT PROGRAMS_FOLDER VERSION"""

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
        "": "missing argument: COMMAND", "dance": 'unknown command "dance"'}),
    ("shellprobe.exe explain", "Gives the reason for each command of the paths", {
        "": "missing argument: shellprobe explain PATH...", "--xml a": "unknown option --xml"}),
    ("shellprobe.exe doctor", "Checks the installation", {
        "now": 'unexpected argument "now"', "--dll": "--dll needs a value",
        "--dll a.dll": "--dll needs --repair"}),
    ("shellprobe.exe tail", "Prints the diagnostic log's lines", {
        "--lines many": '--lines needs a number, not "many"', "file": 'unexpected argument "file"'}),
    ("shellprobe.exe menu", "Right-clicks the paths and prints the commands", {
        "": "missing argument: shellprobe menu PATH...", "a --gif b": "unknown option --gif",
        "a --choose b": "--choose needs --first-level",
        "a --first-level --show 1": "--first-level cannot be combined with --show"}),
    ("shellprobe.exe invoke", "Right-clicks the paths and chooses a command", {
        "Sync": "missing argument: shellprobe invoke COMMAND PATH...",
        "Sync a --wait x": '--wait needs a number, not "x"'}),
    ("shellprobe.exe icon", "Asks the extension for a placeholder's icon", {
        "": "missing argument: shellprobe icon FILE", "a b": 'unexpected argument "b"',
        "a --size huge": "--size must be one of: large, small"}),
    # the stand-in for the agent
    ("standin-agent.exe", "Plays the agent", {
        "serve": 'unexpected argument "serve"', "--count many": '--count needs a number, not "many"',
        "--fault lazy": "--fault must be one of: "}),
    ("standin-agent.exe lay-root", "Marks a folder as synchronised", {
        "": "missing argument: standin-agent lay-root FOLDER",
        "a --source pipe": "--source must be one of: file, stream, type-stream"}),
    ("standin-agent.exe lay-placeholder", "Makes placeholder files and writes their states", {
        "": "missing argument: standin-agent lay-placeholder FILE.ghpl...",
        "a.ghpl --progress half": '--progress needs a number, not "half"'}),
    # the painter
    ("contact-sheet.exe", "Draws placeholder icons", {
        "a": "missing argument: contact-sheet FOLDER", "a b c d --paper": "unknown option --paper"}),
    # the painters of the menu's icons
    ("shellext/contextmenu/artwork/make_icon.sh", "Draws one icon at every size", {
        "": "expected arguments: SOURCE.svg RESULT.ico", "a.svg": "expected arguments: SOURCE.svg RESULT.ico",
        "-x a b": "unknown option -x", "a b c": 'unexpected argument "c"'}),
    ("shellext/contextmenu/artwork/fit_to_pixels.py", "straight edges moved onto pixels", {
        "": "expected arguments: SOURCE.svg SIZE", "a.svg wide": 'SIZE must be a number of pixels, not "wide"'}),
    # the translators' and the packers' programs
    ("tools/langlint/langlint.py", "Checks the translations", {
        "": "expected arguments: FOLDER", "a b c": "expected arguments: FOLDER"}),
    ("lang/make_archive.py", "Packs the language archive", {"": "expected arguments: FOLDER VERSION ZIP"}),
    ("installer/make_msix.py", "Makes the identity package", {"": "expected arguments: LIBRARY SOURCES PICTURE.svg"}),
    ("installer/publisher.py", "Checks that an identity package is made for the certificate", {
        "": "expected arguments: PACKAGE.msix"}),
    ("installer/make_msi.py", "Makes the installation package", {"": "an architecture and RESULT.msi are needed"}),
    ("scripts/dependencies.py", "Checks and draws the folders' dependencies", {
        "": "expected check FOLDER [LINKS] or draw FOLDER", "paint .": "expected check FOLDER [LINKS] or draw FOLDER"}),
    ("scripts/instructions_table.py", "Prints the instructions", {"": "expected arguments: OUTPUT..."}),
    ("scripts/measured_tables.py", "tables of the last measurements", {
        "": "expected arguments: FOLDER PAGE...", "build": "expected arguments: FOLDER PAGE..."}),
    # the scripts
    ("scripts/bench.sh", "Measures everything in one run", {
        "now": 'unknown benchmark "now"', "--clicks": "--clicks needs a number",
        "--clicks many": '--clicks needs a number, not "many"',
        "--clicks 5 now": 'unknown benchmark "now"', "--one-processor now": 'unknown benchmark "now"'}),
    ("scripts/bench-instructions.sh", "Counts the instructions", {"all": 'unexpected argument "all"'}),
    ("scripts/build.sh", "Builds a flavour by its preset", {"win16": 'unknown preset "win16"'}),
    ("scripts/check-library.sh", "Checks built libraries", {"": "expected arguments: FILE...", "-x": "unknown option -x"}),
    ("scripts/check-reproducible.sh", "Builds the libraries once more", {"--twice": "unknown option --twice"}),
    ("scripts/contact-sheet.sh", "Draws a picture of placeholder icons", {
        "--large": "unknown option --large", "a b": 'unexpected argument "b"'}),
    ("scripts/coverage.sh", "coverage of lines and branches", {"core": 'unexpected argument "core"'}),
    ("scripts/demo.sh", "Shows a right-click from the menu to the agent", {
        "--fast": "unknown option --fast", "--keep-pictures now": 'unexpected argument "now"'}),
    ("scripts/arm64-sysroot.sh", "Builds the libraries for Windows on ARM64", {
        "again": 'unexpected argument "again"', "step crt2": 'unknown step "crt2"',
        "step crt now": 'unexpected argument "now"', "renew now": 'unexpected argument "now"'}),
    ("scripts/arm64-wine.sh", "Makes an emulated ARM64 machine with Wine", {
        "": 'expected make or run, not ""', "start": 'expected make or run, not "start"', "make it": 'unexpected argument "it"',
        "run": "expected arguments: PROGRAM [ARGUMENT...]"}),
    ("scripts/fetch-minizip.sh", "Unpacks the distribution's source package", {"again": 'unexpected argument "again"'}),
    ("scripts/fetch-source.sh", "Downloads a source package", {
        "": "expected arguments: PACKAGE FOLDER", "zlib": "expected arguments: PACKAGE FOLDER",
        "a b c": 'unexpected argument "c"', "--all a": "unknown option --all"}),
    ("scripts/format.sh", "Applies .clang-format", {"--chekc": "unknown option --chekc"}),
    ("scripts/fuzz.sh", "Fuzzes every target", {
        "": "expected arguments: SECONDS [TARGET...]", "long": 'SECONDS must be a number, not "long"',
        "1 nothing": 'unknown target "nothing"'}),
    ("scripts/install-deps.sh", "Installs what building, testing and the demo need", {
        "all": 'unexpected argument "all"', "bench all": 'unexpected argument "all"'}),
    ("scripts/install-osslsigncode.sh", "Installs an osslsigncode", {"now": 'unexpected argument "now"'}),
    ("scripts/install-wine32.sh", "Installs the 32-bit half of Wine", {"now": 'unexpected argument "now"'}),
    ("scripts/library_file.py", "Checks built libraries", {
        "": "expected arguments: IMPORTS ROOT VERSION PRODUCT"}),
    ("scripts/library-size.sh", "prints the size of its parts", {"small": 'unexpected argument "small"'}),
    ("scripts/library_size.py", "Prints the size of the library's parts", {
        "": "expected arguments: LIBRARY MAP FOLDER"}),
    ("scripts/lint.sh", "clang-tidy", {"--fix": "unknown option --fix"}),
    ("scripts/make_pdb.py", "Makes a PDB", {
        "": "expected arguments: LIBRARY PDB", "a.dll": "expected arguments: LIBRARY PDB"}),
    ("scripts/old-library.sh", "Builds the library of an older commit", {"again": 'unexpected argument "again"'}),
    ("scripts/package.sh", "Makes the installation package", {
        "--from": "--from needs a folder", "--into x": "unknown option --into"}),
    ("scripts/read_dump.py", "Reads a minidump of Windows", {
        "": "DUMP SYMBOLS are needed", "a.dmp": "DUMP SYMBOLS are needed"}),
    ("scripts/release.sh", "Makes a release", {
        "--fast": "unknown option --fast", "--to": "--to needs a folder",
        "1.0.0 2.0.0": 'unexpected argument "2.0.0"'}),
    ("scripts/sign.sh", "Signs programs, libraries, installation packages and identity packages", {
        "": "expected arguments: FILE...", "--all": "unknown option --all"}),
    ("scripts/soak.sh", "right-clicks and icons of the built library", {
        "long": 'ROUNDS must be a number, not "long"', "1 2": 'unexpected argument "2"',
        "--fast": "unknown option --fast"}),
    # These three hand every word on to the program that runs the tests.
    ("scripts/test-heap.sh", "Runs the test suite with heap checks", {}),
    ("scripts/test-traps.sh", "Runs the test suite of the checked flavour", {}),
    ("scripts/third_party.py", "third-party code that is linked into programs", {
        "": "expected one of notices, check and bill", "notices . a.txt": "expected one of notices, check and bill"}),
    ("scripts/torture.sh", "Fails each request for memory", {}),
    ("scripts/test.sh", "Runs the tests", {
        "some": 'there are no tests of a preset "some"', 
        "native-fuzz": 'there are no tests of a preset "native-fuzz"'}),
    ("scripts/wine-prefix.sh", "Makes a Wine prefix", {
        "": "expected make, renew or stop", "burn x": "expected make, renew or stop", "make": "expected arguments: FOLDER",
        "stop a b": 'unexpected argument "b"'}),
    ("scripts/wine-run.sh", "Runs one Windows program under Wine", {
        "": "expected arguments: PROGRAM [ARGUMENT...]", "-q": "unknown option -q"}),
    ("scripts/wine-run-restricted.sh", "without the right to override permissions", {
        "": "expected arguments: PROGRAM [ARGUMENT...]", "-q": "unknown option -q"}),
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
                    self.assertRegex(result.stdout, r"\A[A-Z][a-z-]+s ", "begins with a verb")
                    self.assertRegex(result.stdout, r"\n\nExit codes: (.+\n)+\n*\Z", "ends with the exit codes")
                    self.assertEqual([line for line in result.stdout.splitlines() if len(line) > 100], [])

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
