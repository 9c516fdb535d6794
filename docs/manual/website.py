"""The site: guide, formats, the pages of the manual, an index of all names. Its links are relative, and
nothing on it comes from elsewhere."""
import html
import pathlib
import re
import subprocess

import markdown
import pages

FRAME = '''<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>{title}</title>
<link rel="stylesheet" href="style.css">
</head>
<body>
<nav><a href="index.html">qvimage {version}</a> <a href="guide.html">Guide</a>
<a href="formats.html">Formats</a> <a href="reference.html">Reference</a> <a href="names.html">Names</a></nav>
<main>
{body}
</main>
</body>
</html>
'''

FILTER = '''<p><input type="search" placeholder="part of a name" aria-label="part of a name" autofocus></p>
<ul class="names">
{items}
</ul>
<script>
document.querySelector("input").addEventListener("input", event => {{
  const part = event.target.value.toLowerCase();
  for (const item of document.querySelectorAll(".names li"))
    item.hidden = !item.textContent.toLowerCase().includes(part);
}});
</script>'''

STYLE = '''body { margin: 0; font-family: sans-serif; line-height: 1.45; color: #222; background: #fff; }
nav { padding: 0.6em 1.5em; background: #eef1f4; }
nav a { margin-right: 1.2em; }
main { max-width: 62em; padding: 0 1.5em 4em; }
a { color: #1a4f8b; text-decoration: none; }
a:hover { text-decoration: underline; }
a.permalink { color: inherit; }
pre { padding: 0.6em 0.9em; overflow-x: auto; background: #f5f6f7; }
table { border-collapse: collapse; }
td, th { padding: 0.25em 0.7em; border: 1px solid #ccd2d8; text-align: left; vertical-align: top; }
table.head, table.foot { display: none; }
dt { margin-top: 0.5em; }
dd > p:first-child { margin-top: 0; }
h1.Sh { font-size: 1.3em; }
h2.Ss { font-size: 1.1em; }
ul.names { columns: 16em; padding-left: 1em; }
@media (prefers-color-scheme: dark) {
  body { color: #ddd; background: #16191c; }
  nav, pre { background: #22272c; }
  a { color: #8ab8f0; }
  td, th { border-color: #3a424a; }
}
'''


def page_file(name, section=3):
    return f'{name}.{section}.html'


def name_links(headers):
    """Where each name is explained: page and anchor."""
    links = {}  # not of the word qvimage, which is the library
    for header in headers.values():
        file = page_file(pages.page_name(header))
        for declaration in header.declarations('type', 'constant', 'variable', 'function'):
            links |= {name: f'{file}#{name}' for name in declaration.names}
        links |= {name: f'{file}#{name}' for name, _ in header.members}
        links.setdefault(pages.page_name(header), file)
    links.pop('qvimage')
    return links


def link_names(text, links, here):
    """Known names in an HTML text become links, but for those inside of links and of tags."""
    out, inside = [], 0
    for piece in re.split(r'(<[^>]+>)', text):
        if piece.startswith('<'):
            inside += piece.startswith('<a ') - (piece == '</a>')
        elif not inside:
            piece = re.sub(r'\b\w+\b', lambda m: f'<a href="{links[m[0]]}">{m[0]}</a>'
                           if m[0] in links and not links[m[0]].startswith(here) else m[0], piece)
        out.append(piece)
    return ''.join(out)


def set_anchors(text, names):
    """What mandoc gave none: where the name stands first in a program's text."""
    for name in names:
        if f'id="{name}"' not in text:
            text = re.sub(rf'(<pre>(?:(?!</pre>).)*?)\b{name}\b', rf'\1<a id="{name}">{name}</a>', text, 1,
                          re.S)
    return text


def manual_html(mdoc):
    """A man page as the body of a page."""
    return subprocess.run(['mandoc', '-T', 'html', '-Ios=qvimage', '-O', 'fragment,man=%N.%S.html'],
                          input=mdoc, capture_output=True, text=True, check=True).stdout


def write(folder, headers, man_pages, tool_page, documents, version):
    """All files of the site. man_pages: mdoc by file name; documents: Markdown by name."""
    folder, links = pathlib.Path(folder), name_links(headers)
    folder.mkdir(parents=True, exist_ok=True)

    def put(file, title, body):
        text = FRAME.format(title=html.escape(title), version=version, body=body)
        (folder / file).write_text(text, encoding='utf-8')

    def local(target):  # the documents link to each other
        path, _, part = target.partition('#')
        file = pathlib.PurePath(path).stem
        return f'{file}.html' + (f'#{part}' if part else '') if file in documents else target

    for name, text in documents.items():
        body = markdown.to_html(text, local)
        put(f'{name}.html', re.match('# (.*)', text)[1], link_names(body, links, '-'))
    written = {pages.page_name(header): pages.summary(header) for header in headers.values()}
    written |= dict([pages.CXX]) if f'{pages.CXX[0]}.3' in man_pages else {}
    for name in written:
        here = [n for n, link in links.items() if link.startswith(f'{page_file(name)}#')]
        body = set_anchors(manual_html(man_pages[f'{name}.3']), here)
        put(page_file(name), name, link_names(body, links, page_file(name)))
    put('qvimage.1.html', 'qvimage, the command', manual_html(tool_page))
    families = ''.join(f'<tr><td><a href="{page_file(name)}">{name}</a></td>'
                       f'<td>{html.escape(summary)}</td></tr>\n' for name, summary in written.items())
    put('reference.html', 'Reference',
        f'<h1>Reference</h1>\n<table>\n{families}</table>\n'
        '<p>The command: <a href="qvimage.1.html">qvimage</a></p>')
    items = '\n'.join(f'<li><a href="{links[name]}">{name}</a></li>' for name in sorted(links, key=str.lower))
    put('names.html', 'Names', '<h1>Names</h1>\n' + FILTER.format(items=items))
    put('index.html', 'qvimage', '''<h1>qvimage</h1>
<p>One way to reach the pixels of any image.</p>
<ul>
<li><a href="guide.html">Using qvimage</a>: the guide, with complete programs</li>
<li><a href="formats.html">What files can hold</a></li>
<li><a href="reference.html">The reference</a>: a page a header</li>
<li><a href="names.html">All names</a>: functions, types, constants</li>
<li><a href="qvimage.1.html">The command</a></li>
</ul>''')
    (folder / 'style.css').write_text(STYLE)
