"""qvimage convert --lut: pixels through tables from text files."""
import unittest

from common import ToolTest, palette_picture, picture


class Tables(ToolTest):
    def table(self, *lines, name="t.lut"):
        return self.put(name, "\n".join(lines).encode())

    def test_one_column_serves_every_component(self):
        for page in (picture(11, 7), picture(7, 12, samples=3, bits=16), picture(6, 5, samples=4), picture(700, 2, bits=12)):
            most = 2**page.bits
            values = [(k * 1001 + 7) % most for k in range(most)]
            found = self.converted(page, "--lut", self.table(*map(str, values)))
            self.assertEqual(found.shape(), page.shape())
            self.assertEqual(found.pixels, [values[v] for v in page.pixels])

    def test_three_columns_make_colours_of_grey(self):
        for page in (picture(11, 7), picture(9, 8, bits=16), picture(700, 2, bits=12)):
            most = 2**page.bits
            colours = [((k * 7) % most, most - 1 - k, k // 2) for k in range(most)]
            found = self.converted(page, "--lut", self.table(*("%d %d %d" % c for c in colours)))
            self.assertEqual((found.samples, found.bits, found.photometric), (3, page.bits, 2))
            self.assertEqual(found.pixels, [v for k in page.pixels for v in colours[k]])

    def test_three_columns_serve_a_component_each(self):
        page = picture(11, 7, samples=3)
        columns = [[(k * step) % 256 for k in range(256)] for step in (3, 5, 7)]
        found = self.converted(page, "--lut", self.table(*("%d %d %d" % c for c in zip(*columns))))
        self.assertEqual(found.pixels, [columns[i % 3][v] for i, v in enumerate(page.pixels)])

    def test_tables_stand_in_the_order_of_the_command_line(self):
        page = picture(11, 7, bits=16)
        square = [k * k // 255 for k in range(256)]
        table = self.table(*map(str, square))
        found = self.converted(page, "--bits=8", "--lut", table, "--lut", table)
        self.assertEqual(found.pixels, [square[square[v >> 8]] for v in page.pixels])
        grey = self.converted(palette_picture(6, 5), "--component=1", "--lut", table)
        colours = palette_picture(6, 5)
        self.assertEqual(grey.pixels, [square[colours.palette[v] >> 8] for v in colours.pixels])

    def test_how_files_are_written(self):
        page = picture(4, 3, bits=2)
        for lines in (["3", "2", "1", "0"], ["# a negative", "", "0\t3", "1 2 # half", " 2\t1\r", "3 0", ""]):
            self.assertEqual(self.converted(page, "--lut", self.table(*lines)).pixels, [3 - v for v in page.pixels])
        found = self.converted(page, "--lut", self.table("0 3 0 1", "1 2 1 1", "2 1 2 1", "3 0 3 1"))
        self.assertEqual(found.pixels, [c for v in page.pixels for c in (3 - v, v, 1)])

    def test_what_makes_no_table_is_refused(self):
        page, full = picture(4, 3, bits=2), ["0", "1", "2"]
        for lines, pattern in (
            (full, "it has 3 entries, 2-bit pixels need 4"), ([*full, "3", "0"], "it has 5 entries, 2-bit pixels need 4"),
            ([*full, "4"], "line 4 has 4, 2-bit pixels end at 3"), ([*full, "-1"], "line 4 has -1 where a number"),
            ([*full, "0.5"], "line 4 has 0.5 where"), ([*full, "65536"], "line 4 has 65536 where"),
            ([*full, "3 3 3"], "line 4 has 3 values, the lines before it 1"), (["1 2 3 4 5"], "line 1 has more than 4"),
            (["0 5", "2 5"], "line 2 is entry 1 by its place and 2 by its number"), ([], "it has no entries"),
            (["# only this"], "it has no entries"), (["0" * 2000], "line 1 is too long"), (["0"] * 65537, "line 65537 is one more"),
            ([*full, "zwölf\x1b[2J"], r"line 4 has zwölf\\x1B\[2J where a number from 0 to 65535 is expected")):
            with self.subTest(pattern=pattern):
                self.refused(1, r".*t\.lut: .*" + pattern + ".*", "convert", "--lut", self.table(*lines),
                             self.make("a.tif", page), self.path("b.tif"))
                self.assertEqual(self.files(), ["a.tif", "t.lut"])
        self.refused(1, r".*none\.lut: File not found.*", "convert", "--lut", self.path("none.lut"),
                     self.make("a.tif", page), self.path("b.tif"))
        self.refused(1, ".*it cannot be read: Is a directory", "convert", "--lut", self.folder, self.path("a.tif"), self.path("b.tif"))

    def test_what_goes_through_no_table_is_refused(self):
        grey, colour = self.table(*map(str, range(256))), self.table(*(f"{k} {k} {k}" for k in range(256)), name="c.lut")
        for page, table, pattern in (
            (picture(5, 4, bits=32), grey, "32-bit pixels have no tables"),
            (picture(5, 4, bits=32, real=True), grey, "32-bit float pixels have no tables"),
            (picture(5, 4, samples=4), colour, "three tables for pixels of 4 components, not 1 or 3"),
            (picture(5, 4, bits=16), grey, r"it has 256 entries, 16-bit pixels need 65536 \(after --bits 8: 256\)")):
            with self.subTest(pattern=pattern):
                self.refused(1, ".*" + pattern + ".*", "convert", "--lut", table, self.make("a.tif", page), self.path("b.tif"))


if __name__ == "__main__":
    unittest.main()
