"""qvimage info, and what all commands have in common: help, versions, error texts, exit statuses."""
import json
import os
import re
import subprocess
import unittest

import tiff
from common import TOOL, ToolTest, palette_picture, picture, run


class Info(ToolTest):
    def listed(self, *paths):
        return json.loads(self.good("info", "--json", *paths))

    def test_json_tells_what_the_file_says(self):
        cases = [
            (picture(5, 4), dict(type="uint8", bits=8, samples=1, colour="Grey scale monochrome")),
            (picture(5, 4, bits=16), dict(type="uint16", bits=16)),
            (picture(5, 4, samples=3), dict(samples=3, colour="Red Green Blue color")),
            (picture(5, 4, samples=4), dict(samples=4, colour="Cyan Magenta Yellow Black color")),
            (picture(5, 4, bits=32, real=True), dict(type="float32", bits=32)),
            (picture(5, 4, bits=64, real=True), dict(type="float64", bits=64)),
            (palette_picture(5, 4), dict(palette=True, samples=1, colour="Index into palette")),
            (picture(5, 4, rows_per_strip=3), dict(single_strip=False, largest_strip=15)),
            (picture(5, 4, version=43), dict()),
            (picture(5, 4, resolution=((300, 1), (301, 2), 2)),
             dict(resolution=dict(x=300, y=150.5, unit="inch"))),
        ]
        for order in "<>":
            for page, expected in cases:
                with self.subTest(order=order, expected=expected):
                    (file,) = self.listed(self.make("a.tif", page, order=order))
                    self.assertEqual((file["format"], file["version"], file["pagecount"]), ("TIFF", page.version, 1))
                    expected = dict(dict(page=1, width=5, height=4, palette=False, compression="none"), **expected)
                    self.assertEqual({key: file["pages"][0].get(key) for key in expected}, expected)

    def test_strings_are_made_safe(self):
        cases = [
            (b'say "hi" \\ there', 'say "hi" \\ there', 'say "hi" \\ there'),
            (b"two\nlines\tand \x1b[31m", "two\nlines\tand \x1b[31m", r"two\nlines\tand \x1B[31m"),
            ("Größe 5 µm".encode(), "Größe 5 µm", "Größe 5 µm"),
            (b"latin \xb5m \xed\xa0\x80", "latin \ufffdm \ufffd\ufffd\ufffd", r"latin \xB5m \xED\xA0\x80"),
        ]
        for stored, in_json, in_text in cases:
            with self.subTest(stored):
                path = self.make("a.tif", picture(2, 2, strings=dict(description=stored)))
                self.assertEqual(self.listed(path)[0]["pages"][0]["description"], in_json)
                self.assertIn("description  " + in_text + "\n", self.good("info", path))

    def test_a_file_of_one_page_is_told_in_full(self):
        page = picture(6, 5, bits=16, resolution=((118, 1), (118, 1), 3), strings=dict(software=b"camera 3"))
        lines = self.good("info", self.make("a.tif", page)).splitlines()
        self.assertEqual([re.sub("  +", " ", line.strip()) for line in lines], [
            f"{self.path('a.tif')}: TIFF, 1 page", "size 6 x 5", "type 16-bit (uint16)", "samples 1",
            "colour Grey scale monochrome", "compression none", "strips one", "resolution 118 x 118 per centimetre",
            "software camera 3"])

    def test_pages_of_a_stack_tell_what_is_new_in_their_strings(self):
        said = [b"one", b"one", b"two", None]
        pages = [picture(4, 4, strings=dict(description=text) if text else {}, resolution=((300, 1), (300, 1), 2))
                 for text in said]
        lines = self.good("info", self.make("a.tif", *pages)).splitlines()
        self.assertEqual([line.split()[0] for line in lines[1:]], ["1", "description", "2", "3", "description", "4"])
        self.assertTrue(lines[1].endswith(", 300 x 300 per inch"))

    def test_many_pages_have_a_line_each(self):
        pages = [picture(3 + i % 2, 2) for i in range(2500)]
        lines = self.good("info", self.make("a.tif", *pages)).splitlines()
        self.assertEqual(lines[0], f"{self.path('a.tif')}: TIFF, 2500 pages")
        self.assertEqual([line.split()[:4] for line in lines[1:]],
                         [[str(i + 1), str(3 + i % 2), "x", "2,"] for i in range(2500)])

    def test_one_bad_page_or_file_does_not_hide_the_others(self):
        pages = [picture(3, 2), picture(3, 2, compression=7), picture(4, 2)]
        mixed, empty, other = self.make("mixed.tif", *pages), self.put("empty.tif", b""), self.make("b.tif", picture(2, 2))
        done = run("info", "--json", mixed, empty, other)
        self.assertEqual(done.returncode, 1)
        files = json.loads(done.stdout)
        self.assertEqual([page.get("width") for page in files[0]["pages"]], [3, 3, 4])
        self.assertEqual(files[0]["pages"][1]["compression"], "JPEG")
        self.assertEqual(files[0]["pages"][1]["error"],
                         dict(code=-11, detail="page 2: JPEG compression (7) is not read"))
        self.assertEqual(files[1]["error"], dict(code=-10, detail="the file is empty"))
        self.assertEqual(files[2]["pagecount"], 1)


class CommandLine(ToolTest):
    def test_help_and_version(self):
        self.assertRegex(self.good("--version"), r"\Aqvimage \d+\.\d+\.\d+, processor level \w+\n\Z")
        commands = re.findall(r"(?m)^  (\w+)  ", self.good("--help"))
        self.assertEqual(commands, ["info", "check", "convert", "diff", "stat", "show"])
        for command in commands:
            text = self.good(command, "--help")
            self.assertRegex(text, rf"\Ausage: qvimage {command} ")
            self.assertLess(max(map(len, text.splitlines())), 80)

    def test_completion_knows_commands_options_and_values(self):
        script = os.path.join(os.path.dirname(__file__), "../../tools/completion.bash")
        lines = 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _qvimage; echo ${COMPREPLY[@]}'
        path = os.path.dirname(TOOL) + ":" + os.environ["PATH"]
        cases = [(["co"], "convert"), (["convert", "--fl"], "--flip"), (["convert", "--flip", ""], "x y"),
                 (["convert", "--rotate", "="], "90 180 270"), (["convert", "--color", "=", "gr"], "grey"),
                 (["convert", "--compression", "=", "lzw"], "lzw lzw-predictor"), (["convert", "a"], "")]
        for words, expected in cases:
            with self.subTest(words):
                found = subprocess.run(["bash", "-c", lines, "bash", script, "qvimage", *words], capture_output=True,
                                       env=dict(os.environ, PATH=path), text=True)
                self.assertEqual((found.stdout, found.stderr), (expected + "\n", ""))

    def test_errors_say_what_exactly_was_wrong(self):
        a, b = self.make("a.tif", picture(8, 6), picture(8, 6)), self.path("b.tif")
        real = self.make("real.tif", picture(4, 4, bits=32, real=True))
        deep = self.make("deep.tif", picture(4, 4, bits=16))
        text = self.put("text.tif", b"hello, world")
        message = {-1: "Usage or internal error", -10: "Invalid file format", -12: "No such item or object",
                   -13: "File not found", -14: "File not creatable", -52: "Invalid image dimensions",
                   -7: "Linux file read/write error"}
        cases = [
            (["info", self.path("none")], self.path("none"), -13, "it cannot be opened: No such file or directory"),
            (["info", text], text, -10, "no known format begins with 68 65 6c 6c 6f 2c 20 77"),
            (["stat", self.folder], self.folder, -7, "it cannot be read: Is a directory"),
            (["stat", "--pages", "3", a], a, -12, "page 3 of 2"),
            (["convert", a, self.path("no/b.tif")], self.path("no/b.tif"), -14,
             "a file beside it cannot be made: No such file or directory"),
            (["convert", "--crop", "0,0,9,6", a, b], a, -52, "page 1: 0,0,9,6 reaches outside its 8 x 6 pixels"),
            (["convert", "--compression", "lzw", real, b], b, -1,
             "floating-point pixels can be stored only uncompressed (--compression none)"),
            (["convert", "--compression=arithmetic", deep, b], b, -1,
             "arithmetic coding takes samples of at most 12 bits"),
            (["convert", "--append", a, a], a, -1, "a file cannot be appended to itself"),
        ]
        for words, file, code, detail in cases:
            with self.subTest(words):
                self.refused(1, re.escape(f"{file}: {message[code]} (code {code}): {detail}"), *words)
                self.assertFalse(os.path.exists(b))

    def test_what_is_wrong_with_a_page_is_named(self):
        cases = [
            (picture(4, 4, compression=7), -11, r"JPEG compression \(7\) is not read"),
            (picture(4, 4, compression=12345), -11, "compression 12345 is not read"),
            (picture(4, 4, more={339: 2}), -11, "signed samples are not read"),
            (tiff.Page(4, 4, [0] * 80, samples=5), -11, "5 samples a pixel, more than 4"),
            (picture(4, 4, samples=3, more={284: 2}), -10, "its 3 samples lie in separate planes"),
            (picture(4, 4, more={278: 0}), -10, r"tag 278 \(RowsPerStrip\) is 0"),
        ]
        for page, code, text in cases:
            for order, version in (("<", 42), (">", 43)):
                with self.subTest(text=text, order=order):
                    page.version = version
                    path = self.make("a.tif", page, order=order)
                    self.refused(1, rf".* \(code {code}\): page 1: {text}.*", "stat", path)
                    self.assertRegex(run("info", path).stdout.decode(), "size +4 x 4\n +type +8-bit")
        os.truncate(path, 100)
        self.refused(1, r".*page 1: directory at byte \d+ of 10 entries does not fit into the file", "info", path)

    def test_wrong_usage_is_told_apart(self):
        cases = [
            ([], "a command is missing"), (["frob"], "unknown command frob"), (["info"], "a file name is missing"),
            (["info", "--frob", "a"], "unknown option --frob"), (["info", "--json=1", "a"], "--json takes no value"),
            (["diff", "a", "b", "c"], "too many file names: c"), (["stat", "a", "--pages"], "--pages needs A-B"),
            (["convert", "a.tif", "b.xyz"], ".*b.xyz: the name tells no format"),
            (["convert", "a.tif", "b.tif", "--crop", "1,2,3"], "--crop takes X,Y,W,H"),
            (["convert", "a.tif", "b.tif", "--crop", "1,2,0,3"], "--crop takes X,Y,W,H"),
            (["convert", "a.tif", "b.tif", "--compression", "zip"], "--compression takes none.lzw"),
            (["convert", "a.tif", "b.tif", "--resolution", "3ft"], "--resolution takes"),
        ]
        for words, text in cases:
            with self.subTest(words):
                self.refused(2, text + ".*", *words)

    def test_names_that_look_like_options_follow_a_double_dash(self):
        self.make("-a.tif", picture(2, 2))
        self.assertIn("1 page", self.good("info", "--", "-a.tif", cwd=self.folder))

    @unittest.skipUnless(os.path.exists("/dev/full"), "no /dev/full")
    def test_output_that_cannot_be_printed_is_a_failure(self):
        path = self.make("a.tif", picture(2, 2))
        with open("/dev/full", "w") as full:
            done = subprocess.run([TOOL, "info", path], stdout=full, stderr=subprocess.PIPE)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"standard output: Linux file read/write error (code -7)", done.stderr)


if __name__ == "__main__":
    unittest.main()
