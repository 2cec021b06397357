#!/usr/bin/env python3
"""kelvane-cli run as a user meets it: options, refusals, exit statuses, and what goes where."""
import os
import subprocess
import sys
import tempfile
import unittest

CLI = sys.argv.pop(1) if len(sys.argv) > 1 else 'build/kelvane-cli'


def run(*args, program=None, name='p.obj', text=None):
    with tempfile.TemporaryDirectory() as d:
        path = os.path.join(d, name)
        if program is not None:
            with open(path, 'wb') as f:
                f.write(bytes(program))
        if text is not None:
            with open(path, 'w', newline='') as f:
                f.write(text)
        argv = [CLI, 'run'] + ([path] if (program is not None or text is not None) else []) + list(args)
        p = subprocess.run(argv, capture_output=True, timeout=60)
        return p.returncode, p.stdout, p.stderr.decode('utf-8')


def hexrecord(addr, data):
    body = '%02X%04X00' % (len(data), addr) + ''.join('%02X' % b for b in data)
    s = sum(bytes.fromhex(body)) % 256
    return ':' + body + '%02X' % ((256 - s) % 256)


class Run(unittest.TestCase):
    def test_statistics_on_stderr_only(self):
        code, out, err = run(program=[0x3E, 0x05, 0x76])
        self.assertEqual(code, 0)
        self.assertEqual(out, b'')
        lines = err.splitlines()
        self.assertEqual(lines[0], 'Total number of executed instructions is 2.')
        self.assertTrue(lines[1].endswith(' seconds elapsed.'))
        self.assertEqual(lines[2], 'Real-time duration of the simulation is 12 clock cycles or 3.00 µs at 4 MHz.')

    def test_usage_errors_exit_2(self):
        cases = [
            ('--start', '12'), ('--start', 'GGGG'), ('--max-instructions', '-1'), ('--ff-defaults', 'yes'),
            ('--clock', '0'), ('--port', '1=2=3'), ('--interrupt', '5:NMI'), ('--interrupt', 'x:TRAP'),
            ('--format', 'srec'), ('--bogus',),
        ]
        for args in cases:
            with self.subTest(args=args):
                code, out, err = run(*args, program=[0x76])
                self.assertEqual(code, 2)
                self.assertEqual(out, b'')
                self.assertIn('usage', err)
        code, _, _ = run()
        self.assertEqual(code, 2)
        p = subprocess.run([CLI, 'run', '/nonexistent/x.obj'], capture_output=True)
        self.assertEqual(p.returncode, 2)

    def test_image_refusals(self):
        code, _, err = run(program=[])
        self.assertEqual((code, err.strip()), (1, 'The size of the selected file is zero.'))
        code, _, err = run(program=[0] * 65537)
        self.assertEqual((code, err.strip()), (1, 'The size of the selected file is greater than 64K.'))
        code, _, _ = run('--max-instructions', '1', program=[0] * 65536)
        self.assertEqual(code, 0)

    def test_intel_hex_by_extension_and_format(self):
        text = hexrecord(0x0100, [0x3E, 0x42, 0x76]) + '\r\n:00000001FF\r\n'
        code, out, _ = run('--start', '0100', '--trace', text=text, name='p.hex')
        self.assertEqual(code, 0)
        self.assertTrue(out.startswith(b'1      0100  MVI A,42H '))
        # the same text loaded as a binary image runs its bytes from 0
        code, out, _ = run('--format', 'obj', '--trace', '--max-instructions', '1', text=text, name='p.hex')
        self.assertEqual(code, 0)
        self.assertIn(b'LDA 3330H', out.splitlines()[0])  # ':' is 3AH and the digits "03" follow
        code, out, err = run('--format', 'hex', text=':0000000', name='p.obj')
        self.assertEqual(code, 1)
        self.assertEqual(err.strip(), "Input program file in Intel Hex Format contains errors.\r\n"
                                      "Line number 1: The record is too short.")
        code, out, err = run(text=':00000001FF\n', name='P.HEX')
        self.assertEqual((code, err.strip()), (1, 'Input program file in Intel Hex Format contains no data.'))

    def test_max_instructions_and_halt_option(self):
        code, out, err = run('--halt-stops', 'off', '--max-instructions', '7', '--trace', program=[0x76])
        self.assertEqual(len(out.splitlines()), 7)
        self.assertIn('executed instructions is 7.', err)
        self.assertIn('35 clock cycles', err)
        code, out, _ = run('--max-instructions', '0', '--trace', program=[0x00])
        self.assertEqual(out, b'')

    def test_terminal_bytes_come_before_the_out_row(self):
        prog = [0x3E, ord('H'), 0xD3, 0x01, 0x3E, ord('i'), 0xD3, 0x01, 0x76]
        code, out, _ = run('--terminal', '01', program=prog)
        self.assertEqual(out, b'Hi')
        code, out, _ = run('--terminal', '1', '--trace', program=prog)
        rows = out.split(b'\n')
        self.assertTrue(rows[1].startswith(b'H2      0002  OUT 01H'))
        # with the terminal elsewhere the byte stays in the port and nothing is printed
        code, out, _ = run('--terminal', '02', program=prog)
        self.assertEqual(out, b'')


if __name__ == '__main__':
    unittest.main()
