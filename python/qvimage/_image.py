"""Images and volumes: records over memory, files or each other, and what moves their pixels.

The records of an image and of all it looks through are one string of bytes, in which each refers to the one
before it by a relative reference. So it can be copied as it is, and each transfer works on a copy: an image
never changes, and any number of threads may use it at once.
"""
from __future__ import annotations

import contextlib
import ctypes
import functools
import operator
from typing import TYPE_CHECKING, Any, Callable, ClassVar, Generic, Iterator, NoReturn, TypeVar, overload

from . import _abi
from ._library import check, fail, function, slot_type
from ._memory import (FORMATS, INTERFACES, NATIVE, SIZES, Buffer, contiguous, new_array, numpy_or_none,
                      type_code)
from ._owner import Owner

if TYPE_CHECKING:
    from numpy.typing import ArrayLike, NDArray

SIZE = ctypes.sizeof(_abi.qvimage)
BEFORE = ctypes.c_void_p(-66)  # the reference to the record before the one that holds it
PIECE = 1 << 25  # bytes moved by a call at most: between calls signals are seen
STAGE = 1 << 18  # bytes between an image and rows with gaps
NOBODY: Any = contextlib.nullcontext()

HINTS: dict[int, str] = {code: name[len('QVIM_HINT_'):].lower() for name, code in vars(_abi).items()
                         if name.startswith('QVIM_HINT_')}
HINT_CODES = {name: code for code, name in HINTS.items()}
TURNS = {0: 0, 90: 5, 180: 6, 270: 3}  # degrees clockwise, as the flags of a turned view

P = TypeVar('P', bound='Pixels[Any]')  # what views of an image are


def hint_code(hint: str) -> int:
    if hint not in HINT_CODES:
        raise ValueError(f'no colours are called {hint!r}; there are {", ".join(HINT_CODES)}')
    return HINT_CODES[hint]


def described(code: int, bits: int, components: int, hint: int) -> _abi.qvimagedata:
    data = _abi.qvimagedata()
    if not function('qviminitdata')(ctypes.addressof(data), code, bits, components, hint):
        raise ValueError(f'no pixels are {components} components of {bits} bits in {INTERFACES[code]}')
    return data


@functools.lru_cache(maxsize=None)
def room(size: int) -> Any:
    """The class of so many bytes. Making it anew for each record would cost more than a transfer."""
    return ctypes.c_char * size


class Access:
    """A copy of an image's records, set up for one transfer."""

    def __init__(self, pixels: Pixels[Any]) -> None:
        records = pixels._records
        self._copy = room(len(records)).from_buffer_copy(records)
        self.address = ctypes.addressof(self._copy) + len(records) - SIZE
        # Nothing here refers to the image, which keeps set-ups of runs for the next transfer.
        self._record, self._path, self._extents, self._size = (
            pixels._record, pixels.path, pixels._extents, pixels._size)
        # Set-ups change slots, so they are read here, not in the image's own record.
        self._top = pixels._class.from_address(self.address)
        self.components = (1 << pixels.components) - 1
        code = pixels._code
        self.word = code if code >= _abi.QVIM_FLOAT32 else code | _abi.QVIM_LSB

    def slot(self, name: str) -> Any:
        return slot_type(self._record, name)(getattr(self._top, name))

    def call(self, name: str, *arguments: Any) -> Any:
        return self.slot(name)(self.address, *arguments)

    def set_up(self, name: str, mode: int) -> None:
        check(self.call(name, mode, self.word, self.components), self._path)

    def failed(self) -> NoReturn:
        """Raises the error of a transfer that fell short."""
        code = ctypes.c_int32(self.call('aeiou', ord('e'), 1, 1, None)).value
        fail(code if code < 0 else _abi.QVERR_IO, self._path)

    def mapped_lines(self) -> int:
        """Where the first line is, if all lie in memory as they are asked for, without gaps; else 0."""
        answer = self.call('imapset', _abi.QVIM_WRAP, self.word, self.components)
        found, everywhere = _abi.qvimagemap(), 0x1 | 0x8
        if answer < 0 or answer & everywhere != everywhere:
            return 0
        self.call('imap', ctypes.addressof(found), *(0,) * len(self._extents))
        return found.address if found.count else 0

    def runs(self, name: str) -> Callable[[int, int, int], None]:
        """Sets up runs. The answer moves so many lines, from the line given on (over all planes), from or to
        packed pixels at an address."""
        extents, size, first = self._extents, self._size, self.mapped_lines() if name == 'ioread' else 0
        columns, rows, piece = extents[-1], extents[-2], max(1, PIECE // size)

        def copy(address: int, line: int, lines: int) -> None:
            ctypes.memmove(address, first + line * columns * size, lines * columns * size)
        if first:
            return copy
        self.set_up('ioset', _abi.QVIM_WRAP)
        run = self.slot(name)

        def move(address: int, line: int, lines: int) -> None:
            done, count = 0, lines * columns
            while done < count:
                y, x = divmod(done, columns)
                z, y = divmod(line + y, rows)
                place = (x, y) if len(extents) == 2 else (x, y, z)
                moved = run(self.address, 0, address + done * size, min(piece, count - done), *place)
                if not moved:
                    self.failed()
                done += moved
        return move


class Pixels(Generic[P]):
    """What images and volumes have in common."""

    _record: ClassVar[str]  # the name of their record, with which their constructors' names begin
    _dimensions: ClassVar[int]
    _view_class: ClassVar[Any]  # of views of them, whatever class they are

    _class: ClassVar[Any]  # of that record
    components: int  # of a pixel

    _records: bytes
    _top: Any  # the last of them
    _code: int  # pixie type
    _size: int  # bytes of a pixel
    _extents: tuple[int, ...]  # (planes,) rows, columns
    _idle: dict[str, list[Callable[[int, int, int], None]]]  # what runs() made and nobody uses now
    _owner: Owner | None
    _kept: object
    _readonly: bool

    def __init__(self) -> None:
        raise TypeError('images are made by over(), empty() or open()')

    @classmethod
    def _make(cls, records: bytes, owner: Owner | None = None, kept: object = None,
              readonly: bool = False) -> P:
        made = cls._view_class.__new__(cls._view_class)
        made._set(records, owner, kept, readonly)
        return made  # type: ignore[no-any-return]

    def _set(self, records: bytes, owner: Owner | None, kept: object, readonly: bool) -> None:
        self._records, self._owner, self._kept, self._readonly = records, owner, kept, readonly
        self._top = top = self._class.from_buffer_copy(records, len(records) - SIZE)
        self._code = int(top.d.pixietype)
        self._size = int(top.f.pixelsize)
        self.components = int(top.d.pixies)
        nw, se = top.wind.nw, top.wind.se
        planes = (se.z - nw.z,) if self._dimensions == 3 else ()
        self._idle = {'ioread': [], 'iorite': []}
        self._extents = (*planes, se.y - nw.y, se.x - nw.x)

    # --- made from memory ---

    @classmethod
    def over(cls, array: Any, *, bits: int = 0, hint: str | None = None,
             shape: tuple[int, ...] | None = None) -> P:
        """An image over the memory of an array (anything with a buffer), which is not copied, and kept alive.

        bits   significant bits of an integer, at its low end; 0: all
        hint   what the components mean: "grey", "rgb", "bgr", ...
        shape  of a buffer that has none of its own
        """
        buffer = Buffer(array)
        if shape is not None:
            buffer.shaped(shape)
        extents, components, pitches = buffer.layout(cls._dimensions)
        meaning = {1: 1, 3: _abi.QVIM_HINT_RGB}.get(components, 0) if hint is None else hint_code(hint)
        data = described(buffer.code, 1 if buffer.truth else bits, components, meaning)
        if buffer.swapped and buffer.code >= _abi.QVIM_FLOAT32:
            raise TypeError('floats in foreign byte order: copy the array')
        if buffer.swapped:
            data.i_endian = _abi.QVIM_SWAPPED
        record = room(SIZE)()
        dims = (ctypes.c_int32 * cls._dimensions)(*reversed(extents))
        check(function(f'{cls._record}_memdata')(
            ctypes.addressof(record), buffer.address, 0, dims,
            *reversed(pitches), ctypes.addressof(data), None, 0))
        return cls._make(record.raw, kept=buffer.view, readonly=buffer.readonly)

    @classmethod
    def empty(cls, shape: tuple[int, ...], dtype: Any = 'uint8', *, bits: int = 0,
              hint: str | None = None) -> P:
        """An image in memory of its own, whose pixels are not set."""
        return cls.over(new_array(type_code(dtype), shape), bits=bits, hint=hint)

    # --- what it is ---

    @property
    def path(self) -> Any:
        """Of the file that it is an image of, or None."""
        return self._owner.path if self._owner else None

    @property
    def shape(self) -> tuple[int, ...]:
        """(planes,) rows, columns, and components where there are several."""
        return self._extents + ((self.components,) if self.components > 1 else ())

    @property
    def ndim(self) -> int:
        return len(self.shape)

    @property
    def dtype(self) -> Any:
        """Of its pixels: numpy's, or the letter of the struct module where numpy is not there."""
        numpy, code = numpy_or_none(), self._top.d.pixietype
        return FORMATS[code] if numpy is None else numpy.dtype(INTERFACES[code])

    @property
    def bits(self) -> int:
        """Significant bits of a component."""
        code = self._top.d.pixietype
        return 8 * SIZES[code] if code >= _abi.QVIM_FLOAT32 else int(self._top.d.i_bitsused)

    @property
    def hint(self) -> str:
        """What the components mean, in their order: "grey", "rgb", "bgr", "index", ..."""
        return HINTS.get(self._top.d.pixelhint, 'unknown')

    def __repr__(self) -> str:
        size = ' x '.join(map(str, self.shape))
        name = f' of {self.path}' if self.path is not None else ''
        return f'<qvimage.{type(self).__name__}{name}: {size}, {self.dtype}, {self.bits} bits, {self.hint}>'

    def __len__(self) -> int:
        return self._extents[0]

    # --- views ---

    def _inside(self) -> Any:
        return self._owner or NOBODY

    def _view(self, made: Any, constructor: str, *arguments: Any) -> Any:
        """An image of class `made` over this one."""
        size = len(self._records)
        records = room(size + SIZE)()
        ctypes.memmove(records, self._records, size)
        check(function(constructor)(ctypes.addressof(records) + size, BEFORE, *arguments), self.path)
        return made._make(records.raw, self._owner, self._kept, self._readonly)

    def _same(self, constructor: str, *arguments: Any) -> P:
        """A view of the same dimensions."""
        made: P = self._view(self._view_class, f'{self._record}_{constructor}', *arguments)
        return made

    def convert(self, to: Any, *, normalise: bool = False) -> P:
        """In another type or number of bits: convert(8), convert("float32").

        Integers of other bits are shifted, so that their highest bits agree. Floats are the integers' own
        values; with normalise 0.0 to 1.0 stand for the whole range of the integers' type.
        """
        d = self._top.d
        if isinstance(to, int):
            code, bits = function('qvimdatabittype')(to), to
            if not 1 <= to <= 32:
                raise ValueError(f'integers of 1 to 32 bits, not {to}')
        else:
            code, bits = type_code(to), 0
        data = described(code, bits, d.pixies, d.pixelhint)
        shown = 0 if code >= _abi.QVIM_FLOAT32 else data.i_bitsused
        return self._same('converter', ctypes.addressof(data), 0, 0, shown, int(normalise))

    def colour(self, hint: str) -> P:
        """As other colours: "rgb", "bgr", "grey", "cmy", "cmyk", "bsh" or "ycrcb"."""
        code = hint_code(hint)
        if code == self._top.d.pixelhint:
            return self._windowed([(0, n) for n in self._extents])
        return self._same('colorconverter', code, 0)

    def component(self, number: int) -> P:
        """One component alone, counted from 0."""
        if not 0 <= number < self.components:
            raise IndexError(f'component {number} of {self.components}')
        return self._same('colorslice', 0, 1 << number, 0)

    def _windowed(self, corners: list[tuple[int, int]]) -> P:
        """The part from the first to before the second of each pair, along each axis."""
        records = room(len(self._records)).from_buffer_copy(self._records)
        wind = type(self._top.wind)()
        for axis, (first, last) in zip('zyx'[-self._dimensions:], corners):
            begin = getattr(self._top.wind.nw, axis)
            setattr(wind.nw, axis, begin + first)
            setattr(wind.se, axis, begin + last)
        xwind = slot_type(self._record, 'xwind')(self._top.xwind)
        with self._inside():
            if not xwind(ctypes.addressof(records) + len(records) - SIZE, ctypes.addressof(wind), ord('s')):
                fail(_abi.QVERR_USAGE, self.path)
        return self._make(records.raw, self._owner, self._kept, self._readonly)

    # --- pixels ---

    def read(self, out: Any = None, dtype: Any = None) -> NDArray[Any]:
        """The pixels, as a new array, or into `out`, which may have any distance between rows.

        dtype converts to another type; nothing is narrowed unless it says so.
        """
        if dtype is not None and type_code(dtype) != self._code:
            return self.convert(dtype).read(out)
        target = new_array(self._code, self.shape, 'pad' in self.hint) if out is None else out
        buffer = Buffer(target)
        if buffer.readonly:
            raise ValueError('out cannot be written to')
        self._transfer('ioread', buffer)
        return target  # type: ignore[no-any-return]

    def write(self, array: ArrayLike) -> None:
        """Sets all pixels: from an array of this shape, or one that numpy spreads to it."""
        self._writable()
        self._transfer('iorite', Buffer(contiguous(array, self._code, self.shape)))

    def _writable(self) -> None:
        if self._readonly:
            raise ValueError(f'{self.path or "the image"} can only be read')

    def _transfer(self, slot: str, buffer: Buffer) -> None:
        """All pixels, from or to an array."""
        view = buffer.view
        if 0 in self._extents:
            return
        if not view.c_contiguous or view.shape != self.shape:
            extents, components, _ = buffer.layout(self._dimensions)
            if extents != self._extents or components != self.components:
                raise ValueError(f'an array of {self.shape} is needed, not of {view.shape}')
        if buffer.code != self._code or buffer.swapped:
            raise TypeError(f'an array of {INTERFACES[self._code]} is needed, not of "{view.format}": '
                            'dtype converts')
        with self._inside():
            idle = self._idle[slot]
            try:
                move = idle.pop()
            except IndexError:
                move = Access(self).runs(slot)
            if view.c_contiguous:
                move(buffer.address, 0, self._lines())
            else:
                self._read_in_pieces(buffer, move)
            idle.append(move)

    def _lines(self) -> int:
        return self._extents[0] * (self._extents[1] if self._dimensions == 3 else 1)

    def _read_in_pieces(self, buffer: Buffer, move: Callable[[int, int, int], None]) -> None:
        """Into rows with gaps between them, by way of packed ones: a call costs more than a row."""
        numpy, rows = numpy_or_none(), self._extents[-2]
        if numpy is None:
            raise BufferError('rows with gaps between them need numpy')
        array = numpy.asarray(buffer.view).reshape(self.shape)
        many = max(1, STAGE // (self._extents[-1] * self._size))
        stage = numpy.empty((many, *self.shape[self._dimensions - 1:]), array.dtype)
        for z, plane in enumerate(array if self._dimensions == 3 else [array]):
            for y in range(0, rows, many):
                part = plane[y:y + many]
                move(stage.ctypes.data, z * rows + y, len(part))
                part[...] = stage[:len(part)]

    # --- scattered pixels ---

    def at(self, points: ArrayLike) -> NDArray[Any]:
        """The pixels at (row, column), or (plane, row, column), of each line of `points`."""
        places, count = self._places(points)
        shape = (count, self.components) if self.components > 1 else (count,)
        values = new_array(self._code, shape, 'pad' in self.hint)
        if count:
            self._scattered(_abi.QVIM_OP_READ, places, count, Buffer(values))
        return values  # type: ignore[no-any-return]

    def put(self, points: ArrayLike, values: ArrayLike) -> None:
        """Sets the pixels there, to a value each or one for all."""
        self._writable()
        places, count = self._places(points)
        shape = (count, self.components) if self.components > 1 else (count,)
        if count:
            given = contiguous(values, self._code, shape)
            self._scattered(_abi.QVIM_OP_WRITE, places, count, Buffer(given))

    def _places(self, points: Any) -> tuple[Any, int]:
        """The list of a block transfer."""
        numpy = numpy_or_none()
        lines = numpy.asarray(points).tolist() if numpy is not None else points
        places = (_abi.qvxyzcoord * len(lines))()
        for place, line in zip(places, lines):
            where = tuple(map(operator.index, line))
            if len(where) != self._dimensions:
                raise ValueError(f'{self._dimensions} coordinates a point are needed, not {len(where)}')
            if not all(0 <= w < n for w, n in zip(where, self._extents)):
                raise IndexError(f'no pixel is at {where}: the shape is {self.shape}')
            for axis, w in zip('zyx'[-self._dimensions:], where):
                setattr(place, axis, w)
        return places, len(lines)

    def _scattered(self, operation: int, places: Any, count: int, buffer: Buffer) -> None:
        with self._inside():
            access = Access(self)
            access.set_up('bxts', 0)
            lists = ctypes.addressof(places)
            done = access.call('bxta', _abi.QVIM_LIST, buffer.address, lists, count, operation)
            if done != count or access.call('aeiou', ord('e'), 0, 1, None):
                access.failed()

    # --- as arrays ---

    def _mapped(self) -> tuple[int, tuple[int, ...]]:
        """The address of the first pixel, and bytes from one plane, row, pixel to the next. AttributeError
        where the pixels are not memory as it stands there."""
        access, d, extents = Access(self), self._top.d, self._extents
        swap = d.i_endian if d.pixietype < _abi.QVIM_FLOAT32 else 0
        answer = access.call('imapset', 0, access.word | swap, access.components)
        if answer <= 0 or not answer & 1 or 0 in extents:
            raise AttributeError('the pixels of this image do not lie in memory: read() delivers them')
        imap, found = access.slot('imap'), _abi.qvimagemap()
        strides: list[int] = []
        first = 0
        for axis in range(-1, self._dimensions):
            place = [int(a == axis and extents[a] > 1) for a in range(self._dimensions)]
            if not imap(access.address, ctypes.addressof(found), *reversed(place)):
                raise AttributeError('the pixels of this image cannot be mapped')
            if axis < 0:
                first = found.address
            else:
                strides.append(found.address - first)
        inner = self._size
        for axis in reversed(range(self._dimensions)):  # of a single row, or plane: as if others followed
            strides[axis] = strides[axis] or inner
            inner = strides[axis] * extents[axis]
        return first, tuple(strides)

    @property
    def __array_interface__(self) -> dict[str, Any]:
        """For numpy: the pixels where they lie. AttributeError for images that are not memory."""
        address, strides = self._mapped()
        d = self._top.d
        swapped = d.pixietype < _abi.QVIM_FLOAT32 and d.i_endian
        order = NATIVE if not swapped else '<>'[NATIVE == '<']
        inner = (SIZES[d.pixietype],) if self.components > 1 else ()
        return {'version': 3, 'shape': self.shape, 'typestr': order + INTERFACES[d.pixietype],
                'data': (address, self._readonly), 'strides': strides + inner}

    def __array__(self, dtype: Any = None, copy: bool | None = None) -> NDArray[Any]:
        """For numpy, of images that are not memory."""
        if copy is False:
            raise ValueError('the pixels of this image do not lie in memory')
        pixels = self.read()
        return pixels if dtype is None else pixels.astype(dtype)

    def __buffer__(self, flags: int) -> memoryview:
        return self.memory()

    def memory(self) -> memoryview:
        """The pixels where they lie; BufferError for images that are not memory. Without numpy rows must
        follow each other without gaps."""
        try:
            address, strides = self._mapped()
        except AttributeError as e:
            raise BufferError(str(e)) from None
        numpy = numpy_or_none()
        if numpy is not None:
            return memoryview(numpy.asarray(_Interface(self)))
        total = strides[0] * self._extents[0]
        if total != self._size * _product(self._extents):
            raise BufferError('rows with gaps between them need numpy')
        found = (ctypes.c_ubyte * total).from_address(address)
        setattr(found, 'image', self)  # keeps the memory
        plain: Any = memoryview(found).cast('B')
        view: memoryview = plain.cast(FORMATS[self._top.d.pixietype], self.shape)
        return view.toreadonly() if self._readonly else view


class _Interface:
    """The array interface of an image alone: numpy would ask its buffer first."""

    def __init__(self, image: Pixels[Any]) -> None:
        self._image = image
        self.__array_interface__ = image.__array_interface__


def _product(numbers: tuple[int, ...]) -> int:
    product = 1
    for n in numbers:
        product *= n
    return product


def _slices(key: Any, extents: tuple[int, ...]) -> list[Any]:
    """An index as a whole number or a slice for each axis."""
    keys = list(key) if isinstance(key, tuple) else [key]
    if any(k is Ellipsis for k in keys):
        at = next(i for i, k in enumerate(keys) if k is Ellipsis)
        keys[at:at + 1] = [slice(None)] * (len(extents) - len(keys) + 1)
    keys += [slice(None)] * (len(extents) - len(keys))
    if len(keys) != len(extents):
        raise IndexError(f'{len(extents)} indices at most, not {len(keys)}')
    for axis, k in enumerate(keys):
        if not isinstance(k, slice):
            n = operator.index(k)
            if not -extents[axis] <= n < extents[axis]:
                raise IndexError(f'{n} of {extents[axis]} along axis {axis}')
            keys[axis] = n % extents[axis]
    return keys


def _range(key: slice | int, extent: int) -> tuple[int, int]:
    first, last, step = key.indices(extent) if isinstance(key, slice) else (key, key + 1, 1)
    if step != 1:
        raise IndexError('parts have no steps: decimate() thins images, flip() and rotate() turn them')
    return first, max(first, last)


class Image(Pixels['Image']):
    """Pixels in rows and columns."""

    _record, _dimensions = 'qvimage', 2

    @overload
    def __getitem__(self, key: slice | tuple[slice, slice]) -> Image: ...

    @overload
    def __getitem__(self, key: Any) -> Any: ...

    def __getitem__(self, key: Any) -> Any:
        """image[y0:y1, x0:x1] is a part of it, image[y, x] a pixel's value."""
        keys = _slices(key, self._extents)
        if not any(isinstance(k, slice) for k in keys):
            found: Any = self._pixel(keys).read()
            if numpy_or_none() is None and self.components > 1:
                return tuple(found[0, 0, i] for i in range(self.components))
            return found[0, 0]
        return self._windowed([_range(k, n) for k, n in zip(keys, self._extents)])

    def __setitem__(self, key: Any, value: Any) -> None:
        """Sets a pixel, or the pixels of a part."""
        keys = _slices(key, self._extents)
        if any(isinstance(k, slice) for k in keys):
            self[tuple(keys)].write(value)
        elif numpy_or_none() is not None:
            self._pixel(keys).write(value)
        else:
            pixel: Any = new_array(self._code, (1, 1, self.components))
            for i, v in enumerate(value if self.components > 1 else [value]):
                pixel[0, 0, i] = v
            self._pixel(keys).write(pixel)

    def _pixel(self, place: list[int]) -> Image:
        return self._windowed([(n, n + 1) for n in place])

    def rotate(self, degrees: int) -> Image:
        """Turned clockwise by 90, 180 or 270 degrees."""
        if degrees % 360 not in TURNS:
            raise ValueError(f'images are turned by multiples of 90 degrees, not {degrees}')
        return self._turned(TURNS[degrees % 360])

    def flip(self, axis: str) -> Image:
        """Mirrored left to right ("x") or top to bottom ("y")."""
        return self._turned({'x': 4, 'y': 2}[axis])

    def _turned(self, flags: int) -> Image:
        return self._view(Image, 'qvimage_rotate_filt', 0, flags)  # type: ignore[no-any-return]

    def decimate(self, columns: int, rows: int | None = None) -> Image:
        """Every so many columns and rows, of an image with one component."""
        rows = columns if rows is None else rows
        return self._view(Image, 'qvimage_decimate', 0, columns, rows, 0, 0)  # type: ignore[no-any-return]

    def bayer(self, pattern: str) -> Image:
        """Raw values behind colour filters, named by their first two rows ("rggb"), as four components."""
        phase = {'rggb': 0, 'grbg': 1, 'gbrg': 2, 'bggr': 3}[pattern]
        return self._view(Image, 'qvimage_Beyer4_filter', 0, phase)  # type: ignore[no-any-return]

    @property
    def volume(self) -> Volume:
        """The image as the only plane of a volume."""
        return self._as_volume()

    def _as_volume(self) -> Volume:
        return self._view(Volume, 'qvimage_def3from2', 0)  # type: ignore[no-any-return]

    def save(self, path: Any, **options: Any) -> None:
        """Writes the image into a file: see qvimage.save."""
        from ._save import save
        save(self, path, **options)


class Volume(Pixels['Volume']):
    """Planes of pixels: the pages, frames or files of a sequence."""

    _record, _dimensions = 'qvimage3', 3

    @overload
    def __getitem__(self, key: int) -> Image: ...

    @overload
    def __getitem__(self, key: slice | tuple[slice, slice] | tuple[slice, slice, slice]) -> Volume: ...

    @overload
    def __getitem__(self, key: Any) -> Any: ...

    def __getitem__(self, key: Any) -> Any:
        """volume[z] is a plane; volume[z0:z1, y0:y1, x0:x1] a part; volume[z, y, x] a pixel's value."""
        keys = _slices(key, self._extents)
        if isinstance(keys[0], int):
            plane = self._plane(keys[0])
            return plane if all(k == slice(None) for k in keys[1:]) else plane[tuple(keys[1:])]
        return self._windowed([_range(k, n) for k, n in zip(keys, self._extents)])

    def __setitem__(self, key: Any, value: Any) -> None:
        keys = _slices(key, self._extents)
        if isinstance(keys[0], int):
            self._plane(keys[0])[tuple(keys[1:])] = value
        else:
            self[tuple(keys)].write(value)

    def __iter__(self) -> Iterator[Image]:
        return (self._plane(z) for z in range(len(self)))

    def _plane(self, z: int) -> Image:
        return self._view(Image, 'qvimage_def2from3', _abi.QVIM_XSCAN, _abi.QVIM_YSCAN,  # type: ignore
                          z, 0)

    def mean(self) -> Image:
        """The mean of the planes, rounded, of 8- and 16-bit integers."""
        return self._view(Image, 'qvimage_stack')  # type: ignore[no-any-return]

    def save(self, path: Any, **options: Any) -> None:
        """Writes the planes into a file, as pages or frames: see qvimage.save."""
        from ._save import save
        save(self, path, **options)


Image._view_class, Volume._view_class = Image, Volume
Image._class, Volume._class = _abi.qvimage, _abi.qvimage3
