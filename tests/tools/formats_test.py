"""Files of other formats than TIFF: what arrives in them and comes back, and what they refuse."""
import os
import unittest

import tiff
from common import ToolTest, as_stored, palette_picture, picture, run

TEXTS = dict(description=b"a frame", software=b"camera 3", copyright=b"me")


class Formats(ToolTest):
    def word(self, name):
        """A path in the test's folder, or a word that has FOLDER where that is to stand."""
        return name.replace("FOLDER", self.folder) if "FOLDER" in name or name.endswith("-") else self.path(name)

    def test_words_for_other_things_than_a_file(self):
        """Pages go there and back, into as many files as there are; the content of the first one is told."""
        grey, deep, colour = picture(9, 8), picture(9, 8, bits=12), picture(9, 8, samples=3)
        little = lambda page: b"".join(v.to_bytes(2, "little") for v in page.pixels)
        big = lambda page: b"".join(v.to_bytes(2, "big") for v in page.pixels)
        many = [tiff.Page(9, 8, [i] * 72) for i in range(12)]
        cases = [
            ("raw:FOLDER/b:9x8:u8", "", [grey], 1, bytes(grey.pixels)),
            ("raw:FOLDER/b:c:9x8x12:u8", "", many, 1, b"".join(bytes(page.pixels) for page in many)),
            ("raw:FOLDER/b:9x8:u16:12", "", [deep], 1, little(deep)),
            ("raw:FOLDER/b:9x8:u16:12:be@10", "", [deep], 1, bytes(10) + big(deep)),
            ("raw:FOLDER/b:9x8:u8x3", "", [colour], 1, bytes(colour.pixels)),
            ("raw:FOLDER/b", ":9x8:u16:12", [deep], 1, little(deep)),
            ("raw:FOLDER/b??:9x8:u8", "", many, 12, bytes(many[0].pixels)),
            ("b?????.pgm", "", many, 12, None),
            ("b??.tif", "", many + many, 24, None),
            ("series:FOLDER/?b?.bmp:7-", "", many, 12, None),
            ("series:FOLDER/b???.fits:0-11", "", many, 12, None),
        ]
        for name, more, pages, files, content in cases:
            with self.subTest(name):
                source, word, back = self.make("a.tif", *pages), self.word(name), self.path("back.tif")
                self.good("convert", "--quiet", source, word)
                made = [file for file in self.files() if file != "a.tif"]
                self.assertEqual(len(made), files, made)
                if content is not None:
                    self.assertEqual(self.content(made[0]), content)
                self.good("convert", word + more, back)
                self.assertEqual([page.pixels for page in tiff.read(back)], [page.pixels for page in pages])
                self.good("diff", source, word + more)
                for file in made + ["back.tif"]:
                    os.remove(self.path(file))

    def test_files_follow_each_other(self):
        pages = [tiff.Page(9, 8, [i] * 72) for i in range(4)]
        one, two = self.make("a.tif", *pages[:3]), self.make("c.tif", pages[3])
        self.good("convert", two, self.path("b.pgm"))
        self.good("convert", one, self.path("b.pgm"), self.path("all.tif"), "--pages=2-")
        self.assertEqual([page.pixels[0] for page in tiff.read(self.path("all.tif"))], [1, 2, 3])
        self.good("convert", "--mean", one, self.path("b.pgm"), self.path("mean.pgm"))
        self.assertIn("mean 2,", self.good("stat", self.path("mean.pgm")))  # of 1.5, rounded up
        self.refused(1, r".*d2\.tif: File not found .*", "info", f"series:{self.path('d?.tif')}:2-3")
        self.refused(1, r".*d\?\.tif: File not found .*: no file has such a name.*", "info", self.path("d?.tif"))

    def test_standard_input_and_output(self):
        path = self.make("a.tif", picture(40, 30, samples=3))
        content = self.content("a.tif")
        for name in ("tiff", "jpeg", "pnm", "bmp", "fits", "avi"):
            with self.subTest(name):
                words = (["--format", name, "-"], [name + ":-"])[name in ("pnm", "avi")]
                out = run("convert", "--quiet", "-", *words, input=content)
                self.assertEqual((out.returncode, out.stderr), (0, b""))
                self.good("convert", "--quiet", path, self.path("b"), "--format", name)
                self.assertEqual(run("diff", "-", self.path("b"), input=out.stdout).returncode, 0)
                self.assertEqual(len(self.content("b")), len(out.stdout))
        self.assertIn("raw, 12 pages", self.good("info", "raw:-:9x8:u8", input=bytes(12 * 72)))
        self.refused(2, "raw:-: size and type are missing.*", "info", "raw:-", input=b"")
        self.assertRegex(run("info", "-", input=b"").stderr.decode(), "standard input: .* the file is empty")
        for words in (["info", "/dev/stdin"], ["diff", "-", "-"], ["diff", "/dev/stdin", path]):
            self.good(*words, input=content)
        for stream, source, status in ((1, "-", 1), (0, path, 0), (2, path, 0)):
            with open(path) as file:
                done = run("convert", "--quiet", source, "pnm:-", stdin=file, preexec_fn=lambda: os.close(stream))
            self.assertEqual((done.returncode, len(done.stdout) > 3600), (status, status == 0))
        self.refused(1, "/dev/null: .*: a device or a socket has no pixels .*", "info", "/dev/null")

    def test_pages_go_there_and_back(self):
        """Within so much of every value; the rest of the page stays."""
        resolution = ((120, 1), (60, 1), 3)
        texts = dict(TEXTS, datetime=b"2024:05:06 07:08:09")
        make = lambda **more: picture(40, 30, strings=texts, resolution=resolution, **more)
        grey, colour, deep = make(), make(samples=3), make(bits=16)
        palette = palette_picture(40, 30, bits=4)
        palette.palette = [value // 257 * 257 for value in palette.palette]
        no_date = TEXTS.keys()
        cases = [
            ("b.jpg", grey, ["--quality=100"], 2, True, no_date),
            ("b.jpeg", colour, ["--quality=100"], 6, True, no_date),
            ("b.pgm", grey, [], 0, True, texts),
            ("b.ppm", colour, [], 0, True, texts),
            ("b.pnm", make(samples=3, bits=16), [], 0, True, texts),
            ("b.pgm", make(bits=12), ["--rotate=180", "--flip=x", "--flip=y"], 0, True, texts),
            ("b.pbm", make(bits=1), [], 0, True, texts),
            ("b.bmp", grey, [], 0, True, ()),
            ("b.bmp", colour, [], 0, True, ()),
            ("b.bmp", palette, [], 0, False, ()),
            ("b.fits", deep, [], 0, True, ["description"]),
            ("b.fits", colour, [], 0, True, ["description"]),
            ("b.fits", make(bits=32, real=True), [], 0, True, ["description"]),
            ("b.avi", grey, [], 0, True, texts),
            ("b.avi", colour, [], 0, True, texts),
            ("b.avi", palette, [], 0, False, ()),
            ("b.avi", grey, ["--mjpeg", "--quality=95", "--fps=29.97"], 9, True, texts),
        ]
        for name, page, words, most, sized, kept in cases:
            with self.subTest(name=name, page=page.shape()[:6]):
                there = self.path(name)
                done = run("convert", *words, self.make("a.tif", page), there)
                names = dict(datetime="DateTime", software="Software", description="ImageDescription",
                             copyright="Copyright")
                lost = ", ".join(names[text] for text in names if text in page.strings and text not in kept)
                lost = lost and f"qvimage: {self.path('a.tif')}: not carried over: {lost}\n"
                self.assertEqual((done.returncode, done.stderr.decode()), (0, lost))
                found = self.converted(there)
                self.assertEqual(found.shape(), page.shape())
                self.assertLessEqual(max(abs(p - q) for p, q in zip(found.pixels, as_stored(page))), most)
                if sized:
                    ratios = [n / d for n, d in found.resolution[:2]]
                    self.assertEqual(([round(ratio, 1) for ratio in ratios], found.resolution[2]), ([120, 60], 3))
                if "datetime" not in kept:
                    found.strings.pop("datetime", None)
                self.assertEqual(found.strings, {text: texts[text] for text in kept})

    def test_frames_are_pages(self):
        pages = [tiff.Page(9, 8, [i] * 72) for i in range(12)]
        path = self.make("a.tif", *pages)
        for name, kind in (("b.fits", "FITS"), ("b.avi", "AVI"), ("b.pgm", "PGM")):
            there = self.path(name)
            if kind == "PGM":
                self.good("convert", "--pages=1-5", path, there)
                self.good("convert", "--pages=6-", "--append", path, there)
            else:
                self.good("convert", path, there)
            self.assertIn(f"{kind}, 12 pages", self.good("info", there))
            self.good("convert", "--pages=3-", there, self.path("c.tif"))
            found = tiff.read(self.path("c.tif"))
            self.assertEqual([page.pixels for page in found], [page.pixels for page in pages[2:]])
            self.good("diff", path, there)
        film = self.content("b.avi")
        form = film.index(b"strf") + 24  # its compression
        other = self.put("other.avi", film[:form] + b"XV\0D" + film[form + 4 :])
        self.assertRegex(self.good("info", other), r"XV\\x00D")
        before = self.content("b.pgm")
        self.refused(1, r".*b\.pgm: .*", "convert", "--append", self.make("d.tif", picture(9, 7)), self.path("b.pgm"))
        self.assertEqual(self.content("b.pgm"), before)

    def test_comments_of_other_programs_are_descriptions(self):
        found = self.converted(self.put("a.pgm", b"P5\n# by a camera\n2 2\n255\nabcd"))
        self.assertEqual((found.pixels, found.strings["description"]), ([97, 98, 99, 100], b"by a camera"))
        self.assertRegex(found.strings["datetime"], rb"^\d{4}:")

    def test_the_number_of_threads_makes_no_difference(self):
        strings = dict(datetime=b"2024:05:06 07:08:09")
        path = self.make("a.tif", tiff.Page(1100, 1003, picture(1100, 17).pixels * 59, strings=strings))
        for name in ("b.jpg", "b.pgm"):
            found = set()
            for threads in (1, 2, 5):
                self.good("convert", "--quiet", "--threads", threads, "--flip=x", path, self.path(name))
                found.add(self.content(name))
            self.assertEqual(len(found), 1, name)

    def test_what_a_format_does_not_hold_is_refused(self):
        page = picture(9, 8)
        cases = [
            ("b.jpg", [picture(9, 8, bits=16)], [], 1, "hold 8-bit samples, not 16-bit ones .--bits 8"),
            ("b.jpg", [page, page], [], 1, "a JPEG file holds one page .--pages"),
            ("b.jpg", [picture(9, 8, samples=4)], [], 1, "hold grey or RGB pixels .--colour"),
            ("b.jpg", [page], ["--compression=lzw"], 2, "--compression is for TIFF files, not for JPEG"),
            ("b.pgm", [picture(9, 8, samples=2)], [], 1, "anymaps hold grey or RGB pixels .--component"),
            ("b.ppm", [picture(9, 8, samples=3)], ["--colour=ycrcb"], 1, "anymaps hold grey or RGB pixels .--colour"),
            ("b.pgm", [picture(9, 8, bits=32)], [], 1, "anymaps hold integers of 1 to 16 bits, not 32-bit ones .--bits 16"),
            ("b.ico", [page], [], 1, "ICO files are read, not written"),
            ("raw:FOLDER/b:9x7:u8", [page], [], 1, "the page has 9 x 8 pixels, the name tells 9 x 7"),
            ("raw:FOLDER/b:9x8:u16", [page], [], 1, "tells 16-bit uint16 pixels, not 8-bit uint8 ones .--type"),
            ("raw:FOLDER/b:9x8x3:u8", [page], [], 1, "1 pages are not the 3"),
            ("raw:FOLDER/b:9x8:f16", [page], [], 2, "the type f16 is not known"),
            ("raw:FOLDER/b", [palette_picture(9, 8)], [], 1, "raw files have no palettes .--colour"),
            ("b?.bmp", [page] * 10, [], 1, "-57.: too few . for the number 10"),
            ("series:FOLDER/b?.bmp:1-3", [page], [], 1, "1 pages are not the files from 1 to 3"),
            ("-", [page], [], 2, "--format tells the format of the standard output"),
            ("jpg:-", [page], [], 2, "jpg is no format; there are tiff, jpeg"),
            ("b.avi", [page], ["--fps=a"], 2, r"--rate \(--fps\) takes N or N,M"),
            ("b.pgm", [page, picture(9, 7)], [], 1, "page|frame"),
            ("b.pgm", [palette_picture(9, 8)], [], 1, "anymaps have no palettes"),
            ("b.bmp", [page, page], [], 1, "a BMP file holds one page .--pages"),
            ("b.bmp", [picture(9, 8, bits=16)], [], 1, "BMP files hold 8-bit samples, .* not 16-bit ones .--bits 8"),
            ("b.fits", [page, picture(9, 7)], [], 1, "page 2 would be 9 x 7, 1 x 8-bit .*, the first one is 9 x 8, .* makes a file of each"),
            ("b.avi", [picture(9, 8, samples=4)], [], 1, "hold grey or RGB pixels .--colour"),
            ("b.avi", [page], ["--quality=50"], 2, "--quality is for motion JPEG .--mjpeg"),
            ("b.avi", [page], ["--rate=0"], 2, r"--rate \(--fps\) takes N or N,M"),
            ("b.tif", [page], ["--quality=50"], 2, "--quality is for JPEG files, not for TIFF"),
        ]
        for name, pages, words, status, text in cases:
            with self.subTest(text):
                self.refused(status, f".*{text}.*", "convert", *words, self.make("a.tif", *pages), self.word(name))
                self.assertEqual(self.files(), ["a.tif"])

    def test_segments_of_jpeg_files_are_named_and_their_orientation_is_applied(self):
        self.make("a.tif", picture(3, 2, more={274: 6}))
        exif = b"Exif\0\0" + self.content("a.tif")
        self.good("convert", self.make("b.tif", picture(40, 30)), self.path("b.jpg"))
        data = self.content("b.jpg")
        segments = [(0xE1, exif), (0xE2, b"ICC_PROFILE\0\1\1"), (0xE9, b"private")]
        made = b"".join(bytes([0xFF, marker, 0, len(raw) + 2]) + raw for marker, raw in segments)
        self.put("c.jpg", data[:2] + made + data[2:])
        lost = "EXIF, ICC profile, segment APP9"
        for words, named in ([], f"Orientation 6 (--upright applies it), {lost}"), (["--upright"], lost):
            done = run("convert", *words, self.path("c.jpg"), self.path("d.tif"))
            self.assertEqual((done.returncode, done.stderr.decode()),
                             (0, f"qvimage: {self.path('c.jpg')}: not carried over: {named}\n"))
            self.assertEqual(tiff.read(self.path("d.tif"))[0].width, 30 if words else 40)

    def test_damaged_files_are_blamed(self):
        self.good("convert", self.make("a.tif", picture(90, 80)), self.path("b.jpg"))
        os.truncate(self.path("b.jpg"), 2500)
        for command in (["stat", self.path("b.jpg")], ["convert", self.path("b.jpg"), self.path("c.tif")]):
            done = run(*command)
            self.assertEqual(done.returncode, 1)
            self.assertRegex(done.stderr.decode(), r"b\.jpg: Invalid file format \(code -10\): .+\n\Z")


if __name__ == "__main__":
    unittest.main()
