#!/usr/bin/env python3
"""kelvane-cli run with bit devices: --device N:in|out:PP[=VV] and --dump-devices."""
import os
import subprocess
import sys
import tempfile
import unittest

CLI = sys.argv.pop(1) if len(sys.argv) > 1 else 'build/kelvane-cli'

# MVI A,3CH; OUT 10H; IN 20H; OUT 11H; IN 10H; OUT 01H; HLT
PROGRAM = [0x3E, 0x3C, 0xD3, 0x10, 0xDB, 0x20, 0xD3, 0x11, 0xDB, 0x10, 0xD3, 0x01, 0x76]


def run(*args, program=PROGRAM):
    with tempfile.TemporaryDirectory() as d:
        path = os.path.join(d, 'p.obj')
        with open(path, 'wb') as f:
            f.write(bytes(program))
        p = subprocess.run([CLI, 'run', path] + list(args), capture_output=True, timeout=60)
        return p.returncode, p.stdout, p.stderr.decode('utf-8')


def dump(err):
    return [line for line in err.splitlines() if line.startswith('Device ')]


class Devices(unittest.TestCase):
    def test_devices_take_their_bytes(self):
        # Each row: options, the dump, the byte the terminal gets (IN 10H after OUT 10H).
        cases = [
            (['--device', '1:out:10', '--device', '2:in:20=05', '--device', '3:out:11'],
             ['Device 1 out 10H: 3CH', 'Device 2 in 20H: 05H', 'Device 3 out 11H: 05H', 'Device 4 OFF'], b'\x55'),
            # Without a value an input device holds what its port holds.
            (['--port', '20=77', '--device', '2:in:20'],
             ['Device 1 OFF', 'Device 2 in 20H: 77H', 'Device 3 OFF', 'Device 4 OFF'], b'\x3c'),
            # Two output devices on one port both take the byte; an output device's value may be preset.
            (['--device', '1:out:10', '--device', '4:out:10=EE', '--device', '2:out:30=9a'],
             ['Device 1 out 10H: 3CH', 'Device 2 out 30H: 9AH', 'Device 3 OFF', 'Device 4 out 10H: 3CH'], b'\x55'),
            # An input device on the port of an OUT: the byte goes to the ports, and the IN that
            # follows hands it to the device.
            (['--device', '1:in:10=42'],
             ['Device 1 in 10H: 3CH', 'Device 2 OFF', 'Device 3 OFF', 'Device 4 OFF'], b'\x3c'),
            # The same device given twice acts as the window's clicks in that order: the input value
            # went to the port, then the device became an output device.
            (['--device', '1:in:10=42', '--device', '1:out:10'],
             ['Device 1 out 10H: 3CH', 'Device 2 OFF', 'Device 3 OFF', 'Device 4 OFF'], b'\x42'),
        ]
        for args, expected, byte in cases:
            with self.subTest(args=args):
                code, out, err = run('--port', '10=55', '--terminal', '01', '--dump-devices', *args)
                self.assertEqual(code, 0, err)
                self.assertEqual(dump(err), expected)
                self.assertEqual(out, byte)
                # The dump follows the statistics.
                self.assertTrue(err.splitlines()[0].startswith('Total number of executed instructions is 7.'))

    def test_no_dump_unless_asked(self):
        code, _, err = run('--device', '1:out:10')
        self.assertEqual(code, 0)
        self.assertEqual(dump(err), [])

    def test_bad_device_options(self):
        for value in ['5:out:10', '0:out:10', '1:inout:10', '1:out:GG', '1:out:10=123', '1out10', '1:out',
                      '1:out:', '12:out:10', '']:
            with self.subTest(value=value):
                code, out, err = run('--device', value)
                self.assertEqual(code, 2)
                self.assertEqual(out, b'')
                self.assertIn('--device needs', err)
        code, _, err = run('--device')
        self.assertEqual(code, 2)


if __name__ == '__main__':
    unittest.main()
