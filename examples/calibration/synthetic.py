#!/usr/bin/env python3
"""Prints a calibration table for the node type Equalize: python3 synthetic.py > synthetic.cln

The tracker is an imagined one, whose field is bent. Put the measurements of a real one in the place of `report`."""
import itertools
import math

POINTS = [-1.0, -0.6, -0.2, 0.2, 0.6, 1.0]  # metres, each way: 216 points


def report(x, y, z):
    """Where the tracker sees a sensor that is at (x, y, z) and not turned, and the quaternion that it reports."""
    position = (x + 0.05 * y * z + 0.03 * x * x, y - 0.04 * x * z, z + 0.025 * (x * x + y * y))
    half = (0.2 * x + 0.1 * y) / 2  # about the axis (0.6, 0, 0.8)
    turn = (0.6 * math.sin(half), 0.0, 0.8 * math.sin(half), math.cos(half))
    return position, turn


def record(*truth):
    position, turn = report(*truth)
    print(*(f"{number:.6f}" for number in (*truth, *position, *turn)))


print("# true position x y z, reported position x y z, reported orientation x y z w of a sensor that is not turned")
for point in itertools.product(POINTS, repeat=3):
    record(*point)
print("# the record at the end of a table only ends it")
record(0, 0, 0)
