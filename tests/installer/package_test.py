"""Tests of the installation package as a file:
package_test.py MAKE_MSI PROGRAMS_FOLDER VERSION ADMINISTRATORS_DOCUMENT"""

import os
import subprocess
import sys
import tempfile
import unittest

MAKE_MSI, PROGRAMS, DOCUMENT = map(os.path.abspath, (sys.argv[1], sys.argv[2], sys.argv[4]))
VERSION = sys.argv[3]
del sys.argv[1:5]
sys.path.insert(0, os.path.dirname(MAKE_MSI))

from make_msi import file_version  # noqa: E402

LIBRARY = os.path.join(PROGRAMS, "VeskardShellExt.dll")
OLDER_LIBRARY = os.path.join(PROGRAMS, "tests/libraries/older_library.dll")
PROBE = os.path.join(PROGRAMS, "shellprobe.exe")
ICON = os.path.join(PROGRAMS, "shellext/contextmenu/menu_sync.ico")
SHIPPED = os.path.join(PROGRAMS, f"VeskardShellExt-{VERSION}-x64.msi")
OLDER = os.path.join(PROGRAMS, "tests/packages/older.msi")


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

    def make(self, library=LIBRARY, probe=PROBE, name="made.msi", **environment):
        subprocess.run([sys.executable, "-B", MAKE_MSI, library, probe, ICON, self.path(name)], check=True,
                       cwd=self.folder, env={**os.environ, **environment})
        return self.path(name)

    def copy(self, path, more=b""):
        copy = self.path("copy")
        with open(copy, "wb") as file:
            file.write(read(path) + more)
        return copy

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
        result = subprocess.run([sys.executable, "-B", MAKE_MSI, ICON, PROBE, ICON, self.path("no.msi")],
                                capture_output=True, text=True)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr, f"make_msi.py: {ICON} has no version resource\n")
        self.assertFalse(os.path.exists(self.path("no.msi")))

    def test_versions_are_products_of_one_family(self):
        older, shipped = properties(OLDER), properties(SHIPPED)
        self.assertEqual(older["UpgradeCode"], shipped["UpgradeCode"])
        self.assertNotEqual(older["ProductCode"], shipped["ProductCode"])

    # A component is what lies at one place: files in a version's own folder are
    # other components in every version, registry values are the same ones.
    def test_components_follow_their_places(self):
        older, shipped = component_codes(OLDER), component_codes(SHIPPED)
        same = {name for name in shipped if older[name] == shipped[name]}
        self.assertEqual(same, {"Binding", "TypeName", "TypeIcon", "Record"})
        self.assertEqual(set(shipped) - same, {"Library", "Probe"})

    def test_other_contents_are_another_package_of_the_same_product(self):
        other = self.make(library=self.copy(LIBRARY, b"x"))
        self.assertEqual(properties(other)["ProductCode"], properties(SHIPPED)["ProductCode"])
        self.assertNotEqual(package_code(other), package_code(SHIPPED))

    def test_the_files_are_the_built_ones(self):
        with open(self.path("files.cab"), "wb") as file:
            file.write(msiinfo("extract", SHIPPED, "files.cab"))
        subprocess.run(["gcab", "--extract", "--directory=" + self.folder, self.path("files.cab")], check=True,
                       capture_output=True)
        self.assertEqual(read(self.path("Library")), read(LIBRARY))
        self.assertEqual(read(self.path("Probe")), read(PROBE))
        sizes = dict(zip(column(SHIPPED, "File", "File"), column(SHIPPED, "File", "FileSize")))
        self.assertEqual(sizes, {"Library": str(os.path.getsize(LIBRARY)), "Probe": str(os.path.getsize(PROBE))})

    # The engine replaces a file by its version, or by its hash when it has none.
    def test_every_file_has_a_version_or_a_hash(self):
        versioned = {row["File"] for row in table(SHIPPED, "File") if row["Version"]}
        hashed = set(column(SHIPPED, "MsiFileHash", "File_"))
        self.assertIn("Library", versioned)
        self.assertEqual(versioned | hashed, {"Library", "Probe"})
        self.assertFalse(versioned & hashed)

    def test_rows_refer_to_rows(self):
        components = set(component_codes(SHIPPED))
        self.assertEqual(set(column(SHIPPED, "FeatureComponents", "Component_")), components)
        self.assertLessEqual(set(column(SHIPPED, "Registry", "Component_")), components)
        keys = set(column(SHIPPED, "File", "File")) | set(column(SHIPPED, "Registry", "Registry"))
        self.assertLessEqual(set(column(SHIPPED, "Component", "KeyPath")), keys)
        self.assertEqual(set(column(SHIPPED, "AppSearch", "Signature_")),
                         set(column(SHIPPED, "RegLocator", "Signature_")))
        actions = set(column(SHIPPED, "InstallExecuteSequence", "Action"))
        self.assertLessEqual(set(column(SHIPPED, "CustomAction", "Action")), actions)

    def test_an_upgrade_proves_the_new_library_before_it_touches_the_old_one(self):
        order = {row["Action"]: int(row["Sequence"]) for row in table(SHIPPED, "InstallExecuteSequence")}
        steps = ["InstallInitialize", "Unregister", "RemoveRegistryValues", "RemoveFiles", "InstallFiles",
                 "InstallExecute", "UndoReplace", "UndoProve", "Prove", "InstallExecuteAgain",
                 "RemoveExistingProducts", "WriteRegistryValues", "UndoRegister", "Register", "RegisterProduct",
                 "InstallFinalize"]
        self.assertEqual(sorted(steps, key=order.get), steps)

    def test_the_administrators_document_lists_every_value(self):
        with open(DOCUMENT, encoding="utf-8") as file:
            document = file.read()
        for row in table(SHIPPED, "Registry"):
            key = row["Key"].replace("Software\\Classes\\", "")
            self.assertIn(f"`{key}`", document)
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
