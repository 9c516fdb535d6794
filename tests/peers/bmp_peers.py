#!/usr/bin/env python3
"""ImageMagick reads our BMP files, and writes files for us to read. QVIMAGE_LIBRARY names the shared library."""
import os
import subprocess
import sys

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import ours as qv
from judge import check, finish, path, rng


def as_rgb(name):
    """What ImageMagick makes of a file: (height, width, 3) of 8 bits."""
    done = subprocess.run(["convert", name, "-depth", "8", "ppm:-"], capture_output=True)
    if done.returncode != 0:
        return done.stderr.decode()
    width, height = map(int, done.stdout.split(None, 3)[1:3])
    return np.frombuffer(done.stdout[-width * height * 3:], np.uint8).reshape(height, width, 3)


def equal(found, expected):
    return isinstance(found, np.ndarray) and np.array_equal(found, expected)


for width in (1, 7, 33):
    size = (11, width)
    colours = rng.integers(0, 256, (*size, 3), dtype=np.uint8)
    check(f"24 bits, {width} wide", not qv.save(path("a.bmp"), colours, 8, 67))
    check(f"24 bits, {width} wide", equal(as_rgb(path("a.bmp")), colours))
    padded = np.dstack([colours, np.zeros(size, np.uint8)])
    check(f"32 bits, {width} wide", not qv.save(path("b.bmp"), padded, 8, 36))
    seen = qv.read(path("b.bmp")).pixels[:, :, [2, 1, 0, 3]]
    check(f"32 bits, {width} wide", equal(seen, padded) and equal(as_rgb(path("b.bmp")), colours))
    for bits in (1, 4, 8):
        indices = rng.integers(0, 1 << bits, (*size, 1), dtype=np.uint8)
        palette = rng.integers(0, 256, (1, 1 << bits, 3), dtype=np.uint8)
        what = f"{bits} bits, {width} wide"
        check(what, not qv.save(path("c.bmp"), indices, bits, 17, palette))
        check(what, equal(as_rgb(path("c.bmp")), palette[0][indices[:, :, 0]]))
        check(what, equal(qv.read(path("c.bmp"), "rgb").pixels, palette[0][indices[:, :, 0]]))

for kind in (["-type", "TrueColor"], ["-colors", "100", "-type", "Palette"], ["-colors", "9", "-type", "Palette"],
             ["-threshold", "50%", "-type", "Bilevel"], ["-type", "Grayscale"]):
    done = subprocess.run(["convert", "-size", "61x37", "plasma:", "-depth", "8", *kind, "-compress", "none", "BMP3:" + path("t.bmp")],
                          capture_output=True)
    found, expected = qv.read(path("t.bmp"), "rgb"), as_rgb(path("t.bmp"))
    pixels = found.pixels if found.code or found.pixels.shape[2] > 1 else np.repeat(found.pixels, 3, axis=2)
    check(f"theirs {kind}", done.returncode == 0 and equal(pixels, expected), found.reason)
finish()
