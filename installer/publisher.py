#!/usr/bin/env python3
"""Checks that an identity package is made for the certificate that
VESKARD_SIGN_CERTIFICATE names (see scripts/sign.sh): publisher.py PACKAGE.msix

Its Publisher must equal the certificate's subject as Windows writes it, letter by letter:
the order of RFC 2253, the last field of the certificate first, ", " between the fields,
and Windows' own names for their types. Needs openssl.

Exit codes: 0 it is; 1 it is not, or failed; 2 wrong command line.
"""

import os
import re
import subprocess
import sys
import xml.etree.ElementTree as xml
import zipfile

# Everything else stands there by its number.
FIELD_NAMES = {
    "2.5.4.3": "CN", "2.5.4.4": "SN", "2.5.4.5": "SERIALNUMBER", "2.5.4.6": "C", "2.5.4.7": "L", "2.5.4.8": "S",
    "2.5.4.9": "STREET", "2.5.4.10": "O", "2.5.4.11": "OU", "2.5.4.12": "T", "2.5.4.13": "Description",
    "2.5.4.17": "PostalCode", "2.5.4.18": "POBox", "2.5.4.20": "Phone", "2.5.4.24": "X21Address",
    "2.5.4.42": "G", "2.5.4.43": "I", "2.5.4.46": "dnQualifier", "0.9.2342.19200300.100.1.25": "DC",
    "1.2.840.113549.1.9.1": "E",
}


class CertificateError(Exception):
    pass


def openssl(*arguments, text=None):
    result = subprocess.run(["openssl", *arguments], input=text, capture_output=True, text=True, encoding="utf-8")
    if result.returncode != 0:
        raise CertificateError(f"openssl {arguments[0]} failed: {result.stderr.strip()}")
    return result.stdout


def field(line):
    number, value = line.strip().split("=", 1)
    if re.search(r" \+ [0-9.]+=", value):
        raise CertificateError(f"a subject with several values in one field: {value}")
    if re.search(r'[,+="<>#;\n]|^ | $', value):
        value = '"' + value.replace('"', '""') + '"'
    return f"{FIELD_NAMES.get(number, 'OID.' + number)}={value}"


def certificate_text(path, password_file):
    """The certificate as PEM text; the first one is the signer's, its chain follows."""
    if not path.endswith((".p12", ".pfx")):
        with open(path, encoding="utf-8") as file:
            return file.read()
    password = ["-passin", "file:" + password_file if password_file else "pass:"]
    return openssl("pkcs12", "-in", path, "-clcerts", "-nokeys", *password)


def signing_publisher(default=None):
    """The Publisher for the certificate that the environment names, the default without one."""
    certificate = os.environ.get("VESKARD_SIGN_CERTIFICATE")
    if not certificate:
        return default
    text = certificate_text(certificate, os.environ.get("VESKARD_SIGN_PASSWORD_FILE"))
    subject = openssl("x509", "-noout", "-subject", "-nameopt", "sep_multiline,oid,utf8", text=text)
    return ", ".join(field(line) for line in reversed(subject.splitlines()[1:]))


def package_publisher(path):
    manifest = xml.fromstring(zipfile.ZipFile(path).read("AppxManifest.xml"))
    return manifest.find("{*}Identity").get("Publisher")


def check(package):
    wanted, found = signing_publisher(), package_publisher(package)
    if found != wanted:
        raise CertificateError(f"{package} is made for {found}, the certificate is that of {wanted}")


if __name__ == "__main__":
    if sys.argv[1:2] in (["-h"], ["--help"]):
        print(__doc__)
        sys.exit(0)
    if len(sys.argv) != 2:
        print("publisher.py: expected arguments: PACKAGE.msix (see publisher.py --help)", file=sys.stderr)
        sys.exit(2)
    try:
        check(sys.argv[1])
    except (OSError, KeyError, CertificateError, xml.ParseError, zipfile.BadZipFile) as error:
        sys.exit(f"publisher.py: {error}")
