"""Tests of the installation package of one architecture as a file:
package_test.py MAKE_MSI PROGRAMS_FOLDER VERSION ADMINISTRATORS_DOCUMENT ARCHITECTURE"""

import os
import re
import struct
import subprocess
import sys
import tempfile
import unittest

MAKE_MSI, PROGRAMS, DOCUMENT = map(os.path.abspath, (sys.argv[1], sys.argv[2], sys.argv[4]))
VERSION, ARCHITECTURE = sys.argv[3], sys.argv[5]
del sys.argv[1:6]
sys.path.insert(0, os.path.dirname(MAKE_MSI))

from make_msi import file_version  # noqa: E402
from tables import ARCHITECTURES  # noqa: E402

LIBRARY = os.path.join(PROGRAMS, "VeskardShellExt.dll")
OLDER_LIBRARY = os.path.join(PROGRAMS, "tests/libraries/older_library.dll")
PROBE = os.path.join(PROGRAMS, "shellprobe.exe")
LIBRARY32 = os.path.join(PROGRAMS, "installer/x86/VeskardShellExt.dll")
ICON = os.path.join(PROGRAMS, "shellext/contextmenu/menu_sync.ico")
FILES = {
    "Library": LIBRARY,
    "Library32": LIBRARY32,
    "Probe": PROBE,
    "Command": os.path.join(PROGRAMS, "VeskardExplorerCommand.dll"),
    "Identity": os.path.join(PROGRAMS, "VeskardExplorerCommand.msix"),
    "Notices": os.path.join(PROGRAMS, "THIRD-PARTY-NOTICES.txt"),
}
STEPS = os.path.join(PROGRAMS, "InstallerSteps.dll")
MACHINE_FILES = {name: FILES[name] for name in ("Library", "Probe", "Command")} | {"Steps": STEPS}
SHIPPED = os.path.join(PROGRAMS, f"VeskardShellExt-{VERSION}-{ARCHITECTURE}.msi")
OLDER = os.path.join(PROGRAMS, "tests/packages/older.msi")
# GNU's cannot read programs for ARM64.
OBJDUMP = {"x64": "objdump", "arm64": "llvm-objdump-19"}[ARCHITECTURE]
OTHER_ARCHITECTURE, = set(ARCHITECTURES) - {ARCHITECTURE}


def read(path):
    with open(path, "rb") as file:
        return file.read()


def msiinfo(*arguments):
    return subprocess.run(["msiinfo", *arguments], check=True, capture_output=True).stdout


def table(package, name):
    """A table's rows as dictionaries."""
    lines = msiinfo("export", package, name).decode("cp1252").split("\r\n")
    titles = lines[0].split("\t")
    return [dict(zip(titles, line.split("\t"))) for line in lines[3:] if line]


def column(package, name, title):
    return [row[title] for row in table(package, name)]


def properties(package):
    return {row["Property"]: row["Value"] for row in table(package, "Property")}


def component_codes(package):
    return {row["Component"]: row["ComponentId"] for row in table(package, "Component")}


def package_code(package):
    return next(line for line in msiinfo("suminfo", package).decode().splitlines() if line.startswith("Revision"))


class PackageTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name):
        return os.path.join(self.folder, name)

    def run_make_msi(self, name, *, architecture=ARCHITECTURE, environment=None, **files):
        files = {**FILES, "Icon": ICON, "Steps": STEPS, **files}
        words = [f"{file}={path}" for file, path in files.items() if path]
        return subprocess.run([sys.executable, "-B", MAKE_MSI, architecture, self.path(name), *words],
                              cwd=self.folder, capture_output=True, text=True,
                              env={**os.environ, **(environment or {})})

    def make(self, library=LIBRARY, name="made.msi", **environment):
        result = self.run_make_msi(name, Library=library, environment=environment)
        self.assertEqual(result.returncode, 0, result.stderr)
        return self.path(name)

    def copy(self, path, more=b""):
        return self.write("copy", read(path) + more)

    def write(self, name, contents):
        with open(self.path(name), "wb") as file:
            file.write(contents)
        return self.path(name)

    def for_the_other_machine(self, name):
        """What stands in for a program of the other architecture: ours with that machine in its header."""
        contents = bytearray(read(MACHINE_FILES[name]))
        header, = struct.unpack_from("<I", contents, 0x3C)
        struct.pack_into("<H", contents, header + 4, ARCHITECTURES[OTHER_ARCHITECTURE][0])
        return self.write(name + ".other", bytes(contents))

    def test_the_same_files_give_the_same_bytes(self):
        one = self.make(TZ="Asia/Tokyo", LC_ALL="C", PYTHONHASHSEED="1")
        copy = self.copy(LIBRARY)
        os.utime(copy, (1_000_000_000, 1_000_000_000))
        other = self.make(library=copy, name="other.msi", TZ="America/Lima", PYTHONHASHSEED="2")
        self.assertEqual(read(one), read(other))
        self.assertEqual(read(one), read(SHIPPED))

    def test_the_version_is_the_library_s_own(self):
        self.assertEqual(properties(SHIPPED)["ProductVersion"], VERSION)
        self.assertEqual(file_version(read(LIBRARY))[:3], tuple(map(int, VERSION.split("."))))
        self.assertEqual(properties(OLDER)["ProductVersion"], "2.7.1")

    def test_a_library_without_a_version_is_refused(self):
        result = self.run_make_msi("no.msi", Library=ICON)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr, f"make_msi.py: {ICON} has no version resource\n")
        self.assertFalse(os.path.exists(self.path("no.msi")))

    def test_every_file_is_needed(self):
        result = self.run_make_msi("no.msi", Library32=None)
        self.assertEqual(result.returncode, 2)
        self.assertIn("each file is needed once by its name: Library32", result.stderr)
        self.assertFalse(os.path.exists(self.path("no.msi")))

    def test_an_unknown_architecture_is_refused(self):
        result = self.run_make_msi("no.msi", architecture="x86")
        self.assertEqual(result.returncode, 2)
        self.assertIn("an architecture and RESULT.msi are needed", result.stderr)

    def test_versions_are_products_of_one_family(self):
        older, shipped = properties(OLDER), properties(SHIPPED)
        self.assertEqual(older["UpgradeCode"], shipped["UpgradeCode"])
        self.assertNotEqual(older["ProductCode"], shipped["ProductCode"])

    # A component is what lies at one place: files in a version's own folder are
    # other components in every version, registry values are the same ones.
    def test_components_follow_their_places(self):
        older, shipped = component_codes(OLDER), component_codes(SHIPPED)
        same = {name for name in shipped if older[name] == shipped[name]}
        self.assertEqual(same, {"Binding", "TypeName", "TypeIcon", "Record", "Record32"})
        self.assertEqual(set(shipped) - same, set(FILES))

    def test_other_contents_are_another_package_of_the_same_product(self):
        other = self.make(library=self.copy(LIBRARY, b"x"))
        self.assertEqual(properties(other)["ProductCode"], properties(SHIPPED)["ProductCode"])
        self.assertNotEqual(package_code(other), package_code(SHIPPED))

    def test_the_files_are_the_built_ones(self):
        with open(self.path("files.cab"), "wb") as file:
            file.write(msiinfo("extract", SHIPPED, "files.cab"))
        subprocess.run(["gcab", "--extract", "--directory=" + self.folder, self.path("files.cab")], check=True,
                       capture_output=True)
        for name, path in FILES.items():
            self.assertEqual(read(self.path(name)), read(path), name)
        sizes = dict(zip(column(SHIPPED, "File", "File"), column(SHIPPED, "File", "FileSize")))
        self.assertEqual(sizes, {name: str(os.path.getsize(path)) for name, path in FILES.items()})

    # The engine replaces a file by its version, or by its hash when it has none.
    def test_every_file_has_a_version_or_a_hash(self):
        versioned = {row["File"] for row in table(SHIPPED, "File") if row["Version"]}
        hashed = set(column(SHIPPED, "MsiFileHash", "File_"))
        self.assertIn("Library", versioned)
        self.assertEqual(versioned | hashed, set(FILES))
        self.assertFalse(versioned & hashed)

    def test_rows_refer_to_rows(self):
        components = set(component_codes(SHIPPED))
        self.assertEqual(set(column(SHIPPED, "FeatureComponents", "Component_")), components)
        self.assertLessEqual(set(column(SHIPPED, "Registry", "Component_")), components)
        keys = set(column(SHIPPED, "File", "File")) | set(column(SHIPPED, "Registry", "Registry"))
        self.assertLessEqual(set(column(SHIPPED, "Component", "KeyPath")), keys)
        self.assertEqual(set(column(SHIPPED, "AppSearch", "Signature_")),
                         set(column(SHIPPED, "RegLocator", "Signature_"))
                         | set(column(SHIPPED, "DrLocator", "Signature_")))
        self.assertEqual(set(column(SHIPPED, "DrLocator", "Signature_")), set(column(SHIPPED, "Signature", "Signature")))
        actions = set(column(SHIPPED, "InstallExecuteSequence", "Action"))
        self.assertLessEqual(set(column(SHIPPED, "CustomAction", "Action")), actions)

    def test_sequence_numbers_are_used_once(self):
        numbers = column(SHIPPED, "InstallExecuteSequence", "Sequence")
        self.assertEqual(len(set(numbers)), len(numbers))

    def test_an_upgrade_proves_the_new_libraries_before_it_touches_the_old_one(self):
        order = {row["Action"]: int(row["Sequence"]) for row in table(SHIPPED, "InstallExecuteSequence")}
        steps = ["InstallInitialize", "UndoUnregisterIdentity", "UnregisterIdentity",
                 "UndoUnregisterLibrary", "UnregisterLibrary", "UndoUnregisterLibrary32", "UnregisterLibrary32",
                 "RemoveRegistryValues", "RemoveFiles", "InstallFiles", "InstallExecute",
                 "UndoReplaceLibrary", "UndoReplaceLibrary32",
                 "UndoProveLibrary", "ProveLibrary", "UndoProveLibrary32", "ProveLibrary32",
                 "InstallExecuteAgain", "RemoveExistingProducts", "WriteRegistryValues",
                 "UndoRegisterLibrary", "RegisterLibrary", "UndoRegisterLibrary32", "RegisterLibrary32",
                 "UndoRegisterIdentity", "RegisterIdentity", "RegisterProduct", "InstallFinalize"]
        self.assertEqual(sorted(steps, key=order.get), steps)

    # Its own half's regsvr32 registers each, where there is such a half.
    def test_each_library_registers_itself_in_its_own_view(self):
        actions = {row["Action"]: row for row in table(SHIPPED, "CustomAction")}
        conditions = {row["Action"]: row["Condition"] for row in table(SHIPPED, "InstallExecuteSequence")}
        for action in ("Prove", "Register", "Unregister", "UndoProve", "UndoRegister", "UndoReplace", "UndoUnregister"):
            self.assertEqual(actions[action + "Library"]["Source"], "System64Folder")
            self.assertEqual(actions[action + "Library32"]["Source"], "SystemFolder")
            self.assertIn("[SystemFolder]regsvr32.exe", actions[action + "Library32"]["Target"])
            self.assertNotIn("HALF_OF_32_BITS", conditions[action + "Library"])
            self.assertIn("(HALF_OF_32_BITS)", conditions[action + "Library32"])

    def test_the_commands_for_powershell_hold_nothing_that_the_engine_reads_itself(self):
        for row in table(SHIPPED, "CustomAction"):
            if "Appx" in row["Target"] or "powershell" in row["Target"]:
                self.assertNotRegex(row["Target"], r"[{}]")
                self.assertLessEqual(len(row["Target"]), 255)
                self.assertLessEqual(set(re.findall(r"\[(.*?)\]", row["Target"])),
                                     {"System64Folder", "PowerShell", "RemoveForNewUsers", "VersionFolder"})

    # It runs within the engine's own process, whatever else that has loaded.
    def test_the_package_s_own_steps_need_nothing_but_the_system(self):
        steps = self.path("steps.dll")
        with open(steps, "wb") as file:
            file.write(msiinfo("extract", SHIPPED, "Binary.Steps"))
        self.assertEqual(read(steps), read(STEPS))
        headers = subprocess.run([OBJDUMP, "-p", steps], check=True, capture_output=True, text=True).stdout
        used = {name.lower() for name in re.findall(r"DLL Name: (\S+)", headers)}
        self.assertIn("kernel32.dll", used)
        # The C run-time library of Windows 10 comes in many parts.
        used = {name for name in used if not name.startswith("api-ms-win-crt-")}
        self.assertLessEqual(used, {"kernel32.dll", "msi.dll", "msvcrt.dll", "advapi32.dll", "user32.dll", "ole32.dll"})

    def test_the_package_is_one_of_its_architecture(self):
        platform = {"x64": "x64", "arm64": "Arm64"}[ARCHITECTURE]
        summary = msiinfo("suminfo", SHIPPED).decode()
        self.assertIn(f"Template: {platform};1033", summary)
        self.assertIn("Version: 500 ", summary)

    def test_the_other_architecture_s_package_differs_in_its_programs_platform_and_product_code_only(self):
        files = {name: self.for_the_other_machine(name) for name in MACHINE_FILES}
        result = self.run_make_msi("other.msi", architecture=OTHER_ARCHITECTURE, **files)
        self.assertEqual(result.returncode, 0, result.stderr)
        other = self.path("other.msi")
        for name in msiinfo("tables", SHIPPED).decode().split():
            if name not in ("_SummaryInformation", "MsiFileHash", "Property"):
                self.assertEqual(table(other, name), table(SHIPPED, name), name)
        ours, theirs = properties(SHIPPED), properties(other)
        self.assertNotEqual(ours.pop("ProductCode"), theirs.pop("ProductCode"))
        self.assertEqual(ours, theirs)
        self.assertNotEqual(package_code(SHIPPED), package_code(other))

    def test_a_program_for_another_machine_is_refused(self):
        for name in [*MACHINE_FILES, "Library32"]:
            wrong = LIBRARY if name == "Library32" else self.for_the_other_machine(name)
            result = self.run_make_msi("no.msi", **{name: wrong})
            self.assertEqual(result.returncode, 1)
            self.assertEqual(result.stderr, f"make_msi.py: {wrong} is not the {name} of a package for {ARCHITECTURE}\n")
        self.assertFalse(os.path.exists(self.path("no.msi")))

    def test_the_administrators_document_lists_every_value(self):
        with open(DOCUMENT, encoding="utf-8") as file:
            document = file.read()
        for row in table(SHIPPED, "Registry"):
            key = row["Key"].replace("Software\\Classes\\", "")
            self.assertRegex(document, rf"`(HKEY_LOCAL_MACHINE\\)?{re.escape(key)}`")
            if row["Name"]:
                self.assertIn(f"`{row['Name']}`", document)
        for name in [properties(SHIPPED)["ProductName"], properties(SHIPPED)["UpgradeCode"], VERSION,
                     os.path.basename(SHIPPED)]:
            self.assertIn(name, document)

    def test_nothing_restarts_or_closes_a_program(self):
        self.assertEqual(properties(SHIPPED)["REBOOT"], "ReallySuppress")
        self.assertEqual(properties(SHIPPED)["MSIRESTARTMANAGERCONTROL"], "Disable")


if __name__ == "__main__":
    unittest.main()
