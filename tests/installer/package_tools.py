"""What the tests of packages and signatures share: files, commands and certificates."""

import os
import subprocess


def read(path):
    with open(path, "rb") as file:
        return file.read()


def write(path, contents):
    with open(path, "wb") as file:
        file.write(contents)
    return path


def run(*command, **environment):
    """Runs a command without the machine's own settings for signing."""
    clean = {name: value for name, value in os.environ.items() if not name.startswith("VESKARD_SIGN_")}
    return subprocess.run(command, capture_output=True, text=True, env={**clean, **environment})


def must(*command, **environment):
    """The output of a command; the test fails when the command does."""
    result = run(*command, **environment)
    if result.returncode != 0:
        raise AssertionError(f"{command}:\n{result.stdout}{result.stderr}")
    return result.stdout


def make_certificate(folder, name, subject=None, purpose="codeSigning"):
    """The paths of a self-signed certificate and its key, both PEM; the subject is /CN=NAME unless given."""
    certificate, key = (os.path.join(folder, name + ending) for ending in (".pem", ".key"))
    must("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-utf8", "-keyout", key, "-out", certificate,
         "-days", "2", "-subj", subject or f"/CN={name}", "-addext", f"extendedKeyUsage=critical,{purpose}",
         "-addext", "keyUsage=critical,digitalSignature")
    return certificate, key
