"""qvimage show in a window: what is drawn, every pixel against a model."""
import os
import re
import unittest

import numpy

import model
from screen import Screen, ShowTest, STATUS_HEIGHT

SIZE = (400, 300)
GEOMETRY = f"{SIZE[0]}x{SIZE[1] + STATUS_HEIGHT}+0+0"
GLYPHS = os.path.join(os.path.dirname(__file__), "../../tools/show/glyphs.inc")


def ramp(width, height, bits, seed=1):
    """All the bits of integers, with some order for the eye."""
    noise = numpy.random.default_rng(seed).integers(0, 2**bits // 4, (height, width))
    slope = numpy.add.outer(numpy.arange(height), numpy.arange(width)) * (2**bits * 3 // 4) // (width + height)
    return (slope + noise).astype(numpy.uint8 if bits <= 8 else numpy.uint16)


def colours(width, height, bits=8):
    return numpy.dstack([ramp(width, height, bits, seed) for seed in range(3)])


def text_mask(text):
    """Where the letters of a text are drawn."""
    with open(GLYPHS) as lines:
        rows = [bytes(int(v, 16) for v in re.findall("0x(..)", line)) for line in lines]
    glyphs = [numpy.unpackbits(numpy.frombuffer(rows[ord(c) - 32], numpy.uint8)).reshape(13, 8) for c in text]
    return numpy.hstack(glyphs).astype(bool)


class Window(ShowTest):
    def view(self, *words, **more):
        return self.show(*words, geometry=GEOMETRY, **more)

    def expect(self, viewer, pixels, change=lambda picture: picture):
        expected = change(model.shown(pixels, viewer.last, SIZE))
        numpy.testing.assert_array_equal(viewer.pixels(), expected, err_msg=str(viewer.last))

    def test_every_zoom(self):
        for name, pixels in (("deep", ramp(900, 700, 16)), ("small", ramp(30, 20, 8)), ("colours", colours(500, 333))):
            self.save(name + ".tif", pixels)
            for start in ([], ["--zoom", "1/8"], ["--zoom", "1/3"], ["--zoom", "40"]):
                viewer = self.view(*start, name + ".tif")
                with self.subTest(picture=name, start=start):
                    self.expect(viewer, pixels)
                    shown = viewer.pixels()
                    height, width, _ = shown.shape
                    numpy.testing.assert_array_equal(self.screen.frame_buffer()[:height, :width], shown)
                if not start:
                    for key in "127":
                        with self.subTest(picture=name, zoom=key):
                            self.assertEqual(viewer.key(key)["zoom"], int(key))
                            self.expect(viewer, pixels)
                viewer.close()

    def test_values_stand_in_large_pixels(self):
        pixels = ramp(20, 20, 12)
        viewer = self.view("--zoom", "64", self.save("a.tif", pixels))
        state, found = viewer.last, viewer.pixels()
        plain = model.shown(pixels, state, SIZE)
        left, top = round(state["x0"] * 64), round(state["y0"] * 64)
        x, y = -(-left // 64), -(-top // 64)  # the first whole pixel
        sx, sy = x * 64 - left, y * 64 - top
        text = text_mask(str(pixels[y, x]))
        cell = (found != plain).any(axis=2)[sy : sy + 64, sx : sx + 64]
        expected = numpy.zeros((64, 64), bool)
        expected[2:15, 2 : 2 + text.shape[1]] = text
        numpy.testing.assert_array_equal(cell, expected)

    def test_levels(self):
        deep, real = ramp(120, 90, 12), ramp(120, 90, 16).astype(numpy.float32) / 7 - 1000
        self.save("deep.tif", deep)
        holes = real.copy()
        holes[5:20, 7:30], holes[40, 40], holes[41, 41] = numpy.nan, numpy.inf, -numpy.inf
        constant = numpy.full((50, 60), 3.5, numpy.float32)

        def outside(values, fraction):
            ordered = numpy.sort(values.ravel())
            return [ordered[int(part * (ordered.size - 1))] for part in (fraction, 1 - fraction)]

        viewer = self.view("deep.tif")
        for key, levels in (("", (0, 65535)), ("a", outside(deep, 0.001)), ("a", outside(deep, 0.005)),
                            ("r", (0, 65535))):
            state = viewer.key(key) if key else viewer.last
            self.assertEqual((state["black"], state["white"]), tuple(levels), key)
            self.expect(viewer, deep)
        viewer.key("a")
        width = viewer.last["white"] - viewer.last["black"]
        for key, which, sign in (("bracketright", "black", 1), ("bracketleft", "black", -1), ("braceleft", "white", -1)):
            before = viewer.last
            self.assertAlmostEqual((viewer.key(key)[which] - before[which]) * sign, width / 64, delta=width / 1000)
            self.expect(viewer, deep)
        before = viewer.last
        after = viewer.drag((200, 150), (240, 150), button=3)
        for side in ("black", "white"):
            self.assertAlmostEqual(after[side] - before[side], (before["white"] - before["black"]) / 10)
        self.expect(viewer, deep)
        for name, pixels in (("real", real), ("holes", holes), ("constant", constant)):
            viewer = self.view(self.save(name + ".tif", pixels))
            finite = pixels[numpy.isfinite(pixels)].astype(float)
            least, most = finite.min(), finite.max()
            self.assertEqual((viewer.last["black"], viewer.last["white"]), (least, most if most > least else least + 1))
            nothing = numpy.isnan(model.blocks(pixels[:, :, None], viewer.last["zoom"], viewer.last["x0"], viewer.last["y0"],
                                               SIZE)[:, :, 0])
            inside = ~numpy.isnan(model.blocks(numpy.zeros((*pixels.shape, 1)), viewer.last["zoom"], viewer.last["x0"],
                                               viewer.last["y0"], SIZE)[:, :, 0])
            expected = model.shown(pixels, viewer.last, SIZE)
            expected[nothing & inside] = (255, 0, 255)
            numpy.testing.assert_array_equal(viewer.pixels(), expected, err_msg=name)

    def test_turned_and_mirrored(self):
        pixels = ramp(150, 90, 8)
        viewer = self.view("--zoom", "2", self.save("a.tif", pixels))
        turns = {"greater": lambda p: numpy.rot90(p, -1), "less": lambda p: numpy.rot90(p), "bar": numpy.fliplr}
        for key in ("greater", "bar", "greater", "less", "less", "bar", "less"):
            pixels = turns[key](pixels)
            viewer.key(key)
            with self.subTest(key=key):
                self.expect(viewer, pixels)
        viewer.do("mousemove", 211, 133)  # the value is that of the page as it is stored
        x, y = (int((211 + 2 * viewer.last["x0"]) // 2), int((133 + 2 * viewer.last["y0"]) // 2))
        self.assertEqual(viewer.settled(lambda s: s["value"] is not None)["value"], pixels[y, x])

    def test_components_palettes_inverted_false_colours(self):
        pixels = colours(90, 60)
        viewer = self.view("--zoom", "3", self.save("a.tif", pixels))
        for component in range(3):
            viewer.key("c")
            self.expect(viewer, pixels[:, :, component])
        viewer.key("i")
        self.expect(viewer, pixels[:, :, 2], lambda p: self.within(viewer, pixels, 255 - p))
        viewer.key("i", "m")
        hot = lambda p: numpy.stack([numpy.clip(3 * p[:, :, 0] - k, 0, 255) for k in (0, 255, 510)], axis=2)
        self.expect(viewer, pixels[:, :, 2], hot)
        viewer.key("m", "c")
        self.expect(viewer, pixels)

        index = ramp(80, 50, 8)
        palette = numpy.random.default_rng(3).integers(0, 256, (3, 256)).astype(numpy.uint16) * 257
        self.save("p.tif", index, photometric="palette", colormap=palette)
        viewer = self.view("--zoom", "3", "p.tif")
        self.expect(viewer, palette.T[index] // 257)
        viewer.key("P")
        self.expect(viewer, index)

    def within(self, viewer, pixels, picture):
        """What lies beside the picture stays black."""
        beside = numpy.isnan(model.blocks(pixels[:, :, :1], viewer.last["zoom"], viewer.last["x0"], viewer.last["y0"], SIZE))
        picture[beside[:, :, 0]] = 0
        return picture

    def test_histogram(self):
        pixels = ramp(200, 120, 8)
        viewer = self.view("--zoom", "1", self.save("a.tif", pixels))
        viewer.key("H")
        counts = numpy.histogram(pixels, 256, (0, 255))[0]
        bars = viewer.pixels()[4:104, 400 - 4 - 256 : 400 - 4]
        heights = (bars == 255).all(axis=2).sum(axis=0)
        numpy.testing.assert_array_equal(heights, -(-counts * 100 // counts.max()))

    def test_other_screens(self):
        pixels = colours(300, 200)
        self.save("a.tif", pixels)
        for depth, bits in ((16, (5, 6, 5)), (30, (10, 10, 10))):
            screen = Screen(depth)
            self.addCleanup(screen.close)
            viewer = self.view("--zoom", "1", "a.tif", screen=screen)
            scale = [(lambda p, b=b: p >> (8 - b) if b <= 8 else p << (b - 8)) for b in bits]
            self.expect(viewer, pixels, lambda p: numpy.stack([scale[c](p[:, :, c]) for c in range(3)], axis=2))
        screen = Screen(8, visual_class=3)
        self.addCleanup(screen.close)
        with self.assertRaisesRegex(AssertionError, "colours of a map"):
            self.view("a.tif", screen=screen)


if __name__ == "__main__":
    unittest.main()
