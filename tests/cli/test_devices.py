#!/usr/bin/env python3
"""kelvane-cli run with bit devices: --device N:in|out:PP[=VV] and --dump-devices."""
import os
import subprocess
import sys
import tempfile
import unittest

CLI = sys.argv.pop(1) if len(sys.argv) > 1 else 'build/kelvane-cli'
# MVI A,3CH; OUT 10H; IN 20H; OUT 11H; IN 10H; OUT 01H (the terminal); HLT
PROGRAM = bytes([0x3E, 0x3C, 0xD3, 0x10, 0xDB, 0x20, 0xD3, 0x11, 0xDB, 0x10, 0xD3, 0x01, 0x76])


def run(*devices, extra=()):
    with tempfile.TemporaryDirectory() as d:
        path = os.path.join(d, 'p.obj')
        with open(path, 'wb') as f:
            f.write(PROGRAM)
        args = [CLI, 'run', path, '--port', '10=55', '--terminal', '01', *extra]
        p = subprocess.run(args + [a for dev in devices for a in ('--device', dev)], capture_output=True, timeout=60)
        err = p.stderr.decode('utf-8')
        return p.returncode, p.stdout, err, [l for l in err.splitlines() if l.startswith('Device ')]


class Devices(unittest.TestCase):
    def test_devices_take_their_bytes(self):
        # Devices, the dump of devices 1-4 ('-' for off), and the byte IN 10H reads after OUT 10H.
        cases = [
            (['1:out:10', '2:in:20=05', '3:out:11'], ['out 10H: 3CH', 'in 20H: 05H', 'out 11H: 05H', '-'], b'\x55'),
            (['2:in:20'], ['-', 'in 20H: 77H', '-', '-'], b'\x3c'),  # it holds what its port holds
            # Two output devices on one port both take the byte; an output device's value may be preset.
            (['1:out:10', '4:out:10=EE', '2:out:30=9a'], ['out 10H: 3CH', 'out 30H: 9AH', '-', 'out 10H: 3CH'], b'\x55'),
            # An OUT to an input device's port goes to the port; the IN that follows hands it to the device.
            (['1:in:10=42'], ['in 10H: 3CH', '-', '-', '-'], b'\x3c'),
        ]
        for devices, expected, byte in cases:
            with self.subTest(devices=devices):
                code, out, err, dump = run(*devices, extra=('--dump-devices', '--port', '20=77'))
                self.assertEqual((code, out), (0, byte), err)
                self.assertEqual(dump, ['Device %d %s' % (n + 1, 'OFF' if e == '-' else e) for n, e in enumerate(expected)])
                self.assertTrue(err.startswith('Total number of executed instructions is 7.'))
        self.assertEqual(run('1:out:10')[3], [])  # no dump unless asked

    def test_bad_device_options(self):
        for value in ['5:out:10', '1:inout:10', '1:out:GG', '1:out:10=123', '1out10', '12:out:10', '']:
            code, out, err, _ = run(value)
            self.assertEqual((code, out), (2, b''), value)
            self.assertIn('--device needs', err)


if __name__ == '__main__':
    unittest.main()
