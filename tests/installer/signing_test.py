"""Tests of scripts/package.sh and scripts/sign.sh with certificates that exist
for the test only: signing_test.py SCRIPTS_FOLDER PROGRAMS_FOLDER"""

import http.server
import os
import subprocess
import sys
import tempfile
import threading
import unittest

from package_tools import make_certificate, must, read, run, write

SCRIPTS, PROGRAMS = sys.argv[1:3]
del sys.argv[1:3]

# What the installation package holds, by the names in it.
INSIDE = {
    "Library": "VeskardShellExt.dll",
    "Library32": "installer/x86/VeskardShellExt.dll",
    "Probe": "shellprobe.exe",
    "Command": "VeskardExplorerCommand.dll",
    "Identity": "VeskardExplorerCommand.msix",
    "Notices": "THIRD-PARTY-NOTICES.txt",
}
SIGNED = [name for name in INSIDE if name != "Notices"]

TIMESTAMP_SETTINGS = """
[tsa]
default_tsa = service
[service]
serial = {folder}/serial
signer_digest = sha256
default_policy = 1.2.3.4.1
digests = sha256
"""


class SigningTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.certificates = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.certificates.cleanup)
        cls.certificate, cls.key = make_certificate(cls.certificates.name, "ours")
        cls.pem = {"VESKARD_SIGN_CERTIFICATE": cls.certificate, "VESKARD_SIGN_KEY": cls.key}

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def library(self):
        return write(os.path.join(self.folder, "VeskardShellExt.dll"), read(self.built("VeskardShellExt.dll")))

    @staticmethod
    def built(name):
        return os.path.join(PROGRAMS, name)

    def sign(self, *files, **environment):
        return run(os.path.join(SCRIPTS, "sign.sh"), *files, **environment)

    def package(self, **environment):
        """The path of a fresh package and those of the programs in it."""
        result = run(os.path.join(SCRIPTS, "package.sh"), "--from", PROGRAMS, "--to", self.folder, **environment)
        self.assert_success(result)
        package, = [os.path.join(self.folder, name) for name in os.listdir(self.folder) if name.endswith(".msi")]
        cabinet = os.path.join(self.folder, "files.cab")
        with open(cabinet, "wb") as file:
            subprocess.run(["msiinfo", "extract", package, "files.cab"], stdout=file, check=True)
        must("gcab", "--extract", "--directory=" + self.folder, cabinet)
        return package, *(os.path.join(self.folder, name) for name in INSIDE)

    def verify(self, file, certificate, *more):
        return run("osslsigncode", "verify", "-CAfile", certificate, *more, "-in", file)

    def assert_success(self, result):
        """On failure the report shows all that the program had to say."""
        self.assertEqual(result.returncode, 0, f"{result.args}:\n{result.stdout}{result.stderr}")

    def must_sign(self, *files, **environment):
        self.assert_success(self.sign(*files, **environment))

    def assert_signed(self, file):
        self.assert_success(self.verify(file, self.certificate))

    def assert_unsigned(self, file):
        self.assertNotEqual(self.verify(file, self.certificate).returncode, 0, file)

    def test_a_package_is_unsigned_by_default(self):
        package, *inside = self.package()
        self.assert_unsigned(package)
        for path, built in zip(inside, INSIDE.values()):
            self.assertEqual(read(path), read(self.built(built)), built)

    def test_a_package_is_signed_inside_and_outside(self):
        package, *inside = self.package(**self.pem)
        for file in [package, *(os.path.join(self.folder, name) for name in SIGNED)]:
            self.assert_signed(file)
        self.assertEqual(len(inside), len(SIGNED) + 1)

    # Handed out by itself too, for those who register it by other means.
    def test_the_identity_package_beside_it_is_the_one_inside(self):
        self.package(**self.pem)
        inside = os.path.join(self.folder, "Identity")
        beside, = [name for name in os.listdir(self.folder) if name.endswith(".msix")]
        self.assertRegex(beside, r"^VeskardExplorerCommand-[0-9.]+\.msix$")
        self.assertEqual(read(os.path.join(self.folder, beside)), read(inside))
        self.assert_signed(inside)

    def test_the_package_s_own_steps_are_signed(self):
        package, *_ = self.package(**self.pem)
        steps = os.path.join(self.folder, "steps.dll")
        with open(steps, "wb") as file:
            subprocess.run(["msiinfo", "extract", package, "Binary.Steps"], stdout=file, check=True)
        self.assert_signed(steps)

    def test_what_was_built_stays_unsigned(self):
        before = read(self.built("VeskardShellExt.dll"))
        self.package(**self.pem)
        self.assertEqual(read(self.built("VeskardShellExt.dll")), before)

    def test_another_certificate_does_not_vouch_for_it(self):
        other, _ = make_certificate(self.certificates.name, "other")
        library = self.library()
        self.must_sign(library, **self.pem)
        self.assertNotEqual(self.verify(library, other).returncode, 0)

    def test_a_changed_byte_breaks_the_signature(self):
        library = self.library()
        self.must_sign(library, **self.pem)
        contents = bytearray(read(library))
        contents[0x1000] ^= 1
        self.assert_unsigned(write(library, bytes(contents)))

    def test_signing_again_replaces_the_signature(self):
        library = self.library()
        self.must_sign(library, **self.pem)
        once = len(read(library))
        self.must_sign(library, **self.pem)
        self.assertEqual(len(read(library)), once)
        self.assert_signed(library)

    def test_certificate_and_key_in_one_file_with_a_password(self):
        both = os.path.join(self.folder, "both.p12")
        password = write(os.path.join(self.folder, "password"), b"open sesame")
        must("openssl", "pkcs12", "-export", "-in", self.certificate, "-inkey", self.key, "-out", both,
             "-passout", "file:" + password)
        library = self.library()
        self.must_sign(library, VESKARD_SIGN_CERTIFICATE=both, VESKARD_SIGN_PASSWORD_FILE=password)
        self.assert_signed(library)

    def test_a_wrong_password_leaves_the_file_as_it_was(self):
        both = os.path.join(self.folder, "both.p12")
        must("openssl", "pkcs12", "-export", "-in", self.certificate, "-inkey", self.key, "-out", both,
             "-passout", "pass:open sesame")
        library = self.library()
        before = read(library)
        wrong = write(os.path.join(self.folder, "password"), b"guess")
        result = self.sign(library, VESKARD_SIGN_CERTIFICATE=both, VESKARD_SIGN_PASSWORD_FILE=wrong)
        self.assertEqual(result.returncode, 1)
        self.assertIn("could not be signed", result.stderr)
        self.assertEqual(read(library), before)
        self.assertNotIn("VeskardShellExt.dll.part", os.listdir(self.folder))

    def test_says_what_is_missing(self):
        library = self.library()
        missing = os.path.join(self.folder, "missing.dll")
        for message, file, environment in [
                ("VESKARD_SIGN_CERTIFICATE names no certificate", library, {}),
                ("VESKARD_SIGN_KEY names no private key", library, {"VESKARD_SIGN_CERTIFICATE": self.certificate}),
                (missing + " does not exist", missing, self.pem)]:
            result = self.sign(file, **environment)
            self.assertEqual(result.returncode, 1)
            self.assertIn(message, result.stderr)
        self.assertEqual(read(library), read(self.built("VeskardShellExt.dll")))

    def test_a_timestamp_when_there_is_a_service(self):
        authority, key = make_certificate(self.certificates.name, "time", purpose="timeStamping")
        settings = write(os.path.join(self.folder, "tsa.cnf"),
                         TIMESTAMP_SETTINGS.format(folder=self.folder).encode())
        write(os.path.join(self.folder, "serial"), b"01\n")
        folder = self.folder

        class Service(http.server.BaseHTTPRequestHandler):
            def do_POST(self):
                query = write(os.path.join(folder, "query"), self.rfile.read(int(self.headers["Content-Length"])))
                reply = os.path.join(folder, "reply")
                must("openssl", "ts", "-reply", "-config", settings, "-queryfile", query, "-signer", authority,
                     "-inkey", key, "-out", reply)
                self.send_response(200)
                self.send_header("Content-Type", "application/timestamp-reply")
                self.end_headers()
                self.wfile.write(read(reply))

            def log_message(self, *_):
                pass

        server = http.server.HTTPServer(("127.0.0.1", 0), Service)
        self.addCleanup(server.server_close)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.shutdown)
        library = self.library()
        address = f"http://127.0.0.1:{server.server_port}"
        self.must_sign(library, **self.pem, VESKARD_SIGN_TIMESTAMP=address)
        result = self.verify(library, self.certificate, "-TSA-CAfile", authority)
        self.assert_success(result)
        self.assertIn("/CN=time", result.stdout)


if __name__ == "__main__":
    unittest.main()
