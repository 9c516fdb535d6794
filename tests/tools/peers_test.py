"""Files that other programs wrote arrive, and they read ours."""
import itertools
import subprocess
import unittest

from common import ToolTest


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

    def test_an_appended_file_is_clean(self):
        path, target = self.made("a.tif", "-depth", "8", "-compress", "lzw"), self.path("b.tif")
        for _ in range(3):
            self.good("convert", "--quiet", "--append", path, target)
        self.assert_clean(target)
        self.assertEqual(call("identify", target).stdout.count("\n"), 3)


if __name__ == "__main__":
    unittest.main()
