"""Arrays as images, images as arrays: the same memory, alive as long as anybody looks at it."""
import gc
import os
import subprocess
import sys
import unittest
import unittest.mock

import numpy as np

import qvimage as qv

RANDOM = np.random.default_rng(2)
FRAME = RANDOM.integers(0, 256, (20, 100), np.uint8)


def random(shape, dtype):
    return RANDOM.integers(0, 251, shape, np.uint8).astype(dtype)


class Memory(unittest.TestCase):
    def test_an_array_and_its_image_are_the_same_memory(self):
        rows = random((30, 200), 'u2')
        cases = [(qv.Image, random((5, 7), t)) for t in ('u1', 'u2', 'u4', 'u8', 'f4', 'f8', '>u2', '>u4')]
        cases += [(qv.Image, random((5, 7, n), 'u2')) for n in (2, 3, 4, 32)]
        cases += [(qv.Image, a) for a in (rows[3:13, 20:50], rows[::3], rows[:1], rows[:, :1])]
        cases += [(qv.Volume, random((3, 5, 7), 'u1')), (qv.Volume, random((3, 5, 7, 3), 'f4')),
                  (qv.Volume, random((6, 9, 11), 'u2')[1::2, 2:8, 3:9])]
        for kind, array in cases:
            with self.subTest(shape=array.shape, strides=array.strides, dtype=array.dtype):
                image = kind.over(array)
                np.testing.assert_array_equal(image.read(), array)
                back = np.asarray(image)
                self.assertEqual((back.ctypes.data, back.dtype), (array.ctypes.data, array.dtype))
                np.testing.assert_array_equal(back, array)
                view = np.asarray(image.__buffer__(0))
                self.assertEqual((view.ctypes.data, view.strides), (array.ctypes.data, back.strides))
                image[..., 0:1].write(array[..., 0:1] if image.components == 1 else array[..., 0:1, :])
                np.testing.assert_array_equal(image.read(), array)

    def test_what_no_image_can_lie_over_is_refused_in_words(self):
        wide = np.zeros((20, 100, 3), np.uint8)
        for array, error, words in [
                (FRAME[::-1], ValueError, 'backwards'), (FRAME[:, ::-1], ValueError, 'side by side'),
                (FRAME.T, ValueError, 'side by side'), (FRAME[:, ::2], ValueError, 'side by side'),
                (wide[..., ::-1], ValueError, 'side by side'), (wide[..., 1], ValueError, 'side by side'),
                (np.broadcast_to(FRAME[0], (4, 100)), ValueError, 'overlap'),
                (FRAME[:0], ValueError, 'no pixels'), (FRAME[0], ValueError, 'rows, columns'),
                (FRAME.astype('i2'), TypeError, 'unsigned'), (FRAME.astype('f2'), TypeError, 'floats'),
                (FRAME.astype('c8'), TypeError, 'floats'), (FRAME.astype('>f4'), TypeError, 'byte order'),
                (7, TypeError, 'int')]:
            with self.subTest(words=words), self.assertRaisesRegex(error, words):
                qv.Image.over(array)

    def test_reads_go_into_memory_that_is_there_and_narrow_nothing_unasked(self):
        image = qv.Image.over(FRAME)
        room = np.zeros((30, 300), np.uint8)
        image.read(out=room[5:25, 7:107])
        np.testing.assert_array_equal(room[5:25, 7:107], FRAME)
        self.assertEqual(room.sum(), FRAME.sum(dtype=int))
        deep = random((3, 400, 500, 3), 'u2')  # several pieces a plane
        gaps = np.zeros((5, 410, 510, 3), np.uint16)
        qv.Volume.over(deep).read(out=gaps[1:4, 3:403, 2:502])
        np.testing.assert_array_equal(gaps[1:4, 3:403, 2:502], deep)
        self.assertEqual(gaps.sum(), deep.sum(dtype=int))
        other = np.zeros_like(FRAME)
        image.read(out=qv.Image.over(other))
        np.testing.assert_array_equal(other, FRAME)
        wide = image.read(dtype=np.uint16)
        np.testing.assert_array_equal(wide, FRAME.astype(np.uint16) << 8)
        np.testing.assert_array_equal(qv.Image.over(wide).read(dtype='uint8'), FRAME)
        for out, error in [(np.zeros((20, 100), np.uint16), TypeError), (bytes(2000), ValueError),
                           (np.zeros((20, 99), np.uint8), ValueError), (image.rotate(180), TypeError)]:
            with self.assertRaises(error):
                image.read(out=out)
        with self.assertRaises(OverflowError):
            image.write(256)
        with self.assertRaises(TypeError):
            image.write(np.zeros((20, 100)))
        with self.assertRaises(ValueError):
            qv.Image.over(bytes(12), shape=(3, 4))[0, 0] = 1

    def test_views_against_numpy(self):
        deep = random((20, 30), 'u2') * 16 + 5
        colours = random((8, 9, 3), 'u1')
        image, rgb = qv.Image.over(deep, bits=12), qv.Image.over(colours)
        for name, view, expected in [
                ('parts of parts', image[2:15, 5:28][1:4, 3:9], deep[2:15, 5:28][1:4, 3:9]),
                ('a part, turned, a part', image[2:15, 5:28].rotate(90)[3:9, 1:4],
                 np.rot90(deep[2:15, 5:28], -1)[3:9, 1:4]),
                ('half', image.rotate(180), deep[::-1, ::-1]), ('back', image.rotate(-90), np.rot90(deep)),
                ('x', image.flip('x'), deep[:, ::-1]), ('y', image.flip('y'), deep[::-1]),
                ('thin', image.decimate(3, 2), deep[::2, ::3]), ('bits', image.convert(8), deep >> 4),
                ('floats', image.convert('float32'), deep.astype('f4')),
                ('order', rgb.colour('bgr'), colours[..., ::-1]), ('same', rgb.colour('rgb'), colours),
                ('component', rgb.component(1), colours[..., 1]),
                ('planes', image.volume, deep[None])]:
            with self.subTest(name):
                np.testing.assert_array_equal(view.read(), expected)
                np.testing.assert_array_equal(np.asarray(view), expected)
        padded = rgb.colour('rgbpad').read()
        np.testing.assert_array_equal(padded, np.dstack([colours, np.zeros_like(colours[..., :1])]))
        with unittest.mock.patch('qvimage._image.PIECE', 100):  # transfers in several calls
            np.testing.assert_array_equal(image.rotate(180).read(), deep[::-1, ::-1])
            exchanged = qv.Volume.over(colours[None]).colour('bgr')
            np.testing.assert_array_equal(exchanged.read(), [colours[..., ::-1]])
        volume = qv.Volume.over(np.stack([deep, deep + 1, deep + 5]))
        np.testing.assert_array_equal(volume.mean().read(), deep + 2)
        np.testing.assert_array_equal([plane.read() for plane in volume], np.asarray(volume))
        self.assertEqual(volume.at([(2, 3, 4)])[0], deep[3, 4] + 5)

    def test_scattered_pixels(self):
        frame = random((480, 640), 'u2')
        image, points = qv.Image.over(frame), np.array([[3, 4], [100, 200]])
        np.testing.assert_array_equal(image.at(points), frame[[3, 100], [4, 200]])
        image.put(points, [7, 8])
        self.assertEqual((frame[3, 4], frame[100, 200]), (7, 8))

    def test_memory_lives_as_long_as_anything_looks_at_it(self):
        make = lambda: np.full((500, 500), 77, np.uint8)  # noqa: E731
        for look in (np.asarray, lambda i: i, lambda i: i.rotate(90)[1:], lambda i: i.volume[0],
                     lambda i: np.asarray(i.__buffer__(0))[2:]):
            looker = look(qv.Image.over(make()))
            gc.collect()
            filler = [np.zeros((500, 500), np.uint8) for _ in range(4)]
            self.assertTrue((np.asarray(looker) == 77).all())
            del filler
        grown = bytearray(100)
        image = qv.Image.over(grown, shape=(10, 10))
        with self.assertRaises(BufferError):
            grown.append(1)
        del image
        grown.append(1)

    def test_without_numpy(self):
        program = '''
import sys
sys.modules["numpy"] = None
import array, qvimage as qv
buffer = array.array("H", range(12))
image = qv.Image.over(buffer, shape=(3, 4))
assert image.read().tolist() == [[0, 1, 2, 3], [4, 5, 6, 7], [8, 9, 10, 11]] and image.dtype == "H"
image[1, 2] = 99
assert buffer[6] == 99 and image[1, 2] == 99 and image.at([(1, 2), (0, 1)]).tolist() == [99, 1]
image.memory()[0, 0] = 5
assert buffer[0] == 5 and image.rotate(90).read()[0, 2] == 5
rgb = qv.Image.over(bytearray(range(36)), shape=(3, 4, 3))
rgb[1, 1] = 1, 2, 3
assert rgb[1, 1] == (1, 2, 3)
'''
        subprocess.run([sys.executable, '-c', program], check=True, env=os.environ)


if __name__ == '__main__':
    unittest.main()
