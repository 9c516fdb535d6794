#!/usr/bin/env python3
"""The views of `qvimage convert` against numpy, over files that tifffile writes and reads.

QVIMAGE_TOOL names the command. Prints its random seed."""
import os
import random
import subprocess
import sys
import tempfile

import numpy as np
import tifffile

seed = int(os.environ.get("SEED", random.randrange(1 << 30)))
print("seed", seed)
rng = np.random.default_rng(seed)
folder = tempfile.TemporaryDirectory(prefix="qvimage-peers-")
path = lambda name: os.path.join(folder.name, name)
failed = 0


def table(columns, entries):
    values = rng.integers(0, entries, (entries, columns))
    np.savetxt(path("table"), values, fmt="%d", header="a table")
    return values


def shifted(p, bits, used):
    return p << (bits - used) if bits > used else p >> (used - bits)


# A step is its options and what it makes of pages[page, y, x, component] of so many bits, or None where it does not
# apply.
def rotated(p, bits):
    turns = int(rng.integers(1, 4))
    return ["--rotate", str(90 * turns)], np.rot90(p, -turns, (1, 2)), bits


def flipped(p, bits):
    axis = int(rng.integers(2))
    return ["--flip", "xy"[axis]], np.flip(p, 2 - axis), bits


def cropped(p, bits):
    h, w = p.shape[1:3]
    x, y = int(rng.integers(w)), int(rng.integers(h))
    dx, dy = int(rng.integers(1, w - x + 1)), int(rng.integers(1, h - y + 1))
    return ["--crop", f"{x},{y},{dx},{dy}"], p[:, y : y + dy, x : x + dx], bits


def to_bits(p, bits):
    wanted = int(rng.integers(1, 17))
    return ["--bits", str(wanted)], shifted(p, wanted, bits), wanted


def to_type(p, bits):
    wanted = int(rng.choice([8, 16]))
    return ["--type", f"u{wanted}"], shifted(p, wanted, bits), wanted


def through_table(p, bits):
    columns = int(rng.choice([1, 3]))
    if bits > 12 or (columns == 3 and p.shape[3] not in (1, 3)):
        return None
    values = table(columns, 1 << bits)
    name = path(f"table{rng.integers(1 << 30)}")
    os.rename(path("table"), name)
    if columns == 1:
        return ["--lut", name], values[p, 0], bits
    return ["--lut", name], np.stack([values[p[..., c % p.shape[3]], c] for c in range(3)], -1), bits


def component(p, bits):
    c = int(rng.integers(p.shape[3]))
    return ["--component", str(c + 1)], p[..., c : c + 1], bits


def decimated(p, bits):
    if p.shape[3] != 1:
        return None
    h, w = p.shape[1:3]
    n, m = int(rng.integers(1, min(w, 4) + 1)), int(rng.integers(1, min(h, 4) + 1))
    return ["--decimate", f"{n},{m}"], p[:, : h // m * m : m, : w // n * n : n], bits


STEPS = [rotated, flipped, cropped, to_bits, to_type, through_table, component, decimated]


def pages_in(name):
    with tifffile.TiffFile(name) as file:
        return np.stack([page.asarray() for page in file.pages])


def check(number):
    global failed
    dtype, samples = (np.uint8, np.uint16)[int(rng.integers(2))], int(rng.choice([1, 3]))
    bits = 8 * np.dtype(dtype).itemsize
    shape = (int(rng.integers(1, 12)), int(rng.integers(1, 40)), int(rng.integers(1, 50)), samples)
    pages = rng.integers(0, 1 << bits, shape).astype(dtype)
    with tifffile.TiffWriter(path("in.tif"), byteorder="<>"[int(rng.integers(2))]) as file:
        for page in pages:
            file.write(page[..., 0] if samples == 1 else page, metadata=None,
                       photometric="rgb" if samples == 3 else "minisblack")
    options, p = [], pages.astype(np.int64)
    if rng.integers(2):
        options, p = ["--mean"], ((2 * p.sum(0) + len(p)) // (2 * len(p)))[None]
    for step in rng.choice(STEPS, int(rng.integers(1, 6))):
        done = step(p, bits)
        if done:
            more, p, bits = done
            options += more
    # Depths that tifffile reads by itself, numbers that stay as they are.
    done = subprocess.run([os.environ["QVIMAGE_TOOL"], "convert", *options, "--type", "f64", path("in.tif"), path("out.tif")],
                          capture_output=True, text=True)
    good = done.returncode == 0
    if good:
        found = pages_in(path("out.tif"))
        good = np.array_equal(found.reshape(p.shape) if found.size == p.size else found, p)
    if not good:
        failed += 1
        print("FAILED", number, pages.dtype, pages.shape, *options, done.stderr)


for number in range(150):
    check(number)
print("failed", failed)
sys.exit(failed > 0)
