#!/usr/bin/env python3
"""fitsverify and astropy judge our FITS files; astropy writes files for us to read.

QVIMAGE_LIBRARY names the shared library. Needs numpy and astropy, fitsverify where it is installed."""
import os
import shutil
import sys

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import ours as qv
from judge import check, finish, path, rng, run
from astropy.io import fits


def noise(shape, dtype, bits):
    if np.issubdtype(dtype, np.floating):
        return rng.normal(0, 1000, shape).astype(dtype)
    return rng.integers(0, 1 << bits, shape, dtype=np.uint64).astype(dtype)


def as_astropy_has_it(pixels, layout):
    """(height, width, pixies) as FITS axes, slowest first."""
    if layout & 1 or pixels.shape[2] == 1:
        return pixels[:, :, 0] if layout & 2 and pixels.shape[2] == 1 else pixels
    return np.moveaxis(pixels, 2, 0)


def our_files():
    for dtype, bits in ((np.uint8, 8), (np.uint16, 12), (np.uint16, 16), (np.uint32, 32), (np.float32, 0), (np.float64, 0)):
        for pixies, hint in ((1, 1), (3, 67)):
            for layout in (0, 1, 2):
                what = f"{np.dtype(dtype)} of {bits} bits x {pixies}, layout {layout}"
                pixels = noise((29, 41, pixies), dtype, bits)
                name = path("ours.fits")
                failure = qv.save(name, pixels, bits, hint, fields={"fts_layout": layout})
                check(what, not failure, failure)
                with fits.open(name) as file:
                    check(what, np.array_equal(file[0].data, as_astropy_has_it(pixels, layout)), "astropy reads other values")
                if shutil.which("fitsverify"):
                    verdict = run("fitsverify", "-e", "-q", name)
                    check(what, verdict.returncode == 0 and "OK" in verdict.stdout, verdict.stdout)


def their_files():
    for dtype, bits in ((np.uint8, 8), (np.uint16, 16), (np.uint32, 32), (np.float32, 0)):
        for frames in (1, 5):
            what = f"astropy's {np.dtype(dtype)}, {frames} frames"
            pixels = noise((frames, 23, 31), dtype, bits)
            name = path("theirs.fits")
            file = fits.PrimaryHDU(pixels if frames > 1 else pixels[0])
            file.header["OBSERVER"] = "O'Neill"
            file.header.add_comment("a comment of another program " * 5)
            file.writeto(name, overwrite=True)
            found = qv.qv.open(name)
            check(what, found.volume.shape == pixels.shape, found)
            check(what, np.array_equal(found.volume.read(), pixels), "other values")
            check(what, found.info.fields["fts_observer"] == "O'Neill", found.info)


our_files()
their_files()
finish()
