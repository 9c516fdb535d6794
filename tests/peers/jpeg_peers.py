#!/usr/bin/env python3
"""Other people's programs judge our JPEG files, and write files for us to read.

Needs djpeg and cjpeg of libjpeg-turbo, ImageMagick, and the Python module numpy. QVIMAGE_LIBRARY names the shared
library. Prints its random seed."""
import itertools
import os
import sys

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import ours as qv
from judge import check, finish, path, rng, run_bytes as run


def picture(height, width, components):
    """Smooth structure with noise and an edge."""
    y, x, c = np.mgrid[0:height, 0:width, 0:components]
    wave = (np.sin(x / 9 + c) + np.cos(y / 5) + 2) / 4 * 200 + 60 * (x > width // 2)
    return np.clip(wave + rng.normal(0, 4, wave.shape), 0, 255).astype(np.uint8)


def write_pnm(name, pixels):
    height, width, components = pixels.shape
    with open(name, "wb") as file:
        file.write(b"P%d %d %d 255\n" % (6 if components == 3 else 5, width, height) + pixels.tobytes())


def read_pnm(data):
    magic, width, height = data.split(None, 3)[:3]
    components = 3 if magic == b"P6" else 1
    width, height = int(width), int(height)
    return np.frombuffer(data[-width * height * components:], np.uint8).reshape(height, width, components)


def djpeg(name):
    return read_pnm(run("djpeg", "-dct", "float", "-pnm", name).stdout)


def psnr(a, b):
    return 10 * np.log10(255**2 / max(np.mean((a.astype(float) - b) ** 2), 1e-9))


def segments(name, which):
    """The data of all segments of a kind."""
    data, at, found = open(name, "rb").read(), 2, []
    while data[at + 1] != 0xDA:
        length = int.from_bytes(data[at + 2:at + 4], "big")
        if data[at + 1] == which:
            found.append(data[at + 4:at + 2 + length])
        at += 2 + length
    return found


def same_pixels(a, b):
    """Ours are cut to whole numbers, those of others rounded, and limited before their colours are computed, too: that
    shows where coarse tables make samples overshoot."""
    if isinstance(a, int) or a.shape != b.shape:
        return False
    difference = np.abs(a.astype(int) - b)
    return np.mean(difference > 3) < 0.05 and (difference.mean() < 0.9 or a.size < 1000)


def save(name, array, quality, mode=0):
    return qv.save(name, array, 8, 67 if array.shape[2] > 1 else 1, quality=quality, fields={"jpg_encodemode": mode})


# --- ours, read by others, beside theirs of the same picture -----------------------------------------------------

sizes = [(512, 768), (57, 83), (1, 1), (9, 200), (200, 7)]
for (height, width), components, quality in itertools.product(sizes, (1, 3), (5, 50, 75, 90, 100)):
    what = f"ours: {width} x {height}, {components} components, quality {quality}"
    source = picture(height, width, components)
    check(what, not save(path("o.jpg"), source, quality))
    theirs = run("djpeg", "-dct", "float", "-pnm", path("o.jpg"))
    check(what + ": djpeg is content", theirs.returncode == 0 and not theirs.stderr, theirs.stderr)
    decoded = read_pnm(theirs.stdout)
    found = qv.read(path("o.jpg"))
    check(what + ": read by us as by djpeg", same_pixels(found.pixels, decoded), found.reason)
    magick = run("convert", path("o.jpg"), "-depth", "8", ("gray" if components == 1 else "rgb") + ":-")
    check(what + ": ImageMagick", magick.returncode == 0 and len(magick.stdout) == source.size and
          same_pixels(np.frombuffer(magick.stdout, np.uint8).reshape(source.shape), decoded), magick.stderr)

    write_pnm(path("s.pnm"), source)
    coded = run("cjpeg", "-dct", "float", "-baseline", "-quality", str(quality), "-sample", "1x1", "-outfile", path("c.jpg"), path("s.pnm"))
    check(what + ": cjpeg", coded.returncode == 0, coded.stderr)
    for kind, marker in (("quantisation", 0xDB), ("Huffman", 0xC4)):
        check(what + f": the {kind} tables of cjpeg", b"".join(segments(path("o.jpg"), marker)) == b"".join(segments(path("c.jpg"), marker)))
    if width % 8 == 0 and height % 8 == 0:  # we leave the columns that fill the last blocks black
        ours, their = psnr(source, decoded), psnr(source, djpeg(path("c.jpg")))
        check(what + ": as good as cjpeg's", ours > their - 0.05, f"{ours:.3f} dB, {their:.3f} dB")
        save(path("i.jpg"), source, quality, 105)
        integers = djpeg(path("i.jpg"))
        check(what + ", in integers: read by us as by djpeg", same_pixels(qv.read(path("i.jpg")).pixels, integers))
        if quality >= 50:  # steps of powers of two are up to a half too large or a quarter too small
            check(what + ", in integers: near enough", psnr(source, integers) > 25, psnr(source, integers))

# --- blocks of one colour, whose values follow from the formulas: both encoders keep means to the nearest step ------

TO_YCC = np.array([[0.299, 0.587, 0.114], [-0.1687, -0.3313, 0.5], [0.5, -0.4187, -0.0813]])
TO_RGB = np.array([[1, 0, 1.402], [1, -0.34414, -0.71414], [1, 1.772, 0]])


def decoded_model(colours, tables, off):
    """Steps are those of the first coefficients, which are eight times the mean."""
    steps = np.array([tables[1], tables[66], tables[66]]) / 8
    means = np.floor((colours @ TO_YCC.T - [128, 0, 0] + off) / steps + 0.5) * steps
    return np.clip(means @ TO_RGB.T + 128, 0, 255)


for quality, mode in itertools.product((1, 3, 5, 8, 14, 20, 50, 90), (0, 105)):
    colours = rng.choice(np.r_[0:30, 100:140, 226:256], (24, 32, 3)).astype(np.uint8)
    what = f"ours: blocks of one colour, quality {quality}, mode {mode}"
    check(what, not save(path("f.jpg"), colours.repeat(8, 0).repeat(8, 1), quality, mode))
    tables = b"".join(segments(path("f.jpg"), 0xDB))
    found = qv.read(path("f.jpg")).pixels
    check(what + ": flat", np.array_equal(found, found[::8, ::8].repeat(8, 0).repeat(8, 1)))
    # Means that lie between two steps may go to either: they are known to a tenth, in integers to a half.
    alike = np.zeros(colours.shape[:2], bool)
    for off in itertools.product((-0.1, 0, 0.1) if mode == 0 else (-0.5, 0, 0.5), repeat=3):
        alike |= np.all(np.abs(found[::8, ::8] - decoded_model(colours, tables, off)) < 1.1, 2)
    check(what + ": as the formulas say", np.all(alike), np.mean(alike))

# --- theirs, read by us ------------------------------------------------------------------------------------------

for (height, width), components, options in itertools.product(
        sizes, (1, 3), ([], ["-optimize"], ["-quality", "30"], ["-quality", "100", "-optimize"], ["-quality", "1", "-baseline"])):
    what = f"theirs: {width} x {height}, {components} components, {' '.join(options)}"
    write_pnm(path("s.pnm"), picture(height, width, components))
    run("cjpeg", *options, "-sample", "1x1", "-outfile", path("t.jpg"), path("s.pnm"))
    found = qv.read(path("t.jpg"))
    check(what, same_pixels(found.pixels, djpeg(path("t.jpg"))), found.reason)

write_pnm(path("s.pnm"), picture(40, 50, 3))
for options, words in ((["-sample", "2x1"], "4:2:2"), (["-sample", "2x2"], "4:2:0"), (["-progressive"], "progressive"), (["-quality", "1"], "extended"),
                       (["-arithmetic"], "arithmetic"), (["-rgb"], "RGB"), (["-restart", "1"], "restart")):
    run("cjpeg", *(["-sample", "1x1"] if "-sample" not in options else []), *options, "-outfile", path("r.jpg"), path("s.pnm"))
    found = qv.read(path("r.jpg"))
    check(f"theirs: {' '.join(options)}", found.code == -11 and (words in found.reason or options == ["-rgb"]), found.reason)

finish()
