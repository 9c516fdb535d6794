"""Reads the public headers: what each declares, and what its comments say, as blocks of text.

A header begins with an introduction. A comment that a declaration follows without an empty line between
documents it and the declarations after it, up to an empty line; any other comment is text of its own. A
comment that begins with three dashes begins a section.
"""
import dataclasses
import pathlib
import re

TOKEN = re.compile(r'(?P<comment>/\*.*?\*/)|(?P<directive>#(?:\\\n|[^\n])*)'
                   r'|(?P<skip>QVIM_(?:BEGIN_DECLS|END_DECLS)\b|QVIM_ASSERT\([^\n]*;)', re.S)
DASH, NUMBER = r'\s*- ', r'\s*\d+\. '  # what items of marked lists begin with
MEMBER = re.compile(r'^(QVIM_\w+)\((\w+)(?:, (\w+))?', re.M)
FUNCTION = re.compile(r'^(?P<result>[\w *]*?[\w*]\s*\**)(?P<name>\w+)\((?P<arguments>.*)\)$', re.S)


@dataclasses.dataclass
class Block:
    """A piece of a comment: 'text' has words, 'code' lines, 'list' and 'steps' pairs of a term and its own
    blocks."""
    kind: str
    words: str = ''
    items: list = dataclasses.field(default_factory=list)


@dataclasses.dataclass
class Declaration:
    kind: str  # 'function', 'variable', 'type' or 'constant'
    names: list
    code: str
    result: str = ''
    arguments: list = dataclasses.field(default_factory=list)


@dataclasses.dataclass
class Entry:
    """Text, with the declarations that it documents, if any; with a title: the beginning of a section."""
    blocks: list
    declarations: list = dataclasses.field(default_factory=list)
    title: str = ''

    def functions(self):
        return [d for d in self.declarations if d.kind == 'function']


@dataclasses.dataclass
class Header:
    name: str  # 'tiff' of tiff.h
    introduction: list = dataclasses.field(default_factory=list)
    entries: list = dataclasses.field(default_factory=list)
    members: list = dataclasses.field(default_factory=list)  # of a kernel family: name, form
    includes: list = dataclasses.field(default_factory=list)

    def declarations(self, *kinds):
        return [d for e in self.entries for d in e.declarations if d.kind in kinds]

    def functions(self):
        return self.declarations('function')

    def exports(self):
        """Names that the library has and this header declares."""
        return ([n for d in self.declarations('function', 'variable') for n in d.names]
                + [name for name, _ in self.members])


# --- comments ---

def comment_lines(comment):
    lines = comment[2:-2].rstrip().split('\n')
    return [lines[0].strip()] + [re.sub(r'^ {0,2}\*? ?', '', line).rstrip() for line in lines[1:]]


def indentation(line):
    return len(line) - len(line.lstrip())


def is_code(line):
    """Is an indented line a line of a program, not `term  text`?"""
    term = re.split(r' {2,}', line.strip())[0]
    return bool(re.search(r'[;{=]', term)) or not re.match(r'\s*\S.*? {2,}\S', line)


def parse_list(lines):
    """`term  text` lines; what is further in than the terms belongs to the term above it."""
    margin, items = indentation(lines[0]), []
    for line in lines:
        if indentation(line) > margin and items:
            items[-1][1].append(line)
            continue
        term, _, text = re.match(r'\s*(.*?)( {2,}(\S.*)|$)', line).groups()
        items.append((term, [' ' * (len(line) - len(text)) + text] if text else []))
    return Block('list', items=[(term, parse_item(body)) for term, body in items])


def parse_item(lines):
    """The text of an item is at one column; a part of it that is further left or right stays as it is set."""
    if not lines:
        return []
    column, blocks = indentation(lines[0]), []
    for line in lines:
        kind = 'text' if indentation(line) == column else 'code'
        formula = re.match(r'\s*\w+ += ', line)  # each on a line of its own
        if blocks and blocks[-1].kind == kind and not (formula and kind == 'text'):
            blocks[-1].words += ('\n' if kind == 'code' else ' ') + (line if kind == 'code' else line.strip())
        else:
            blocks.append(Block(kind, line if kind == 'code' else line.strip()))
    return blocks


def parse_marked(lines, mark):
    """Lines that begin with `- ` or a number; further lines of an item stand below its text."""
    items = []
    for line in lines:
        item = re.match(mark, line)
        if item:
            items.append(line[item.end():])
        else:
            items[-1] += ' ' + line.strip()
    pairs = [re.match(r'(-\d+|[^:]{1,50}): (.*)', item) for item in items]
    if mark == NUMBER or pairs.count(None) > 1:
        kind = 'steps' if mark == NUMBER else 'list'
        return Block(kind, items=[('', [Block('text', item)]) for item in items])
    return Block('list', items=[(pair[1], [Block('text', pair[2])]) if pair else (item, [])
                                for pair, item in zip(pairs, items)])


def parse_text(lines):
    """A comment's lines as blocks."""
    blocks, i = [], 0
    while i < len(lines):
        if not lines[i]:
            i += 1
            continue
        end, mark = i + 1, next((mark for mark in (DASH, NUMBER) if re.match(mark, lines[i])), None)
        if mark:
            while end < len(lines) and lines[end] and (
                    indentation(lines[end]) > indentation(lines[i]) or re.match(mark, lines[end])):
                end += 1
            blocks.append(parse_marked(lines[i:end], mark))
        elif indentation(lines[i]):
            while end < len(lines) and indentation(lines[end]):
                end += 1
            piece = lines[i:end]
            if not is_code(lines[i]):
                blocks.append(parse_list(piece))
            elif blocks and blocks[-1].kind == 'code' and not lines[i - 1]:
                blocks[-1].words += '\n\n' + '\n'.join(piece)
            else:
                blocks.append(Block('code', '\n'.join(piece)))
        else:
            while end < len(lines) and lines[end] and not indentation(lines[end]) and (
                    not re.match(f'{DASH}|{NUMBER}', lines[end])):
                end += 1
            blocks.append(Block('text', ' '.join(lines[i:end])))
        i = end
    return blocks


# --- declarations ---

def declare(code, forms):
    """A declaration from its C text without the semicolon; None for what no page needs."""
    bare = re.sub(r'\s+', ' ', re.sub(r'/\*.*?\*/', '', code, flags=re.S)).strip()
    if re.match(r'enum ?{', bare):
        return Declaration('type', re.findall(r'\b([A-Z]\w+)(?= =|,|})', bare), code + ';')
    if re.match(r'(typedef )?(struct \w+ \w+|struct \w+|union|enum|struct|__extension__)\b.*[{]', bare) or (
            bare.startswith('typedef')):
        form = re.match(r'typedef (.*?)(\w+)\((.*)\)$', bare)
        if form and '(*' not in bare:
            forms[form.group(2)] = (form.group(1).strip(), form.group(3))
            return Declaration('type', [form.group(2)], code + ';')
        pointer = re.match(r'typedef .*\(\*(\w+)\)\(', bare)
        name = pointer or re.search(r'(\w+)$', bare) or re.match(r'struct (\w+)', bare)
        return Declaration('type', [name.group(1)] if name else [], code + ';')
    if '=' in bare:
        return Declaration('constant', [re.search(r'(\w+)(\[.*\])? =', bare).group(1)], code + ';')
    if bare.startswith('extern'):
        return Declaration('variable', re.findall(r'(\w+)(?:\[\d+\])?(?=,|$)', bare), code + ';')
    bare = re.sub(r' __attribute__\(\(.*\)\)$', '', bare)
    function = FUNCTION.match(bare)
    if function:
        return Declaration('function', [function['name']], code + ';', function['result'].strip(),
                           split_arguments(function['arguments']))
    form = re.fullmatch(r'(\w+) (\w+)', bare)
    if form and form.group(1) in forms:
        result, arguments = forms[form.group(1)]
        return Declaration('function', [form.group(2)], code + ';', result, split_arguments(arguments))
    raise ValueError(f'a declaration that is not understood: {bare}')


def split_arguments(text):
    """At the commas outside of parentheses."""
    parts, depth = [''], 0
    for char in text:
        depth += (char == '(') - (char == ')')
        if char == ',' and not depth:
            parts.append('')
        else:
            parts[-1] += char
    return [part.strip() for part in parts]


def statement_end(text, start):
    """Where the statement ends that begins there: behind its semicolon."""
    depth, i = 0, start
    while depth or text[i] != ';':
        if text.startswith('/*', i):
            i = text.index('*/', i) + 1
        depth += (text[i] in '{(') - (text[i] in '})')
        i += 1
    return i


def read_members(path):
    text = path.read_text()
    forms = dict(re.findall(r'#define (\w+)\(name[^)]*\) QVIM_MEMBER\(name, (\w+)\)', text))
    return [(name, second if forms[macro] == 'form' else forms[macro])
            for macro, name, second in MEMBER.findall(text) if macro in forms]


def read_header(path, forms):
    text, header, i = path.read_text(), Header(path.stem), 0
    attached = None  # the entry that the next declaration belongs to
    while True:
        gap = re.match(r'\s*', text[i:]).group()
        i += len(gap)
        if i >= len(text):
            return header
        if gap.count('\n') > 1:
            attached = None
        token = TOKEN.match(text, i)
        if not token:
            end = statement_end(text, i)
            add_declaration(header, attached, declare(text[i:end], forms))
            attached = attached or header.entries[-1]
            i = end + 1
            continue
        i = token.end()
        if token['directive']:
            read_directive(header, path, token['directive'], attached)
        elif token['comment']:
            attached = add_comment(header, attached, token['comment'], '\n' in gap or not gap)


def add_comment(header, attached, comment, own_line):
    lines = comment_lines(comment)
    if not header.introduction:
        header.introduction = parse_text(lines)
        return None
    if attached and attached.declarations and not own_line:  # behind a declaration, about it alone
        words = f'{attached.declarations[-1].names[0]}: ' + ' '.join(lines)
        attached.blocks.append(Block('text', words))
        return attached
    title = re.match(r'--- (.*?)(?: -{3,})?$', lines[0])
    if title:
        rest = lines[1:] if not (len(lines) > 1 and set(lines[1]) == {'-'}) else lines[2:]
        header.entries.append(Entry(parse_text(rest), title=title.group(1)))
        return None
    header.entries.append(Entry(parse_text(lines)))
    return header.entries[-1]


def add_declaration(header, attached, declaration):
    """To the entry above; what has no comment of its own goes to the last one that documents declarations."""
    if not attached and not (header.entries and header.entries[-1].declarations):
        header.entries.append(Entry([]))
    (attached or header.entries[-1]).declarations.append(declaration)


def read_directive(header, path, directive, attached):
    include = re.match(r'#include <qvimage/(.*)>', directive)
    if include and include.group(1).startswith('members/'):
        header.members = read_members(path.parent / include.group(1))
    elif include and include.group(1).endswith('.h'):
        header.includes.append(include.group(1)[:-2])
    define = re.match(r'#define (\w+)', directive)
    if define and attached and not define.group(1).endswith('_H'):
        add_declaration(header, attached, Declaration('constant', [define.group(1)], directive))


def read_errors(path):
    """Code, name, message of every error."""
    text = re.sub(r'"\s+"', '', path.read_text())
    found = re.findall(r'QVIM_ERROR\((-\d+), (\w+), (?:"(.*?)"|0)\)', text)
    return {int(code): (name, message) for code, name, message in found}


def read_all(folder):
    """All headers of the folder by name. The one that declares the forms of kernels is read first."""
    folder, forms = pathlib.Path(folder), {}
    order = sorted(folder.glob('*.h'), key=lambda path: (path.stem != 'kernel', path.stem))
    read = {path.stem: read_header(path, forms) for path in order}
    return dict(sorted(read.items()))
