"""qvimage convert: options that show the pixels in another way, against models that work on lists of rows."""
import unittest

import tiff
from common import ToolTest, palette_picture, picture


def rows(page):
    """[y][x] of tuples of components."""
    n, w = page.samples, page.width
    pixels = [tuple(page.pixels[i : i + n]) for i in range(0, len(page.pixels), n)]
    return [pixels[i : i + w] for i in range(0, len(pixels), w)]


def clockwise(picture):
    return [list(column) for column in zip(*picture[::-1])]


def mirrored(picture):
    return [row[::-1] for row in picture]


def each(change):
    return lambda picture: [[change(*pixel) for pixel in row] for row in picture]


GEOMETRY = {
    "--rotate=90": clockwise,
    "--rotate=180": lambda p: clockwise(clockwise(p)),
    "--rotate=270": lambda p: clockwise(clockwise(clockwise(p))),
    "--flip=x": mirrored,
    "--flip=y": lambda p: p[::-1],
}


def ycrcb(r, g, b):
    """BT.601 with full range chroma about the middle, to within rounding."""
    y = 0.299 * r + 0.587 * g + 0.114 * b
    return y, (b - y) / 1.772 + 128, (r - y) / 1.402 + 128


class Views(ToolTest):
    def check(self, page, options, expected, **about):
        with self.subTest(options=options, page=page.shape()[:6]):
            found = self.converted(page, *options.split())
            self.assertEqual(rows(found), expected)
            for name, value in about.items():
                self.assertEqual(getattr(found, name), value)

    def test_pages_turn_and_mirror(self):
        for page in (picture(11, 7), picture(7, 12, samples=3, bits=16), picture(9, 5, bits=12), palette_picture(11, 7)):
            for option, model in GEOMETRY.items():
                self.check(page, option, model(rows(page)), palette=page.palette, bits=page.bits)

    def test_options_work_in_their_order(self):
        page = picture(20, 15)
        part = [row[3:13] for row in rows(page)[2:7]]
        self.check(page, "--crop 3,2,10,5 --rotate 90 --flip y", clockwise(part)[::-1])
        mapped = palette_picture(20, 15)
        self.check(mapped, "--crop 19,14,1,1", [rows(mapped)[14][19:]], palette=mapped.palette)
        whole = mirrored(clockwise(rows(page)))
        self.check(page, "--rotate 90 --flip x --crop 3,2,10,5", [row[3:13] for row in whole[2:7]])

    def test_a_crop_is_cropped(self):
        page = picture(20, 15)
        self.check(page, "--crop 3,2,10,5 --crop 1,1,9,3", [row[4:13] for row in rows(page)[3:6]])
        self.refused(1, ".*6,0,5,1 reaches outside its 10 x 5 pixels", "convert", "--crop=3,2,10,5", "--crop=6,0,5,1",
                     self.make("a.tif", page), self.path("b.tif"))

    def test_a_quarter_turn_exchanges_the_resolutions(self):
        page = picture(4, 3, resolution=((600, 7), (500, 3), 3))
        self.assertEqual(self.converted(page, "--rotate=90").resolution, ((500, 3), (600, 7), 3))
        self.assertEqual(self.converted(page, "--rotate=180").resolution, page.resolution)
        self.assertEqual(self.converted(page, "--rotate=90", "--resolution=3,4").resolution, ((3, 1), (4, 1), 2))

    def test_bits_and_integer_types_scale_by_powers_of_two(self):
        for page in (picture(11, 7), picture(5, 9, samples=3, bits=16), picture(11, 7, bits=12), picture(3, 3, bits=32)):
            for option, bits in (("--bits=10", 10), ("--bits=5", 5), ("--type=u8", 8), ("--type=u16", 16), ("--type=u32", 32)):
                scaled = each(lambda *p: tuple(v << bits >> page.bits for v in p))
                self.check(page, option, scaled(rows(page)), bits=bits, real=False)

    def test_floating_types(self):
        for page in (picture(11, 7), picture(5, 9, samples=3, bits=16), picture(11, 7, bits=12)):
            for option, bits in (("--type=f32", 32), ("--type=f64", 64)):
                self.check(page, option, each(lambda *p: tuple(map(float, p)))(rows(page)), bits=bits, real=True)
                found = self.converted(page, option, "--normalise")
                for value, given in zip(found.pixels, page.pixels):
                    self.assertAlmostEqual(value, given / (2**page.bits - 1), delta=1e-7)

    def test_normalised_values_of_part_of_the_pixie_come_back(self):
        for width, bits in ((11, 12), (2, 1), (9, 7), (300, 15)):
            page = picture(width, 7, bits=bits)
            page.pixels[:2] = [0, 2**bits - 1]
            real = self.converted(page, "--type=f64", "--normalise")
            for value, given in zip(real.pixels, page.pixels):
                self.assertAlmostEqual(value, given / (2**bits - 1), delta=1e-9)
            self.assertEqual(real.pixels[:2], [0.0, 1.0])
            for option in (f"--bits={bits}", f"--type=u32 --bits={bits}"):
                self.assertEqual(self.converted(real, "--normalise", *option.split()).pixels, page.pixels)

    def test_types_follow_each_other(self):
        page = picture(9, 5, samples=3)
        for options, model, bits, real in (
            ("--type=u16 --type=f32", lambda v: float(v << 8), 32, True), ("--bits=5 --type=f64", lambda v: float(v >> 3), 64, True),
            ("--type=f32 --type=u16", lambda v: v, 16, False), ("--type=f64 --type=u16 --bits=4", lambda v: v >> 12, 4, False),
            ("--type=f32 --bits=32", lambda v: v, 32, False), ("--normalise --type=f32 --type=u8", lambda v: v, 8, False)):
            self.check(page, options, each(lambda *p: tuple(map(model, p)))(rows(page)), bits=bits, real=real)
        for bits in (5, 12):
            found = self.converted(page, f"--bits={bits}", "--type=f32", "--normalise")
            for value, given in zip(found.pixels, page.pixels):
                self.assertAlmostEqual(value, (given << bits >> 8) / (2**bits - 1), delta=1e-7)

    def test_floating_values_become_integers(self):
        values = [0.0, 0.25, 0.75, 1.0, 1.5, -1.0, 3.0, 300.0]
        page = tiff.Page(8, 1, values, bits=32, real=True)
        inside = {8: [0, 64, 191, 255, 255, 0, 255, 255], 16: [0, 16384, 49151, 65535, 65535, 0, 65535, 65535]}
        for bits, expected in inside.items():
            found = self.converted(page, f"--type=u{bits}", "--normalise").pixels
            for value, wanted in zip(found, expected):
                self.assertAlmostEqual(value, wanted, delta=1)
        found = self.converted(tiff.Page(4, 1, [0.0, 7.0, -3.0, 300.0], bits=32, real=True), "--type=u8")
        self.assertEqual(found.pixels, [0, 7, 0, 255])

    def test_a_component(self):
        for page in (picture(11, 7, samples=3), picture(11, 7, samples=4, bits=16), picture(5, 5, samples=3, bits=32, real=True)):
            stored = rows(page) if not page.real else rows(self.converted(page))
            for number in range(page.samples):
                self.check(page, f"--component {number + 1}", each(lambda *p: (p[number],))(stored), photometric=1)

    def test_colours(self):
        page = picture(11, 7, samples=3)
        self.check(page, "--colour rgb", rows(page), photometric=2)
        self.check(page, "--colour bgr", rows(page), photometric=2)  # files hold red first
        cmy = each(lambda r, g, b: (255 - r, 255 - g, 255 - b))
        self.check(page, "--colour cmy", cmy(rows(page)))
        cmyk = each(lambda r, g, b: (max(r, g, b) - r, max(r, g, b) - g, max(r, g, b) - b, 255 - max(r, g, b)))
        self.check(page, "--colour cmyk", cmyk(rows(page)), photometric=5)
        self.check(page, "--colour cmyk --colour bgr", rows(page), photometric=2)
        self.check(page, "--colour cmy --colour cmyk", cmyk(rows(page)), photometric=5)
        for name, model, samples, tolerance in (
            ("grey", lambda r, g, b: (0.299 * r + 0.587 * g + 0.114 * b,), 1, 2), ("ycrcb", ycrcb, 3, 2)):
            found = self.converted(page, "--colour", name)
            self.assertEqual(found.samples, samples)
            expected = [v for row in each(model)(rows(page)) for pixel in row for v in pixel]
            self.assertLessEqual(max(abs(a - b) for a, b in zip(found.pixels, expected)), tolerance, name)
        grey = picture(11, 7)
        self.check(grey, "--colour rgb", each(lambda v: (v, v, v))(rows(grey)), photometric=2)
        brightness = each(lambda b, s, h: (b,))(rows(self.converted(page, "--colour", "bsh")))
        self.assertEqual(brightness, each(lambda *p: (max(p),))(rows(page)))

    def test_decimation(self):
        for page in (picture(11, 8), picture(11, 8, bits=16), palette_picture(11, 8)):
            for option, x, y in (("2", 2, 2), ("3,2", 3, 2), ("1,8", 1, 8), ("11,1", 11, 1)):
                kept = [row[: page.width // x * x : x] for row in rows(page)[: page.height // y * y : y]]
                self.check(page, "--decimate " + option, kept, palette=page.palette)

    def test_raw_cells(self):
        page = picture(8, 6, bits=16)
        values = [[v for (v,) in row] for row in rows(page)]
        for phase, places in (("rggb", "0123"), ("grbg", "1032"), ("gbrg", "2301"), ("bggr", "3210")):
            cell = lambda x, y: [values[y & ~1][x & ~1], values[y & ~1][x | 1], values[y | 1][x & ~1], values[y | 1][x | 1]]
            expected = [[tuple(cell(x, y)[int(i)] for i in places) for x in range(8)] for y in range(6)]
            self.check(page, "--bayer " + phase, expected)

    def test_what_cannot_be_is_refused(self):
        real, colour, deep = picture(5, 4, bits=32, real=True), picture(5, 4, samples=3), picture(5, 4, bits=32)
        for page, option, pattern in (
            (deep, "--rotate=90", "32-bit pixels cannot be turned"), (real, "--flip=x", "32-bit float pixels cannot"),
            (real, "--bits=12", "floating-point numbers become integers of 8, 16 or 32 bits, of 12 only with --norm"), (colour, "--component=4", "component 4 of 3"),
            (colour, "--bits=20 --type=f32 --normalise", "20-bit pixels cannot be normalised, only up to 16 and 32 bits"),
            (colour, "--decimate=2", "pixels of 3 components"), (real, "--decimate=2", "32-bit float pixels cannot be dec"),
            (picture(5, 4), "--decimate=6", "no pixel is left"), (deep, "--bayer=rggb", "32-bit pixels are no raw"),
            (picture(5, 4, samples=2), "--colour=rgb", ".*have no such colours"),
            (picture(5, 4, samples=3, bits=32), "--colour=ycrcb", ".*have no such colours")):
            with self.subTest(option=option, pattern=pattern):
                self.refused(1, r".*a\.tif: .*page 1: " + pattern + ".*", "convert", *option.split(), self.make("a.tif", page),
                             self.path("b.tif"))
        path = self.make("a.tif", colour)
        for option in ("--rotate=45", "--flip=z", "--bits=0", "--bits=33", "--type=s8", "--component=0", "--colour=pink",
                       "--decimate=0", "--decimate=1,2,3", "--bayer=4", "--normalise"):
            with self.subTest(option=option):
                self.refused(2, option.split("=")[0] + " (takes|goes).*", "convert", option, path, self.path("b.tif"))


if __name__ == "__main__":
    unittest.main()
