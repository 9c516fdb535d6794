#!/usr/bin/env python3
"""netpbm and ImageMagick read our anymap files, and write files for us to read.

QVIMAGE_LIBRARY names the shared library. Prints its random seed."""
import os
import sys

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import ours as qv
from judge import check, finish, output_of as run, path, rng


def numbers(plain):
    """Kind and samples of a file in text."""
    words = plain.decode().split()
    first = 3 if words[0] == "P1" else 4
    digits = "".join(words[first:]) if words[0] == "P1" else words[first:]
    return words[0], np.array([int(w) for w in digits])


for bits in (1, 2, 4, 8, 9, 12, 16):
    for pixies in (1, 3):
        for width, height in ((37, 11), (8, 3), (1, 1), (1000, 2)):
            what = f"{bits} bits, {pixies} samples, {width} x {height}"
            dtype = np.uint8 if bits <= 8 else np.uint16
            source = rng.integers(0, 1 << bits, (height, width, pixies), dtype)
            packed = bits == 1 and pixies == 1

            check("ours: " + what, not qv.save(path("o.pnm"), source, bits, 67 if pixies == 3 else 1, description="peer test"))
            kind, values = numbers(run("pnmtoplainpnm", path("o.pnm")))
            black = 1 - source if packed else source  # in such files 1 is black
            check(f"ours: {what}: netpbm", kind == ("P1" if packed else "P3" if pixies == 3 else "P2") and
                  np.array_equal(values, black.ravel()))
            form, depth = ("gray" if pixies == 1 else "rgb"), 8 if bits <= 8 else 16
            magick = np.frombuffer(run("convert", path("o.pnm"), "-depth", str(depth), "-endian", "LSB", form + ":-"), "<u%d" % (depth // 8))
            top, full = (1 << bits) - 1, (1 << depth) - 1
            check(f"ours: {what}: ImageMagick", np.array_equal(magick, (source.astype(np.uint64) * full * 2 + top).ravel() // (2 * top)))

            text = f"P{1 if packed else 3 if pixies == 3 else 2}\n# a comment\n{width} {height}\n" + ("" if packed else f"{top}\n")
            text += "\n".join(map(str, black.ravel())) + "\n"
            frame = run("pamtopnm", given=text.encode())
            for frames in (1, 3):
                with open(path("t.pnm"), "wb") as file:
                    raster = height * ((width + 7) // 8 if packed else width * pixies * (depth // 8))
                    file.write(frame + frame[-raster:] * (frames - 1))
                found = qv.qv.open(path("t.pnm")).volume
                check(f"theirs: {what}, {frames} frames", found.bits == bits and
                      np.array_equal(qv.with_components(found), np.stack([source] * frames)), found)

blue = rng.integers(0, 256, (5, 7, 3), np.uint8)
check("ours: blue first", not qv.save(path("b.ppm"), blue, 8, 3))
check("ours: blue first: netpbm", np.array_equal(numbers(run("pnmtoplainpnm", path("b.ppm")))[1], blue[:, :, ::-1].ravel()))
for frames in range(1, 4):
    check(f"ours: append to {frames}", not qv.save(path("b.ppm"), blue, 8, 3, append=True))
described = run("pamfile", path("b.ppm"))
check("ours: the first frame of four", b"PPM raw, 7 by 5  maxval 255" in described, described)
check("ours: four frames", qv.qv.open(path("b.ppm")).volume.shape == (4, 5, 7, 3))

finish()
