"""What is linked of third parties, and what is said of it: third_party_test.py ROOT PROGRAMS_FOLDER VERSION"""

import hashlib
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest

ROOT, PROGRAMS, VERSION = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2]), sys.argv[3]
del sys.argv[1:4]
SCRIPT = os.path.join(ROOT, "scripts/third_party.py")
NOTICES = os.path.join(PROGRAMS, "THIRD-PARTY-NOTICES.txt")
SHIPPED = [os.path.join(PROGRAMS, name) for name in ("VeskardShellExt.dll", "VeskardExplorerCommand.dll",
                                                     "shellprobe.exe", "InstallerSteps.dll")]
DATE = "2026-01-31T12:00:00Z"


def map_of(program):
    return os.path.splitext(program)[0] + ".map"


def run(*words):
    return subprocess.run([sys.executable, "-B", SCRIPT, *words], capture_output=True, text=True, timeout=120)


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def sums(path):
    with open(path, "rb") as file:
        data = file.read()
    return {"SHA1": hashlib.sha1(data).hexdigest(), "SHA256": hashlib.sha256(data).hexdigest()}


class ThirdPartyTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name, text=None):
        path = os.path.join(self.folder, name)
        if text is not None:
            with open(path, "w", encoding="utf-8") as file:
                file.write(text)
        return path

    def refused(self, *words):
        result = run(*words)
        self.assertEqual(result.returncode, 1, result.stdout)
        return result.stderr

    def test_the_notices_name_what_is_linked_with_its_licence(self):
        text = read(NOTICES)
        for name, licence in (("zlib", "The origin of this software must not be misrepresented"),
                              ("minizip", "Gilles Vollant"),
                              ("GCC run-time libraries", "GCC RUNTIME LIBRARY EXCEPTION"),
                              ("MinGW-w64", "Permission is hereby granted, free of charge")):
            with self.subTest(name):
                self.assertRegex(text, rf"(?m)^  {name} [\d.]+ \(")
                self.assertIn(licence, re.split(rf"\n{name} [\d.]+\n=+\n", text)[1].split("\n=====")[0])

    def test_the_notices_are_those_of_today_s_link(self):
        again = self.path("again.txt")
        self.assertEqual(run("notices", ROOT, again, map_of(SHIPPED[0])).stderr, "")
        self.assertEqual(read(again), read(NOTICES))

    def test_every_program_that_ships_is_covered(self):
        for program in SHIPPED:
            self.assertEqual(run("check", ROOT, NOTICES, map_of(program)).stderr, "")

    def test_notices_that_lack_a_component_are_found(self):
        lacking = self.path("lacking.txt", re.sub(r"(?m)^  zlib .*\n", "", read(NOTICES)))
        self.assertRegex(self.refused("check", ROOT, lacking, map_of(SHIPPED[0])), r"does not name zlib [\d.]+\n")

    def test_an_archive_of_a_package_without_a_row_is_refused(self):
        # Of the compiler for this machine, which no library for Windows takes anything from.
        archive = subprocess.run(["gcc", "-print-libgcc-file-name"], check=True, capture_output=True,
                                 text=True).stdout.strip()
        link_map = self.path("link.map", f"{archive}(_muldi3.o)\n")
        self.assertRegex(self.refused("notices", ROOT, self.path("never.txt"), link_map),
                         r"the package libgcc-\S+ is linked and has no row")
        self.assertFalse(os.path.exists(self.path("never.txt")))

    def test_an_archive_of_no_package_is_refused(self):
        link_map = self.path("link.map", f"{self.path('unknown.a')}(member.o)\n")
        self.assertIn("unknown.a", self.refused("notices", ROOT, self.path("never.txt"), link_map))

    def test_a_map_that_names_nothing_is_refused(self):
        self.assertIn("names no archive", self.refused("notices", ROOT, self.path("n.txt"), self.path("m", "none\n")))

    def bill(self):
        result = self.path("bill.json")
        pairs = [f"{program}={map_of(program)}" for program in SHIPPED]
        self.assertEqual(run("bill", ROOT, result, VERSION, DATE, *pairs).stderr, "")
        return json.loads(read(result))

    def test_the_bill_has_what_spdx_requires(self):
        bill = self.bill()
        self.assertEqual((bill["spdxVersion"], bill["dataLicense"], bill["SPDXID"]),
                         ("SPDX-2.3", "CC0-1.0", "SPDXRef-DOCUMENT"))
        self.assertTrue(bill["name"])
        self.assertRegex(bill["documentNamespace"], r"^[a-z][a-z0-9+.-]*:[^#\s]+$")
        self.assertEqual(bill["creationInfo"]["created"], DATE)
        for creator in bill["creationInfo"]["creators"]:
            self.assertRegex(creator, r"^(Tool|Organization|Person): .")
        for package in bill["packages"]:
            with self.subTest(package["name"]):
                self.assertTrue(package["downloadLocation"] and package["versionInfo"])
                self.assertTrue(package["filesAnalyzed"] and package["hasFiles"])
                for field in ("licenseConcluded", "licenseDeclared", "copyrightText"):
                    self.assertTrue(package[field])
        for file in bill["files"]:
            with self.subTest(file["fileName"]):
                self.assertTrue(file["fileName"].startswith("./"))
                self.assertEqual([checksum["algorithm"] for checksum in file["checksums"]], ["SHA1", "SHA256"])
        own = {info["licenseId"] for info in bill["hasExtractedLicensingInfos"] if info["extractedText"]}
        used = set(re.findall(r"LicenseRef-[\w.-]+", " ".join(package["licenseConcluded"]
                                                               for package in bill["packages"])))
        self.assertEqual(used, own)

    def test_the_bill_s_identifiers_are_unique_and_lead_somewhere(self):
        bill = self.bill()
        identifiers = [bill["SPDXID"], *(part["SPDXID"] for part in [*bill["packages"], *bill["files"]])]
        self.assertEqual(len(set(identifiers)), len(identifiers))
        for identifier in identifiers:
            self.assertRegex(identifier, r"^SPDXRef-[A-Za-z0-9.-]+$")
        ends = {relation[end] for relation in bill["relationships"] for end in ("spdxElementId", "relatedSpdxElement")}
        held = {file for package in bill["packages"] for file in package["hasFiles"]}
        self.assertLessEqual(ends | held, set(identifiers))
        self.assertIn({"spdxElementId": "SPDXRef-DOCUMENT", "relationshipType": "DESCRIBES",
                       "relatedSpdxElement": "SPDXRef-Product"}, bill["relationships"])

    def test_the_bill_holds_the_hashes_of_what_ships_and_of_what_is_linked(self):
        bill = self.bill()
        found = {os.path.basename(file["fileName"]): {checksum["algorithm"]: checksum["checksumValue"]
                                                      for checksum in file["checksums"]} for file in bill["files"]}
        for path in [*SHIPPED, os.path.join(PROGRAMS, "libminizip.a")]:
            with self.subTest(path):
                self.assertEqual(found[os.path.basename(path)], sums(path))
        for archive in ("libz.a", "libstdc++.a", "libgcc.a", "libmingw32.a", "dllcrt2.o"):
            self.assertIn(archive, found)

    def test_the_code_of_a_package_is_that_of_its_files(self):
        bill = self.bill()
        sha1 = {file["SPDXID"]: file["checksums"][0]["checksumValue"] for file in bill["files"]}
        for package in bill["packages"]:
            expected = hashlib.sha1("".join(sorted(sha1[file] for file in package["hasFiles"])).encode()).hexdigest()
            self.assertEqual(package["packageVerificationCode"]["packageVerificationCodeValue"], expected)

    def test_the_library_is_linked_with_every_component(self):
        bill = self.bill()
        library = next(file["SPDXID"] for file in bill["files"] if file["fileName"].endswith("/VeskardShellExt.dll"))
        linked = {relation["relatedSpdxElement"] for relation in bill["relationships"]
                  if relation["relationshipType"] == "STATIC_LINK" and relation["spdxElementId"] == library}
        self.assertEqual({package["name"] for package in bill["packages"] if package["SPDXID"] in linked},
                         {"zlib", "minizip", "GCC run-time libraries", "MinGW-w64"})


if __name__ == "__main__":
    unittest.main()
