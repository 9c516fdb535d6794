"""Writes the Python package's _abi.py out of the public headers: records, constants, prototypes, formats.

    abi.py INCLUDE-FOLDER OUTPUT VERSION

A prototype is a word for the result and one for each argument: `p` an address, `s` a text, `v` nothing, and
i1 ... i8, u1 ... u8, f4, f8 for numbers by sort and bytes.
"""
import ast
import pathlib
import re
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / 'docs' / 'manual'))
import headers  # noqa: E402

NUMBERS = {'int16_t': 'i2', 'int32_t': 'i4', 'int64_t': 'i8', 'uint8_t': 'u1', 'uint16_t': 'u2',
           'uint32_t': 'u4', 'uint64_t': 'u8', 'float': 'f4', 'double': 'f8', 'char': 's1'}
FIELDS = {'i4': 'c_int32', 'i8': 'c_int64', 'u1': 'c_uint8', 'u2': 'c_uint16',
          'u4': 'c_uint32', 'u8': 'c_uint64', 'f4': 'c_float', 'f8': 'c_double', 's1': 'c_char',
          'p': 'c_void_p', 's': 'c_char_p'}
HINTS = {'f': 'float', 's': 'bytes', 'p': 'int | None'}
# The headers whose functions the package calls.
WANTED = ('avi', 'bmp', 'colour', 'data', 'error', 'fits', 'jpeg', 'memory', 'pgm', 'progress', 'series',
          'tiff', 'views')
HEAD = '''"""The library's C interface: written by abi.py out of the public headers. Do not edit."""
from __future__ import annotations

from ctypes import (Array, Structure, Union, c_char, c_char_p, c_double, c_float, c_int32, c_int64, c_uint8,
                    c_uint16, c_uint32, c_uint64, c_void_p)

'''


class Unknown(Exception):
    """A type that a prototype or a record here has no word for."""


def word(ctype, texts=False):
    """The word of a C type, with or without the name behind it."""
    bare = re.sub(r'\bconst\b', '', ctype).strip()
    if '*' in bare or '[' in bare or '(' in bare:
        return 's' if texts and re.match(r'char \*\w*$', bare) else 'p'
    name = bare.split()[0]
    if name == 'void':
        return 'v'
    if name in ('qvimagecallback', 'qvimageprogress'):
        return 'p'
    if name not in NUMBERS:
        raise Unknown(ctype)
    return NUMBERS[name]


def prototype(result, arguments):
    """'i4 p p u4'. Texts go in as addresses, so that null and byte strings are both welcome."""
    return ' '.join([word(result, texts=True)] + [word(a) for a in arguments if a != 'void'])


def prototypes(read):
    return {d.names[0]: prototype(d.result, d.arguments) for name in WANTED
            for d in read[name].functions()}


# --- records ---

def without_comments(text):
    return re.sub(r'/\*.*?\*/', ' ', text, flags=re.S)


def members(body):
    """The members of a record's body, as statements."""
    start = 0
    while body[start:].strip():
        end = headers.statement_end(body, start)
        yield re.sub(r'\s+', ' ', body[start:end]).strip()
        start = end + 1


class Record:
    """A record as a class of ctypes: its lines, and its slots (functions that it points to)."""

    def __init__(self, name, body, packed, base='Structure'):
        self.name, self.slots, self.before = name, {}, []
        fields, anonymous, hints = [], [], []
        for member in members(body):
            inner = re.match(r'(?:__extension__ )?(union|struct) ?{(.*)}$', member)
            slot = re.match(r'(.*?)\(\*(\w+)\)\((.*)\)$', member)
            if inner:
                part = Record(f'_{name.lstrip("_")}_{len(anonymous) + 1}', inner[2], packed,
                              'Union' if inner[1] == 'union' else 'Structure')
                self.before += part.lines() + ['', '']
                anonymous.append(part.name)
                fields.append(f"('{part.name}', {part.name})")
                hints += part.hints
            elif slot:
                self.slots[slot[2]] = prototype(slot[1], headers.split_arguments(slot[3]))
                fields.append(f"('{slot[2]}', c_void_p)")
                hints.append(f'{slot[2]}: int')
            else:
                for field, kind, hint in plain_fields(member):
                    fields.append(f"('{field}', {kind})")
                    hints.append(f'{field}: {hint}')
        self.hints = hints
        self.text = [f'class {name}({base}):']
        if packed:
            self.text.append('    _pack_ = 1')
        if anonymous:
            self.text.append(f'    _anonymous_ = ({", ".join(repr(a) for a in anonymous)},)')
        self.text.append(f'    _fields_ = [{", ".join(fields)}]')

    def lines(self):
        return self.before + self.text + [f'    {hint}' for hint in self.hints]


def plain_fields(member):
    """Name, class of ctypes and type of what is read, of each field that `type a, b[2]` declares."""
    ctype, names = re.match(r'(?:const )?(\w+ ?)(.*)$', member).groups()
    for name in headers.split_arguments(names):
        count = re.search(r'\[(\d+)\]', name)
        bare = re.sub(r'\[.*\]|\*', '', name).strip()
        if '*' in name:
            kind, hint = 'c_char_p', 'bytes | None'
        else:
            sort = NUMBERS.get(ctype.strip())
            kind = FIELDS[sort] if sort else ctype.strip()
            hint = HINTS.get(sort[0], 'int') if sort else kind
        if count:
            hint = 'bytes' if hint == 'bytes' and '*' not in name else f'Array[{kind}]'
            kind += f' * {count[1]}'
        yield bare, kind, hint


RECORD = re.compile(r'(?:typedef )?struct ?(\w*) ?{')


def records(text):
    """The records that a header defines, in its order."""
    text, place = without_comments(text), 0
    while True:
        found = RECORD.search(text, place)
        if not found:
            return
        end = headers.statement_end(text, found.start())
        body, name = text[found.end():end].rsplit('}', 1)
        before = text[:found.start()]
        packed = before.count('pack(push, 1)') > before.count('pack(pop)')
        yield Record(name.strip() or found[1], body, packed)
        place = end


def all_records(folder):
    texts = [(folder / f'{name}.h').read_text() for name in ('types', 'record', 'fileinfo')]
    return [record for text in texts for record in records(text)]


# --- constants, formats ---

def constants(folder):
    """The numbers that enums give, by name."""
    found = {}
    for path in sorted(folder.glob('*.h')):
        for body in re.findall(r'\benum {(.*?)}', without_comments(path.read_text()), re.S):
            found.update({n: int(v, 0) for n, v in re.findall(r'(\w+) = (-?\w+)', body)
                          if re.match(r'-?(0x)?[0-9a-fA-F]+$', v)})
    found.update({name: code for code, (name, _) in headers.read_errors(folder / 'errors.inc').items()})
    return found


def formats(folder):
    """The entries of formats.inc: id, stem, name, suffixes, signatures, what opens them."""
    found = re.findall(r'^QVIM_FORMAT\((\w+), (\w+), "(\w+)", "([^"]*)", "([^"]*)", (\w+)\)',
                       (folder / 'formats.inc').read_text(), re.M)
    return [(name, stem, title, tuple(suffixes.split()), literal(signature), opens)
            for name, stem, title, suffixes, signature, opens in found]


def literal(text):
    """The bytes of a C string literal. Its escapes are Python's."""
    value = ast.literal_eval(f'b"{text}"')
    assert isinstance(value, bytes)
    return value


def module(folder, version):
    read = headers.read_all(folder)
    out = [HEAD + f'VERSION = {version!r}', '']
    out += [f'{name} = {value}' for name, value in constants(folder).items()] + ['']
    slots = {}
    for record in all_records(folder):
        out += ['', *record.lines(), '']
        if record.slots:
            slots[record.name] = record.slots
    out += ['', 'SLOTS = {']
    for name, table in slots.items():
        out += [f'    {name!r}: {{', *(f'        {s!r}: {p!r},' for s, p in table.items()), '    },']
    out += ['}', '', 'PROTOTYPES = {', *(f'    {n!r}: {p!r},' for n, p in prototypes(read).items()), '}', '']
    out += ['# Name, stem of functions, title, suffixes, signatures, what opens a file.', 'FORMATS = [']
    return '\n'.join(out + [f'    {f!r},' for f in formats(folder)] + [']', ''])


if __name__ == '__main__':
    include, output, version_text = sys.argv[1:]
    pathlib.Path(output).write_text(module(pathlib.Path(include) / 'qvimage', version_text))
