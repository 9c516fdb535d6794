"""Files that other programs wrote arrive, and they read ours."""
import itertools
import shutil
import subprocess
import unittest

from common import ToolTest, run


def call(*words):
    return subprocess.run(words, capture_output=True, text=True)


class Peers(ToolTest):
    def made(self, name, *words):
        done = call("convert", "rose:", *words, self.path(name))
        self.assertEqual(done.returncode, 0, done.stderr)
        return self.path(name)

    def assert_same_picture(self, a, b):
        self.assertEqual(call("compare", "-metric", "AE", a, b, "null:").stderr.split()[0], "0", f"{a} {b}")

    def assert_clean(self, path):
        done = call("tiffinfo", path)
        self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_files_of_libtiff_and_imagemagick_go_through_every_compression(self):
        sources = [
            self.made("grey.tif", "-colorspace", "gray", "-depth", "8", "-compress", "none"),
            self.made("deep.tif", "-colorspace", "gray", "-depth", "16", "-compress", "none"),
            self.made("colour.tif", "-depth", "8", "-compress", "none"),
            self.made("palette.tif", "-colors", "200", "-type", "palette", "-compress", "none"),
            self.made("mark.tif", "-threshold", "50%", "-type", "bilevel", "-compress", "none"),
            self.made("cmyk.tif", "-colorspace", "cmyk", "-depth", "8", "-compress", "none"),
        ]
        flags = [["-c", "none"], ["-c", "lzw"], ["-c", "lzw:2"], ["-c", "packbits"], ["-B"], ["-8", "-c", "lzw"],
                 ["-r", "7"]]
        theirs, ours = self.path("theirs.tif"), self.path("ours.tif")
        for source, flag, name in itertools.product(sources, flags, ("none", "lzw", "lzw-predictor", "packbits")):
            if source.endswith("mark.tif") and "lzw:2" in flag:
                continue  # no predictor for 1-bit samples
            with self.subTest(source=source, flags=flag, name=name):
                self.assertEqual(call("tiffcp", *flag, source, theirs).returncode, 0)
                self.good("convert", "--quiet", "--compression", name, theirs, ours)
                self.assert_clean(ours)
                self.assert_same_picture(theirs, ours)

    def test_sound_files_of_others_are_not_blamed(self):
        """Some are not read, which check says without the place of a fault."""
        grey, deep, colour = ["-colorspace", "gray", "-depth", "8"], ["-depth", "16"], ["-depth", "8"]
        magick = [(f"{name}.tif", [*words, *more]) for name, words in (("g", grey), ("d", deep), ("c", colour)) for more in
                  (["-compress", "none"], ["-compress", "lzw"], ["-compress", "zip"], ["-compress", "jpeg"], ["-endian", "MSB"],
                   ["-interlace", "plane"], ["-define", "tiff:tile-geometry=16x16"], ["-define", "tiff:rows-per-strip=7"],
                   ["(", "+clone", "-flip", ")"], ["-colors", "16", "-type", "palette"])]
        magick += [("f.tif", ["-monochrome", "-compress", "group4"]), ("tiff64:t.tif", []), ("p.pbm", ["-monochrome"])]
        magick += [(name, words) for words in (grey, deep, colour, ["-colors", "14", "-type", "palette"], ["-monochrome"],
                                               ["-alpha", "set"])
                   for name in ("bmp2:b.bmp", "bmp3:b.bmp", "b.bmp", "p.ppm", "p.pgm")]
        magick += [("p.ppm", [*deep, "(", "+clone", "-flip", ")"]), ("j.jpg", grey), ("j.jpg", ["-sampling-factor", "2x1"]),
                   ("j.jpg", ["-interlace", "JPEG"]), ("j.jpg", ["-define", "jpeg:optimize-coding=false"])]
        made = [("convert", "rose:", *words, name.replace(":", ":" + self.folder + "/") if ":" in name else self.path(name))
                for name, words in magick]
        self.made("s.ppm", *colour), self.made("s.pgm", *grey)
        sources = self.path("s.ppm"), self.path("s.pgm")
        made += [("cjpeg", *words, "-outfile", self.path("j.jpg"), source) for source in sources for words in
                 ([], ["-sample", "1x1"], ["-optimize"], ["-progressive"], ["-restart", "3B"], ["-arithmetic"])]
        made += [("ffmpeg", "-v", "error", "-y", "-i", source, *words, self.path(name)) for source in sources for name, words in
                 (("f.bmp", []), ("f.jpg", []), ("f.jpg", ["-pix_fmt", "yuvj444p"]), ("f.tif", []), ("f.ppm", []), ("f.pgm", []),
                  ("f.avi", ["-c:v", "rawvideo", "-pix_fmt", "bgr24"]), ("f.avi", ["-c:v", "mjpeg", "-frames", "3"]))]
        made += [("sh", "-c", f"{words} {source} >{self.path(name)}") for source in sources for name, words in
                 (("n.bmp", "ppmtobmp"), ("n.tif", "pamtotiff"), ("n.tif", "pamtotiff -lzw -rowsperstrip 5"), ("n.jpg", "pnmtojpeg"))]
        for words in made:
            if not shutil.which(words[0] if words[0] != "sh" else words[2].split()[0]):
                continue
            with self.subTest(words=words):
                done = call(*words)
                self.assertEqual(done.returncode, 0, done.stderr)
                path = words[-1].split(">")[-1] if words[0] == "sh" else words[-2] if words[0] == "cjpeg" else words[-1]
                self.assertNotRegex(run("check", path.split(":")[-1]).stdout.decode(), r"code -\d+\): byte \d+:")

    def test_an_appended_file_is_clean(self):
        path, target = self.made("a.tif", "-depth", "8", "-compress", "lzw"), self.path("b.tif")
        for _ in range(3):
            self.good("convert", "--quiet", "--append", path, target)
        self.assert_clean(target)
        self.assertEqual(call("identify", target).stdout.count("\n"), 3)


if __name__ == "__main__":
    unittest.main()
