"""The installed manual against the library's export list and the headers' own words.

Usage: manual_test.py PREFIX EXPORTS
"""
import os
import pathlib
import re
import subprocess
import sys
import unittest

TOP = pathlib.Path(__file__).resolve().parents[2]
INCLUDE = TOP / 'include/qvimage'
PREFIX, EXPORTS = (pathlib.Path(argument) for argument in sys.argv[1:3])
MAN3 = PREFIX / 'share/man/man3'
HTML = next(PREFIX.glob('share/doc/*/html'))


def output(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, check=False, **options)


def documented():
    """The exports but for what only a Java machine calls."""
    return [name for name in EXPORTS.read_text().split() if not name.startswith(('Java_', 'JNI_'))]


def page(name):
    """A page's source, through its link if it is one."""
    text = (MAN3 / f'{name}.3').read_text()
    link = re.fullmatch(r'\.so man3/(.*)\n', text)
    return (MAN3 / link[1]).read_text() if link else text


def page_words(name):
    text = re.sub(r'\\\(aq|\\\(dq|\\\(ha|\\\(ti|\\\(ga|\\&|\\-|\\e', ' ', page(name))
    return set(re.findall(r'\w+', text))


def written_pages():
    return [path for path in sorted(MAN3.iterdir()) if not path.read_text().startswith('.so ')]


class Manual(unittest.TestCase):
    def test_every_export_is_on_the_page_of_its_name(self):
        names = documented()
        self.assertGreater(len(names), 900)
        self.assertEqual([name for name in names
                          if not (MAN3 / f'{name}.3').exists() or name not in page_words(name)], [])

    def test_no_word_of_a_header_is_lost(self):
        for path in sorted(INCLUDE.glob('*.h')):
            with self.subTest(path.name):
                comments = ' '.join(re.findall(r'/\*(.*?)\*/', path.read_text(), re.S))
                comments = re.sub(r'^ \*\s+\d+\. ', '', comments, flags=re.M)  # pages count by themselves
                name = 'qvimage' if path.stem == 'qvimage' else f'qvimage_{path.stem}'
                lost = {word.lower() for word in re.findall(r'\w+', comments)}
                lost -= {word.lower() for word in page_words(name)}
                self.assertEqual(lost, set())

    def test_lint_has_nothing_to_say(self):
        said = output('mandoc', '-T', 'lint', *written_pages()).stdout
        known = 'referenced manual not found'  # looked for in the system's folders only
        self.assertEqual([line for line in said.splitlines() if known not in line], [])

    def test_references_lead_to_pages(self):
        for path in written_pages():
            for name, section in re.findall(r'^\.Xr (\S+) (\d)', path.read_text(), re.M):
                self.assertTrue((PREFIX / f'share/man/man{section}/{name}.{section}').exists(),
                                f'{path.name}: {name}({section})')

    def test_codes_are_codes(self):
        list_ = (INCLUDE / 'errors.inc').read_text()
        known = {name: code for code, name in re.findall(r'QVIM_ERROR\((-\d+), (\w+),', list_)}
        seen = set()
        for path in written_pages():
            text = path.read_text().replace(r'\-', '-')
            self.assertLessEqual(set(re.findall(r'QVERR_\w+', text)), set(known), path.name)
            for name, code in re.findall(r'^\.It Bq Er (\w+)\n(-\d+)', text, re.M):
                self.assertEqual(code, known[name], path.name)
                seen.add(name)
        self.assertEqual(seen, set(known))

    def test_man_answers(self):
        man = str((PREFIX / 'share/man').resolve())
        environment = {**os.environ, 'MANPATH': man, 'MANWIDTH': '80', 'LC_ALL': 'C'}
        for name, prototype in (('qvimage_tiffread', 'qvimage_tiffread(qvimage *image, qvimage *palette'),
                                ('npfclx1_RGBtoBSH', 'npfclx1_RGBtoBSH'), ('qvimage', 'qvimage_memory(3)')):
            shown = output('man', '3', name, env=environment).stdout
            self.assertIn(prototype, re.sub(r'.\b', '', re.sub(r'\s+', ' ', shown)) + shown, name)


class Site(unittest.TestCase):
    def setUp(self):
        self.texts = {path.name: path.read_text() for path in HTML.iterdir()}
        self.assertGreaterEqual(set(self.texts), {'index.html', 'guide.html', 'formats.html', 'names.html'})

    def test_links_resolve_inside_of_the_site(self):
        anchors = {file: set(re.findall(r' id="([^"]+)"', text)) for file, text in self.texts.items()}
        for file, text in self.texts.items():
            for link in re.findall(r'(?:href|src)="([^"]*)"', text):
                target, _, anchor = link.partition('#')
                self.assertIn(target or file, anchors, f'{file}: {link}')
                self.assertTrue(not anchor or anchor in anchors[target or file], f'{file}: {link}')

    def test_nothing_comes_from_elsewhere(self):
        for file, text in self.texts.items():
            self.assertNotRegex(text, r'(src|href)="(\w+:|/)|@import|url\(', file)

    def test_the_index_has_every_name(self):
        names = set(documented())
        listed = set(re.findall(r'<li><a href="[^"]+">(\w+)</a>', self.texts['names.html']))
        self.assertEqual(names - listed, set())

    def test_the_guide_is_there_in_full(self):
        guide = (TOP / 'docs/guide.md').read_text()
        words = set(re.findall(r'\w+', re.sub(r'<[^>]*>', ' ', self.texts['guide.html'])))
        self.assertEqual(set(re.findall(r'\w{4,}', re.sub(r'<!--.*?-->', '', guide))) - words, set())


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1])
