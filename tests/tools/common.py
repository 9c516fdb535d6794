"""What the tests of the tool share: running it, and pictures to run it on."""
import array
import math
import os
import random
import subprocess
import tempfile
import unittest

import tiff

TOOL = os.environ["QVIMAGE_TOOL"]


def run(*words, **more):
    environment = dict(os.environ, **more.pop("env", {}))
    return subprocess.run([TOOL, *map(str, words)], capture_output=True, env=environment, timeout=120, **more)


class ToolTest(unittest.TestCase):
    """Each test in a folder of its own."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name):
        return os.path.join(self.folder, name)

    def files(self):
        return sorted(os.listdir(self.folder))

    def content(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def put(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content)
        return self.path(name)

    def make(self, name, *pages, order="<"):
        tiff.write(self.path(name), pages, order)
        return self.path(name)

    def make_sparse(self, name, width, height, marks={}):
        """A page of 8-bit zeros but for marked pixels, made in a moment whatever its size."""
        offset = 1024
        entries = tiff._entries(tiff.Page(width, height, []), [offset], [width * height])
        with open(self.path(name), "wb") as file:
            file.write(b"II" + b"\x2a\0" + (8).to_bytes(4, "little") + len(entries).to_bytes(2, "little"))
            for tag, kind, values in entries:
                file.write(b"".join(v.to_bytes(n, "little") for v, n in
                                    ((tag, 2), (kind, 2), (1, 4), (values[0], 4))))
            for (x, y), value in marks.items():
                file.seek(offset + y * width + x)
                file.write(bytes([value]))
            file.truncate(offset + width * height)
        return self.path(name)

    def good(self, *words, **more):
        done = run(*words, **more)
        self.assertEqual((done.returncode, done.stderr), (0, b""), f"{words}: {done.stderr.decode()}")
        return done.stdout.decode()

    def converted(self, source, *options):
        """The only page of what a page, or a file, is made."""
        path = source if isinstance(source, str) else self.make("a.tif", source)
        self.good("convert", *options, path, self.path("b.tif"))
        (found,) = tiff.read(self.path("b.tif"))
        return found

    def refused(self, status, pattern, *words, **more):
        """Ends with this status and one line of error text that matches."""
        done = run(*words, **more)
        text = done.stderr.decode()
        self.assertEqual(done.returncode, status, f"{words}: {text}")
        self.assertRegex(text, r"\Aqvimage: " + pattern + r"\n\Z")
        return done


def picture(width, height, samples=1, bits=8, real=False, **more):
    """Smooth with some noise, as photographs are; the same for the same arguments."""
    noise = random.Random(f"{width} {height} {samples} {bits}")
    pixels = []
    for i in range(width * height * samples):
        x, y, c = i // samples % width, i // samples // width, i % samples
        value = 0.5 + 0.4 * math.sin(x / 9 + c) * math.cos(y / 7 - c) + noise.uniform(-0.03, 0.03)
        pixels.append(value if real else int(value * (2**bits - 1)))
    photometric = 2 if samples == 3 else 5 if samples == 4 else 1
    return tiff.Page(width, height, pixels, samples, bits, real, **{"photometric": photometric, **more})


def palette_picture(width, height, bits=8):
    """Colours that use all 16 bits of their components."""
    colours = [(i * k + 7 * k) % 65536 for k in (1234, 7777, 31001) for i in range(2**bits)]
    pixels = [i * 5 % 2**bits for i in range(width * height)]
    return tiff.Page(width, height, pixels, bits=bits, photometric=3, palette=colours)


def as_stored(page):
    """A page's pixels; 32-bit floats lose digits when they are stored."""
    return array.array("f", page.pixels).tolist() if page.real and page.bits == 32 else page.pixels
