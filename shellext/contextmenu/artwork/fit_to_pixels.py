#!/usr/bin/env python3
"""Prints an icon's drawing with its straight edges moved onto pixels.

    fit_to_pixels.py SOURCE.svg SIZE

The sources are drawn on a grid of 16 by 16 units. At most sizes a unit is not a
whole number of pixels, so straight edges would blur over two pixels. The edges of
rectangles and the corners of polygons are therefore moved to the nearest pixel
boundary, in the same way left and right of the middle, so that symmetrical drawings
stay symmetrical. No rectangle gets thinner than one pixel. Curves do not change.

Exit codes: 0 done; 1 failed; 2 wrong command line.
"""

import math
import sys
import xml.etree.ElementTree as ElementTree

SVG = "{http://www.w3.org/2000/svg}"
UNITS = 16
MIDDLE = UNITS / 2


def snap(units, size):
    """The pixel boundary nearest to a coordinate; both are in units."""
    from_middle = (units - MIDDLE) * size / UNITS
    if size % 2 == 0:
        pixels = math.floor(abs(from_middle) + 0.5)
    else:  # the middle lies inside a pixel: boundaries are half a pixel off it
        pixels = math.floor(abs(from_middle)) + 0.5
    return MIDDLE + math.copysign(pixels, from_middle) * UNITS / size


def snap_side(element, start, length, size):
    first = float(element.get(start))
    last = first + float(element.get(length))
    low, high = snap(first, size), snap(last, size)
    if high - low < UNITS / size / 2:
        low = high - UNITS / size
    element.set(start, repr(low))
    element.set(length, repr(high - low))


def snap_points(points, size):
    pairs = (pair.split(",") for pair in points.split())
    return " ".join(f"{snap(float(x), size)!r},{snap(float(y), size)!r}" for x, y in pairs)


def main(source, size):
    ElementTree.register_namespace("", SVG.strip("{}"))
    tree = ElementTree.parse(source)
    for rectangle in tree.iter(SVG + "rect"):
        snap_side(rectangle, "x", "width", size)
        snap_side(rectangle, "y", "height", size)
    for polygon in tree.iter(SVG + "polygon"):
        polygon.set("points", snap_points(polygon.get("points"), size))
    tree.write(sys.stdout, encoding="unicode")


def wrong_usage(problem):
    print(f"fit_to_pixels.py: {problem} (see fit_to_pixels.py --help)", file=sys.stderr)
    sys.exit(2)


if __name__ == "__main__":
    if sys.argv[1:2] in (["-h"], ["--help"]):
        print(__doc__)
        sys.exit(0)
    if len(sys.argv) != 3:
        wrong_usage("expected arguments: SOURCE.svg SIZE")
    if not sys.argv[2].isdecimal() or int(sys.argv[2]) == 0:
        wrong_usage(f'SIZE must be a number of pixels, not "{sys.argv[2]}"')
    main(sys.argv[1], int(sys.argv[2]))
