"""Our side of the tests with other programs: files written and read through the Python package, whose
library QVIMAGE_LIBRARY names."""
import dataclasses

import numpy as np

import qvimage as qv
from qvimage._image import HINT_CODES, HINTS


def image(array, bits, hint):
    """Over (height, width, components), with the number of a hint."""
    return qv.Image.over(array, bits=bits, hint=HINTS[hint])


def save(name, array, bits, hint, palette=None, **options):
    """Writes a file; the words of the failure, "" for none."""
    try:
        entries = None if palette is None else qv.Image.over(palette)
        image(array, bits, hint).save(name, palette=entries, **options)
    except qv.Error as e:
        return f'{e.code}: {e.reason}'
    return ''


@dataclasses.dataclass
class Read:
    """A file's pixels (height, width, components), or the code and reason of a refusal."""
    pixels: np.ndarray = None
    hint: int = -1
    bits: int = 0
    palette: np.ndarray = None
    code: int = 0
    reason: str = ''


def with_components(found):
    return found.read().reshape(*found._extents, found.components)


def read(name, colour=None, **options):
    try:
        with qv.open(name, **options) as file:
            shown = file.colour(colour) if colour and file.components == 3 else file
            palette = file.palette.read() if options.get('palette') and file.palette else None
            return Read(with_components(shown), HINT_CODES[shown.hint], file.bits, palette)
    except qv.Error as e:
        return Read(code=e.code, reason=e.reason)
