"""Images and volumes written into files."""
from __future__ import annotations

import contextlib
import ctypes
import os
import signal
import threading
from typing import Any, Callable, Iterator

from . import _abi
from ._files import COMPRESSIONS, FORMATS, Info, format_of_name, open_image
from ._image import Access, Image, Pixels, Volume
from ._library import check, fail, function

CODES = {name: code for code, name in COMPRESSIONS.items()}
TIFF_END = (1 << 63) - 1  # pages are added behind the last one
PROGRESS_ASK = 1
STEPS = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_void_p, ctypes.c_int64, ctypes.c_int64)
TEXTS = ('description', 'software', 'copyright', 'datetime')
BLUE_FIRST, RED_FIRST = ('bgr', 'bgrpad'), ('rgb', 'rgbpad')


class _Steps:
    """Hears how far a call has come: tells the caller, notes signals, and stops the call with -4."""

    def __init__(self, progress: Callable[[int, int], Any] | None) -> None:
        self.progress, self.error = progress, None
        self.signals: list[tuple[int, Any]] = []

    def __call__(self, _: Any, step: int, steps: int) -> int:
        if self.signals:
            return _abi.QVERR_CANCELED
        try:
            stop = self.progress is not None and self.progress(step, steps)
        except BaseException as e:
            self.error = e
            stop = True
        return _abi.QVERR_CANCELED if stop else 0

    error: BaseException | None

    @contextlib.contextmanager
    def heard(self) -> Iterator[None]:
        """While calls are told of. A handler's exception cannot leave a callback, so Ctrl-C is noted there,
        and handled when the call has ended."""
        handler = signal.getsignal(signal.SIGINT)
        main = threading.current_thread() is threading.main_thread() and callable(handler)
        callback = STEPS(self)
        if main:
            signal.signal(signal.SIGINT, lambda number, frame: self.signals.append((number, frame)))
        user = ctypes.c_void_p()
        function('qvimage_progress')(PROGRESS_ASK, ctypes.addressof(user))
        before = function('qvimage_progress')(ctypes.cast(callback, ctypes.c_void_p), None)
        try:
            yield
        finally:
            function('qvimage_progress')(before, user)
            if main:
                signal.signal(signal.SIGINT, handler)
        for number, frame in self.signals:
            handler(number, frame)  # type: ignore[operator, misc]
        if self.error is not None:
            raise self.error


def options_of(info: Info | None, compression: str | None, quality: float | None,
               resolution: Any, bigtiff: bool, codec: str | None, rate: Any,
               texts: dict[str, str | None], more: dict[str, Any]) -> _abi.qvimagefileinfo:
    """The options of a writer: what an information record says, and over it what was asked for."""
    record = _abi.qvimagefileinfo()
    fields = dict(info.fields) if info is not None else {}
    fields.pop('datetime', None)
    fields.update({name: text for name, text in texts.items() if text is not None})
    if compression is not None:
        if compression not in CODES:
            raise ValueError(f'no compression {compression!r}; there are {", ".join(CODES)}')
        fields['compression'] = CODES[compression]
    if info is not None and max(info.fields.get('compression', 1), fields.get('compression', 1)) > 1:
        fields.pop('stripsize', None)  # it counts the bytes of compressed strips
    if quality is not None and not 0 <= quality <= 100:
        raise ValueError(f'quality is 0 to 100, not {quality}')
    if quality is not None or not (fields.get('jpg_quality') or fields.get('jpg_reserved')):
        fields.update(jpg_quality=round((90 if quality is None else quality) * 10), jpg_reserved=1)
    if resolution is not None:
        across, down = resolution if isinstance(resolution, tuple) else (resolution, resolution)
        fields.update(xres=[round(across * 100), 100], yres=[round(down * 100), 100], resunit=2,
                      jpg_xdensity=round(across), jpg_ydensity=round(down), jpg_densityunit=1,
                      bmp_xppm=round(across / .0254), bmp_yppm=round(down / .0254))
    if bigtiff:
        fields['version'] = 43
    if codec is not None:
        fields['avi_handler'] = {'bitmaps': 'DIB ', 'mjpg': 'MJPG'}[codec]
    if rate is not None:
        fields['avi_ratenum'], fields['avi_rateden'] = rate if isinstance(rate, tuple) else (rate, 1)
    fields.update(more)
    for name, value in fields.items():
        if not hasattr(_abi.qvimagefileinfo, name):
            raise ValueError(f'the C record has no field {name!r}')
        if isinstance(value, list):
            array = getattr(record, name)
            for i, v in enumerate(value):
                array[i] = v.encode(errors='surrogateescape') if isinstance(v, str) else v
        else:
            setattr(record, name, value.encode(errors='surrogateescape') if isinstance(value, str) else value)
    return record


def _in_colours(pixels: Pixels[Any], title: str, red_first: bool) -> Any:
    """The image in colours that a format of nothing else holds."""
    if pixels.components < 3 or pixels.hint in RED_FIRST + BLUE_FIRST or pixels.hint == 'unknown':
        if red_first and pixels.hint in BLUE_FIRST:
            return pixels.colour(pixels.hint.replace('bgr', 'rgb'))
        return pixels
    raise ValueError(f'{title} holds rgb or grey pixels, not {pixels.hint}: save .colour("rgb")')


def save(pixels: Pixels[Any], path: Any, *, format: str | None = None, compression: str | None = None,
         quality: float | None = None, append: bool = False, palette: Image | None = None,
         info: Info | None = None, description: str | None = None, software: str | None = None,
         copyright: str | None = None, datetime: str | None = None, resolution: Any = None,
         bigtiff: bool = False, codec: str | None = None, rate: Any = None,
         fields: dict[str, Any] | None = None,
         progress: Callable[[int, int], Any] | None = None) -> None:
    """Writes an image, or the planes of a volume, into a file, whose format the end of its name tells.

    The file appears when it is whole; a failure leaves what stood there.

      format       "tiff", "jpeg", "pnm", "bmp", "fits" or "avi", whatever the name is
      compression  of TIFF: none, lzw, lzw-predictor, packbits, arithmetic, arithmetic-predictor
      quality      of JPEG pictures, 0 to 100 (90)
      append       adds pages to a TIFF file, frames to a PNM file
      palette      an image of the colours of indices (TIFF, BMP, AVI)
      info         what a file said, to be written again; other options count more
      description, software, copyright, datetime   texts, where the format has them
      resolution   pixels per inch, or (across, down)
      bigtiff      a TIFF file that may grow beyond 4 GiB
      codec, rate  of AVI: "bitmaps" or "mjpg"; frames per second, or (frames, seconds)
      fields       other options: fields of the C record qvimagefileinfo, by their names there
      progress     called with (step, steps) before each row, or plane; a true answer stops (QVERR_CANCELED)
    """
    form = format_of_name(path) if format is None else next((f for f in FORMATS if f.name == format), None)
    if form is None or form.name == 'ico':
        raise ValueError(f'{os.fsdecode(path)}: no format that is written is called so')
    texts = dict(description=description, software=software, copyright=copyright, datetime=datetime)
    record = options_of(info, compression, quality, resolution, bigtiff, codec, rate, texts, fields or {})
    if append and form.stem not in ('tiff', 'pgm'):
        raise ValueError(f'{form.title} files take no further pages')
    if isinstance(pixels, Volume) and form.opens == 'page':
        raise ValueError(f'{form.title} files hold one image: save the planes')
    if isinstance(pixels, Image) and form.stem == 'avi':
        pixels = pixels._as_volume()
    if form.stem not in ('tiff', 'fits'):
        pixels = _in_colours(pixels, form.title, form.stem == 'jpeg')
    steps = _Steps(progress)
    source = Access(pixels)
    colours = Access(palette) if palette is not None else None
    with pixels._inside(), (palette._inside() if palette is not None else contextlib.nullcontext()):
        with steps.heard():
            entries = colours.address if colours else None
            code = _write(form.stem, pixels, source.address, palette, entries, path, ctypes.addressof(record),
                          append)
            if code < 0 and not steps.signals and steps.error is None:
                fail(code, path)


def _write(stem: str, pixels: Pixels[Any], image: int, palette: Image | None, colours: int | None, path: Any,
           options: int, append: bool) -> int:
    """Calls the format's writer."""
    planes = isinstance(pixels, Volume)
    name, where = os.fsencode(path), (os.fsencode(path), None, 0)
    blue, red = int(pixels.hint in BLUE_FIRST), int(pixels.hint in RED_FIRST)
    swap_tiff = int(palette is not None and palette.hint in BLUE_FIRST)
    swap_bmp = int(palette is not None and palette.hint in RED_FIRST)
    code: int
    if stem == 'tiff':
        write = function('qvimage3_tiffwrite' if planes else 'qvimage_tiffwrite')
        page = TIFF_END if append and os.path.exists(name) else 0
        code = write(None, image, colours, *where, page, options, blue, swap_tiff,
                     int(pixels.hint in ('ycrcb', 'ycrcbpad')))
    elif stem == 'pgm':
        frames = 0
        if append and os.path.exists(name):
            with open_image(path) as there:
                frames = len(there.pages)
        code = function('qvimage_pgmwriteseq' if planes else 'qvimage_pgmwrite')(
            None, image, *where, frames, options, blue, int(pixels.hint in ('rgbpad', 'bgrpad')))
    elif stem == 'fits':
        code = function('qvimage3_fitswriteseq' if planes else 'qvimage_fitswrite')(
            None, image, 0, *where, options)
    elif stem == 'bmp':
        code = function('qvimage_bmpwrite')(None, image, colours, *where, options, red, swap_bmp, 1)
    elif stem == 'jpeg':
        code = function('qvimage_jpegwrite')(None, image, *where, None, options)
    else:
        code = function('qvimage3_aviwrite')(None, image, colours, *where, options, red, swap_bmp, 2)
    return code
