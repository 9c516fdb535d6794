"""qvimage check: files that other programs wrote."""
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


if __name__ == "__main__":
    unittest.main()
