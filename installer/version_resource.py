"""The version that a program's file bears."""

import struct

FIXED_FILE_INFO = struct.pack("<II", 0xFEEF04BD, 0x00010000)


def file_version(contents):
    """The four numbers of a program's version resource, or None without one."""
    start = contents.find(FIXED_FILE_INFO)
    if start < 0:
        return None
    high, low = struct.unpack_from("<II", contents, start + len(FIXED_FILE_INFO))
    return high >> 16, high & 0xFFFF, low >> 16, low & 0xFFFF
