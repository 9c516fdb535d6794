"""Man pages in mdoc: one for each header, and one that leads to it for each of its names."""
import re
import textwrap

SLOTS = ('ioread iorite iowait ioset iolen bxts bxtp bxta bxtw imapset imap imapr aeiou xwind').split()
CODES = re.compile(r'(-\d+|QVERR_\w+)(, (-\d+|QVERR_\w+))*')
RESULT = re.compile(r'(Returns?|Null|Always|How many|The result|Results|Constructors return|'
                    r'-?\d+(?=[,;: ])|Stores)\b|-1\b')


# --- mdoc ---

def escape(text):
    for char, name in (('\\', r'\e'), ('-', r'\-'), ("'", r'\(aq'), ('"', r'\(dq'), ('^', r'\(ha'),
                       ('~', r'\(ti'), ('`', r'\(ga')):
        text = text.replace(char, name)
    return text


def line(text):
    """A line that is not taken for a request."""
    return (r'\&' if text[:1] in ('.', '\\') and not text.startswith(r'\-') else '') + text


def sentences(text):
    """Split where one ends; an initial or an abbreviation ends none."""
    return re.split(r'(?<=[\w)*"\]\'`?][.!?])(?<!\b[A-Z]\.)(?<!e\.g\.) +(?=[^a-z])', text)


def words(text):
    """Running text: a sentence begins a line."""
    out = []
    for sentence in sentences(text):
        lines = textwrap.wrap(escape(sentence).replace('()', r'\&()'), 78, break_long_words=False,
                              break_on_hyphens=False)
        out += [line(piece) for piece in lines]
    return out


def argument(text):
    """Words as the arguments of a macro: none of them is another macro's name."""
    return ' '.join((r'\&' if re.fullmatch(r'[A-Z][a-z][a-z]?|[.,:;()\[\]?!|%][A-Z]?', word) else '') + word
                    for word in escape(text).split(' '))


def display(text):
    lines = textwrap.dedent(text.expandtabs()).split('\n')
    return ['.Bd -literal', *(line(escape(piece)) for piece in lines), '.Ed']


def blocks(parts, first=True):
    """Blocks of a comment; `first`: no paragraph has to be begun."""
    out = []
    for part in parts:
        if part.kind == 'text':
            out += ([] if first else ['.Pp']) + words(part.words)
        elif part.kind == 'code':
            out += display(part.words)
        elif any(term for term, _ in part.items):
            out += ['.Bl -tag -width Ds']
            for term, body in part.items:
                out += ['.It ' + argument(term), *blocks(body)]
            out += ['.El']
        else:
            out += ['.Bl -enum' if part.kind == 'steps' else '.Bl -bullet']
            for _, body in part.items:
                out += ['.It', *blocks(body)]
            out += ['.El']
        first = False
    return out


def prototype(function):
    out = ['.Ft ' + argument(function.result), '.Fo ' + function.names[0]]
    out += ['.Fa "' + escape(a) + '"' for a in function.arguments]
    return out + ['.Fc']


# --- what a page says ---

def page_name(header):
    return 'qvimage' if header.name == 'qvimage' else 'qvimage_' + header.name


def summary(header):
    """What the page is about, from the first words of the header."""
    text = header.introduction[0].words
    text = re.split(r'[.:](?: |$)', text)[0]
    return text[0].lower() + text[1:] if text[1:2].islower() else text


def description(header):
    out, listed = blocks(header.introduction), False
    for entry in header.entries:
        functions, others = entry.functions(), [d for d in entry.declarations if d.kind != 'function']
        if listed and (not functions or entry.title):
            out, listed = out + ['.El'], False
        if entry.title:
            out += ['.Ss ' + argument(entry.title[0].upper() + entry.title[1:]), *blocks(entry.blocks)]
        elif functions:
            out += [] if listed else ['.Bl -tag -width Ds']
            names = [d.names[0] for d in functions]
            out += ['.It Fn ' + ' , Fn '.join(names), *(blocks(entry.blocks) or ['As above.'])]
            listed = True
        else:
            begun = out[-1].startswith('.Ss')
            out += ([] if begun else ['.Pp']) + blocks(entry.blocks) if entry.blocks else []
        for other in others:
            out += display(other.code)
    out += ['.El'] if listed else []
    return out


def members(header, forms):
    out = []
    for form in dict.fromkeys(form for _, form in header.members):
        names = [name for name, of in header.members if of == form]
        out += ['.Ss ' + argument(f'Members of form {form}'), *display(forms[form])]
        out += ['.Bl -item -compact']
        for name in names:
            out += [f'.It\n.Fn {name}']
        out += ['.El']
    return out


def results(header):
    """What comments say of results: of all functions, then by function."""
    common = [s for parts in [header.introduction] + [e.blocks for e in header.entries if not e.declarations]
              for block in parts if block.kind == 'text' for s in sentences(block.words)
              if re.match('Constructors return|Results: ', s)]
    out, silent = [], []
    for entry in header.entries:
        names = [d.names[0] for d in entry.functions() if d.result != 'void']
        if not names:
            continue
        said = [s for block in entry.blocks if block.kind == 'text' for s in sentences(block.words)
                if RESULT.match(s)]
        if said:
            out += ['.It Fn ' + ' , Fn '.join(names), *words(' '.join(said).rstrip(':'))]
        else:
            silent += names
    out = [w for s in common for w in words(s + (' a code of those below.' if s[-1] not in '.:' else ''))] + (
        ['.Bl -tag -width Ds', *out, '.El'] if out else [])
    if silent:
        more = ' of the other functions' if out else ''
        out += words(f'The description tells the results{more}.')
    return out


def code_lists(parts):
    """Codes and what is said of them, from `-1  text` and `- -1: text` lists."""
    for part in parts:
        for term, body in part.items:
            found = CODES.match(term)
            if found:
                yield re.findall(r'-\d+|QVERR_\w+', found.group()), body
            else:
                yield from code_lists(body)


def spoken_codes(parts):
    """Codes from sentences such as `0; -1: null pointer; -2: memory.`"""
    for part in parts:
        for sentence in sentences(part.words) if part.kind == 'text' else []:
            if re.match(r'0[,;]', sentence):
                yield from re.findall(r'(?<![\w.^(])-(\d{1,2})\b', sentence)


def codes_of(header, errors):
    """By code: who says it, of what. Names of codes are looked up in `errors`."""
    numbers, found = {name: code for code, (name, _) in errors.items()}, {}
    texts, title = [('', header.introduction)], ''
    for entry in header.entries:
        title, names = entry.title or title, [d.names[0] for d in entry.functions()]
        of = '.Fn ' + ' , Fn '.join(names) if names else '.Em ' + argument(title) if title else ''
        texts.append((of, entry.blocks))
    for of, parts in texts:
        for codes, body in code_lists(parts):
            for code in codes:
                number = int(code) if code[0] == '-' else numbers.get(code, code)
                found.setdefault(number, []).append((of, body))
        for code in spoken_codes(parts):
            found.setdefault(-int(code), [])
        for name in re.findall(r'QVERR_\w+', plain(parts)):
            found.setdefault(numbers.get(name, name), [])
    return found


def plain(parts):
    """All words of blocks."""
    return ' '.join([p.words for p in parts] + [f'{term} {plain(body)}' for p in parts
                                                for term, body in p.items])


def error_section(header, errors):
    found = codes_of(header, errors)
    if header.name == 'error':
        found = {code: [] for code in errors}
    unknown = [code for code in found if code not in errors]
    if unknown:
        raise ValueError(f'{header.name}.h names codes that there are not: {unknown}')
    out = []
    for code in sorted(found, reverse=True):
        name, message = errors[code]
        out += [f'.It Bq Er {name}', *words(f'{code}' + (f', "{message}".' if message else '.'))]
        for of, body in found[code]:
            if body:
                out += ['.Pp', *([of + ' :'] if of else []), *blocks(body)]
    return ['.Bl -tag -width Er', *out, '.El'] if out else []


def examples(header, programs):
    """At most two programs of the guide: those that use most of the page's functions, and little else."""
    names = {d.names[0] for d in header.functions()} | set(SLOTS if header.name == 'record' else ())

    def used(code):
        return len(names & set(re.findall(r'\w+', code)))
    best = sorted((p for p in programs if used(p[1])), key=lambda p: (-used(p[1]), len(p[1])))[:2]
    out = []
    for title, code in best:
        out += words(f'From the guide, "{title}":') + display(code)
    return out


def see_also(header, headers):
    text = plain(header.introduction) + ' '.join(plain(e.blocks) for e in header.entries)
    text += ' '.join(d.code for d in header.declarations('function'))
    known = set(re.findall(r'\w+', text))
    pages = set(header.includes) & set(headers) | set(re.findall(r'\b(\w+)\.h\b', text)) & set(headers)
    pages |= {h.name for h in headers.values() if known & {d.names[0] for d in h.functions()}}
    pages = sorted({page_name(headers[name]) for name in pages - {header.name}} | {'qvimage'}
                   - {page_name(header)})
    return ['.Xr qvimage 1 ,'] + [f'.Xr {page} 3' + (' ,' if page != pages[-1] else '') for page in pages]


def page(header, headers, with_cxx, errors, programs, date):
    """A header's man page."""
    forms = {d.names[0]: d.code for h in headers.values() for d in h.declarations('type')
             if d.names and d.names[0].endswith('_fn')}
    name = page_name(header)
    functions = [d.names[0] for d in header.functions()]
    names = [name] + [n for n in functions if n != name]
    out = [f'.Dd {date}', f'.Dt {name.upper()} 3', '.Os', '.Sh NAME']
    out += [f'.Nm {n} ,' for n in names[:-1]] + [f'.Nm {names[-1]}', '.Nd ' + argument(summary(header))]
    out += ['.Sh SYNOPSIS', f'.In qvimage/{header.name}.h']
    for function in header.functions():
        out += prototype(function)
    out += ['.Sh DESCRIPTION', *description(header), *members(header, forms)]
    if name == 'qvimage':
        out += ['.Bl -tag -width Ds']
        for other in (h for h in headers.values() if h is not header):
            out += [f'.It Xr {page_name(other)} 3', *words(summary(other))]
        out += ([f'.It Xr {CXX[0]} 3', *words(CXX[1])] if with_cxx else []) + ['.El']
    for title, body in (('RETURN VALUES', results(header)), ('EXAMPLES', examples(header, programs)),
                        ('ERRORS', error_section(header, errors)), ('SEE ALSO', see_also(header, headers))):
        out += [f'.Sh {title}', *body] if body else []
    return '\n'.join(out) + '\n'


CXX = ('qvimage_cxx', 'the library for C++20 programs')


def cxx_page(introduction, parts, date):
    """The page of the C++ headers: what each says of itself, and what it declares."""
    out = [f'.Dd {date}', f'.Dt {CXX[0].upper()} 3', '.Os', '.Sh NAME', f'.Nm {CXX[0]}', f'.Nd {CXX[1]}',
           '.Sh SYNOPSIS', '.In qvimage/qvimage.hpp', '.Sh DESCRIPTION', *blocks(introduction)]
    for name, (said, declared) in parts.items():
        out += ['.Ss ' + argument(f'qvimage/{name}'), *blocks(said), *display(declared)]
    return '\n'.join(out + ['.Sh SEE ALSO', '.Xr qvimage 3']) + '\n'


def all_pages(headers, cxx_headers, errors, programs, date):
    """Text by file name: a page a header, a link a name, a page of the C++ headers, if there are any."""
    files = {f'{page_name(h)}.3': page(h, headers, bool(cxx_headers), errors, programs, date)
             for h in headers.values()}
    for header in headers.values():
        for name in header.exports():
            files.setdefault(f'{name}.3', f'.so man3/{page_name(header)}.3\n')
    if cxx_headers:
        files[f'{CXX[0]}.3'] = cxx_page(*cxx_headers, date)
    return files
