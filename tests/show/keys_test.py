"""qvimage show: what keys and the mouse do to what is shown."""
import subprocess
import unittest

import numpy
import tifffile

from screen import SHOW, ShowTest, wait_for

WIDTH, HEIGHT = 400, 300  # of the window's picture


def numbered(width=256, height=256):
    """Every pixel has a value of its own."""
    return numpy.arange(width * height, dtype=numpy.uint16).reshape(height, width)


class Keys(ShowTest):
    def value_at(self, viewer, x, y):
        viewer.do("mousemove", x, y)
        return viewer.settled(lambda state: state["value"] is not None)["value"]

    def test_values_under_the_pointer(self):
        places = numpy.random.default_rng(1).integers((20, 20), (380, 280), (17, 2)).tolist()
        deep = numbered(700, 90) % 4096
        self.put("deep.pgm", b"P5 700 90 4095\n" + deep.astype(">u2").tobytes())
        for zoom in ("1/2", "1", "7"):
            viewer = self.show("--zoom", zoom, "deep.pgm")
            for x, y in places:
                state = viewer.last
                px, py = (int((s / state["zoom"] + state[o]) + 1e-9) for s, o in ((x, "x0"), (y, "y0")))
                inside = 0 <= y / state["zoom"] + state["y0"] < 90 and 0 <= x / state["zoom"] + state["x0"] < 700
                if inside:
                    self.assertEqual(self.value_at(viewer, x, y), deep[py, px], (zoom, x, y))
        reals = numpy.array([[[1.5, float("nan"), -3e-9]]], numpy.float32)
        viewer = self.show(self.save("reals.tif", reals, photometric="rgb"))
        self.assertEqual(self.value_at(viewer, 200, 150), [1.5, "nan", -3.00000003e-09])

    def test_zoom_keeps_what_is_under_the_pointer(self):
        viewer = self.show("--zoom", "4", self.save("a.tif", numbered()))
        viewer.drag((380, 280), (20, 20))
        x, y = 187, 133
        value = self.value_at(viewer, x, y)
        for step in (["key", "plus"], ["click", "4"], ["key", "7"], ["key", "minus", "minus"], ["click", "5"]):
            before = viewer.last["zoom"]
            viewer.do(*step)
            self.assertNotEqual(viewer.last["zoom"], before)
            self.assertEqual(viewer.settled(lambda s: s["value"] is not None)["value"], value, step)

    def test_moving(self):
        viewer = self.show("--zoom", "3", self.save("a.tif", numbered()))
        viewer.key("l", "j")
        before, picture = viewer.last, viewer.pixels()
        after = viewer.drag((200, 100), (237, 121))
        self.assertAlmostEqual(before["x0"] - after["x0"], 37 / 3)
        self.assertAlmostEqual(before["y0"] - after["y0"], 21 / 3)
        numpy.testing.assert_array_equal(viewer.pixels()[21:, 37:], picture[:-21, :-37])
        viewer.do("mousemove", 200, 310)
        for key, corner in (("Left", ("x0", 0)), ("Down", ("y0", 256 - HEIGHT / 3)), ("Right", ("x0", 256 - WIDTH / 3)),
                            ("Up", ("y0", 0))):
            viewer.do("key", "--repeat", "3", "--delay", "1", f"shift+{key}")
            self.assertAlmostEqual(viewer.last[corner[0]], corner[1], msg=key)

    def test_pages_and_files(self):
        pages = numpy.stack([numbered(60, 50) + 100 * i for i in range(20)])
        viewer = self.show("--zoom", "3", "--levels", "50,5000", self.save("a.tif", pages), self.save("b.tif", pages[::-1]))
        viewer.drag((200, 100), (180, 90))
        viewer.do("mousemove", 200, 150)
        view = {name: viewer.last[name] for name in ("zoom", "x0", "y0", "black", "white")}
        page = 0
        for keys, page in ((["Next"], 1), (["Next"], 2), (["Prior"], 1), (["End"], 19), (["Next"], 19), (["Home"], 0),
                           (["1", "2", "g"], 11), (["n"], 11), (["p"], 11)):
            viewer.key(*keys)
            state = viewer.settled(lambda s: s["value"] is not None)
            self.assertEqual((state["page"], state["pages"]), (page + 1, 20), keys)
            first = 19 - page if state["file"] == "b.tif" else page
            y, x = divmod(state["value"] - 100 * first, 60)
            self.assertEqual((x, y), (int(200 / 3 + state["x0"]), int(150 / 3 + state["y0"])), keys)
            self.assertEqual({name: state[name] for name in view}, view, keys)

    def test_a_region_is_printed_and_gives_levels(self):
        pixels = numbered()
        viewer = self.show("--zoom", "2", self.save("a.tif", pixels))
        viewer.drag((101, 81), (251, 190), shift=True)
        x, y = int(viewer.last["x0"] + 101 / 2), int(viewer.last["y0"] + 81 / 2)
        x_end, y_end = int(viewer.last["x0"] + 251 / 2) + 1, int(viewer.last["y0"] + 190 / 2) + 1
        viewer.key("a")
        part = numpy.sort(pixels[y:y_end, x:x_end].ravel())
        self.assertEqual([viewer.last["black"], viewer.last["white"]],
                         [part[int(f * (part.size - 1))] for f in (0.001, 0.999)])
        viewer.key("Return")
        status, out, err = viewer.end()
        self.assertEqual((status, out, err), (0, f"--crop {x},{y},{x_end - x},{y_end - y}\n", ""))
        subprocess.run([SHOW, "convert", *out.split(), self.path("a.tif"), self.path("b.tif")], check=True)
        numpy.testing.assert_array_equal(tifffile.imread(self.path("b.tif")), pixels[y:y_end, x:x_end])

    def test_blink_and_difference(self):
        first = (numbered(100, 80) % 256).astype(numpy.uint8)
        second = first.copy()
        second[20:40, 10:30] ^= 3
        viewer = self.show("--zoom", "2", *(self.save(n, p) for n, p in (("a.tif", first), ("b.tif", second), ("c.tif", second))))
        viewer.key("b")
        left, top = round(-2 * viewer.last["x0"]), round(-2 * viewer.last["y0"])
        shown = lambda: viewer.pixels()[top : top + 160 : 2, left : left + 200 : 2, 0]
        for picture in (second, first, second):
            wait_for(lambda: (shown() == picture).all(), "the other file")
        for key, times in (("d", 1), ("d", 8), ("d", 64)):
            viewer.key(key)
            expected = numpy.minimum(abs(first.astype(int) - second) * times, 255)
            numpy.testing.assert_array_equal(shown(), expected, err_msg=str(times))
        viewer.key("d", "n", "d", "d")
        self.assertFalse(viewer.pixels().any())  # b and c are equal

    def test_saved_is_what_is_shown(self):
        viewer = self.show("--zoom", "2", self.save("a.tif", numbered()))
        viewer.key("m", "s", "s")
        shown = viewer.pixels()
        for name in ("a-page1.tif", "a-page1-2.tif"):
            numpy.testing.assert_array_equal(tifffile.imread(self.path(name)), shown)
        self.assertEqual(viewer.end("Escape")[0], 0)

    def test_plays_at_the_rate_of_the_file(self):
        self.save("a.tif", numpy.zeros((200, 30, 40), numpy.uint8))
        subprocess.run([SHOW, "convert", "--rate", "20", self.path("a.tif"), self.path("a.avi")], check=True)
        viewer = self.show("a.avi")
        # The second half of what was played, so that the start does not count.
        viewer.key("space")
        import time
        page, since = viewer.state()["page"], time.monotonic()
        later = viewer.settled(lambda state: state["page"] >= page + 40)
        self.assertAlmostEqual((time.monotonic() - since) * 20, later["page"] - page, delta=15)

    def test_help(self):
        viewer = self.show(self.save("a.tif", numbered()))
        before = viewer.pixels()
        viewer.key("question")
        self.assertTrue((viewer.pixels() != before).any())
        viewer.key("question")
        numpy.testing.assert_array_equal(viewer.pixels(), before)


if __name__ == "__main__":
    unittest.main()
