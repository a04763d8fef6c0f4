"""scripts/release.sh, with the programs that are built:
release_test.py ROOT VERSION x64 x86 [arm64]

Each release is made in a repository of its own: the tree's files as they are, committed, and
links to what is built."""

import hashlib
import json
import os
import re
import shutil
import subprocess
import sys
import tarfile
import tempfile
import unittest

ROOT, VERSION = os.path.abspath(sys.argv[1]), sys.argv[2]
ARCHITECTURES = sys.argv[3:]
del sys.argv[1:]
FLAVOURS = {"x64": "win64", "x86": "win32", "arm64": "arm64"}
WITHOUT = [] if "arm64" in ARCHITECTURES else ["--without-arm64"]
LIBRARIES = ["VeskardShellExt", "VeskardExplorerCommand"]
GIT = ["git", "-c", "user.name=tests", "-c", "user.email=tests@example.com", "-c", "init.defaultBranch=main"]
MOMENT = "2026-01-31T12:00:00Z"
UNSIGNED = {name: value for name, value in os.environ.items() if not name.startswith("VESKARD_SIGN_")}


def read(path, mode="r"):
    with open(path, mode, **({} if "b" in mode else {"encoding": "utf-8"})) as file:
        return file.read()


class Repository:
    def __init__(self, folder):
        self.folder = folder
        subprocess.run(["sh", "-c", 'tar -C "$0" -c --exclude=./build --exclude=./.git . | tar -C "$1" -x', ROOT, folder],
                       check=True)
        build = os.path.join(folder, "build")
        os.mkdir(build)
        for name in [*(FLAVOURS[architecture] for architecture in ARCHITECTURES), "deps"]:
            os.symlink(os.path.join(ROOT, "build", name), os.path.join(build, name))
        self.git("init", "--quiet")
        self.commit()

    def git(self, *words):
        dates = {"GIT_AUTHOR_DATE": MOMENT, "GIT_COMMITTER_DATE": MOMENT}
        subprocess.run([*GIT, "-C", self.folder, *words], check=True, capture_output=True, env={**os.environ, **dates})

    def commit(self):
        self.git("add", "--all")
        self.git("commit", "--quiet", "--message=State")

    def path(self, name):
        return os.path.join(self.folder, name)

    def replace(self, name, old, new):
        text = read(self.path(name))
        assert old in text
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text.replace(old, new))

    def release(self, *words, **environment):
        return self.run_script("--built", "--skip-tests", *WITHOUT, *words, **environment)

    def run_script(self, *words, **environment):
        return subprocess.run([self.path("scripts/release.sh"), *words], cwd="/", capture_output=True, text=True,
                              timeout=300, env={**UNSIGNED, **environment})

    def released(self):
        folder = self.path("build/release")
        return {name: read(os.path.join(folder, name), "rb") for name in sorted(os.listdir(folder))}


class ReleaseTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        """One release, which most tests look at."""
        cls.made = cls.repository()
        result = cls.made.release(VERSION)
        if (result.returncode, result.stderr) != (0, ""):
            raise AssertionError(f"{result.returncode}: {result.stdout}{result.stderr}")
        cls.files = cls.made.released()

    @classmethod
    def repository(cls, name="tree"):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        place = os.path.join(folder.name, name)
        os.makedirs(place)
        return Repository(place)

    def refused(self, repository, *words):
        result = repository.release(*words)
        self.assertEqual(result.returncode, 1, result.stdout)
        self.assertFalse(os.path.exists(repository.path("build/release")))
        return result.stderr

    def test_a_release_has_everything_and_its_hashes(self):
        files = self.files
        expected = {f"VeskardShellExt-{VERSION}-x64-unsigned.msi", f"VeskardExplorerCommand-{VERSION}-unsigned.msix",
                    f"VeskardShellExt-{VERSION}-symbols.tar.gz", f"VeskardShellExt-{VERSION}.spdx.json",
                    "THIRD-PARTY-NOTICES.txt", "RELEASE-NOTES.md", "SHA256SUMS"}
        if "arm64" in ARCHITECTURES:
            expected |= {f"VeskardShellExt-{VERSION}-arm64-unsigned.msi", "THIRD-PARTY-NOTICES-arm64.txt"}
        self.assertEqual(set(files), expected)
        sums = dict(reversed(line.split("  ", 1)) for line in files["SHA256SUMS"].decode().splitlines())
        self.assertEqual(sums, {name: hashlib.sha256(data).hexdigest() for name, data in files.items()
                                if name != "SHA256SUMS"})

    def test_two_folders_give_the_same_bytes(self):
        other = self.repository("a/longer/path/to/another/tree")
        self.assertEqual(other.release().returncode, 0)
        self.assertEqual({name for name, data in other.released().items() if data != self.files.get(name)}, set())
        self.assertEqual(set(other.released()), set(self.files))

    def test_the_symbols_are_those_of_the_libraries(self):
        archive = self.made.path(f"build/release/VeskardShellExt-{VERSION}-symbols.tar.gz")
        with tarfile.open(archive) as symbols:
            files = {member.name.split("/", 1)[1]: symbols.extractfile(member).read()
                     for member in symbols if member.isfile()}
        for architecture in ARCHITECTURES:
            for name in LIBRARIES:
                for kind in (".dll", ".dll.debug", ".pdb"):
                    with self.subTest(architecture, name=name + kind):
                        self.assertEqual(files.pop(f"{architecture}/{name}{kind}"),
                                         read(os.path.join(ROOT, "build", FLAVOURS[architecture], name + kind), "rb"))
        self.assertEqual(files, {})

    def test_the_bill_is_of_this_commit_and_names_what_ships(self):
        bill = json.loads(self.files[f"VeskardShellExt-{VERSION}.spdx.json"])
        self.assertEqual(bill["creationInfo"]["created"], MOMENT)
        shipped = {file["fileName"] for file in bill["files"] if file["SPDXID"].startswith("SPDXRef-Shipped")}
        programs = ["shellprobe.exe", "InstallerSteps.dll"]
        self.assertEqual(shipped, {f"./{FLAVOURS[architecture]}/{name}" for architecture in ARCHITECTURES
                                   for name in [*(library + ".dll" for library in LIBRARIES),
                                                *(programs if architecture != "x86" else [])]})

    def test_a_signed_release_is_not_called_unsigned(self):
        repository = self.repository()
        certificate, key = (os.path.join(os.path.dirname(repository.folder), name) for name in ("one.pem", "one.key"))
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out", certificate,
                        "-subj", "/CN=Tests", "-addext", "extendedKeyUsage=codeSigning"], check=True, capture_output=True)
        result = repository.release(VESKARD_SIGN_CERTIFICATE=certificate, VESKARD_SIGN_KEY=key)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertIn(f"VeskardShellExt-{VERSION}-x64.msi", repository.released())
        self.assertEqual([name for name in repository.released() if "unsigned" in name], [])
        package = repository.path(f"build/release/VeskardShellExt-{VERSION}-x64.msi")
        verified = subprocess.run(["osslsigncode", "verify", "-CAfile", certificate, package], capture_output=True,
                                  text=True)
        self.assertEqual(verified.returncode, 0, verified.stdout)

    def test_the_notes_are_the_section_of_this_version(self):
        repository = self.repository()
        repository.replace("CHANGELOG.md", f"## [{VERSION}] - ", f"## [Unreleased]\n\n- Later.\n\n## [{VERSION}] - ")
        with open(repository.path("CHANGELOG.md"), "a", encoding="utf-8") as file:
            file.write("\n## [0.0.1] - 2026-01-01\n\n- Earlier.\n")
        repository.commit()
        self.assertEqual(repository.release().returncode, 0)
        notes = repository.released()["RELEASE-NOTES.md"].decode()
        section = re.search(rf"^## \[{re.escape(VERSION)}\].*?\n(.*?)^## ", read(repository.path("CHANGELOG.md")),
                            re.MULTILINE | re.DOTALL).group(1)
        self.assertIn(section.strip(), notes)
        self.assertNotIn("Later.", notes)
        self.assertNotIn("Earlier.", notes)

    def test_changes_that_are_not_committed_are_refused(self):
        repository = self.repository()
        with open(repository.path("new.txt"), "w", encoding="utf-8") as file:
            file.write("new\n")
        self.assertIn("not committed: ?? new.txt", self.refused(repository))

    def test_another_version_is_refused(self):
        self.assertIn(f"CMakeLists.txt has version {VERSION}, not 99.0.0", self.refused(self.repository(), "99.0.0"))

    def test_a_version_that_the_changelog_does_not_know_is_refused(self):
        repository = self.repository()
        repository.replace("CHANGELOG.md", f"## [{VERSION}] - ", "## [0.0.1] - ")
        repository.commit()
        self.assertIn(f"CHANGELOG.md has no section of {VERSION}", self.refused(repository))

    def test_an_architecture_that_is_not_built_is_refused(self):
        repository = self.repository()
        for flavour, words in (("arm64", []), ("win32", ["--without-arm64"])):
            if os.path.lexists(repository.path(f"build/{flavour}")):
                os.remove(repository.path(f"build/{flavour}"))
            result = repository.run_script("--built", "--skip-tests", *words)
            self.assertEqual(result.returncode, 1, result.stdout)
            self.assertIn(f"build/{flavour} is not built", result.stderr)
            self.assertFalse(os.path.exists(repository.path("build/release")))

    def test_a_library_that_fails_its_check_is_refused(self):
        repository = self.repository()
        flavour = repository.path("build/win32")
        os.remove(flavour)
        os.mkdir(flavour)
        for name in LIBRARIES:
            for kind in (".dll", ".dll.debug", ".pdb", ".map"):
                shutil.copy(os.path.join(ROOT, "build/win32", name + kind), flavour)
        path = os.path.join(flavour, "VeskardShellExt.dll")
        damaged = read(path, "rb").replace(b"RSDS", b"XXXX")
        with open(path, "wb") as file:
            file.write(damaged)
        self.assertIn("has no build identifier", self.refused(repository))


if __name__ == "__main__":
    unittest.main()
