"""What the package is for, as its users write it."""
import os
import tempfile
import unittest

import numpy as np

import qvimage as qv


class Tasks(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)
        random = np.random.default_rng(1)
        self.frame = random.integers(0, 4096, (480, 640), np.uint16)
        self.cam = qv.Image.over(self.frame, bits=12)

    def test_an_array_becomes_a_file_and_a_file_an_array(self):
        self.cam.save("a.tif", compression="lzw")
        a = qv.open("a.tif").read()
        np.testing.assert_array_equal(a, self.frame)
        self.assertEqual(a.dtype, np.uint16)
        self.assertEqual(np.asarray(self.cam).ctypes.data, self.frame.ctypes.data)

    def test_a_crop_of_a_file_goes_into_memory_that_is_there(self):
        self.cam.save("huge.tif", description="a camera's")
        buffer = np.zeros((240, 320), np.uint16)
        with qv.open("huge.tif") as f:
            f[50:290, 100:420].read(out=buffer)
            said = f.shape, f.dtype, f.bits, f.hint, f.info.description
        self.assertEqual(said, ((480, 640), np.uint16, 12, 'grey', "a camera's"))
        np.testing.assert_array_equal(buffer, self.frame[50:290, 100:420])

    def test_pages_of_a_stack(self):
        for i in range(3):
            qv.Image.over(self.frame + i).save("stack.tif", append=i > 0)
        total = np.zeros((480, 640), np.uint32)
        for page in qv.open("stack.tif").pages:
            total += page.read()
        np.testing.assert_array_equal(total, 3 * self.frame.astype(np.uint32) + 3)
        volume = qv.open("stack.tif").volume
        self.assertEqual(volume.shape, (3, 480, 640))
        np.testing.assert_array_equal(volume[1:, 5:7, ::].read()[1], self.frame[5:7] + 2)

    def test_views_are_computed_when_they_are_read(self):
        view = self.cam.convert(8).rotate(90).colour("rgb")
        rows = []
        view.save("b.tif", progress=lambda row, rows_: rows.append((row, rows_)))
        expected = np.rot90(self.frame >> 4, -1)
        np.testing.assert_array_equal(qv.open("b.tif").read(), np.dstack([expected] * 3))
        self.assertEqual(rows, [(i, 640) for i in range(1, 641)])

    def test_a_series_is_edited_in_place(self):
        for i in range(10):
            qv.Image.over(self.frame).save(f"img{i:03}.tif")
        with qv.open("img???.tif", first=0, last=9, mode="r+") as seq:
            seq[7][10, 20] = 4095
        for i in range(10):
            expected = self.frame.copy()
            expected[10, 20] = 4095 if i == 7 else expected[10, 20]
            np.testing.assert_array_equal(qv.open(f"img{i:03}.tif").read(), expected)

    def test_scattered_pixels(self):
        pts = np.array([[3, 4], [100, 200]])
        v = self.cam.at(pts)
        np.testing.assert_array_equal(v, self.frame[[3, 100], [4, 200]])
        self.cam.put(pts, [7, 8])
        self.assertEqual((self.frame[3, 4], self.frame[100, 200]), (7, 8))

    def test_errors_say_what_and_where(self):
        with self.assertRaises(qv.Error) as caught:
            qv.open("none.tif")
        e = caught.exception
        self.assertEqual((e.filename, e.strerror, e.code), ("none.tif", "File not found", -13))


if __name__ == '__main__':
    unittest.main()
