"""The shared library: found, its functions with their prototypes, its codes as exceptions."""
from __future__ import annotations

import ctypes
import functools
import os
import pathlib
import sys
from typing import Any, Callable, Iterator, NoReturn

from . import _abi

SONAME = 'libqvimage.so.' + _abi.VERSION.split('.')[0]
CLASSES = {'i4': ctypes.c_int32, 'i8': ctypes.c_int64, 'u1': ctypes.c_uint8, 'u2': ctypes.c_uint16,
           'u4': ctypes.c_uint32, 'u8': ctypes.c_uint64, 'f4': ctypes.c_float, 'f8': ctypes.c_double,
           'p': ctypes.c_void_p, 's': ctypes.c_char_p, 'v': None}


class Error(OSError):
    """What the library refuses or fails to do.

    `code` is its number (QVERR_... in the C interface), `strerror` the text of that code, `reason` why this
    very call failed, `filename` the path, where there is one.
    """

    def __init__(self, code: int, path: Any = None, reason: str = '') -> None:
        text = function('qverrnomesg')(code)
        super().__init__(code, text.decode() if text else f'code {code}', path)
        self.code = code
        self.reason = reason

    def __str__(self) -> str:
        words = [os.fspath(self.filename), self.strerror] if self.filename is not None else [self.strerror]
        if self.reason and self.reason != self.strerror:
            words.append(self.reason)
        return ': '.join(w if isinstance(w, str) else os.fsdecode(w) for w in words)

    def __reduce__(self) -> Any:
        return Error, (self.code, self.filename, self.reason)


def _candidates() -> Iterator[pathlib.Path]:
    """Where the library is that came with this module: beside it in a wheel, or where CMake installs both."""
    here = pathlib.Path(__file__).resolve().parent
    yield here / SONAME
    if len(here.parents) > 3:
        prefix = here.parents[3]  # above lib/python3/dist-packages
        for folder in 'lib', f'lib/{getattr(sys.implementation, "_multiarch", "")}', 'lib64':
            yield prefix / folder / SONAME


def _load() -> ctypes.CDLL:
    """The library that QVIMAGE_LIBRARY names, the one that came with this module, or the system's."""
    ours = (str(path) for path in _candidates() if path.exists())
    named = os.environ.get('QVIMAGE_LIBRARY') or next(ours, SONAME)
    try:
        return ctypes.CDLL(named)
    except OSError as e:
        raise ImportError(f'qvimage: its library cannot be loaded: {e} (QVIMAGE_LIBRARY names it)') from None


library = _load()


def _types(prototype: str) -> tuple[Any, list[Any]]:
    result, *arguments = (CLASSES[w] for w in prototype.split())
    return result, arguments


@functools.lru_cache(maxsize=None)
def function(name: str) -> Any:
    """A function of the library. The interpreter's lock is not held while it runs."""
    found = getattr(library, name)
    found.restype, found.argtypes = _types(_abi.PROTOTYPES[name])
    return found


@functools.lru_cache(maxsize=None)
def slot_type(record: str, slot: str) -> Callable[[int], Any]:
    """What makes a function of the address in a record's slot."""
    result, arguments = _types(_abi.SLOTS[record][slot])
    return ctypes.CFUNCTYPE(result, *arguments)


def reason() -> str:
    """Why this thread's last call failed."""
    text: bytes = function('qvimage_reason')()
    return text.decode(errors='replace')


def fail(code: int, path: Any = None) -> NoReturn:
    raise Error(code, path, reason())


def check(code: int, path: Any = None) -> int:
    """The code itself, if it is none of a failure."""
    if code < 0:
        fail(code, path)
    return code
