#!/usr/bin/env python3
"""Other people's programs judge our TIFF files, and write files for us to read.

Needs libtiff's tools, ImageMagick, and the Python modules numpy and tifffile. QVIMAGE_LIBRARY names the shared
library. Prints its random seed."""
import itertools
import os
import subprocess
import sys

import numpy as np
import tifffile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import ours as qv
from judge import check, finish, path, rng, run_bytes as run


def picture(height, width, pixies, dtype, bits):
    """Smooth structure with noise, in the significant bits."""
    if np.issubdtype(dtype, np.floating):
        return rng.random((height, width, pixies)).astype(dtype)
    y, x, c = np.mgrid[0:height, 0:width, 0:pixies]
    top = (1 << bits) - 1
    wave = (np.sin(x / 9 + c) + np.cos(y / 5) + 2) / 4 * top
    return np.clip(wave + rng.normal(0, top / 50, wave.shape), 0, top).astype(dtype)


def squeezed(array):
    return array[:, :, 0] if array.shape[2] == 1 else array


# --- ours, read by others ----------------------------------------------------------------------------------------

CODINGS = {1: "none", 5: "lzw", 517: "lzw-predictor", 32773: "packbits"}


def save(name, array, bits, hint, compression, version=42, stripsize=0, **options):
    return qv.save(name, array, bits, hint, compression=CODINGS[compression], bigtiff=version == 43,
                   description="peer test", fields={"stripsize": stripsize}, **options)


U8, U16, U32, F32, F64 = np.uint8, np.uint16, np.uint32, np.float32, np.float64
ours = [  # dtype, bits, pixies, hint, samples in the file
    (U8, 1, 1, 1), (U8, 4, 1, 1), (U8, 8, 1, 1), (U16, 12, 1, 1), (U16, 16, 1, 1), (U32, 24, 1, 1), (U32, 32, 1, 1),
    (F32, 0, 1, 1), (F64, 0, 1, 1), (U8, 8, 3, 67), (U8, 8, 3, 3), (U16, 16, 3, 67), (U16, 12, 3, 67), (U8, 8, 4, 36),
    (U8, 8, 4, 68), (U16, 16, 4, 4), (U8, 8, 2, 0), (F32, 0, 3, 67), (U8, 8, 3, 19), (U16, 16, 3, 19)]
for (dtype, bits, pixies, hint), compression, version in itertools.product(ours, (1, 5, 517, 32773), (42, 43)):
    if np.issubdtype(dtype, np.floating) and compression != 1:
        continue
    what = f"ours: {np.dtype(dtype).name} {bits} bits, {pixies} pixies, hint {hint}, compression {compression}, version {version}"
    source = picture(57, 83, pixies, dtype, bits)
    failure = save(path("o.tif"), source, bits, hint, compression, version=version, stripsize=1500)
    check(what, not failure, failure)
    expected = source[:, :, [2, 1, 0]] if hint in (3, 4) else source[:, :, :3] if hint == 36 else source
    if hint == 19:
        expected = source[:, :, [0, 2, 1]]
    info = run("tiffinfo", "-D", path("o.tif"))
    check(what + ": tiffinfo is clean", info.returncode == 0 and not info.stderr, info.stderr)
    # libtiff decodes; a reader in Python looks at what it made of it
    copy = run("tiffcp", "-c", "none", path("o.tif"), path("copy.tif"))
    check(what + ": tiffcp", copy.returncode == 0 and not copy.stderr, copy.stderr)
    plain = path("copy.tif") if copy.returncode == 0 else path("o.tif")
    if bits in (0, 1, 8, 16, 32):
        read = tifffile.imread(plain)
        check(what + ": pixels through libtiff", np.array_equal(read, squeezed(expected)))
        if compression == 1:
            check(what + ": pixels in Python", np.array_equal(tifffile.imread(path("o.tif")), squeezed(expected)))
    else:
        with tifffile.TiffFile(plain) as file:
            raw = b"".join(file.filehandle.read_array("u1", n, o).tobytes()
                           for o, n in zip(file.pages[0].dataoffsets, file.pages[0].databytecounts))
        stream = np.frombuffer(raw, np.uint8).reshape(57, -1)
        if bits == 24:
            values = stream.reshape(57, -1, 3).astype(np.uint32) @ np.array([1, 1 << 8, 1 << 16], np.uint32)
        else:
            rows = np.unpackbits(stream, axis=1)[:, : 83 * expected.shape[2] * bits].reshape(57, -1, bits)
            values = rows.astype(np.uint32) @ (1 << np.arange(bits - 1, -1, -1, dtype=np.uint32))
        check(what + ": pixels through libtiff", np.array_equal(values.reshape(expected.shape), expected))
    if bits in (8, 12, 16) and hint in (1, 3, 67, 36, 4, 68) and version == 42:
        form = {1: "gray", 68: "cmyk"}.get(hint, "rgb")
        magick = run("convert", path("o.tif"), "-depth", "16", "-endian", "LSB", form + ":-")
        values = np.frombuffer(magick.stdout, "<u2")
        top = (1 << bits) - 1
        want = (expected.astype(np.uint64) * 65535 * 2 + top) // (2 * top)
        check(what + ": ImageMagick", values.size == want.size and np.array_equal(values.reshape(want.shape), want),
              magick.stderr)

for bits in (1, 2, 4, 8):
    index = picture(31, 45, 1, U8, bits)
    palette = rng.integers(0, 256, (1, 1 << bits, 3), np.uint8)
    for compression in (1, 5, 32773):
        what = f"ours: palette of {bits} bits, compression {compression}"
        check(what, not save(path("p.tif"), index, bits, 17, compression, palette=palette))
        magick = run("convert", path("p.tif"), "-depth", "8", "rgb:-")
        want = palette[0][index[:, :, 0]]
        check(what + ": ImageMagick", magick.stdout == want.tobytes(), magick.stderr)

for page in range(5):
    save(path("pages.tif"), np.full((9 + page, 11, 1), page, U8), 8, 1, 5, append=page > 0)
with tifffile.TiffFile(path("pages.tif")) as file:
    check("ours: five appended pages", [p.shape for p in file.pages] == [(9 + p, 11) for p in range(5)])
check("ours: five appended pages: tiffinfo", not run("tiffinfo", path("pages.tif")).stderr)

# --- theirs, read by us ------------------------------------------------------------------------------------------

theirs = [(U8, 8, 1, "minisblack", 1), (U16, 16, 1, "minisblack", 1), (U32, 32, 1, "minisblack", 1), (F32, 0, 1, "minisblack", 1),
          (F64, 0, 1, "minisblack", 1), (U8, 8, 3, "rgb", 67), (U16, 16, 3, "rgb", 67), (U8, 8, 4, "separated", 68),
          (U16, 16, 4, "separated", 68), (U8, 8, 2, "minisblack", 0), (U8, 8, 1, "miniswhite", 1), (U16, 16, 1, "miniswhite", 1)]
for (dtype, bits, pixies, photometric, hint), order, big, rows in itertools.product(theirs, "<>", (False, True), (1, 7, 1000)):
    what = f"theirs: {np.dtype(dtype).name}, {pixies} samples, {photometric}, {order}, big {big}, {rows} rows a strip"
    source = picture(37, 53, pixies, dtype, bits)
    tifffile.imwrite(path("t.tif"), squeezed(source), byteorder=order, bigtiff=big, rowsperstrip=rows, photometric=photometric,
                     planarconfig="contig" if pixies > 1 else None, metadata=None)
    white = photometric == "miniswhite"
    expected = (1 << bits) - 1 - source if white else source
    floats = np.issubdtype(dtype, np.floating)
    for coding in ("none",) if floats else ("none", "lzw", "lzw:2", "packbits"):
        name = path("t.tif")
        if coding != "none":
            name = path("c.tif")
            coded = run("tiffcp", *(["-B"] if order == ">" else ["-L"]), *(["-8"] if big else []), "-c", coding, "-r", str(rows), path("t.tif"), name)
            if coded.returncode:
                check(what + f", {coding}: tiffcp", b"not supported" in coded.stderr.lower(), coded.stderr)
                continue
        found = qv.read(name)
        if found.code:
            refused = coding == "lzw:2" and bits == 32  # differences of 32-bit samples are not served
            check(what + f", {coding}", refused and found.code == -11, found.reason)
            continue
        check(what + f", {coding}", np.array_equal(found.pixels, expected) and found.hint == hint)

for bits in (1, 2, 4, 8, 16):
    for coding in ("None", "LZW", "RLE"):
        for endian in ("LSB", "MSB"):
            what = f"theirs: ImageMagick, {bits} bits, {coding}, {endian}"
            source = picture(29, 41, 1, U16, bits)
            subprocess.run(["convert", "-size", "41x29", "-depth", "16", "-endian", "LSB", "gray:-", "-depth", str(bits), "-type", "grayscale",
                            "-define", f"tiff:endian={endian.lower()}", "-define", "tiff:fill-order=msb", "-compress", coding, path("m.tif")],
                           input=(source.astype(np.uint64) * 65535 // ((1 << bits) - 1)).astype("<u2").tobytes(), check=True)
            found = qv.read(path("m.tif"))
            check(what, np.array_equal(found.pixels, source), found.reason)

for bits in (4, 8):
    what = f"theirs: palette of {bits} bits"
    index = picture(23, 30, 1, U8, bits)
    colours = rng.integers(0, 256, (3, 256), np.uint16) * 257
    if bits == 8:
        tifffile.imwrite(path("i.tif"), squeezed(index), photometric="palette", colormap=colours, metadata=None)
    else:
        lut = (rng.integers(0, 16, (16, 3)) * 17).astype(np.uint8)
        colours = lut.T.astype(np.uint16) * 257
        save(path("w.tif"), index, 4, 17, 1, palette=lut.reshape(1, 16, 3))
        run("tiffcp", "-B", "-c", "lzw", path("w.tif"), path("i.tif"))
    found = qv.read(path("i.tif"), palette=True)
    entries = (colours.T >> (16 - bits)).astype(np.uint8)
    check(what, found.hint == 17 and np.array_equal(found.pixels, index), found.reason)
    check(what + ": entries", found.palette is not None and np.array_equal(found.palette[0], entries))
    found = qv.read(path("i.tif"))
    check(what + " as colours", found.hint == 67 and np.array_equal(found.pixels, entries[index[:, :, 0]]), found.reason)

stack = rng.integers(0, 65536, (7, 19, 23), np.uint16)
tifffile.imwrite(path("s.tif"), stack, photometric="minisblack", metadata=None)
for page in (6, 0, 3):
    check(f"theirs: page {page} of seven", np.array_equal(qv.read(path("s.tif"), page=page).pixels[:, :, 0], stack[page]))
check("theirs: page that is not there", qv.read(path("s.tif"), page=7).code == -10)
tifffile.imwrite(path("d.tif"), stack[0], compression=None, description="several words", software="a program", resolution=(300, 200),
                 resolutionunit="INCH", datetime="2020:01:02 03:04:05", metadata=None)
info = qv.qv.open(path("d.tif")).info
check("theirs: strings", (info.description, info.software, info.datetime) == ("several words", "a program", "2020:01:02 03:04:05"), info)
(across, of), (down, by) = info.fields["xres"], info.fields["yres"]
check("theirs: resolution", across == 300 * of and down == 200 * by and info.fields["resunit"] == 2, info)

tifffile.imwrite(path("tile.tif"), picture(64, 64, 1, U8, 8)[:, :, 0], tile=(16, 16), metadata=None)
check("theirs: tiles are refused", qv.read(path("tile.tif")).code == -10)
run("convert", "-size", "40x40", "plasma:", "-compress", "JPEG", path("j.tif"))
check("theirs: JPEG is refused", qv.read(path("j.tif")).code == -11)
tifffile.imwrite(path("planar.tif"), picture(16, 16, 3, U8, 8).transpose(2, 0, 1), planarconfig="separate", photometric="rgb", metadata=None)
check("theirs: planes apart are refused", qv.read(path("planar.tif")).code in (-10, -11))

finish()
