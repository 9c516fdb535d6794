"""The few calls of the library that the peer tests need, through its C interface."""
import ctypes as c
import os

import numpy as np

lib = c.CDLL(os.environ["QVIMAGE_LIBRARY"])


class Data(c.Structure):
    _pack_ = 1
    _fields_ = [("pixietype", c.c_int32), ("pixies", c.c_int32), ("pixelhint", c.c_int32), ("bitsused", c.c_int32),
                ("bitsxsb", c.c_int32), ("dirtyread", c.c_uint16), ("dirtyrite", c.c_uint16), ("endian", c.c_uint16),
                ("zero", c.c_uint16)]


class Record(c.Structure):
    _pack_ = 1
    _fields_ = [("wind", c.c_int32 * 6), ("imdim", c.c_int32 * 6), ("devname", c.c_char * 8), ("iostate", c.c_uint8 * 192),
                ("source", c.c_int64 * 4), ("kind", c.c_uint8 * 4), ("d", Data), ("f", c.c_uint8 * 12), ("h", c.c_uint8 * 16),
                ("slots", c.c_uint64 * 14)]


class Info(c.Structure):
    _fields_ = [("wind", c.c_int32 * 4), ("width", c.c_uint32), ("height", c.c_uint32), ("pagecount", c.c_uint32),
                ("data", Data), ("hints", c.c_uint8 * 16), ("type", c.c_char * 4), ("xres", c.c_uint32 * 2),
                ("yres", c.c_uint32 * 2), ("resunit", c.c_uint32), ("compression", c.c_uint32), ("reserved0", c.c_uint32),
                ("stripsize", c.c_uint64), ("bits", c.c_uint32 * 4), ("sampleformat", c.c_uint16 * 4), ("palette", c.c_uint32),
                ("pagecount2", c.c_uint32), ("page", c.c_uint32), ("version", c.c_uint32), ("datetime", c.c_char_p),
                ("software", c.c_char_p), ("description", c.c_char_p), ("copyright", c.c_char_p), ("bmp", c.c_uint32 * 6),
                ("jpg_quality", c.c_int32), ("jpg_density", c.c_uint16 * 2), ("jpg_densityunit", c.c_uint8), ("jpg_reserved", c.c_uint8),
                ("jpg_encodemode", c.c_uint16), ("jpg_reserved2", c.c_uint32), ("jpg_comment", c.c_char_p * 3), ("rest", c.c_uint8 * 352)]


assert c.sizeof(Record) == 452 and c.sizeof(Info) == 600 and c.sizeof(Data) == 28

TYPES = {np.dtype(np.uint8): 1, np.dtype(np.uint16): 2, np.dtype(np.uint32): 4, np.dtype(np.float32): 16, np.dtype(np.float64): 32}
DTYPES = {code: dtype for dtype, code in TYPES.items()}
IOSET = c.CFUNCTYPE(c.c_int32, c.c_void_p, c.c_uint32, c.c_uint32, c.c_uint32)
IOREAD = c.CFUNCTYPE(c.c_uint32, c.c_void_p, c.c_uint32, c.c_void_p, c.c_uint32, c.c_int32, c.c_int32)
IOREAD3 = c.CFUNCTYPE(c.c_uint32, c.c_void_p, c.c_uint32, c.c_void_p, c.c_uint32, c.c_int32, c.c_int32, c.c_int32)


def memory(array, bits, hint):
    """A memory image over an array of (height, width, pixies)."""
    record = Record()
    height, width, pixies = array.shape
    code = lib.qvimage_memory(c.byref(record), array.ctypes.data_as(c.c_void_p), (c.c_int32 * 2)(width, height), c.c_uint32(0),
                              TYPES[array.dtype], bits, pixies, hint, c.c_uint32(0))
    assert code == 0, code
    return record


def tiffwrite(path, array, bits, hint, compression, palette=None, version=42, append=0, rgborder=0, yccorder=0, stripsize=0):
    record = memory(array, bits, hint)
    options = Info(compression=compression, version=version, stripsize=stripsize, description=b"peer test")
    lut = c.byref(memory(palette, 0, 67)) if palette is not None else None
    return lib.qvimage_tiffwrite(None, c.byref(record), lut, os.fsencode(path), None, c.c_int64(0), c.c_int64(append),
                                 c.byref(options), rgborder, 0, yccorder)


def tiffinfo(path, page=0):
    info = Info()
    code = lib.qvimage_tiffinfo(c.byref(info), os.fsencode(path), None, c.c_int64(0), c.c_uint64(page))
    return code, info


def tiffread(path, page=0, palette=False):
    """The page's pixels (height, width, pixies), its record, and the palette's entries when asked for."""
    record, lut, handle = Record(), Record(), c.c_void_p()
    code = lib.qvimage_tiffread(c.byref(record), c.byref(lut) if palette else None, c.byref(handle), os.fsencode(path), None,
                                c.c_int64(0), c.c_uint64(page), c.c_uint32(0))
    if code != 0:
        return code, None, None
    pixels = pixels_of(record)
    entries = pixels_of(lut) if palette and lut.d.pixies else None
    described = Record.from_buffer_copy(record)  # the done call leaves null images
    assert lib.qvimage_tiffreaddone(c.byref(record), c.byref(lut) if palette else None, c.byref(handle)) == 0
    return pixels, described, entries


def pgmwrite(path, array, bits, hint, append=0, rgborder=0, allow4=0):
    record = memory(array, bits, hint)
    options = Info(description=b"peer test")
    return lib.qvimage_pgmwrite(None, c.byref(record), os.fsencode(path), None, c.c_int64(0), c.c_uint64(append),
                                c.byref(options), rgborder, allow4)


def pgmread(path):
    """All frames (frames, height, width, pixies), and the record."""
    record, handle = Record(), c.c_void_p()
    code = lib.qvimage3_pgmread(c.byref(record), None, c.byref(handle), os.fsencode(path), None, c.c_int64(0), c.c_uint32(0))
    if code != 0:
        return code, None
    width, height, depth = record.imdim[3:6]
    pixels = np.zeros((depth, height, width, record.d.pixies), DTYPES[record.d.pixietype])
    assert IOSET(record.slots[3])(c.addressof(record), 0x40, record.d.pixietype, (1 << record.d.pixies) - 1) == 1
    count = pixels.size // record.d.pixies
    assert IOREAD3(record.slots[0])(c.addressof(record), 0, pixels.ctypes.data_as(c.c_void_p), count, 0, 0, 0) == count
    described = Record.from_buffer_copy(record)
    assert lib.qvimage3_pgmreaddone(c.byref(record), None, c.byref(handle)) == 0
    return pixels, described


def pixels_of(record):
    width, height = record.imdim[2], record.imdim[3]
    pixels = np.zeros((height, width, record.d.pixies), DTYPES[record.d.pixietype])
    kept = record.d.pixietype if record.d.pixietype >= 16 else record.d.pixietype | 0x200
    code = IOSET(record.slots[3])(c.addressof(record), 0x40, kept, (1 << record.d.pixies) - 1)
    assert code == 1, code
    moved = IOREAD(record.slots[0])(c.addressof(record), 0, pixels.ctypes.data_as(c.c_void_p), width * height, 0, 0)
    assert moved == width * height, (moved, width, height)
    return pixels


def jpegwrite(path, array, quality, mode=0):
    """Saves (height, width, 1 or 3 components) of 8 bits; quality as people say it, 0 to 100."""
    record = memory(array, 8, 67 if array.shape[2] > 1 else 1)
    options = Info(jpg_quality=quality * 10, jpg_reserved=1, jpg_encodemode=mode)
    return lib.qvimage_jpegwrite(None, c.byref(record), os.fsencode(path), None, c.c_int64(0), None, c.byref(options))


def jpegread(path):
    """The file's pixels (height, width, components), or the code for which it is refused and the reason."""
    record, context = Record(), c.c_void_p()
    code = lib.qvimage_jpegread(c.byref(record), c.byref(context), os.fsencode(path), None, c.c_int64(0), None)
    if code != 0:
        return code, reason()
    pixels = pixels_of(record)
    assert lib.qvimage_jpegreaddone(c.byref(record), c.byref(context)) == 0
    return pixels, ""


def reason():
    lib.qvimage_reason.restype = c.c_char_p
    return lib.qvimage_reason().decode()
