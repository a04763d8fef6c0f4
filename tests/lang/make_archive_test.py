"""Tests of lang/make_archive.py: make_archive_test.py SCRIPT FOLDER BUILT_ZIP VERSION"""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile

SCRIPT, FOLDER, BUILT_ZIP, VERSION = sys.argv[1:5]
del sys.argv[1:5]

MEMBERS = ["version", "english.txt", "Chinese (China)!zhCN.txt", "Dutch!nl.txt", "French!fr.txt", "German!de.txt",
           "Italian!it.txt", "Japanese!ja.txt", "Korean!ko.txt", "Portuguese (Brazil)!ptBR.txt", "Russian!ru.txt",
           "Spanish (Traditional)!esES.txt"]


def read(path):
    with open(path, "rb") as file:
        return file.read()


class MakeArchiveTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def pack(self, texts, **environment):
        path = os.path.join(self.folder.name, "packed.zip")
        subprocess.run([sys.executable, SCRIPT, texts, VERSION, path], check=True,
                       env={**os.environ, **environment})
        return read(path)

    def test_members_in_their_order(self):
        with zipfile.ZipFile(BUILT_ZIP) as archive:
            self.assertEqual(archive.namelist(), MEMBERS)

    def test_members_are_the_files(self):
        with zipfile.ZipFile(BUILT_ZIP) as archive:
            self.assertEqual(archive.read("version"), (VERSION + "\n").encode())
            for name in MEMBERS[1:]:
                self.assertEqual(archive.read(name), read(os.path.join(FOLDER, name)), name)

    def test_same_files_give_the_same_bytes(self):
        copy = os.path.join(self.folder.name, "copy")
        shutil.copytree(FOLDER, copy, copy_function=shutil.copyfile)
        for name in os.listdir(copy):
            os.utime(os.path.join(copy, name), (1_000_000_000, 1_000_000_000))
            os.chmod(os.path.join(copy, name), 0o600)
        self.assertEqual(self.pack(copy, TZ="Asia/Tokyo", LC_ALL="C"), read(BUILT_ZIP))
        self.assertEqual(self.pack(FOLDER, TZ="America/Lima", PYTHONHASHSEED="7"), read(BUILT_ZIP))

    def test_changed_file_gives_other_bytes(self):
        copy = os.path.join(self.folder.name, "copy")
        shutil.copytree(FOLDER, copy)
        with open(os.path.join(copy, "German!de.txt"), "ab") as file:
            file.write(b"x\n")
        self.assertNotEqual(self.pack(copy), read(BUILT_ZIP))


if __name__ == "__main__":
    unittest.main()
