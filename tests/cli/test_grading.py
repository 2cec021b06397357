#!/usr/bin/env python3
"""examples/grading/grade.sh on its sample lab and on programs that never halt.
Usage: test_grading.py KELVANE_CLI GRADE.sh"""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

CLI, GRADE = os.path.abspath(sys.argv.pop(1)), os.path.abspath(sys.argv.pop(1))
LAB = os.path.join(os.path.dirname(GRADE), 'lab1')


def grade(*args):
    p = subprocess.run(['bash', GRADE] + list(args), capture_output=True, timeout=120,
                       env=dict(os.environ, KELVANE_CLI=CLI))
    return p.returncode, p.stdout.decode('utf-8'), p.stderr.decode('utf-8')


def table(out):
    """The rows under the header as lists of columns (cut where the header's words begin), and
    the summary line."""
    lines = out.splitlines()
    starts = [lines[0].index(word) for word in ('PROGRAM', 'ASSEMBLY', 'RESULT', 'DETAILS')] + [None]
    rows = [[l[starts[i]:starts[i + 1]].strip() for i in range(4)] for l in lines[1:lines.index('')]]
    return rows, lines[-1]


class Grading(unittest.TestCase):
    def test_sample_lab(self):
        with tempfile.TemporaryDirectory() as d:
            students = shutil.copytree(os.path.join(LAB, 'students'), os.path.join(d, 'students'))
            before = sorted(os.listdir(students))
            for jobs in ('1', '3'):
                code, out, err = grade('-j', jobs, '-o', os.path.join(d, 'kept'), students,
                                       os.path.join(LAB, 'expected.json'), '--terminal', '01')
                self.assertEqual((code, err), (1, ''))
                self.assertEqual(table(out), ([
                    ['alice.asm', 'ok', 'PASS', '64 instructions'],
                    ['bob.asm', 'ok', 'FAIL', 'register A: expected 37H, got 2DH (and 1 more)'],
                    ['carol.asm', '2 errors', 'FAIL', 'line 8: Unrecognized instruction.'],
                ], '1 of 3 programs pass.'))
            self.assertEqual(sorted(os.listdir(students)), before)  # the students' folder is only read
            with open(os.path.join(d, 'kept', 'bob.txt')) as f:
                self.assertIn('memory 2050H: expected 37H, got 2DH\n', f.read())
            self.assertTrue(os.path.exists(os.path.join(d, 'kept', 'carol.lst')))

    def test_limits_and_refusals(self):
        with tempfile.TemporaryDirectory() as d:
            with open(os.path.join(d, 'loop.asm'), 'w') as f:
                f.write('HERE:\tJMP HERE\n')
            with open(os.path.join(d, 'quick.asm'), 'w') as f:
                f.write('\tMVI A,37H\n\tHLT\n')
            with open(os.path.join(d, 'a.json'), 'w') as f:
                f.write('{"registers": {"A": "37"}}')
            code, out, _ = grade('-n', '1000', d, os.path.join(d, 'a.json'))
            self.assertEqual(code, 1)
            self.assertEqual(table(out), ([
                ['loop.asm', 'ok', 'FAIL', 'no HLT within 1000 instructions; register A: expected 37H, got FFH'],
                ['quick.asm', 'ok', 'PASS', '2 instructions']], '1 of 2 programs pass.'))
            with open(os.path.join(d, 'a.json'), 'w') as f:
                f.write('{"registers": {"Q": 1}}')
            code, out, _ = grade(d, os.path.join(d, 'a.json'))
            self.assertEqual(table(out)[0][0][2:], ['ERROR', "kelvane-cli run: %s: unknown register 'Q'"
                                                    % os.path.realpath(os.path.join(d, 'a.json'))])
            for args in [(), (d,), (os.path.join(d, 'none'), 'a.json'), (LAB, os.path.join(LAB, 'expected.json'))]:
                with self.subTest(args=args):
                    code, out, err = grade(*args)
                    self.assertEqual((code, out), (2, ''))
                    self.assertTrue(err)


if __name__ == '__main__':
    unittest.main()
