"""The little of Markdown that the project's documents use, as HTML."""
import html
import re


def anchor(title):
    return re.sub(r'[^a-z0-9]+', '-', title.lower()).strip('-')


def inline(text, link):
    """Code, bold, links; `link` says where a target of a link lies on the site."""
    out = []
    for i, piece in enumerate(text.split('`')):
        piece = html.escape(piece, quote=False)
        if i % 2:
            out.append(f'<code>{piece}</code>')
            continue
        piece = re.sub(r'\[([^]]+)\]\(([^)]+)\)',
                       lambda m: f'<a href="{html.escape(link(m[2]))}">{m[1]}</a>', piece)
        piece = re.sub(r'\*\*(.+?)\*\*', r'<b>\1</b>', piece)
        out.append(re.sub(r'(?<!\w)\*(\S.*?)\*(?!\w)', r'<i>\1</i>', piece))
    return ''.join(out)


def row(line, cell, link):
    cells = [part.strip() for part in re.split(r'(?<!\\)\|', line.strip().strip('|'))]
    return '<tr>' + ''.join(f'<{cell}>{inline(part, link)}</{cell}>' for part in cells) + '</tr>'


def to_html(text, link):
    lines, out, i = text.split('\n'), [], 0

    def while_true(test):
        nonlocal i
        begin = i
        while i < len(lines) and lines[i].strip() and test(lines[i]):
            i += 1
        return lines[begin:i]

    while i < len(lines):
        line = lines[i]
        heading = re.match(r'(#+) (.*)', line)
        if not line.strip() or line.startswith('<!--'):
            i += 1
        elif heading:
            level = len(heading[1])
            out.append(f'<h{level} id="{anchor(heading[2])}">{inline(heading[2], link)}</h{level}>')
            i += 1
        elif line.startswith('```'):
            end = lines.index('```', i + 1)
            out.append('<pre>' + html.escape('\n'.join(lines[i + 1:end]), quote=False) + '</pre>')
            i = end + 1
        elif line.startswith('    '):
            code = [piece[4:] for piece in while_true(lambda text: text.startswith('    '))]
            out.append('<pre>' + html.escape('\n'.join(code), quote=False) + '</pre>')
        elif line.startswith('|'):
            rows = while_true(lambda text: text.startswith('|'))
            out.append('<table>' + row(rows[0], 'th', link)
                       + ''.join(row(piece, 'td', link) for piece in rows[2:]) + '</table>')
        elif re.match(r'[-*] |\d+\. ', line):
            kind, items = 'ol' if line[0].isdigit() else 'ul', []
            for piece in while_true(lambda text: True):
                mark = re.match(r'[-*] |\d+\. ', piece)
                if mark:
                    items.append(piece[mark.end():])
                else:
                    items[-1] += ' ' + piece.strip()
            out.append(f'<{kind}>' + ''.join(f'<li>{inline(t, link)}</li>' for t in items) + f'</{kind}>')
        else:
            begin = i
            while_true(lambda text: i == begin or not re.match(r'#|```|\||[-*] |<!--', text))
            out.append('<p>' + inline(' '.join(lines[begin:i]), link) + '</p>')
    return '\n'.join(out)
