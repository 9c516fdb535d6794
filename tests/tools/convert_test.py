"""qvimage convert: pixels and everything else arrive, whole files or none."""
import itertools
import os
import pty
import resource
import signal
import subprocess
import time
import unittest

import tiff
from common import TOOL, ToolTest, as_stored, palette_picture, picture, run

COMPRESSIONS = {"none": 1, "lzw": 5, "lzw-predictor": 5, "packbits": 32773, "arithmetic": 32885,
                "arithmetic-predictor": 32885}


class Convert(ToolTest):
    def same(self, page, expected):
        self.assertEqual(page.shape(), expected.shape())
        self.assertEqual(page.pixels, as_stored(expected))

    def test_every_compression_brings_back_every_kind_of_page(self):
        pages = [
            picture(67, 31), picture(67, 31, bits=16), picture(67, 31, bits=32), picture(67, 31, samples=2),
            picture(67, 31, samples=3), picture(67, 31, samples=3, photometric=6), picture(67, 31, samples=4),
            picture(67, 31, samples=3, bits=16), picture(67, 31, bits=32, real=True),
            picture(67, 31, bits=64, real=True), palette_picture(67, 31), palette_picture(67, 31, bits=4),
            palette_picture(67, 31, bits=1), picture(67, 31, bits=12), picture(67, 31, bits=1),
        ]
        for name, code in COMPRESSIONS.items():
            with self.subTest(compression=name):
                served = [page for page in pages if name == "none" or not page.real and (code != 32885 or page.bits <= 12)]
                original, coded = self.make("a.tif", *served, order=">"), self.path("coded.tif")
                self.good("convert", "--compression", name, original, coded)
                self.assertEqual({page.compression for page in tiff.read(coded)}, {code})
                self.good("diff", original, coded)
                back = self.path("back.tif")
                self.good("convert", "--compression=none", coded, back)
                for found, page in zip(tiff.read(back), served, strict=True):
                    self.same(found, page)

    def test_what_no_option_changes_stays(self):
        strings = dict(description=b"a frame", software=b"camera", datetime=b"2024:05:06 07:08:09", copyright=b"me")
        page = picture(40, 30, rows_per_strip=7, strings=strings, resolution=((600, 7), (500, 3), 3), version=43)
        found = self.converted(page)
        self.same(found, page)
        self.assertEqual((found.strings, found.resolution, found.version, found.rows_per_strip),
                         (strings, page.resolution, 43, 7))
        for name in COMPRESSIONS:
            self.good("convert", "--compression", name, self.path("b.tif"), self.path("c.tif"))
            self.good("convert", self.path("c.tif"), self.path("d.tif"))
            self.assertIn(f"compression  {name}\n", self.good("info", self.path("d.tif")))

    def test_options_change_the_description(self):
        page = self.converted(picture(9, 9, strings=dict(description=b"old", software=b"old")), "--description", "new",
                              "--software=", "--bigtiff", "--copyright", "c", "--resolution", "118.5,200cm")
        self.assertEqual(page.version, 43)
        self.assertEqual(page.resolution, ((118500, 1000), (200, 1), 3))
        page.strings.pop("datetime", None)
        self.assertEqual(page.strings, dict(description=b"new", copyright=b"c"))

    def test_pages_are_chosen_and_may_all_differ(self):
        mixed = [picture(5, 4), picture(7, 3, samples=3), picture(6, 6, bits=16), palette_picture(5, 4)]
        alike = [tiff.Page(4, 3, [i] * 12, strings=dict(description=b"%d" % i)) for i in range(30)]
        odd_one = alike[:9] + [picture(5, 5)] + alike[10:]
        for pages in (mixed, alike, odd_one):
            path = self.make("a.tif", *pages)
            for choice, chosen in ((None, pages), ("2-3", pages[1:3]), ("4", pages[3:4]), ("2-", pages[1:])):
                with self.subTest(count=len(pages), choice=choice):
                    self.good("convert", *(["--pages", choice] if choice else []), path, self.path("b.tif"))
                    found = tiff.read(self.path("b.tif"))
                    self.assertEqual(len(found), len(chosen))
                    for page, expected in zip(found, chosen):
                        self.same(page, expected)
                        self.assertEqual(page.strings.get("description"), expected.strings.get("description"))

    def test_what_is_not_carried_over_is_named(self):
        pages = [picture(8, 8, more={34675: 7, 274: 6}), picture(8, 8, more={700: 1, 34675: 7, 60000: 1})]
        path, out = self.make("a.tif", *pages), self.path("b.tif")
        done = run("convert", path, out)
        self.assertEqual((done.returncode, done.stderr.decode()), (
            0, f"qvimage: {path}: not carried over: Orientation 6 (--upright applies it), ICC profile, XMP, tag 60000\n"))
        self.good("convert", "--quiet", path, out)

    def test_upright_turns_as_the_orientation_says(self):
        page = picture(7, 5)
        rows = [page.pixels[y * 7 : y * 7 + 7] for y in range(5)]
        turned = lambda rows: [list(row) for row in zip(*rows)]
        mirrored = lambda rows: [row[::-1] for row in rows]
        expected = [rows, mirrored(rows), mirrored(rows[::-1]), rows[::-1], turned(rows), mirrored(turned(rows)),
                    mirrored(turned(rows)[::-1]), turned(rows)[::-1]]
        for orientation, upright in enumerate(expected, 1):
            page.more = {274: orientation}
            found = self.converted(page, "--upright")
            self.assertEqual((found.width, found.pixels), (len(upright[0]), sum(upright, [])), orientation)

    def test_alpha_is_dropped_only_when_asked(self):
        page = picture(6, 5, samples=4, photometric=2, more={338: 2})
        path, out = self.make("a.tif", page), self.path("b.tif")
        self.refused(1, r".*a\.tif: .*page 1: RGB with alpha is not written \(--drop-alpha writes the RGB\)", "convert",
                     path, out)
        for words in ([], ["--rotate=180", "--rotate=180"], ["--compression=lzw"]):
            self.good("convert", "--drop-alpha", *words, path, out)
            self.good("convert", "--compression=none", out, self.path("c.tif"))
            (found,) = tiff.read(self.path("c.tif"))
            self.assertEqual((found.samples, found.photometric), (3, 2))
            self.assertEqual(found.pixels, [v for i, v in enumerate(page.pixels) if i % 4 != 3])

    def test_refused_and_damaged_pages_are_blamed_and_hide_no_others(self):
        pages = [picture(9, 9, compression=7), picture(9, 9), picture(50, 40, rows_per_strip=4)]
        self.good("convert", "--pages=2", self.make("a.tif", *pages), self.path("b.tif"))
        self.same(tiff.read(self.path("b.tif"))[0], pages[1])
        self.good("convert", "--pages=3", "--compression=lzw", self.path("a.tif"), self.path("b.tif"))
        coded = self.content("b.tif")
        self.put("b.tif", coded[:400] + b"\xff" * 50 + coded[450:])
        for words in ([], ["--rotate=90"], ["--type=u16"], ["--mean"]):
            self.refused(1, r".*b\.tif: Invalid file format \(code -10\): .*page 1, strip \d+ .*row \d+: LZW.*", "convert",
                         *words, self.path("b.tif"), self.path("c.tif"))
        self.assertEqual(self.files(), ["a.tif", "b.tif"])

    def test_append_adds_behind_the_last_page_in_the_files_own_ways(self):
        first, second = [picture(5, 4), picture(6, 4)], [picture(7, 4, bits=16), picture(8, 4)]
        for order, version in itertools.product("<>", (42, 43)):
            with self.subTest(order=order, version=version):
                for page in first:
                    page.version = version
                target = self.make("target.tif", *first, order=order)
                self.good("convert", "--append", self.make("more.tif", *second), target)
                found = tiff.read(target)
                self.assertEqual([page.version for page in found], [version] * 4)
                for page, expected in zip(found, first + second):
                    self.same(page, expected)
        self.good("convert", "--append", self.path("more.tif"), self.path("new.tif"))
        self.assertEqual(len(tiff.read(self.path("new.tif"))), 2)

    def test_processes_that_append_at_once_lose_no_page(self):
        source, target = self.make("a.tif", picture(60, 50)), self.make("b.tif", picture(5, 5))
        together = [subprocess.Popen([TOOL, "convert", "--append", source, target]) for _ in range(8)]
        self.assertEqual({process.wait(60) for process in together}, {0})
        self.assertEqual([page.width for page in tiff.read(target)], [5] + [60] * 8)

    def test_the_target_may_be_the_source_and_keeps_its_permissions_and_links(self):
        page = picture(50, 50)
        path = self.make("a.tif", page)
        os.chmod(path, 0o640)
        os.symlink("a.tif", self.path("link.tif"))
        self.good("convert", "--compression=packbits", path, self.path("link.tif"))
        self.assertTrue(os.path.islink(self.path("link.tif")))
        self.assertEqual(os.stat(path).st_mode & 0o777, 0o640)
        self.assertIn("packbits", self.good("info", path))
        self.assertEqual(self.files(), ["a.tif", "link.tif"])
        os.mkfifo(self.path("pipe.tif"))
        self.refused(1, ".*this is not a regular file", "convert", path, self.path("pipe.tif"))

    def test_the_number_of_threads_makes_no_difference(self):
        strings = dict(datetime=b"2024:05:06 07:08:09")
        strip = picture(700, 9, bits=16).pixels
        pages = [tiff.Page(700, 9 * n, strip * n, bits=16, strings=strings, rows_per_strip=more)
                 for n, more in ((90, 0), (89, 7), (1, 0))]
        path = self.make("a.tif", *pages)
        steps = (["--compression=lzw-predictor"], ["--compression=packbits", "--rotate=90"], ["--flip=y"])
        for words in steps:
            found = set()
            for threads in (1, 2, 7):
                self.good("convert", "--threads", threads, *words, path, self.path("b.tif"))
                found.add(self.content("b.tif"))
            self.assertEqual(len(found), 1, words)
            os.rename(self.path("b.tif"), path)
        other = self.make("c.tif", tiff.Page(700, 810, strip[::-1] * 90, bits=16))
        self.good("convert", "--flip=x", other, other)
        for command in (["stat", path], ["diff", path, other]):
            self.assertEqual(len({run(*command, "--threads", threads).stdout for threads in (1, 2, 7)}), 1)

    def test_turns_more_pixels_than_are_held_in_memory(self):
        width, height = 9000, 8000
        marks = {(0, 0): 1, (8999, 0): 2, (17, 4711): 3, (8999, 7999): 4}
        path = self.make_sparse("a.tif", width, height, marks)
        self.good("convert", "--compression=packbits", path, self.path("packed.tif"))
        self.good("convert", "--rotate=90", self.path("packed.tif"), self.path("b.tif"))
        for (x, y), value in marks.items():
            self.good("convert", "--compression=none", "--crop", f"{height - 1 - y},{x},1,1", self.path("b.tif"),
                      self.path("c.tif"))
            self.assertEqual(tiff.read(self.path("c.tif"))[0].pixels, [value])
        limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096))
        before = self.files()
        self.refused(1, r".*d\.tif: File not creatable .*: no room of 72000000 bytes beside it for .*", "convert",
                     "--rotate=90", path, self.path("d.tif"), preexec_fn=limit)
        self.assertEqual(self.files(), before)


class Whole(ToolTest):
    """Nothing half done is left behind."""

    def setUp(self):
        super().setUp()
        self.big = self.make_sparse("big.tif", 25000, 25000)  # takes some seconds to code

    def interrupted(self, *words, by=signal.SIGINT, watch=lambda: True, stderr=subprocess.DEVNULL):
        tool = subprocess.Popen([TOOL, *words], stdout=subprocess.DEVNULL, stderr=stderr)
        deadline = time.monotonic() + 30
        while not watch() and tool.poll() is None and time.monotonic() < deadline:
            time.sleep(0.005)
        self.assertIsNone(tool.poll(), "it ended before it could be interrupted")
        tool.send_signal(by)
        return tool.wait(30)

    def growing(self, known):
        """Is a file that was not there before, or the known one, getting its pixels?"""
        sizes = {name: os.path.getsize(self.path(name)) for name in os.listdir(self.folder)}
        return any(size > known.get(name, 0) for name, size in sizes.items())

    def test_an_interrupt_leaves_no_file_and_an_old_one_as_it_was(self):
        self.make("old.tif", picture(9, 9))
        content, before = self.content("old.tif"), self.files()
        known = {name: os.path.getsize(self.path(name)) for name in before}
        for target, more, by in (("new.tif", [], signal.SIGINT), ("old.tif", [], signal.SIGTERM),
                                 ("old.tif", ["--append"], signal.SIGINT)):
            with self.subTest(target=target, more=more):
                status = self.interrupted("convert", "--compression=lzw-predictor", *more, self.big,
                                          self.path(target), by=by, watch=lambda: self.growing(known))
                self.assertEqual(status, -by)
                self.assertEqual(self.files(), before)
                self.assertEqual(self.content("old.tif"), content)
        os.mkfifo(self.path("pipe"))
        opened = lambda: os.open(self.path("pipe"), os.O_WRONLY)  # waits for the other side
        self.assertEqual(self.interrupted("convert", self.path("pipe"), self.path("new.tif"), by=signal.SIGTERM,
                                          watch=opened), -signal.SIGTERM)

    def test_a_full_disk_leaves_no_file_and_an_old_one_as_it_was(self):
        source = self.make("a.tif", picture(300, 300), picture(300, 300))
        self.make("old.tif", picture(9, 9))
        content, before = self.content("old.tif"), self.files()
        for target, more, limit in itertools.product(("new.tif", "old.tif"), ([], ["--append"]),
                                                     (100, 4096, 70000, 100000)):
            if (target, more) == ("old.tif", ["--append"]) and limit > 90000:
                continue  # the first page fits and stays
            with self.subTest(target=target, more=more, limit=limit):
                self.refused(1, r".*Linux file read/write error \(code -7\).*: File too large", "convert", *more,
                             source, self.path(target),
                             preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
                self.assertEqual(self.files(), before)
                self.assertEqual(self.content("old.tif"), content)

    def test_long_work_shows_a_bar_on_a_terminal(self):
        terminal, side = pty.openpty()
        started = time.monotonic()
        self.interrupted("convert", "--compression=lzw-predictor", self.big, self.path("new.tif"), stderr=side,
                         watch=lambda: time.monotonic() > started + 1)
        os.close(side)
        shown = os.read(terminal, 100000).decode()
        os.close(terminal)
        self.assertRegex(shown, r"\A\r\[#* *\] +\d+ %")
        self.assertTrue(shown.endswith("\r\x1b[K"), "the bar is wiped")


if __name__ == "__main__":
    unittest.main()
