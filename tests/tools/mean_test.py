"""qvimage convert --mean: sums of the pages' values, taken apart here one by one."""
import dataclasses
import unittest

import tiff
from common import ToolTest, palette_picture, picture


def film(pages, *shape, **more):
    """Pages of different content."""
    first = picture(*shape, **more)
    most = 2**first.bits
    shifted = lambda k: [(v * (k + 1) + 37 * k) % most for v in first.pixels]
    return [dataclasses.replace(first, pixels=shifted(k)) for k in range(pages)]


def mean(pages):
    """Rounded, halves up."""
    return [(2 * sum(values) + len(values)) // (2 * len(values)) for values in zip(*(page.pixels for page in pages))]


class Mean(ToolTest):
    def test_means_are_rounded(self):
        for pages in (film(1, 5, 4), film(4, 11, 7), film(7, 1100, 3), film(3, 9, 8, samples=3, bits=16), film(5, 6, 5, bits=12)):
            for order in "<>":
                with self.subTest(pages=len(pages), shape=pages[0].shape()[:6], order=order):
                    found = self.converted(self.make("a.tif", *pages, order=order), "--mean")
                    self.assertEqual(found.shape(), pages[0].shape())
                    self.assertEqual(found.pixels, mean(pages))

    def test_some_pages_only_and_other_options_behind(self):
        pages = film(12, 10, 6, strings={"description": b"a film"})
        path = self.make("a.tif", *pages)
        found = self.converted(path, "--mean", "--pages=3-7", "--flip=y", "--type=f32")
        rows = [mean(pages[2:7])[y * 10 : y * 10 + 10] for y in range(6)]
        self.assertEqual(found.pixels, [float(v) for row in rows[::-1] for v in row])
        self.assertEqual(found.strings["description"], b"a film")

    def test_colour_maps_are_applied(self):
        page = palette_picture(11, 7)
        colours = [page.palette[k * 256 + v] for v in page.pixels for k in range(3)]
        path = self.make("a.tif", page, dataclasses.replace(page, palette=page.palette[::-1]))
        self.good("convert", "--colour=rgb", path, self.path("rgb.tif"))
        pages = tiff.read(self.path("rgb.tif"))
        self.assertEqual(pages[0].pixels, [v >> 8 for v in colours])
        self.assertEqual(self.converted(path, "--mean").pixels, mean(pages))

    def test_what_has_no_mean_is_refused(self):
        page = picture(5, 4)
        for pages, pattern in (
            ([page, picture(5, 3), page], "page 2 has 5 x 3 pixels .* must be alike"),
            ([page, picture(5, 4, samples=3)], "page 1 has .* of 1 x 8-bit, .*3 x 8-bit, .* must be alike"),
            ([page, picture(5, 4, bits=12)], "page 1 has .* must be alike"),
            ([picture(5, 4, bits=32)] * 2, "32-bit pixels have no mean here, only 8- and 16-bit integers"),
            ([picture(5, 4, bits=32, real=True)] * 2, "32-bit float pixels have no mean here")):
            with self.subTest(pattern=pattern):
                self.refused(1, r".*a\.tif: .*" + pattern + ".*", "convert", "--mean", self.make("a.tif", *pages), self.path("b.tif"))
                self.assertEqual(self.files(), ["a.tif"])
        self.refused(1, ".*page 9 of 2", "convert", "--mean", "--pages=2-9", self.make("a.tif", page, page), self.path("b.tif"))


if __name__ == "__main__":
    unittest.main()
