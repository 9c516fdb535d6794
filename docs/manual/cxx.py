"""The C++ headers, condensed to what a reader needs: no bodies of functions, nothing private, no details."""
import pathlib
import re

import headers

TYPE = re.compile(r'(template <[^;{}()]*>\s*)?(class|struct|enum|union|namespace)\b[^()=]*$', re.S)

PASSED = re.compile(r'//[^\n]*|"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])*\''
                    r'|(?P<label>public|private|protected):(?!:)')


def closing(text, start):
    """Where the brace that opens there is closed. Strings and comments are passed over."""
    depth = 0
    for token in re.finditer(r'//[^\n]*|"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])*\'|[{}]', text[start:]):
        depth += (token.group() == '{') - (token.group() == '}')
        if depth == 0 and token.group() == '}':
            return start + token.start()
    raise ValueError('a brace is never closed')


def heading(statement):
    """A function's declaration without its initialisers."""
    return re.sub(r'(\)|noexcept|const|>)\s+: [a-z_]\w*[({].*$', r'\1', statement, flags=re.S).rstrip()


def condense(text):
    """Declarations and comments, in order."""
    out, begin, i, shown = [], 0, 0, True
    while i < len(text):
        passed = PASSED.match(text, i)
        if passed:
            if passed['label']:
                shown = passed['label'] == 'public'
                begin = passed.end()
            i = passed.end()
        elif text[i] == ';':
            out.append(text[begin:i + 1] if shown else '')
            begin = i = i + 1
        elif text[i] == '{':
            statement, end = text[begin:i], closing(text, i)
            code = re.sub(r'//[^\n]*', '', statement).strip()
            new = None
            if re.match(r'namespace (\w+::)*detail\b', code):
                new = ''
            elif TYPE.match(code):
                inner = condense(text[i + 1:end]).rstrip()
                new = inner if code.startswith('namespace') else f'{statement}{{{inner}\n}}'
            elif (0 < code.count('(') == code.count(')') and text[i - 1] == ' '
                  and not re.search(r'(=|\brequires\s+requires ?\([^()]*\))$', code)):
                new = heading(statement) + ';'
            i = end + 1
            if new is not None:
                out.append(new if shown else '')
                begin = i
        else:
            i += 1
    return ''.join(out) + (text[begin:] if shown else '')


def read(path):
    """The introduction of a header, and its declarations as text."""
    text = path.read_text(encoding='utf-8')
    lines = re.match(r'(//[^\n]*\n)*', text).group()
    body = re.sub(r'^#(\\\n|[^\n])*\n|  // namespace [\w:]*', '', text[len(lines):], flags=re.M)
    shown = condense(body)
    shown = re.sub(r'^ *(public:|};?)? *\n(?= *};?\n)', '', shown, flags=re.M)
    shown = re.sub(r'\n{3,}', '\n\n', shown).strip('\n')
    return headers.parse_text([line[3:] for line in lines.rstrip().split('\n')]), shown


def read_all(include):
    """The introduction of qvimage.hpp, and by name the parts that it includes."""
    whole = pathlib.Path(include) / 'qvimage.hpp'
    if not whole.exists():
        return None
    parts = re.findall(r'#include <qvimage/(cxx/\w+\.hpp)>', whole.read_text(encoding='utf-8'))
    return read(whole)[0], {part: read(pathlib.Path(include) / part) for part in parts}
