"""Files of all formats, open, closed and forgotten; errors; threads; what stops a save."""
import concurrent.futures
import ctypes
import gc
import os
import pathlib
import pickle
import signal
import subprocess
import sys
import tempfile
import threading
import unittest

import numpy as np

import qvimage as qv
from qvimage import _library, _save

RANDOM = np.random.default_rng(3)
GREY = RANDOM.integers(0, 256, (16, 24), np.uint8)
COLOUR = RANDOM.integers(0, 256, (16, 24, 3), np.uint8)
STACK = RANDOM.integers(0, 256, (4, 5, 7), np.uint8)
EXACT = ('tif', 'pgm', 'bmp', 'fits', 'avi')


def open_files():
    return len(os.listdir('/proc/self/fd'))


def resident():
    """Pages of memory that this process has."""
    return int(pathlib.Path('/proc/self/statm').read_text().split()[1])


class Files(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)

    def test_every_format_there_and_back(self):
        for ending in EXACT:
            for array in GREY, COLOUR, COLOUR[..., ::-1].copy():
                with self.subTest(ending, shape=array.shape):
                    hint = 'grey' if array.ndim == 2 else 'bgr' if array is not COLOUR else 'rgb'
                    qv.Image.over(array, hint=hint).save('f.' + ending)
                    with qv.open('f.' + ending) as file:
                        self.assertEqual(file.info.components, 1 if array.ndim == 2 else 3)
                        read = file.read() if array.ndim == 2 else file.colour('rgb').read()
                    expected = array[..., ::-1] if hint == 'bgr' else array
                    # FITS knows the order, too, where its header says so.
                    np.testing.assert_array_equal(read, expected)
        smooth = np.add.outer(np.arange(64), np.arange(64)).astype(np.uint8)
        for array, hint in [(smooth, 'grey'), (np.dstack([smooth, smooth // 2, smooth // 4]), 'bgr')]:
            qv.Image.over(array, hint=hint).save('f.jpg', quality=95)
            read = qv.open('f.jpg').read().astype(int)
            self.assertLess(abs(read - (array if hint == 'grey' else array[..., ::-1])).mean(), 2)

    def test_pages_and_volumes(self):
        for ending in ('tif', 'pgm', 'fits', 'avi'):
            with self.subTest(ending):
                qv.Volume.over(STACK).save('v.' + ending)
                with qv.open('v.' + ending, page=2) as file:
                    np.testing.assert_array_equal(file.read(), STACK[2])
                    np.testing.assert_array_equal(file.volume[1:3].read(), STACK[1:3])
                    self.assertEqual([(p.page, p.info.page, p.info.pages) for p in file.pages],
                                     [(i, i, 4) for i in range(4)])
                    np.testing.assert_array_equal(file.pages[-1].read(), STACK[3])
                    self.assertEqual(len(file.pages[1:3]), 2)
                for page in (4, -1):
                    with self.assertRaises((IndexError, qv.Error)):
                        qv.open('v.' + ending, page=page)
        qv.Image.over(STACK[0]).save('v.pgm', append=True)
        self.assertEqual(len(qv.open('v.pgm').pages), 5)

    def test_indices_keep_their_palette(self):
        colours = RANDOM.integers(0, 256, (1, 256, 3), np.uint8)
        for ending in ('tif', 'bmp', 'avi'):
            with self.subTest(ending):
                qv.Image.over(GREY, hint='index').save('p.' + ending, palette=qv.Image.over(colours))
                np.testing.assert_array_equal(qv.open('p.' + ending).colour('rgb').convert(8).read(),
                                              colours[0][GREY])
                file = qv.open('p.' + ending, palette=True)
                self.assertEqual(file.hint, 'index')
                np.testing.assert_array_equal(file.read(), GREY)
                np.testing.assert_array_equal(file.palette.convert(8).colour('rgb').read(), colours)

    def test_what_a_file_says_is_written_again(self):
        qv.Image.over(GREY).save('a.tif', description='of a hörn', software='s', compression='packbits',
                                 resolution=(300, 150))
        with qv.open('a.tif') as file:
            file.rotate(90).save('b.tif', info=file.info, software='t')
        info = qv.open('b.tif').info
        self.assertEqual((info.description, info.software, info.compression, info.fields['xres']),
                         ('of a hörn', 't', 'packbits', [30000, 100]))
        qv.Image.over(GREY).save('a.jpg', quality=30)
        qv.open('a.jpg').save('b.jpg', info=qv.open('a.jpg').info)
        self.assertEqual(qv.open('b.jpg').info.fields['jpg_quality'], 300)
        for wrong in (dict(quality=101), dict(compression='zip'), dict(fields={'colour': 1}),
                      dict(format='png')):
            with self.assertRaises(ValueError):
                qv.Image.over(GREY).save('c.tif', **wrong)
        told = subprocess.run([sys.executable, '-m', 'qvimage', 'info', 'b.tif', 'none.tif'],
                              capture_output=True, text=True)
        self.assertIn('description: of a hörn', told.stdout)
        self.assertEqual((told.returncode, told.stderr.count('none.tif: File not found')), (1, 1))

    def test_every_error_has_code_path_and_reason(self):
        qv.Image.over(RANDOM.integers(0, 256, (200, 300), np.uint8)).save('good.tif', compression='lzw')
        good = pathlib.Path('good.tif').read_bytes()
        for name, content in [('bad.tif', b'II*\0garbage'), ('bad.jpg', b'\xff\xd8\xff\xe0'),
                              ('bad.pgm', b'P5 3'), ('bad.bmp', b'BM'), ('bad.ico', b'\0\0\1\0'),
                              ('bad.fits', b'SIMPLE  ='),
                              ('bad.avi', b'RIFF\0\0\0\0AVI '), ('text', b'hello'), ('nothing', b''),
                              ('cut.tif', good[:len(good) // 2])]:
            pathlib.Path(name).write_bytes(content)
        here = qv.Image.over(GREY)
        stop = dict(progress=lambda row, rows: row == 5)
        for code, path, action in [
                *((-10, name, None) for name in os.listdir() if name not in ('good.tif', 'cut.tif')),
                (-10, 'cut.tif', lambda: qv.open('cut.tif').read()),
                (-10, 'cut.tif', lambda: qv.open('cut.tif').rotate(90).at([(5, 5)])),
                (-13, 'none.tif', None), (-13, '.', None), (-13, 'no???.tif', None),
                (-13, b'none.tif', None), (-13, pathlib.Path('none.tif'), None),
                (-14, 'none/x.tif', lambda: here.save('none/x.tif')),
                (-19, 'x.jpg', lambda: here.convert(16).save('x.jpg')),
                (-4, 'x.tif', lambda: here.save('x.tif', **stop)),
                (-19, None, lambda: here.convert('float64').rotate(90))]:
            with self.subTest(path=path), self.assertRaises(qv.Error) as caught:
                action() if action else qv.open(path)
            e = caught.exception
            self.assertEqual((e.code, e.filename), (code, path))
            self.assertTrue(e.reason and e.strerror and e.reason in str(e))
            again = pickle.loads(pickle.dumps(e))
            self.assertEqual((again.code, again.reason, str(again)), (e.code, e.reason, str(e)))
        self.assertFalse(os.path.exists('x.tif'))

    def test_files_close_when_told_and_when_forgotten(self):
        qv.Image.over(GREY).save('a.tif')
        before = open_files()
        gc.disable()  # without cycles nothing needs a collection
        self.addCleanup(gc.enable)
        file = qv.open('a.tif')
        part = file[2:5].rotate(90)
        self.assertEqual(open_files(), before + 1)
        del file
        np.testing.assert_array_equal(part.read(), np.rot90(GREY[2:5], -1))
        del part
        self.assertEqual(open_files(), before)
        with qv.open('a.tif') as file:
            view = file.flip('x')
        for use in (view.read, file.read, lambda: file.info, lambda: view[0, 0], lambda: view.at([(0, 0)]),
                    lambda: view.save('b.tif')):
            with self.assertRaisesRegex(ValueError, 'closed'):
                use()
        file.close()
        self.assertEqual(open_files(), before)
        file = qv.open('a.tif')
        with file._inside():  # as in a transfer of another thread
            file.close()
            self.assertEqual(open_files(), before + 1)
        self.assertEqual(open_files(), before)

    def test_ten_thousand_opens_leave_nothing(self):
        qv.Image.over(GREY).save('a.tif', compression='lzw', description='text ' * 1000)

        def use():
            with qv.open('a.tif') as file:
                file[2:9].read()
            qv.open('a.tif').info
        for _ in range(1000):
            use()
        files, pages = open_files(), resident()
        for _ in range(9000):
            use()
        self.assertEqual(open_files(), files)
        self.assertLess(resident() - pages, 100)

    def test_threads_use_one_view_of_one_file(self):
        frame = RANDOM.integers(0, 4096, (300, 400), np.uint16)
        qv.Image.over(frame, bits=12).save('a.tif', compression='lzw')
        file = qv.open('a.tif')
        view, wrong = file.convert(8).rotate(90), []
        expected = np.rot90(frame >> 4, -1)

        def work(seed):
            try:
                for y in np.random.default_rng(seed).integers(0, 350, 30):
                    if not np.array_equal(view[y:y + 50].read(), expected[y:y + 50]):
                        wrong.append(y)
                    if not np.array_equal(view.at([(y, 7), (3, y // 2)]), expected[[y, 3], [7, y // 2]]):
                        wrong.append(-y)
            except ValueError:  # closed meanwhile
                if not file._owner.closed:
                    raise
        threads = [threading.Thread(target=work, args=(i,)) for i in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads[:4]:
            thread.join()
        file.close()  # while others may still read
        for thread in threads[4:]:
            thread.join()
        self.assertEqual(wrong, [])

    def test_threads_use_one_series(self):
        for i in range(6):
            qv.Image.over(np.full((50, 60), i, np.uint8)).save(f's{i}.tif')
        with qv.open('s?.tif', mode='r+') as series:
            def work(seed):
                for z in np.random.default_rng(seed).integers(0, 6, 40):
                    np.testing.assert_array_equal(series[int(z)].read(), z)
                return True
            with concurrent.futures.ThreadPoolExecutor(8) as threads:
                self.assertTrue(all(threads.map(work, range(8))))

    def test_a_series_is_edited_in_place(self):
        for i in range(10):
            qv.Image.over(GREY).save(f'img{i:03}.tif')
        with qv.open('img???.tif', first=0, last=9, mode='r+') as series:
            series[7][10, 20] = 99
        expected = GREY.copy()
        expected[10, 20] = 99
        for i in range(10):
            np.testing.assert_array_equal(qv.open(f'img{i:03}.tif').read(), expected if i == 7 else GREY)

    def test_progress_is_told_row_by_row(self):
        rows = []
        qv.Image.over(GREY).rotate(90).save('b.tif', progress=lambda row, of: rows.append((row, of)))
        self.assertEqual(rows, [(i, 24) for i in range(1, 25)])

    def test_what_stops_a_save_leaves_what_was_there(self):
        # What a shell runs in the background begins with the signal ignored.
        self.addCleanup(signal.signal, signal.SIGINT, signal.signal(signal.SIGINT, signal.default_int_handler))
        for ending in ('tif', 'pgm', 'bmp', 'jpg', 'fits', 'avi'):
            image, path = qv.Volume.over(STACK) if ending == 'avi' else qv.Image.over(GREY), 'f.' + ending
            image.save(path)
            before = pathlib.Path(path).read_bytes()

            def interrupt(step, steps):
                os.kill(os.getpid(), signal.SIGINT)
            with self.subTest(ending):
                with self.assertRaises(KeyboardInterrupt):
                    image.save(path, progress=interrupt)
                with self.assertRaises(ZeroDivisionError):
                    image.save(path, progress=lambda step, steps: step // 0)
                self.assertEqual(pathlib.Path(path).read_bytes(), before)
        self.assertIs(signal.getsignal(signal.SIGINT), signal.default_int_handler)

    def test_the_threads_callback_is_there_again_after_a_save(self):
        progress, user, beside = _library.function('qvimage_progress'), ctypes.c_int(), ctypes.c_void_p()
        callback = _save.STEPS(lambda user, step, steps: 0)
        progress(ctypes.cast(callback, ctypes.c_void_p), ctypes.addressof(user))
        qv.Image.over(GREY).save('f.tif', progress=lambda step, steps: None)
        self.assertEqual(progress(_save.PROGRESS_ASK, ctypes.addressof(beside)),
                         ctypes.cast(callback, ctypes.c_void_p).value)
        self.assertEqual(beside.value, ctypes.addressof(user))
        progress(None, None)

    def test_series_save_what_was_changed_and_tell_when_they_cannot(self):
        for i in range(3):
            qv.Image.over(GREY).save(f's{i}.tif', description=f'number {i}')
        with qv.open('s?.tif', mode='r+') as series:
            self.assertEqual(series.shape, (3, 16, 24))
            series[1][2:4, 5:7] = 9
            series[2, 0, 0] = 8
            series.flush()
            self.assertEqual(qv.open('s2.tif')[0, 0], 8)
        expected = GREY.copy()
        expected[2:4, 5:7] = 9
        np.testing.assert_array_equal(qv.open('s1.tif').read(), expected)
        self.assertEqual(qv.open('s1.tif').info.description, 'number 1')
        series = qv.open('s?.tif', mode='r+')
        series[0][0, 0] = 7
        del series  # saves, too
        self.assertEqual(qv.open('s0.tif')[0, 0], 7)
        with qv.open('s?.tif', first=1) as series, self.assertRaises(ValueError):
            series[0][0, 0] = 1
        os.remove('s1.tif')
        with qv.open('s?.tif', first=0, last=2) as series:
            np.testing.assert_array_equal(series[2, 1:].read(), GREY[1:])
            with self.assertRaises(qv.Error) as caught:
                series[1].read()
            self.assertEqual((caught.exception.code, caught.exception.filename), (-13, 's?.tif'))


if __name__ == '__main__':
    unittest.main()
