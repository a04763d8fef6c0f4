"""A copy of a package for ARM64 that Wine's installer for ARM64 can install:
adapt_to_arm64_wine.py PACKAGE COPY"""

import shutil
import subprocess
import sys

PACKAGE, COPY = sys.argv[1:3]
# What Windows sets on each machine of 64 bits, and Wine's installer on those for x64 only.
MISSING_PROPERTIES = {"VersionNT64": "1000", "System64Folder": "C:\\windows\\system32\\",
                      "ProgramFiles64Folder": "C:\\Program Files\\"}


def change(statement):
    subprocess.run(["msibuild", COPY, "-q", statement], check=True)


shutil.copy(PACKAGE, COPY)
for name, value in MISSING_PROPERTIES.items():
    change(f"INSERT INTO `Property` (`Property`, `Value`) VALUES ('{name}', '{value}')")
# This Wine has no 32-bit half, and its installer takes the 64-bit one for it.
change("DELETE FROM `AppSearch` WHERE `Property` = 'HALF_OF_32_BITS'")
