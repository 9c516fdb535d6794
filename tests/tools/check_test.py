"""qvimage check: what it tells of broken files, and nothing of sound ones."""
import struct
import unittest

from common import ToolTest, palette_picture, picture, run


class Check(ToolTest):
    def tells(self, word, *texts, alone=False):
        """Of nothing but this file, and these things: alone, or among others."""
        done = run("check", self.sound, word)
        found = done.stdout.decode()
        self.assertEqual((done.returncode, done.stderr), (1, b""), found)
        if alone:
            self.assertEqual(found.count("\n"), len(texts), found)
        for line in found.splitlines():
            self.assertIn(": Invalid file format (code -10): ", line)
            self.assertNotIn(self.sound, line)
        for text in texts:
            self.assertRegex(found, rf"(?m)code -10\): {text}$")

    def setUp(self):
        super().setUp()
        self.sound = self.make("sound.tif", picture(40, 30, samples=3))

    def test_rules_of_tiff(self):
        def entry(data, tag):
            first = struct.unpack_from("<I", data, 4)[0] + 2
            return next(at for at in range(first, len(data), 12) if struct.unpack_from("<H", data, at)[0] == tag)

        def put(tag, field, value):
            form, offset = dict(tag=("<H", 0), type=("<H", 2), count=("<I", 4), value=("<I", 8))[field]
            return lambda data: struct.pack_into(form, data, entry(data, tag) + offset, value)

        def put_strip(tag, strip, value):
            return lambda data: struct.pack_into("<I", data, struct.unpack_from("<I", data, entry(data, tag) + 8)[0] + 4 * strip, value)

        def exchange(tag, other):
            def change(data):
                a, b = entry(data, tag), entry(data, other)
                data[a : a + 12], data[b : b + 12] = data[b : b + 12], data[a : a + 12]
            return change

        def link(data):
            first = struct.unpack_from("<I", data, 4)[0]
            struct.pack_into("<I", data, first + 2 + 12 * struct.unpack_from("<H", data, first)[0], first)

        def share(data):
            """The page's values are those of more pages."""
            first = struct.unpack_from("<I", data, 4)[0]
            end = first + 2 + 12 * struct.unpack_from("<H", data, first)[0]
            directory = bytes(data[first:end])
            for _ in range(20):
                struct.pack_into("<I", data, end, len(data))
                data += directory + bytes(4)
                end = len(data) - 4

        cases = [
            (share, r"byte \d+: page \d+: with those of the pages before it, it has more values than .* room for",
             picture(1, 1000, rows_per_strip=1)),
            (put(277, "type", 16), r"byte \d+: page 1: tag 277 \(SamplesPerPixel\) has the type 16, not its own"),
            (exchange(258, 259), r"byte \d+: page 1: tag 258 \(BitsPerSample\) stands behind tag 259"),
            (put(277, "tag", 262), r"byte \d+: page 1: tag 262 \(PhotometricInterpretation\) stands behind tag 273"),
            (put(262, "tag", 263), r"byte \d+: page 1: tag 262 \(PhotometricInterpretation\) is missing"),
            (put(284, "type", 4), r"byte \d+: page 1: tag 284 \(PlanarConfiguration\) has the type 4, not its own"),
            (put(259, "count", 2), r"byte \d+: page 1: tag 259 \(Compression\) has 2 values"),
            (put(305, "type", 1), r"byte \d+: page 1: tag 305 \(Software\) has the type 1, not its own"),
            (put(305, "count", 5), r"byte \d+: page 1: tag 305 \(Software\) is a text without a zero at its end"),
            (put(305, "value", 9999), r"byte \d+: page 1: tag 305 \(Software\) has values at byte 9999, beyond .*"),
            (put(278, "value", 9), r"byte \d+: page 1: tag 273 \(StripOffsets\) has 3 values for 4 strips"),
            (put(279, "count", 2), r"byte \d+: page 1: tag 279 \(StripByteCounts\) has 2 values for 3 strips"),
            (put_strip(273, 1, 8), r"byte 8: strip \d of page 1 lies inside of strip \d of page 1"),
            (put_strip(273, 1, 2), r"byte 2: strip 2 of page 1 lies inside of the header"),
            (put_strip(273, 2, 5000), r"byte 5000: page 1: strip 3 of 1200 bytes lies beyond the file's end"),
            (put_strip(273, 2, 5000), r"page 1, strip 3 at byte 5000, row 21: .* beyond the file's \d+ bytes \(and so the rows to 30\)"),
            (put_strip(279, 0, 1199), r"byte 8: page 1: strip 1 has 1199 bytes, its rows 1200"),
            (link, r"byte \d+: the link behind the last page leads back to the directory at byte \d+"),
            (lambda data: struct.pack_into("<I", data, 4, 1 << 20), r"byte 4: the link to page 1 leads to byte 1048576, .*"),
            (lambda data: data.__delitem__(slice(-30, None)), r"byte \d+: page 1: the directory of \d+ entries does not fit into the file"),
        ]
        usual = picture(40, 30, samples=3, rows_per_strip=10, strings=dict(software=b"camera 3"))
        for change, text, *other in cases:
            with self.subTest(text):
                path = self.make("b.tif", *(other or [usual]))
                self.assertEqual(self.good("check", path), "")

                content = bytearray(self.content("b.tif"))
                change(content)
                self.tells(self.put("b.tif", content), text)

    def test_rules_of_other_formats(self):
        def put(at, form, value):
            return lambda data: data[:at] + struct.pack(form, value) + data[at + struct.calcsize(form) :]

        def rows(change):
            """Of the picture that a JPEG file tells of."""
            def damage(data):
                at = data.index(b"\xff\xc0") + 5
                return put(at, ">H", struct.unpack_from(">H", data, at)[0] + change)(data)
            return damage

        short = lambda data: data[:-50]
        longer = lambda data: data + b"more"
        no_index = lambda data: data.replace(b"idx1", b"JUNK").replace(b"indx", b"JUNK")
        table = b"\xff\xdb\x00\x43\x03" + bytes(64 * [1])
        colour, deep, palette = picture(40, 30, samples=3), picture(40, 30, bits=12), palette_picture(40, 30, bits=4)
        cases = [
            ("b.jpg", colour, short, r"byte \d+: no EOI marker at the end", r"page 1: rows from 25 on: broken or missing data",
             r"byte \d+: MCU 19 of 20 is broken or missing"),
            ("b.jpg", colour, lambda data: data[:-2], r"byte \d+: no EOI marker at the end"),
            ("b.jpg", colour, longer, r"byte \d+: 4 bytes behind the EOI marker"),
            ("b.jpg", colour, rows(8), r"byte \d+: MCU 21 of 25 is broken or missing", "page 1: rows from 33 on: .*"),
            ("b.jpg", colour, rows(-8), r"byte \d+: \d+ bytes behind the last of 15 MCUs"),
            ("b.jpg", colour, lambda data: data[:2] + table + data[2:], "byte 2: no scan uses the quantisation table 3",
             "marker at byte 2: quantisation table of slot 3"),
            ("b.jpg", colour, lambda data: data[:20] + b"more" + data[20:], "byte 20: 4 bytes that belong to no segment"),
            ("b.ppm", colour, short, r"byte \d+: the frame that begins at byte \d+ ends after 3550 of 3600 bytes"),
            ("b.ppm", colour, longer, r"byte \d+: the frame that begins at byte \d+ ends after 4 of 3600 bytes"),
            ("b.pgm", deep, lambda data: data[:-2] + b"\xff\xff", r"byte \d+: the value 65535 is above the maximum 4095"),
            ("b.bmp", colour, short, "byte 2: the header tells of 3654 bytes, the file has 3604"),
            ("b.bmp", colour, lambda data: put(2, "<I", 0)(short(data)),
             "byte 3604: the file ends before the 3600 bytes of pixels that begin at byte 54"),
            ("b.bmp", colour, lambda data: put(2, "<I", 3658)(data + b"more"), "byte 3654: 4 bytes behind the pixels"),
            ("b.bmp", palette, put(10, "<I", 110), "byte 10: pixels begin at byte 110, inside the palette that ends at byte 118",
             "byte 710: 8 bytes behind the pixels"),
            ("b.bmp", colour, put(10, "<I", 50), "byte 10: pixels begin at byte 50, inside the header that ends at byte 54",
             "byte 3650: 4 bytes behind the pixels"),
            ("b.bmp", palette, put(46, "<I", 17), "byte 46: 17 colours, more than 4 bits tell apart",
             "byte 10: pixels begin at byte 118, inside the palette that ends at byte 122"),
            ("b.bmp", colour, put(34, "<I", 3599), "byte 34: the header tells of 3599 bytes of pixels, rows have 3600"),
            ("b.bmp", colour, put(26, "<H", 3), "byte 26: 3 planes, not 1"),
            ("b.fits", colour, short, r"byte \d+: the file ends within a block of 2880 bytes"),
            ("b.avi", colour, no_index, r"byte \d+: there is no index of the frames"),
            ("b.avi", colour, short, "byte 4: the RIFF chunk ends behind the end of the file", "the file holds no whole frame"),
            ("raw:FOLDER/b:40x30:u8x3", colour, short, "3600 bytes of pixels from byte 0 on, the file has 3550"),
        ]
        for name, page, damage, *texts in cases:
            with self.subTest(name=name, text=texts[0]):
                raw = "FOLDER" in name
                word, path = (name.replace("FOLDER", self.folder), self.path("b")) if raw else 2 * (self.path(name),)
                self.good("convert", "--quiet", self.make("a.tif", page), word)
                self.assertEqual(self.good("check", word), "")
                self.put(path, damage(self.content(path)))
                self.tells(word, *texts, alone=True)


if __name__ == "__main__":
    unittest.main()
