#!/usr/bin/env python3
"""The Debian package installed into a temporary root (dpkg -x) and used from there: its files and
control fields, the validators, the man pages against the programs' help, kelvane-cli on the
installed examples, and the installed kelvane started offscreen with a program, a second start
handing it another one over the session bus. The memory is read through the automation server
ikelvane.server, as any program on the bus reads it. Runs on a private bus (dbus-run-session).
Usage: test_package.py PACKAGE_FOLDER VERSION DATA_FOLDER"""
import glob
import gzip
import os
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest

FOLDER, VERSION, DATA = sys.argv.pop(1), sys.argv.pop(1), os.path.abspath(sys.argv.pop(1))


def run(args, **kw):
    return subprocess.run(args, capture_output=True, text=True, timeout=120, **kw)


def extract(cls):
    """The package unpacked into a temporary root, as the class's deb, root and programs."""
    debs = glob.glob(os.path.join(FOLDER, '*.deb'))
    assert len(debs) == 1, f'one package expected in {FOLDER}, found {debs}'
    cls.deb = debs[0]
    cls.tmp = tempfile.TemporaryDirectory()
    cls.root = os.path.join(cls.tmp.name, 'root')
    subprocess.run(['dpkg-deb', '-x', cls.deb, cls.root], check=True)
    cls.examples = os.path.join(cls.root, 'usr/share/kelvane/examples')
    cls.cli = os.path.join(cls.root, 'usr/bin/kelvane-cli')
    cls.kelvane = os.path.join(cls.root, 'usr/bin/kelvane')


class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        extract(cls)

    @classmethod
    def tearDownClass(cls):
        cls.tmp.cleanup()

    def installed(self, path):
        return os.path.join(self.root, path)

    def test_files_and_control(self):
        self.assertEqual(os.path.basename(self.deb), f'kelvane_{VERSION}_amd64.deb')
        with open(os.path.join(DATA, 'contents.txt')) as f:
            for path in f.read().split():
                self.assertTrue(os.path.isfile(self.installed(path)), path)
        for program in (self.cli, self.kelvane):
            self.assertTrue(os.access(program, os.X_OK), program)
        with open(self.installed('usr/share/icons/hicolor/256x256/apps/kelvane.png'), 'rb') as f:
            head = f.read(24)
        self.assertEqual(head[:8], b'\x89PNG\r\n\x1a\n')
        self.assertEqual(struct.unpack('>II', head[16:24]), (256, 256))
        fields = {}
        for name in ('Package', 'Version', 'Architecture', 'Depends'):
            fields[name] = run(['dpkg-deb', '-f', self.deb, name]).stdout.strip()
        self.assertEqual((fields['Package'], fields['Version'], fields['Architecture']),
                         ('kelvane', VERSION, 'amd64'))
        # Dependencies as dpkg-shlibdeps finds them in the programs' libraries.
        depends = {d.split()[0] for d in fields['Depends'].split(', ')}
        self.assertLessEqual({'libc6', 'libqt6widgets6', 'libqt6dbus6', 'libqt6printsupport6',
                              'libqt6network6', 'libsystemd0'}, depends)
        self.assertTrue(any(d.startswith('libqscintilla2-qt6') for d in depends), depends)

    def test_validators(self):
        results = []
        if shutil.which('desktop-file-validate'):
            p = run(['desktop-file-validate', self.installed('usr/share/applications/org.example.kelvane.desktop')])
            results.append(('desktop-file-validate', p.returncode, p.stdout + p.stderr))
        if shutil.which('appstreamcli'):
            p = run(['appstreamcli', 'validate', '--no-net',
                     self.installed('usr/share/metainfo/org.example.kelvane.metainfo.xml')])
            results.append(('appstreamcli', p.returncode, p.stdout + p.stderr))
        if shutil.which('lintian'):
            p = run(['lintian', self.deb])
            errors = [l for l in p.stdout.splitlines() if l.startswith('E:')]
            results.append(('lintian', len(errors), '\n'.join(errors)))
        for tool, status, text in results:
            self.assertEqual(status, 0, f'{tool}:\n{text}')
        if len(results) < 3:
            self.skipTest('desktop-file-validate, appstreamcli or lintian is not installed '
                          '(scripts/install-deps.sh installs them)')

    def test_man_pages_name_every_option(self):
        """Every long option a program's help names is in its man page."""
        for program, commands in (('kelvane', [[]]), ('kelvane-cli', [[], ['run'], ['asm'], ['disasm'], ['basic']])):
            with gzip.open(self.installed(f'usr/share/man/man1/{program}.1.gz'), 'rt') as f:
                page = f.read().replace('\\-', '-')
            self.assertIn(f'Kelvane {VERSION}', page)
            for command in commands:
                p = run([self.installed('usr/bin/' + program)] + command + ['--help'],
                        env=dict(os.environ, QT_QPA_PLATFORM='offscreen'))
                self.assertEqual(p.returncode, 0, p.stderr)
                options = set(re.findall(r'--[a-z][a-z-]*', p.stdout))
                self.assertTrue(options)
                for option in options:
                    self.assertIn(option, page, f'{program} {" ".join(command)}')

    def test_cli_on_installed_examples(self):
        p = run([self.cli, 'run', os.path.join(self.examples, 'add.hex'), '--terminal', '01'])
        self.assertEqual((p.returncode, p.stdout), (0, '\x08'))  # 5 + 3 sent to the terminal
        with tempfile.TemporaryDirectory() as d:
            source = shutil.copy(os.path.join(self.examples, 'asm_tour.asm'), d)
            p = run([self.cli, 'asm', source])
            self.assertEqual(p.returncode, 0, p.stderr)
            self.assertTrue(os.path.getsize(os.path.join(d, 'asm_tour.obj')) > 0)
            grading = os.path.join(self.examples, 'grading')
            p = run(['bash', os.path.join(grading, 'grade.sh'), os.path.join(grading, 'lab1/students'),
                     os.path.join(grading, 'lab1/expected.json'), '--terminal', '01'],
                    env=dict(os.environ, KELVANE_CLI=self.cli))
            self.assertEqual(p.stdout.splitlines()[-1], '1 of 3 programs pass.', p.stdout + p.stderr)

    def test_help_and_version_without_a_display(self):
        env = {k: v for k, v in os.environ.items() if k not in ('DISPLAY', 'WAYLAND_DISPLAY', 'QT_QPA_PLATFORM')}
        p = run([self.kelvane, '--version'], env=env)
        self.assertEqual((p.returncode, p.stdout, p.stderr), (0, f'kelvane {VERSION}\n', ''))
        p = run([self.kelvane, '--help'], env=env)
        self.assertEqual((p.returncode, p.stderr), (0, ''))
        self.assertRegex(p.stdout, r'^Usage: .*kelvane \[options\] \[FILE\.\.\.\]\n')


class Running(unittest.TestCase):
    """The installed kelvane with a program, and second starts beside it."""

    @classmethod
    def setUpClass(cls):
        extract(cls)
        if 'DBUS_SESSION_BUS_ADDRESS' not in os.environ:
            raise unittest.SkipTest('no session bus: run under dbus-run-session')
        home = os.path.join(cls.tmp.name, 'home')
        runtime = os.path.join(home, 'runtime')
        os.makedirs(runtime, mode=0o700)
        cls.env = dict(os.environ, HOME=home, XDG_CONFIG_HOME=os.path.join(home, 'config'),
                       XDG_DATA_HOME=os.path.join(home, 'data'), XDG_RUNTIME_DIR=runtime,
                       QT_QPA_PLATFORM='offscreen', KELVANE_UPDATE_HOST='127.0.0.1:9')
        cls.first = subprocess.Popen([cls.kelvane, os.path.join(cls.examples, 'sum.hex')], env=cls.env,
                                     stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    @classmethod
    def tearDownClass(cls):
        cls.first.send_signal(signal.SIGTERM)
        cls.first.wait(timeout=30)
        cls.tmp.cleanup()

    def getmem(self, address):
        p = run(['dbus-send', '--session', '--print-reply=literal', '--dest=ikelvane.server', '/server',
                 'ikelvane._server.getmem', f'int32:{address}'])
        return int(p.stdout.split()[1]) if p.returncode == 0 else None

    def image(self, name):
        with open(os.path.join(self.examples, name), 'rb') as f:
            return f.read()

    def memory_becomes(self, image, cleared=b''):
        """True when memory holds every non-zero byte of `image` and nothing of `cleared` beyond it."""
        addresses = {a for a, b in enumerate(cleared) if b} | {a for a, b in enumerate(image) if b}
        wanted = {a: image[a] if a < len(image) else 0 for a in addresses}
        deadline = time.monotonic() + 20
        while time.monotonic() < deadline:
            if all(self.getmem(a) == b for a, b in sorted(wanted.items())):
                return True
            time.sleep(0.2)
        return False

    def second(self, *files):
        p = subprocess.run([self.kelvane] + list(files), env=self.env, capture_output=True, text=True, timeout=30)
        return p.returncode

    def test_program_on_the_command_line_then_handed_over(self):
        self.assertTrue(self.memory_becomes(self.image('sum.obj')), 'sum.hex was not loaded at start')
        # A second start with another program hands it over and ends.
        self.assertEqual(self.second(os.path.join(self.examples, 'add.hex')), 0)
        self.assertTrue(self.memory_becomes(self.image('add.obj'), cleared=self.image('sum.obj')),
                        'add.hex was not loaded by the running Kelvane')
        # A start without files brings the running window forward and ends; the first one goes on.
        self.assertEqual(self.second(), 0)
        self.assertIsNone(self.first.poll())
        self.assertEqual(self.getmem(0), self.image('add.obj')[0])


if __name__ == '__main__':
    unittest.main()
