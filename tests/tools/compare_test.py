"""qvimage diff and stat: their numbers against plain arithmetic."""
import math
import re
import statistics
import struct
import unittest

import tiff
from common import ToolTest, palette_picture, picture, run


class Diff(ToolTest):
    def compare(self, a, b):
        done = run("diff", self.make("a.tif", *a), self.make("b.tif", *b))
        self.assertEqual(done.stderr, b"")
        return done.returncode, done.stdout.decode()

    def test_equal_files(self):
        pages = [picture(9, 7), picture(5, 5, samples=3), picture(4, 4, bits=32, real=True), palette_picture(8, 8)]
        self.assertEqual(self.compare(pages, pages),
                         (0, "page 1: equal\npage 2: equal\npage 3: equal\npage 4: equal\n"))

    def test_differences_are_counted_for_each_component(self):
        cases = [(8, 1, False, "grey"), (16, 1, False, "grey"), (8, 3, False, "green"), (16, 3, False, "green"),
                 (32, 1, False, "grey"), (64, 1, True, "grey")]
        for bits, samples, real, name in cases:
            with self.subTest(bits=bits, samples=samples, real=real):
                a, b = (picture(31, 17, samples, bits, real) for _ in "ab")
                component = 1 if samples == 3 else 0
                for pixel, change in ((0, 3), (100, -5), (31 * 17 - 1, 90)):
                    b.pixels[pixel * samples + component] += change / 128 if real else change
                status, text = self.compare([a], [b])
                apart = [abs(p - q) for p, q in zip(a.pixels, b.pixels) if p != q]
                peak, pixels = 1 if real else 2**bits - 1, 31 * 17
                noise = 10 * math.log10(peak**2 / (sum(d * d for d in apart) / pixels))
                found = re.fullmatch(rf"page 1, {name}: 3 of 527 pixels differ \(0.569 %\), "
                                     r"largest (\S+), mean (\S+), PSNR (\S+) dB\n", text)
                self.assertIsNotNone(found, text)
                self.assertEqual(status, 1)
                for value, expected in zip(found.groups(), (max(apart), sum(apart) / pixels, noise)):
                    self.assertAlmostEqual(float(value), expected, delta=abs(expected) * 1e-5 + 0.006 * (expected > 9))

    def test_nan_equals_only_itself(self):
        a, b = (tiff.Page(2, 1, [math.nan, 1.0], bits=32, real=True) for _ in "ab")
        self.assertEqual(self.compare([a], [b])[0], 0)
        b.pixels = [math.nan, math.nan]
        status, text = self.compare([a], [b])
        self.assertEqual(status, 1)
        self.assertIn("1 of 2 pixels differ (50 %), largest inf", text)

    def test_shapes_that_differ_are_named(self):
        grey = "Grey scale monochrome"
        cases = [
            ([picture(4, 4)], [picture(5, 4)], f"page 1: 4 x 4, 1 x 8-bit, {grey} and 5 x 4, 1 x 8-bit, {grey}\n"),
            ([picture(4, 4)], [picture(4, 4, bits=16)], f"page 1: 4 x 4, 1 x 8-bit, {grey} and "
             f"4 x 4, 1 x 16-bit, {grey}\n"),
            ([picture(4, 4)] * 3, [picture(4, 4)] * 2, "page 1: equal\npage 2: equal\npages: 3 and 2\n"),
        ]
        for a, b, text in cases:
            self.assertEqual(self.compare(a, b), (1, text))


class Stat(ToolTest):
    line = re.compile(r"(\w+): minimum (\S+), maximum (\S+), mean (\S+), standard deviation (\S+)")

    def test_moments(self):
        for page in (picture(40, 30), picture(40, 30, bits=16), picture(40, 30, samples=3),
                     picture(40, 30, bits=32), picture(40, 30, bits=64, real=True)):
            with self.subTest(page.shape()):
                text = self.good("stat", self.make("a.tif", page))
                found = self.line.findall(text)
                self.assertEqual(len(found), page.samples)
                for i, (_, *values) in enumerate(found):
                    part = page.pixels[i :: page.samples]
                    expected = min(part), max(part), statistics.fmean(part), statistics.pstdev(part)
                    for value, right in zip(map(float, values), expected):
                        self.assertAlmostEqual(value, right, delta=abs(right) * 1e-8)

    def test_values_that_are_no_numbers_are_left_out(self):
        page = tiff.Page(4, 1, [1.0, math.inf, math.nan, 3.0], bits=32, real=True)
        text = self.good("stat", self.make("a.tif", page))
        self.assertIn("minimum 1, maximum 3, mean 2, standard deviation 1\n", text)
        self.assertIn("2 values that are no finite numbers", text)

    def test_histogram_is_drawn_with_what_the_terminal_has(self):
        # 0 once, 1 twice, ... 7 eight times.
        page = tiff.Page(36, 1, [value for value in range(8) for _ in range(value + 1)])
        path = self.make("a.tif", page)
        blocks = self.good("stat", path, env=dict(LC_ALL="C.UTF-8")).splitlines()[2:7]
        self.assertEqual([line[2:] for line in blocks],
                         ["      ▃█", "    ▁▆██", "   ▄████", " ▂▇█████", "▅███████"])
        marks = self.good("stat", path, env=dict(LC_ALL="C")).splitlines()[2:7]
        self.assertTrue(all(set(line) <= set(" .:|") and len(line) == 10 for line in marks), marks)
        self.assertEqual(marks[0][-1] + marks[4][2], "|:")

    def test_histogram_is_as_wide_as_80_columns(self):
        path = self.make("a.tif", tiff.Page(256, 256, [i % 65536 for i in range(65536)], bits=16))
        lines = self.good("stat", path, env=dict(LC_ALL="C.UTF-8")).splitlines()
        self.assertEqual({len(line) for line in lines[2:8]}, {79})
        self.assertEqual(set(lines[2][2:]), {"█"})
        self.assertEqual(lines[7].split(), ["0", "65535"])


if __name__ == "__main__":
    unittest.main()
