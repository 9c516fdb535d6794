"""python -m qvimage info FILE...: what a file says, with the versions that a report of a fault needs."""
from __future__ import annotations

import platform
import sys

from . import Error, __version__, open
from ._library import library
from ._memory import numpy_or_none


def tell(path: str) -> None:
    with open(path) as file:
        info = file.info
        print(f'{path}: {file!r}')
        for name in ('format', 'pages', 'compression', 'datetime', 'software', 'description', 'copyright'):
            value = getattr(info, name)
            if value is not None:
                print(f'  {name}: {value}')
        known = ('compression', 'datetime', 'software', 'description', 'copyright', 'pagecount', 'pagecount2')
        for name, value in info.fields.items():
            if name not in known:
                print(f'  {name}: {value}')


def main(arguments: list[str]) -> int:
    if len(arguments) < 2 or arguments[0] != 'info':
        print('usage: python -m qvimage info FILE...', file=sys.stderr)
        return 2
    numpy = numpy_or_none()
    print(f'qvimage {__version__}, {library._name}; Python {platform.python_version()}, '
          f'numpy {numpy.__version__ if numpy else "absent"}, {platform.platform()}')
    failed = 0
    for path in arguments[1:]:
        try:
            tell(path)
        except Error as e:
            print(f'qvimage: {e}', file=sys.stderr)
            failed = 1
    return failed


if __name__ == '__main__':
    sys.exit(main(sys.argv[1:]))
