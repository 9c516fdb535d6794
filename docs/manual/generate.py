#!/usr/bin/env python3
"""Makes the manual out of the public headers: FOLDER/man3, and, where mandoc is, the site FOLDER/html.

Usage: docs/manual/generate.py FOLDER VERSION DATE

The date is that of the pages: "Nov 25 2026", perhaps with a time.
"""
import pathlib
import re
import shutil
import sys

import cxx
import headers
import pages
import website

MONTHS = {name[:3]: name for name in 'January February March April May June July August September October '
          'November December'.split()}
TOP = pathlib.Path(__file__).resolve().parents[2]


def guide_programs(guide):
    """Title of the chapter and text of each program of the guide."""
    title, programs = '', []
    for part in re.finditer(r'^## ([^\n]*)|^<!-- program \w+ -->\n```c\n(.*?)^```', guide, re.M | re.S):
        title = part[1] or title
        if part[2]:
            programs.append((title, part[2]))
    return programs


def main(folder, version, date):
    include, folder = TOP / 'include/qvimage', pathlib.Path(folder)
    month, day, year = date.split()[:3]
    date = f'{MONTHS[month]} {day}, {year}'
    documents = {name: (TOP / f'docs/{name}.md').read_text(encoding='utf-8') for name in ('guide', 'formats')}
    declared, errors = headers.read_all(include), headers.read_errors(include / 'errors.inc')
    made = pages.all_pages(declared, cxx.read_all(include), errors, guide_programs(documents['guide']), date)
    shutil.rmtree(folder / 'man3', ignore_errors=True)
    (folder / 'man3').mkdir(parents=True)
    for name, text in made.items():
        (folder / 'man3' / name).write_text(text)
    if shutil.which('mandoc'):
        tool = (TOP / 'tools/qvimage.1').read_text(encoding='utf-8')
        website.write(folder / 'html', declared, made, tool, documents, version)


if __name__ == '__main__':
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    main(*sys.argv[1:])
