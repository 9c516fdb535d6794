"""The generated prototypes and records against the compiler, which reads the same headers, and the
library."""
import ctypes
import os
import subprocess
import unittest

from qvimage import _abi, _library

PROGRAM = '''
#include <cstddef>
#include <initializer_list>
#include <type_traits>
#include <qvimage/qvimage.h>
struct word { char sort; int size; };
template <class T> constexpr bool fits(word w) {
  if constexpr (std::is_void_v<T>) return w.sort == 'v';
  else if constexpr (std::is_pointer_v<T>)
    return w.sort == 'p' || (w.sort == 's' && std::is_same_v<T, const char *>);
  else
    return sizeof(T) == w.size &&
           w.sort == (std::is_floating_point_v<T> ? 'f' : std::is_signed_v<T> ? 'i' : 'u');
}
template <class R, class... A> constexpr bool same(R (*)(A...), std::initializer_list<word> words) {
  auto next = words.begin();
  return words.size() == 1 + sizeof...(A) && fits<R>(*next++) && (fits<A>(*next++) && ...);
}
'''


def words(prototype):
    return '{' + ', '.join(f"{{'{w[0]}', {w[1:] or 0}}}" for w in prototype.split()) + '}'


def fields(record):
    """Names of a record's fields, those of the unnamed unions in it, too."""
    for name, kind, *_ in record._fields_:
        if name in getattr(record, '_anonymous_', ()):
            yield from fields(kind)
        else:
            yield name


class Abi(unittest.TestCase):
    def test_the_compiler_agrees_about_every_prototype_record_and_constant(self):
        lines = [f'static_assert(same(&{n}, {words(p)}));' for n, p in _abi.PROTOTYPES.items()]
        for record, slots in _abi.SLOTS.items():
            lines += [f'static_assert(same(decltype({record}::{n})(), {words(p)}));'
                      for n, p in slots.items()]
        records = [v for n, v in vars(_abi).items() if isinstance(v, type) and n.startswith('qv')]
        for record in records:
            name = record.__name__
            lines.append(f'static_assert(sizeof({name}) == {ctypes.sizeof(record)});')
            for field in fields(record):
                found = getattr(record, field)
                lines.append(f'static_assert(offsetof({name}, {field}) == {found.offset} && '
                             f'sizeof({name}::{field}) == {found.size});')
        constants = {n: v for n, v in vars(_abi).items() if n.startswith('QV')}
        lines += [f'static_assert({n} == {v});' for n, v in constants.items()]
        self.assertGreater(min(len(records), len(constants), len(_abi.PROTOTYPES)), 10)
        compiler = [os.environ['CXX'], '-std=c++20', '-fsyntax-only', '-I' + os.environ['QVIMAGE_INCLUDE']]
        done = subprocess.run([*compiler, '-x', 'c++', '-'], input=PROGRAM + '\n'.join(lines), text=True,
                              capture_output=True)
        self.assertEqual(done.returncode, 0, done.stderr[:2000])

    def test_the_library_has_every_function(self):
        for name in _abi.PROTOTYPES:
            self.assertTrue(_library.function(name), name)


if __name__ == '__main__':
    unittest.main()
