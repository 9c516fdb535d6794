#!/usr/bin/env python3
"""ImageMagick reads our BMP files, and writes files for us to read. QVIMAGE_LIBRARY names the shared library."""
import ctypes as c
import os
import subprocess
import sys

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import qvimage_ctypes as qv
from judge import check, finish, path, rng


def as_rgb(name):
    """What ImageMagick makes of a file: (height, width, 3) of 8 bits."""
    done = subprocess.run(["convert", name, "-depth", "8", "ppm:-"], capture_output=True)
    if done.returncode != 0:
        return done.stderr.decode()
    width, height = map(int, done.stdout.split(None, 3)[1:3])
    return np.frombuffer(done.stdout[-width * height * 3:], np.uint8).reshape(height, width, 3)


def write(name, array, bits, hint, palette=None, rgb=0, allow32=0):
    record = qv.memory(array, bits, hint)
    lut = c.byref(qv.memory(palette, 0, 67)) if palette is not None else None
    return qv.lib.qvimage_bmpwrite(None, c.byref(record), lut, os.fsencode(name), None, c.c_int64(0), None, rgb,
                                   1 if palette is not None else 0, allow32)


def read(name):
    """Colours in the order red, green, blue; greys as they are."""
    record, handle = qv.Record(), c.c_void_p()
    code = qv.lib.qvimage_bmpread(c.byref(record), None, c.byref(handle), os.fsencode(name), None, c.c_int64(0), 1, 0, 0)
    if code != 0:
        return f"{code}: {qv.reason()}"
    pixels = qv.pixels_of(record)
    qv.lib.qvimage_bmpreaddone(c.byref(record), None, c.byref(handle))
    return pixels


def equal(found, expected):
    return isinstance(found, np.ndarray) and np.array_equal(found, expected)


for width in (1, 7, 33):
    size = (11, width)
    colours = rng.integers(0, 256, (*size, 3), dtype=np.uint8)
    check(f"24 bits, {width} wide", write(path("a.bmp"), colours, 8, 67, rgb=1) == 0, qv.reason())
    check(f"24 bits, {width} wide", equal(as_rgb(path("a.bmp")), colours))
    padded = np.dstack([colours, np.zeros(size, np.uint8)])
    check(f"32 bits, {width} wide", write(path("b.bmp"), padded, 8, 36, rgb=1, allow32=1) == 0, qv.reason())
    seen = read(path("b.bmp"))
    check(f"32 bits, {width} wide", equal(seen, padded) and equal(as_rgb(path("b.bmp")), colours))
    for bits in (1, 4, 8):
        indices = rng.integers(0, 1 << bits, (*size, 1), dtype=np.uint8)
        palette = rng.integers(0, 256, (1, 1 << bits, 3), dtype=np.uint8)
        what = f"{bits} bits, {width} wide"
        check(what, write(path("c.bmp"), indices, bits, 17, palette) == 0, qv.reason())
        check(what, equal(as_rgb(path("c.bmp")), palette[0][indices[:, :, 0]]))
        check(what, equal(read(path("c.bmp")), palette[0][indices[:, :, 0]]))

for kind in (["-type", "TrueColor"], ["-colors", "100", "-type", "Palette"], ["-colors", "9", "-type", "Palette"],
             ["-threshold", "50%", "-type", "Bilevel"], ["-type", "Grayscale"]):
    done = subprocess.run(["convert", "-size", "61x37", "plasma:", "-depth", "8", *kind, "-compress", "none", "BMP3:" + path("t.bmp")],
                          capture_output=True)
    found, expected = read(path("t.bmp")), as_rgb(path("t.bmp"))
    if isinstance(found, np.ndarray) and found.shape[2] == 1:
        found = np.repeat(found, 3, axis=2)
    check(f"theirs {kind}", done.returncode == 0 and equal(found, expected), found if isinstance(found, str) else "")
finish()
