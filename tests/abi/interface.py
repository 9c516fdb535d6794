#!/usr/bin/env python3
"""Prints the binary interface of a library that was built with -g, as abidw sees it: a line a function, a
variable, a member of a public record.

Usage: interface.py LIBRARY INCLUDE-FOLDER
"""
import pathlib
import re
import subprocess
import sys
import xml.etree.ElementTree as xml


class Interface:
    def __init__(self, library, include):
        text = subprocess.run(['abidw', '--exported-interfaces-only', '--headers-dir', include, library],
                              capture_output=True, check=True).stdout
        self.root = xml.fromstring(text)
        self.types = {node.get('id'): node for node in self.root.iter() if node.get('id')}
        self.public = str(pathlib.PurePath(include).name) + '/qvimage/'

    def type_name(self, identity):
        node = self.types[identity]
        if node.tag == 'pointer-type-def':
            target = self.type_name(node.get('type-id'))
            is_function = target.endswith(')') and '(*)' not in target
            return target.replace('(', '(*)(', 1) if is_function else target + ' *'
        if node.tag == 'qualified-type-def':
            words = [word for word in ('const', 'volatile') if node.get(word) == 'yes']
            return ' '.join([self.type_name(node.get('type-id')), *words])
        if node.tag == 'array-type-def':
            return self.type_name(node.get('type-id')) + ''.join(f"[{s.get('length')}]" for s in node)
        if node.tag == 'function-type':
            return self.prototype(node, '')
        return node.get('name')

    def prototype(self, node, name):
        parameters = ['...' if p.get('is-variadic') else self.type_name(p.get('type-id'))
                      for p in node.findall('parameter')]
        return f"{self.type_name(node.find('return').get('type-id'))} {name}({', '.join(parameters)})"

    def members(self, record, name, base):
        for member in record.findall('data-member'):
            variable = member.find('var-decl')
            offset = base + int(member.get('layout-offset-in-bits', 0)) // 8
            target = self.types[variable.get('type-id')]
            if target.get('is-anonymous') and not variable.get('name'):
                yield from self.members(target, name, offset)
            else:
                yield f"{name} +{offset} {self.type_name(target.get('id'))} {variable.get('name')}"

    def lines(self):
        for node in self.root.iter():
            path = node.get('filepath') or ''
            if node.tag == 'function-decl' and node.get('elf-symbol-id'):
                yield self.prototype(node, node.get('name'))
            elif node.tag == 'var-decl' and node.get('elf-symbol-id'):
                yield f"{self.type_name(node.get('type-id'))} {node.get('name')}"
            elif node.tag == 'class-decl' and self.public in path and node.get('size-in-bits') and (
                    not node.get('is-anonymous') or node.get('naming-typedef-id')):
                yield f"{node.get('name')} is {int(node.get('size-in-bits')) // 8} bytes"
                yield from self.members(node, node.get('name'), 0)


if __name__ == '__main__':
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    by_number = {line: [int(part) if part.isdigit() else part for part in re.split(r'(\d+)', line)]
                 for line in Interface(*sys.argv[1:]).lines()}
    print('\n'.join(sorted(by_number, key=by_number.get)))
