"""qvimage show: files that change, are broken or huge; servers that go; terminals."""
import base64
import os
import re
import subprocess
import time
import unittest

import numpy
import tifffile

from screen import SHOW, Screen, ShowTest, wait_for


def picture(seed, pages=1):
    return numpy.random.default_rng(seed).integers(0, 256, (pages, 200, 300), numpy.uint8)


class Files(ShowTest):
    def test_a_file_that_changes(self):
        viewer = self.show("--zoom", "2", "--levels", "0,300", self.save("a.tif", picture(1)))
        viewer.drag((200, 100), (150, 80))
        viewer.do("mousemove", 200, 310)
        view = {name: viewer.last[name] for name in ("zoom", "x0", "y0", "black", "white")}

        def becomes(pixels, pages=1):
            """The same part of other pixels is seen."""
            self.assertEqual(viewer.settled(lambda s: s["pages"] == pages and s["message"] == "")["page"], 1)
            left, top = round(view["x0"]), round(view["y0"])
            expected = numpy.floor(pixels[top : top + 100, left : left + 150] * (255 / 300) + 0.5)
            wait_for(lambda: (viewer.pixels()[:200:2, :300:2, 0] == expected[:100, :150]).all(), "the picture")
            self.assertEqual({name: viewer.state()[name] for name in view}, view)

        becomes(picture(1)[0])
        self.save("a.tif", picture(2))
        becomes(picture(2)[0])
        self.save("new.tif", picture(3))
        os.rename(self.path("new.tif"), self.path("a.tif"))
        becomes(picture(3)[0])
        self.save("a.tif", picture(4)[0], append=True)
        becomes(picture(3)[0], pages=2)
        # Half of it: the old picture stays, and the reason is told.
        before = viewer.pixels()
        whole = self.content("a.tif")
        os.truncate(self.path("a.tif"), 300 * 100)
        self.assertNotEqual(viewer.settled(lambda s: s["message"] != "")["message"], "")
        numpy.testing.assert_array_equal(viewer.pixels(), before)
        self.put("a.tif", whole)
        becomes(picture(3)[0], pages=2)

    def test_a_series_is_one_stack(self):
        for number in range(1, 6):
            self.save(f"f{number:03}.tif", picture(number)[0])
        viewer = self.show("--zoom", "1", "--page", "3", "f???.tif")
        shown = lambda: viewer.pixels()[50:250, 50:350, 0]
        self.assertEqual(viewer.last["pages"], 5)
        numpy.testing.assert_array_equal(shown(), picture(3)[0])
        viewer.key("Next")
        numpy.testing.assert_array_equal(shown(), picture(4)[0])
        time.sleep(0.6)  # the file has been looked at
        self.save("f004.tif", picture(9)[0])
        wait_for(lambda: (shown() == picture(9)[0]).all(), "the new picture")

    def test_broken_rows_show_as_broken(self):
        self.save("a.tif", picture(1)[0], rowsperstrip=10)
        os.truncate(self.path("a.tif"), os.path.getsize(self.path("a.tif")) - 300 * 45)
        viewer = self.show("--zoom", "1", "a.tif")
        self.assertRegex(viewer.last["message"], "row 15[0-9]: ")
        found = viewer.pixels()[50:250, 50:350]
        numpy.testing.assert_array_equal(found[:150, :, 0], picture(1)[0, :150])
        self.assertTrue((found[160:, :, 1:] == 0).all() and (found[160:, :, 0] >= 80).all())  # checked in red

    def test_huge_pages(self):
        page = tifffile.memmap(self.path("huge.tif"), shape=(60000, 60000), dtype=numpy.uint8, photometric="minisblack")
        page[0, 0] = 255  # the others are a hole in the file
        del page
        since = time.monotonic()
        viewer = self.show("huge.tif", settle=False)
        first = viewer.first_drawing()
        waited = time.monotonic() - since
        with open(f"/proc/{viewer.program.pid}/status") as status:
            memory = int(re.search(r"VmHWM:\s+(\d+) kB", status.read())[1])
        if not os.environ.get("QVIMAGE_SANITIZE"):  # which takes memory of its own
            self.assertLess(memory, 64 * 1024)
        self.assertLess(waited, 10)  # 0.5 s where the machine has nothing else to do
        # A key while means are made of all of it: answered at once, and the work is given up.
        viewer.screen.run("xdotool", "key", "1")
        state = viewer.settled(lambda s: s["zoom"] == 1)
        self.assertGreater(state["serial"], first["serial"])
        self.assertEqual(viewer.end()[0], 0)

    def test_ten_thousand_pages(self):
        self.save("a.tif", numpy.zeros((10000, 2, 5), numpy.uint8))
        viewer = self.show("a.tif")
        since = time.monotonic()
        self.assertEqual(viewer.key("End")["page"], 10000)
        self.assertEqual(viewer.key("Home")["page"], 1)
        self.assertLess(time.monotonic() - since, 10)  # some 100 ms, of which xdotool takes most

    def test_windows_and_servers_go(self):
        screen = Screen()
        viewer = self.show(self.save("a.tif", picture(1)), screen=screen)
        screen.run("xdotool", "windowclose", viewer.window)
        self.assertEqual(viewer.program.wait(30), 0)
        viewer = self.show("a.tif", screen=screen)
        screen.close()
        self.assertEqual(viewer.program.wait(30), 1)
        self.assertEqual(viewer.program.stderr.read(), b"qvimage: the connection to the X server is lost\n")

    def test_refusals(self):
        for status, words, text in (
                (1, ["a.tif"], "no X server answers"), (2, ["--zoom", "0", "a.tif"], "--zoom takes"),
                (2, ["--levels", "1", "a.tif"], "--levels takes"), (2, ["--page", "0", "a.tif"], "--page takes"),
                (2, ["--geometry", "9x9", "a.tif"], "--geometry takes"), (2, ["--graphics", "sixel", "a.tif"], "--terminal"),
                (1, ["--terminal", "none.tif"], "none.tif")):
            self.refused(status, ".*" + re.escape(text) + ".*", "show", *words, env=dict(DISPLAY=":4321"))

    # --- terminals

    def drawn(self, how, *words):
        done = subprocess.run([SHOW, "show", "--terminal", "--graphics", how, *words], cwd=self.folder, check=True,
                              capture_output=True, timeout=60)
        return done.stdout

    def test_terminals(self):
        grey, colours = picture(1)[0], numpy.moveaxis(picture(2, 3), 0, 2)
        self.save("grey.tif", grey)
        self.save("colours.tif", colours)
        size = ["--geometry", "300x201"]
        text = self.drawn("kitty", *size, "colours.tif")
        data = b"".join(re.findall(rb"\x1b_G[^;]*;([^\x1b]*)\x1b", text))
        numpy.testing.assert_array_equal(numpy.frombuffer(base64.b64decode(data), numpy.uint8).reshape(200, 300, 3), colours)

        text = self.drawn("blocks", *size, "--levels", "0,510", "colours.tif").decode()
        half = numpy.floor(colours * 0.5 + 0.5).astype(int)
        pairs = re.findall("38;2;(\\d+);(\\d+);(\\d+)m\x1b\\[48;2;(\\d+);(\\d+);(\\d+)m\u2580", text)
        found = numpy.array(pairs, int).reshape(100, 300, 2, 3).transpose(0, 2, 1, 3).reshape(200, 300, 3)
        numpy.testing.assert_array_equal(found, half)

        found = self.sixels(self.drawn("sixel", *size, "grey.tif"), 300, 200)
        self.assertLessEqual(abs(found[:, :, 0] - grey.astype(int)).max(), 2)  # per cents
        smooth = numpy.full((200, 300, 3), (90, 140, 33), numpy.uint8)
        self.save("smooth.tif", smooth)
        found = self.sixels(self.drawn("sixel", *size, "smooth.tif"), 300, 200)
        self.assertLess(abs(found.mean(axis=(0, 1)) - (90, 140, 33)).max(), 3)  # dots of two colours, mixed

    def sixels(self, text, width, height):
        """A decoder of the test's own."""
        body = re.search(rb'\x1bPq"1;1;\d+;\d+(.*?)\x1b\\', text, re.S)[1].decode()
        out, colours, x, top, current = numpy.full((height + 6, width, 3), -1), {}, 0, 0, None
        for define, number, run, count, letter in re.findall(r"#(\d+);2;(\d+;\d+;\d+)|(#\d+)|(?:!(\d+))?([?-~$-])", body):
            if define:
                colours[int(define)] = [round(int(v) * 2.55) for v in number.split(";")]
            elif run:
                current = colours[int(run[1:])]
            elif letter == "$":
                x = 0
            elif letter == "-" :
                x, top = 0, top + 6
            else:
                for bit in range(6):
                    if (ord(letter) - 63) >> bit & 1:
                        out[top + bit, x : x + int(count or 1)] = current
                x += int(count or 1)
        self.assertGreaterEqual(out[:height].min(), 0)
        return out[:height]


if __name__ == "__main__":
    unittest.main()
