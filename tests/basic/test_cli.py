#!/usr/bin/env python3
"""kelvane-cli basic: where the .asm goes, what is printed where, exit statuses, and that an
older .asm survives every failure."""
import os
import subprocess
import sys
import tempfile
import unittest

CLI = os.path.abspath(sys.argv.pop(1) if len(sys.argv) > 1 else 'build/kelvane-cli')


def basic(*args, cwd=None):
    p = subprocess.run([CLI, 'basic'] + list(args), capture_output=True, cwd=cwd, timeout=60)
    return p.returncode, p.stdout.decode('latin-1'), p.stderr.decode('latin-1')


def write(path, data):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, 'wb') as f:
        f.write(data)


def read(path):
    with open(path, 'rb') as f:
        return f.read()


class Basic(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.TemporaryDirectory()
        self.d = os.path.realpath(self.dir.name)

    def tearDown(self):
        self.dir.cleanup()

    def test_success_beside_the_source_name_cut_at_its_first_dot(self):
        write(os.path.join(self.d, 'v1.2', 'my.prog.bas'), b'End\n')
        write(os.path.join(self.d, 'v1.2', 'my.asm'), b'old')
        code, out, err = basic(os.path.join('v1.2', '.', 'my.prog.bas'), cwd=self.d)
        asm = os.path.join(self.d, 'v1.2', 'my.asm')
        self.assertEqual((code, err), (0, ''))
        self.assertEqual(out, 'The compilation process was successful.\nTotal 9 lines of assembler source '
                              'generated.\nOutput saved as %s\n' % asm)
        self.assertTrue(read(asm).startswith(b'; Begin\r\n\tLXI H,0FF00H\r\n'))
        self.assertTrue(read(asm).endswith(b'\t.END\r\n'))

    def test_failures_leave_the_older_asm(self):
        cases = [  # source bytes, name, exit status, standard error
            (b'End\nWend\n', 'p.bas', 1, 'Error in line 2: Wend without While.\n'),
            (b'While True', 'p.bas', 1, 'Error in line 2: Wend is missing.\n'),
            (b'', 'p.bas', 2, 'The editor is empty.\n'),
            (b'End', 'p.asm', 2, 'kelvane-cli basic: the output p.asm would replace the source\n'),
        ]
        for source, name, status, message in cases:
            with self.subTest(source=source, name=name):
                write(os.path.join(self.d, name), source)
                if name != 'p.asm':
                    write(os.path.join(self.d, 'p.asm'), b'old')
                code, out, err = basic(os.path.join(self.d, name))
                self.assertEqual((code, out, err), (status, '', message))
                self.assertEqual(read(os.path.join(self.d, 'p.asm')), source if name == 'p.asm' else b'old')

    def test_an_output_that_cannot_be_written(self):
        write(os.path.join(self.d, 'q.bas'), b'End')
        os.mkdir(os.path.join(self.d, 'q.asm'))
        code, out, err = basic(os.path.join(self.d, 'q.bas'))
        self.assertEqual((code, out), (2, ''))
        self.assertIn('q.asm', err)
        self.assertEqual(os.listdir(os.path.join(self.d, 'q.asm')), [])

    def test_usage(self):
        write(os.path.join(self.d, 'p.bas'), b'End')
        for args in [(), ('a.bas', 'b.bas'), ('--x',), (os.path.join(self.d, 'none.bas'),), (self.d,)]:
            with self.subTest(args=args):
                code, out, err = basic(*args)
                self.assertEqual((code, out), (2, ''))
                self.assertTrue(err)


if __name__ == '__main__':
    unittest.main()
