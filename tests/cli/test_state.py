#!/usr/bin/env python3
"""kelvane-cli run --dump and --expect against tests/data/cli/state.json; help and version.
Usage: test_state.py KELVANE_CLI STATE.json"""
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest

CLI, DATA = sys.argv.pop(1), sys.argv.pop(1)
with open(DATA, encoding='utf-8') as f:
    CASES = json.load(f)
STATISTICS = 3  # lines of the statistics on standard error


def cli(*args):
    p = subprocess.run([CLI] + list(args), capture_output=True, timeout=60)
    return p.returncode, p.stdout.decode('latin-1'), p.stderr.decode('utf-8')


class State(unittest.TestCase):
    def setUp(self):
        self.tmp = tempfile.TemporaryDirectory()
        self.program = self.path('p.obj', bytes.fromhex(CASES['program']))

    def tearDown(self):
        self.tmp.cleanup()

    def path(self, name, data=None):
        p = os.path.join(self.tmp.name, name)
        if data is not None:
            with open(p, 'wb') as f:
                f.write(data if isinstance(data, bytes) else data.encode('utf-8'))
        return p

    def run_program(self, *extra):
        return cli('run', self.program, *CASES['args'], *extra)

    def test_dump_reads_back_and_serves_as_an_expect_file(self):
        dump = self.path('dump.json')
        ranges = [a for r in CASES['ranges'] for a in ('--dump-memory', r)]
        code, out, err = self.run_program('--dump', dump, *ranges)
        self.assertEqual((code, out), (0, 'OK\xe9'), err)
        with open(dump, encoding='utf-8') as f:
            got = json.load(f)
        self.assertEqual(got, CASES['dump'])
        self.assertEqual(list(got), ['registers', 'flags', 'counters', 'memory', 'terminal'])
        self.assertEqual(got['terminal'].encode('latin-1'), b'OK\xe9')
        code, _, err = self.run_program('--expect', dump)
        self.assertEqual((code, err.splitlines()[STATISTICS:]), (0, []))
        # The same run without the new options prints exactly what it printed before.
        plain = cli('run', self.program, '--terminal', '01')
        self.assertEqual(plain[:2], (0, 'OK\xe9'))
        self.assertEqual(len(plain[2].splitlines()), STATISTICS)

    def test_expect_files(self):
        for n, case in enumerate(CASES['expect']):
            with self.subTest(case=case.get('file', case.get('text'))):
                text = case['text'] if 'text' in case else json.dumps(case['file'])
                expect = self.path('e%d.json' % n, text)
                code, out, err = self.run_program('--expect', expect)
                self.assertEqual(code, case['status'], err)
                if case['status'] == 2:  # refused before the run
                    self.assertEqual((out, err), ('', 'kelvane-cli run: %s: %s\n' % (expect, case['lines'][0])))
                else:
                    self.assertEqual(err.splitlines()[STATISTICS:], case['lines'])
        code, _, err = self.run_program('--expect', self.path('none.json'))
        self.assertEqual(code, 2)
        self.assertIn("can't open the file", err)

    def test_dump_options_refused(self):
        dump = self.path('d.json')
        for args in [('--dump-memory', '2000-2001'), ('--dump', dump, '--dump-memory', '2001-2000'),
                     ('--dump', dump, '--dump-memory', '2000'), ('--dump', dump, '--dump-memory', '02000-2001'),
                     ('--dump', dump, '--dump-memory', '2000-G000'), ('--dump',), ('--expect',)]:
            with self.subTest(args=args):
                code, out, err = cli('run', self.program, *args)
                self.assertEqual((code, out), (2, ''))
                self.assertIn('usage: kelvane-cli run', err)
                self.assertFalse(os.path.exists(dump))
        code, _, err = self.run_program('--dump', self.path('nofolder/d.json'))
        self.assertEqual(code, 2, err)
        self.assertIn('nofolder/d.json', err)

    def test_help_and_version(self):
        code, out, err = cli('--version')
        self.assertEqual(code, 0)
        self.assertRegex(out, r'^kelvane-cli \d+\.\d+\n$')
        for args, usage in [(['--help'], 'kelvane-cli [OPTIONS] COMMAND'), (['-h'], 'kelvane-cli [OPTIONS] COMMAND'),
                            (['run', '--help'], 'kelvane-cli run [OPTIONS] PROGRAM'),
                            (['asm', '--help'], 'kelvane-cli asm [OPTIONS] SOURCE'),
                            (['disasm', '-h'], 'kelvane-cli disasm [OPTIONS] PROGRAM'),
                            (['basic', '--help'], 'kelvane-cli basic [OPTIONS] SOURCE')]:
            with self.subTest(args=args):
                code, out, err = cli(*args)
                self.assertEqual((code, err), (0, ''))
                self.assertIn('usage: ' + usage + '\n', out)
        _, out, _ = cli('--help')
        self.assertEqual(re.findall(r'^  (asm|basic|disasm|run) ', out, re.M), ['asm', 'basic', 'disasm', 'run'])
        for args, message in [([], 'usage: kelvane-cli'), (['frobnicate'], "unknown command 'frobnicate'"),
                              (['--frobnicate'], "unknown option '--frobnicate'"),
                              (['asm', '--frobnicate', 'x.asm'], "kelvane-cli asm: unknown option '--frobnicate'")]:
            with self.subTest(args=args):
                code, out, err = cli(*args)
                self.assertEqual((code, out), (2, ''))
                self.assertIn(message, err)


if __name__ == '__main__':
    unittest.main()
