"""Other people's memory: where an array's pixels lie, and arrays that are made for pixels."""
from __future__ import annotations

import ctypes
import functools
from typing import TYPE_CHECKING, Any, Sequence

from . import _abi

if TYPE_CHECKING:
    import numpy

# Pixie types as the struct module and numpy's array interface write them.
FORMATS = {_abi.QVIM_UINT8: 'B', _abi.QVIM_UINT16: 'H', _abi.QVIM_UINT32: 'I', _abi.QVIM_UINT64: 'Q',
           _abi.QVIM_FLOAT32: 'f', _abi.QVIM_FLOAT64: 'd'}
INTERFACES = {_abi.QVIM_UINT8: 'u1', _abi.QVIM_UINT16: 'u2', _abi.QVIM_UINT32: 'u4', _abi.QVIM_UINT64: 'u8',
              _abi.QVIM_FLOAT32: 'f4', _abi.QVIM_FLOAT64: 'f8'}
SIZES = {code: int(name[1]) for code, name in INTERFACES.items()}
UNSIGNED, FLOATS, TRUTHS = 'BHILQN', 'fd', '?'
PYBUF_FULL_RO = 0x11C
NATIVE = '<' if int.from_bytes(b'\1\0', 'little') == memoryview(b'\1\0').cast('H')[0] else '>'


class _PyBuffer(ctypes.Structure):
    """The interpreter's description of a buffer, as far as releasing it needs."""
    _fields_ = [('buf', ctypes.c_void_p), ('obj', ctypes.c_void_p), ('len', ctypes.c_ssize_t),
                ('itemsize', ctypes.c_ssize_t), ('readonly', ctypes.c_int), ('ndim', ctypes.c_int),
                ('rest', ctypes.c_void_p * 5)]
    buf: int | None


_get_buffer = ctypes.PYFUNCTYPE(ctypes.c_int, ctypes.py_object, ctypes.c_void_p, ctypes.c_int)(
    ('PyObject_GetBuffer', ctypes.pythonapi))
_release_buffer = ctypes.PYFUNCTYPE(None, ctypes.c_void_p)(('PyBuffer_Release', ctypes.pythonapi))


def numpy_or_none() -> Any:
    try:
        import numpy
    except ImportError:
        return None
    return numpy


def type_code(dtype: Any) -> int:
    """The pixie type of a numpy dtype, its name or a letter of the struct module."""
    names = ('name', '__name__')
    for code, name in INTERFACES.items():
        long = f'{"uint" if name[0] == "u" else "float"}{8 * SIZES[code]}'
        if dtype in (name, FORMATS[code], long) or long in (getattr(dtype, a, '') for a in names):
            return code
    raise TypeError(f'pixels are uint8, uint16, uint32, uint64, float32 or float64, not {dtype}')


@functools.lru_cache(maxsize=None)
def form(format: str, size: int) -> tuple[int, bool, bool]:
    """What a buffer's items are: the pixie type, whether in foreign byte order, whether truth values."""
    letter = format.lstrip('@=<>!')
    known = UNSIGNED + TRUTHS if letter not in FLOATS else FLOATS
    for code, name in INTERFACES.items():
        same_sort = (name[0] == 'f') == (letter in FLOATS)
        if len(letter) == 1 and letter in known and same_sort and SIZES[code] == size:
            foreign = format[0] in '<>!' and format[0].replace('!', '>') != NATIVE and size > 1
            return code, foreign, letter in TRUTHS
    raise TypeError('pixels are unsigned integers of 8, 16, 32 or 64 bits, or floats of 32 or 64: '
                    f'not "{format}"')


class Buffer:
    """The memory of an array, which it keeps alive: `view` holds the array's export."""

    __slots__ = ('view', 'code', 'swapped', 'truth', 'readonly')

    def __init__(self, array: Any) -> None:
        try:
            self.view = memoryview(array)
        except TypeError:
            numpy = numpy_or_none()
            if numpy is None or not hasattr(array, '__array_interface__'):
                raise  # what only __array__ gives might be a copy
            self.view = memoryview(numpy.asarray(array))
        self.code, self.swapped, self.truth = form(self.view.format, self.view.itemsize)
        self.readonly = self.view.readonly

    def shaped(self, shape: Sequence[int]) -> None:
        """Gives a buffer of one dimension another shape."""
        plain: Any = self.view.cast('B')
        self.view = plain.cast(self.view.format[-1], tuple(shape))

    @property
    def address(self) -> int:
        """Where its first item is."""
        buffer = _PyBuffer()
        _get_buffer(self.view, ctypes.addressof(buffer), PYBUF_FULL_RO)
        try:
            return buffer.buf or 0
        finally:
            _release_buffer(ctypes.addressof(buffer))

    def layout(self, dimensions: int) -> tuple[tuple[int, ...], int, tuple[int, ...]]:
        """The extents (rows, columns or planes, rows, columns), components, and bytes from one row (plane,
        row) to the next. Refuses what no image can lie over."""
        size = self.view.itemsize
        shape, strides = tuple(self.view.shape or ()), tuple(self.view.strides or ())
        if self.view.ndim not in (dimensions, dimensions + 1):
            names = 'planes, rows, columns' if dimensions == 3 else 'rows, columns'
            raise ValueError(f'an array of ({names}) or ({names}, components) is needed, not of {shape}')
        components = shape[dimensions] if self.view.ndim > dimensions else 1
        if 0 in shape:
            raise ValueError(f'an array of no pixels: {shape}')
        if self.view.ndim > dimensions and components > 1 and strides[dimensions] != size:
            raise ValueError('the components of a pixel must lie side by side: copy the array')
        if shape[dimensions - 1] > 1 and strides[dimensions - 1] != size * components:
            raise ValueError('the pixels of a row must lie side by side, from left to right: copy the array, '
                             'or turn or mirror it, and the image back')
        row = shape[dimensions - 1] * size * components
        pitches: list[int] = []
        for extent, stride in zip(reversed(shape[:dimensions - 1]), reversed(strides[:dimensions - 1])):
            if extent == 1:
                stride = row
            if stride < row:
                raise ValueError(f'rows overlap or go backwards (a stride of {stride} bytes): copy the array'
                                 + (', or mirror it, and the image back' if stride < 0 else ''))
            pitches.insert(0, stride)
            row = stride * extent
        if any(p >= 1 << 32 for p in pitches):
            raise ValueError('rows or planes 4 GiB apart')
        return shape[:dimensions], components, tuple(pitches)


def new_array(code: int, shape: tuple[int, ...], clear: bool = False) -> Any:
    """An array for pixels: numpy's, or without it a memoryview. Clear where reads leave pads as they are."""
    numpy = numpy_or_none()
    if numpy is not None:
        return (numpy.zeros if clear else numpy.empty)(shape, INTERFACES[code])
    count = SIZES[code]
    for extent in shape:
        count *= extent
    plain: Any = memoryview(bytearray(count))
    return plain.cast(FORMATS[code], shape)


def contiguous(array: Any, code: int, shape: tuple[int, ...]) -> Any:
    """Pixels to be written, in that type and shape: the array itself, or numpy's idea of it."""
    numpy = numpy_or_none()
    if numpy is None:
        return array
    wanted, found = numpy.dtype(INTERFACES[code]), numpy.asarray(array)
    if found.dtype != wanted and found.dtype.kind in 'iu' and wanted.kind == 'u':  # numbers that fit
        if found.size and (found.min() < 0 or found.max() > numpy.iinfo(wanted).max):
            raise OverflowError(f'numbers from {found.min()} to {found.max()} as {wanted}')
    elif found.dtype != wanted and not (found.dtype.kind in 'iuf' and wanted.kind == 'f'):
        raise TypeError(f'pixels are {wanted}, not {found.dtype}')
    return numpy.ascontiguousarray(numpy.broadcast_to(found, shape), wanted)
