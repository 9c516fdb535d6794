"""Files and numbered series of files, of any format: opened, described, their pages."""
from __future__ import annotations

import ctypes
import dataclasses
import glob
import os
import re
from typing import TYPE_CHECKING, Any, Iterator, Sequence, overload

from . import _abi
from ._image import HINTS, SIZE, Image, Volume
from ._library import Error, check, fail, function, slot_type
from ._memory import SIZES
from ._owner import Owner

if TYPE_CHECKING:
    Path = str | bytes | os.PathLike[str] | os.PathLike[bytes]

COMPRESSIONS = {1: 'none', 5: 'lzw', 517: 'lzw-predictor', 32773: 'packbits', 32885: 'arithmetic',
                33397: 'arithmetic-predictor'}
HEAD_BYTES = 16  # so many first bytes tell every format


@dataclasses.dataclass(frozen=True)
class Format:
    """A file format: an entry of the library's list."""
    name: str
    stem: str
    title: str
    suffixes: tuple[str, ...]
    signature: re.Pattern[bytes]
    opens: str


def _pattern(signature: bytes) -> re.Pattern[bytes]:
    """The list's way of writing signatures as a regular expression."""
    parts = re.split(rb'(\[[^]]*\]|[|?])', signature)
    rule = b''.join(p if p[:1] in (b'[', b'|') else b'.' if p == b'?' else re.escape(p) for p in parts)
    return re.compile(rule, re.S)


FORMATS = [Format(name, stem, title, suffixes, _pattern(signature), opens)
           for name, stem, title, suffixes, signature, opens in _abi.FORMATS]


def format_of_name(path: Any) -> Format | None:
    suffix = os.path.splitext(os.fsdecode(path))[1].lower()
    return next((f for f in FORMATS if suffix in f.suffixes), None)


def format_of_content(path: Any) -> Format:
    """The format whose signature the file begins with. A file that cannot be read is refused as the library
    refuses it; one of no format as well."""
    try:
        with open_file(path, 'rb') as file:
            head = file.read(HEAD_BYTES)
    except OSError as e:
        raise Error(_abi.QVERR_NOTFOUND, path, e.strerror or '') from None
    found = next((f for f in FORMATS if f.signature.match(head)), None)
    if found is None:
        titles = ', '.join(f.title for f in FORMATS)
        raise Error(_abi.QVERR_FORMAT, path, f'it begins like none of {titles}')
    return found


@dataclasses.dataclass(frozen=True)
class Info:
    """What a file says about a page. `fields` has all of it that is not 0, by the names of the C record."""
    format: str
    pages: int
    page: int
    width: int
    height: int
    components: int
    bits: int
    hint: str
    compression: str | None
    datetime: str | None
    software: str | None
    description: str | None
    copyright: str | None
    fields: dict[str, Any]


HEAD_FIELDS = ('wind', 'width', 'height', 'data', 'hints', 'type')


def _plain(value: Any) -> Any:
    """A field's value as Python has it: texts, numbers, lists of them."""
    if isinstance(value, bytes):
        return value.decode(errors='surrogateescape')
    return [_plain(v) for v in value] if isinstance(value, ctypes.Array) else value


def info_of(record: _abi.qvimagefileinfo, page: int) -> Info:
    fields = {name: _plain(getattr(record, name)) for name, *_ in record._fields_
              if name not in HEAD_FIELDS and not name.startswith('reserved')}
    data, coded = record.data, record.compression
    real = data.pixietype >= _abi.QVIM_FLOAT32
    return Info(
        format=record.type.decode(), pages=max(record.pagecount, record.pagecount2), page=page,
        width=record.width, height=record.height, components=data.pixies,
        hint=HINTS.get(data.pixelhint, 'unknown'),
        bits=8 * SIZES[data.pixietype] if real else data.i_bitsused,
        compression=COMPRESSIONS.get(coded, str(coded)) if coded else None,
        datetime=fields['datetime'], software=fields['software'], description=fields['description'],
        copyright=fields['copyright'],
        fields={n: v for n, v in fields.items() if v and (not isinstance(v, list) or any(v))})


class _Opened:
    """A file that the library has open: the handle, records of what was asked for, the way to close it."""

    def __init__(self, path: Any, form: Format, page: int, palette: bool, planes: bool,
                 lenient: bool) -> None:
        self.form, self.page, self.planes = form, page, planes
        handle = ctypes.c_void_p()
        record = ctypes.create_string_buffer(SIZE)
        colours = ctypes.create_string_buffer(SIZE)
        wanted = ctypes.addressof(colours) if palette else None
        name = f'qvimage{"3" if planes else ""}_{form.stem}read'
        arguments: tuple[Any, ...] = (os.fsencode(path), None, 0)
        if form.stem == 'jpeg':
            given: tuple[Any, ...] = (ctypes.addressof(handle), *arguments, None)
        elif form.stem == 'bmp':
            given = (wanted, ctypes.addressof(handle), *arguments, 0, 0, int(form.name == 'ico'))
        elif planes:
            lenience = int(lenient and form.stem != 'tiff')
            given = (wanted, ctypes.addressof(handle), *arguments, lenience)
        else:
            given = (wanted, ctypes.addressof(handle), *arguments, page, 0)
        check(function(name)(ctypes.addressof(record), *given), path)
        self.handle, self.record, self.palette = handle, record.raw, colours.raw if palette else None
        done = function(f'{name}done')
        nothing = (None,) * (1 if form.stem == 'jpeg' else 2)

        def end() -> None:
            done(*nothing, ctypes.addressof(handle))
        self.owner = Owner(end, path)

    def info(self, page: int) -> Info:
        read, record = function(f'qvimage_{self.form.stem}readinfo'), _abi.qvimagefileinfo()
        more = (page,) if len(read.argtypes) > 2 else ()
        with self.owner:
            check(read(self.handle, ctypes.addressof(record), *more), self.owner.path)
        try:
            return info_of(record, page)
        finally:
            function(f'qvimage_{self.form.stem}infodone')(ctypes.addressof(record))


class File(Image):
    """An open file: the image of one page of it, its description, the other pages."""

    _opened: _Opened
    page: int

    def _show(self, opened: _Opened, page: int) -> File:
        """Makes this the image of a page of an open file."""
        self._opened, self.page = opened, page
        if opened.planes:
            planes = Volume._make(opened.record, opened.owner, readonly=True)
            if not 0 <= page < len(planes):
                raise IndexError(f'page {page} of {len(planes)}')
            record = planes._plane(page)._records
        else:
            record = opened.record
        self._set(record, opened.owner, None, True)
        return self

    @property
    def format(self) -> str:
        """"tiff", "jpeg", "pnm", "bmp", "ico", "fits" or "avi"."""
        return self._opened.form.name

    @property
    def info(self) -> Info:
        """What the file says about this page."""
        return self._opened.info(self.page)

    @property
    def palette(self) -> Image | None:
        """The colours of its indices, where they were asked for and the page has some."""
        record = self._opened.palette
        if record is None or not _abi.qvimage.from_buffer_copy(record).d.pixies:
            return None
        return Image._make(record, self._owner, readonly=True)

    @property
    def pages(self) -> Pages:
        """All pages, or frames, of the file."""
        return Pages(self)

    @property
    def volume(self) -> Volume:
        """All pages, or frames, as one volume. That of a TIFF file has the file open for itself."""
        if self._opened.planes:
            return Volume._make(self._opened.record, self._owner, readonly=True)
        if self._opened.form.opens == 'page':
            return self._as_volume()
        whole = _Opened(self.path, self._opened.form, 0, False, True, False)
        return Volume._make(whole.record, whole.owner, readonly=True)

    def close(self) -> None:
        """Closes the file, once no thread reads through it. Images over it can be used no more."""
        self._opened.owner.close()

    def __enter__(self) -> File:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()


class Pages(Sequence[File]):
    """The pages of a file, each opened when it is asked for. Of TIFF files each is a file of its own, which
    is closed when it is no longer used."""

    def __init__(self, file: File) -> None:
        self._file = file
        opened = file._opened
        self._count = len(file.volume) if opened.planes else file.info.pages

    def __len__(self) -> int:
        return self._count

    def __iter__(self) -> Iterator[File]:
        return (self[i] for i in range(self._count))

    @overload
    def __getitem__(self, index: int) -> File: ...

    @overload
    def __getitem__(self, index: slice) -> list[File]: ...

    def __getitem__(self, index: int | slice) -> File | list[File]:
        if isinstance(index, slice):
            return [self[i] for i in range(*index.indices(self._count))]
        if not -self._count <= index < self._count:
            raise IndexError(f'page {index} of {self._count}')
        page, opened = index % self._count, self._file._opened
        if not opened.planes and page != opened.page:
            opened = _Opened(self._file.path, opened.form, page, opened.palette is not None, False, False)
        return File.__new__(File)._show(opened, page)


class Series(Volume):
    """Numbered files as one volume, a plane a file, of which one is in memory at a time."""

    _first: int

    @property
    def first(self) -> int:
        """The number of the first file."""
        return self._first

    def _start(self, pattern: Any, first: int, last: int, write: bool) -> Series:
        self._first = first
        with open_image(_numbered(pattern, first)) as member:
            stem = member._opened.form.stem
            frame = Image.empty(member.shape, member.dtype, bits=_bits(member), hint=member.hint)
        under = ctypes.create_string_buffer(frame._records, SIZE)
        record, handle = ctypes.create_string_buffer(SIZE), ctypes.c_void_p()
        check(function(f'qvimage3_buf{stem}seq')(
            ctypes.addressof(handle), ctypes.addressof(record), ctypes.addressof(under), None,
            os.fsencode(pattern), 0, first, last, int(write), 1), pattern)
        done, aeiou = function(f'qvimage3_buf{stem}seqdone'), self._aeiou(record.raw)

        def end() -> None:
            kept = (frame, under)  # in use until the series has ended
            if write:
                aeiou(ctypes.addressof(record), ord('f'), 0, 0, None)
            done(ctypes.addressof(handle), None)
            del kept
        self._set(record.raw, Owner(end, pattern), None, not write)
        return self

    @staticmethod
    def _aeiou(record: bytes) -> Any:
        return slot_type('qvimage3', 'aeiou')(_abi.qvimage3.from_buffer_copy(record).aeiou)

    def flush(self) -> None:
        """Saves the frame in memory if it was changed."""
        if self._readonly or self._owner is None:
            return
        with self._owner:
            records = ctypes.create_string_buffer(self._records, SIZE)
            code = self._aeiou(self._records)(ctypes.addressof(records), ord('f'), 0, 0, None)
            code = ctypes.c_int32(code).value
            if code < 0:
                fail(code, self.path)

    def close(self) -> None:
        """Saves what was changed, and closes the series."""
        if self._owner is not None and not self._owner.closed:
            try:
                self.flush()
            finally:
                self._owner.close()

    def __enter__(self) -> Series:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()


def _bits(image: Image) -> int:
    return 0 if image._code >= _abi.QVIM_FLOAT32 else image.bits


def _numbered(pattern: Any, number: int) -> str:
    """The path of a file of a series."""
    text = os.fsdecode(pattern)
    digits = iter(str(number).rjust(text.count('?'), '0'))
    return re.sub(r'\?', lambda _: next(digits), text)


def _numbers(pattern: Any) -> list[int]:
    """The numbers of the files that are there."""
    text = os.fsdecode(pattern)
    parts = [re.escape(p) for p in text.split('?')]
    rule = re.compile('([0-9])'.join(parts))
    found = [rule.fullmatch(p) for p in glob.glob('?'.join(glob.escape(p) for p in text.split('?')))]
    return sorted(int(''.join(m.groups())) for m in found if m)


open_file = open


def open_image(path: Path, *, page: int = 0, palette: bool = False, lenient: bool = False) -> File:
    form = format_of_content(path)
    planes = form.opens == 'planes'
    if form.opens == 'page' and page:
        raise IndexError(f'{os.fsdecode(path)}: page {page} of 1')
    opened = _Opened(path, form, page, palette, planes, lenient)
    return File.__new__(File)._show(opened, page)


def open_series(pattern: Path, first: int | None, last: int | None, write: bool) -> Series:
    if first is None or last is None:
        there = _numbers(pattern)
        if not there:
            raise Error(_abi.QVERR_NOTFOUND, pattern, 'no file has a name like this')
        first = there[0] if first is None else first
        last = there[-1] if last is None else last
    return Series.__new__(Series)._start(pattern, first, last, write)
