"""Files of other formats than TIFF: what arrives in them and comes back, and what they refuse."""
import unittest

import tiff
from common import ToolTest, as_stored, picture, run

TEXTS = dict(description=b"a frame", software=b"camera 3", copyright=b"me")


class Formats(ToolTest):
    def test_pages_go_there_and_back(self):
        """Within so much of every value; the rest of the page stays."""
        resolution = ((300, 1), (150, 1), 2)
        grey, colour = (picture(40, 30, samples=n, strings=TEXTS, resolution=resolution) for n in (1, 3))
        cases = [
            ("b.jpg", grey, ["--quality=100"], 2, resolution),
            ("b.jpeg", colour, ["--quality=100"], 6, resolution),
        ]
        for name, page, words, most, resolution in cases:
            with self.subTest(name=name, page=page.shape()[:6]):
                there, back = self.path(name), self.path("back.tif")
                self.good("convert", *words, self.make("a.tif", page), there)
                self.good("convert", there, back)
                (found,) = tiff.read(back)
                self.assertEqual(found.shape(), page.shape())
                self.assertLessEqual(max(abs(p - q) for p, q in zip(found.pixels, as_stored(page))), most)
                self.assertEqual(found.resolution, resolution)
                found.strings.pop("datetime", None)
                self.assertEqual(found.strings, TEXTS)

    def test_the_number_of_threads_makes_no_difference(self):
        path = self.make("a.tif", picture(1100, 1003, strings=dict(datetime=b"2024:05:06 07:08:09")))
        for name in ("b.jpg",):
            found = set()
            for threads in (1, 2, 5):
                self.good("convert", "--threads", threads, "--flip=x", path, self.path(name))
                with open(self.path(name), "rb") as file:
                    found.add(file.read())
            self.assertEqual(len(found), 1, name)

    def test_what_a_format_does_not_hold_is_refused(self):
        page = picture(9, 8)
        cases = [
            ("b.jpg", [picture(9, 8, bits=16)], [], 1, "hold 8-bit samples, not 16-bit ones .--bits 8"),
            ("b.jpg", [page, page], [], 1, "a JPEG file holds one page .--pages"),
            ("b.jpg", [picture(9, 8, samples=4)], [], 1, "hold grey or RGB pixels .--colour"),
            ("b.jpg", [page], ["--compression=lzw"], 2, "--compression is for TIFF files, not for JPEG"),
            ("b.tif", [page], ["--quality=50"], 2, "--quality is for JPEG files, not for TIFF"),
        ]
        for name, pages, words, status, text in cases:
            with self.subTest(text):
                self.refused(status, f".*{text}.*", "convert", *words, self.make("a.tif", *pages), self.path(name))
                self.assertEqual(self.files(), ["a.tif"])

    def test_damaged_files_are_blamed(self):
        self.good("convert", self.make("a.tif", picture(90, 80)), self.path("b.jpg"))
        with open(self.path("b.jpg"), "r+b") as file:
            file.truncate(2500)
        for command in (["stat", self.path("b.jpg")], ["convert", self.path("b.jpg"), self.path("c.tif")]):
            done = run(*command)
            self.assertEqual(done.returncode, 1)
            self.assertRegex(done.stderr.decode(), r"b\.jpg: Invalid file format \(code -10\): .+\n\Z")


if __name__ == "__main__":
    unittest.main()
