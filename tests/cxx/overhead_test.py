"""The compiled loops of rows.cpp: by runs there are the calls and the vector loops that there are by hand.

Counted are calls inside the loop over the rows, by the slot that they go to, and innermost loops with
arithmetic on vectors. Instructions are not: they differ in moves."""
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

HERE = pathlib.Path(__file__).parent
JUMP = re.compile(r'^j\w+\s+([0-9a-f]+)\b')
CALL = re.compile(r'^call\w*\s+\*?(\S+)')
VECTOR = re.compile(r'^v?p(add|xor|andn|unpck|ternlog)\w*\s.*%[xyz]mm')


def functions(compiler, options):
    """Of each function of rows.cpp its instructions with their addresses."""
    with tempfile.TemporaryDirectory() as folder:
        made = f'{folder}/rows.o'
        subprocess.run([compiler, '-std=c++20', '-O3', *options, f'-I{os.environ["QVIMAGE_INCLUDE"]}', '-c',
                        HERE / 'rows.cpp', '-o', made], check=True)
        text = subprocess.run(['objdump', '-d', '--no-show-raw-insn', made], check=True, capture_output=True,
                              text=True).stdout
    for part in re.split(r'\n(?=[0-9a-f]+ <)', text):
        if head := re.match(r'[0-9a-f]+ <(\w+_by_\w+)>:', part):
            yield head[1], [(int(line[1], 16), line[2].strip())
                            for line in re.finditer(r'^\s+([0-9a-f]+):\t(.*)$', part, re.M)]


def loops(code):
    """The loops, each as the set of its instructions' numbers. A jump closes a loop when its target lies on
    every way to it (dominates it); the loop is all from where the jump is reached without the target."""
    number = {address: i for i, (address, _) in enumerate(code)}
    before, reached, todo = [set() for _ in code], {0}, [0]  # what only exceptions lead to is left out
    while todo:
        i = todo.pop()
        jump = JUMP.match(code[i][1])
        after = [number[int(jump[1], 16)]] if jump and int(jump[1], 16) in number else []
        if i + 1 < len(code) and not re.match('jmp|ret|ud2', code[i][1]):
            after.append(i + 1)
        for j in after:
            before[j].add(i)
        todo += set(after) - reached
        reached.update(after)
    every = set(range(len(code)))
    dominators, changed = [{0}] + [every] * (len(code) - 1), True
    while changed:
        changed = False
        for i in range(1, len(code)):
            now = {i} | set.intersection(every, *(dominators[j] for j in before[i]))
            changed, dominators[i] = changed or now != dominators[i], now
    bodies = {}
    for head in range(len(code)):
        for end in before[head]:
            if head in dominators[end]:
                body, todo = bodies.setdefault(head, {head}), [end]
                while todo:
                    if (i := todo.pop()) not in body:
                        body.add(i)
                        todo += before[i]
    return list(bodies.values())


def essence(code):
    """The calls in loops, by the slots' offsets; how many innermost loops work on vectors."""
    found = loops(code)
    texts = [text for _, text in code]
    calls = sorted(CALL.match(texts[i])[1].split('(')[0] for i in set().union(*found) if CALL.match(texts[i]))
    innermost = [body for body in found if not any(other < body for other in found)]
    return calls, sum(any(VECTOR.match(texts[i]) for i in body) for body in innermost)


class Overhead(unittest.TestCase):
    def test_rows_cost_what_they_cost_by_hand(self):
        for compiler in 'g++', 'clang++':
            for options in [], ['-fno-exceptions']:
                by = dict(functions(compiler, options))
                with self.subTest(compiler=compiler, options=options):
                    hand, runs = essence(by['invert_by_hand']), essence(by['invert_by_runs'])
                    self.assertEqual(runs, hand)
                    self.assertEqual(len(hand[0]), 4)
                    self.assertGreater(hand[1], 0)


if __name__ == '__main__':
    unittest.main()
