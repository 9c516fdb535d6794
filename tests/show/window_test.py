"""qvimage show in a window: every pixel against a model."""
import unittest

import numpy
import tifffile

import model
from screen import ShowTest

SIZE = (400, 300)


def ramp(width, height, bits, seed=1):
    """All the bits of integers, with some order for the eye."""
    noise = numpy.random.default_rng(seed).integers(0, 2**bits // 4, (height, width))
    slope = numpy.add.outer(numpy.arange(height), numpy.arange(width)) * (2**bits * 3 // 4) // (width + height)
    return (slope + noise).astype(numpy.uint8 if bits <= 8 else numpy.uint16)


class Window(ShowTest):
    def save(self, name, pages, **more):
        tifffile.imwrite(self.path(name), pages, photometric=more.pop("photometric", "minisblack"), **more)
        return name

    def expect(self, viewer, pixels, **changed):
        found = viewer.pixels()
        numpy.testing.assert_array_equal(found, model.shown(pixels, dict(viewer.last, **changed), SIZE))

    def test_every_pixel_at_every_zoom(self):
        for name, pixels in (("grey", ramp(900, 700, 16)), ("small", ramp(30, 20, 8)),
                             ("colours", numpy.dstack([ramp(500, 333, 8, i) for i in range(3)]))):
            photometric = "rgb" if pixels.ndim == 3 else "minisblack"
            viewer = self.show(self.save(name + ".tif", pixels, photometric=photometric))
            self.expect(viewer, pixels)
            viewer.close()
            for zoom in ("1/8", "1/3", "1", "2", "7", "64"):
                with self.subTest(picture=name, zoom=zoom):
                    viewer = self.show("--zoom", zoom, name + ".tif")
                    self.assertAlmostEqual(viewer.last["zoom"], eval(zoom))
                    if zoom != "64":
                        self.expect(viewer, pixels)
                    viewer.close()


if __name__ == "__main__":
    unittest.main()
