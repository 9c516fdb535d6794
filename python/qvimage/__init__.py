"""Images of any kind as arrays, arrays as images, and files of seven formats.

    import qvimage as qv

    image = qv.Image.over(array)         an array's memory as an image, not copied
    image.save("a.tif")
    with qv.open("a.tif") as file:       a file as an image
        pixels = file[50:290, 100:420].read()
    view = file.convert(8).rotate(90)    other ways to look at it: nothing is computed before it is read

Shapes are (rows, columns[, components]), with planes before them in volumes. Components have the order of the
file: `hint` tells it, `colour("rgb")` asks for another. An image never changes, only its pixels do: views and
parts of it are images of their own. Any number of threads may use an image at once.
"""
from __future__ import annotations

import os
from typing import TYPE_CHECKING, Literal, overload

from . import _abi
from ._files import File, Info, Pages, Series, open_image, open_series
from ._image import Image, Volume
from ._library import Error
from ._save import save

if TYPE_CHECKING:
    from ._files import Path

__version__ = _abi.VERSION
__all__ = ['Error', 'File', 'Image', 'Info', 'Pages', 'Series', 'Volume', 'open', 'save']


@overload
def open(path: Path, mode: Literal['r'] = 'r', *, page: int = 0, palette: bool = False,
         lenient: bool = False) -> File: ...


@overload
def open(path: Path, mode: Literal['r', 'r+'] = 'r', *, first: int, last: int | None = None) -> Series: ...


@overload
def open(path: Path, mode: Literal['r+']) -> Series: ...


def open(path: Path, mode: str = 'r', *, page: int = 0, palette: bool = False, lenient: bool = False,
         first: int | None = None, last: int | None = None) -> File | Series:
    """Opens a file, whatever its format, which its first bytes tell; or a series of numbered files.

      page     the page or frame that the file is an image of, from 0
      palette  of indices: not as colours but as they are, with their colours as the image `palette`
      lenient  reads FITS files with scaled values as they are stored, AVI files of other handlers

    A path with "?" for the digits of a number, which is no file's name, is a series: files `first` to `last`,
    or all that are there. Its frames can be changed with mode "r+": a frame is saved when another one is
    asked for, and when the series is closed.
    """
    if mode not in ('r', 'r+'):
        raise ValueError(f'files are opened with "r", series with "r" or "r+", not with {mode!r}')
    numbered = '?' in os.fsdecode(path) and not os.path.exists(path)
    if numbered or first is not None or last is not None:
        return open_series(path, first, last, mode == 'r+')
    if mode == 'r+':
        raise ValueError('one file is read, or saved anew; a series of files is changed in place')
    return open_image(path, page=page, palette=palette, lenient=lenient)
