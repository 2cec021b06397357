#!/usr/bin/env python3
"""The Debian package unpacked into a temporary root (dpkg-deb -x) and used from there. The running
kelvane's memory is read through the automation server ikelvane.server, as any program on the
bus reads it; run on a private bus (dbus-run-session).
Usage: test_package.py PACKAGE_FOLDER VERSION DATA_FOLDER"""
import glob, gzip, os, re, shutil, signal, struct, subprocess, sys, tempfile, time, unittest

FOLDER, VERSION, DATA = sys.argv.pop(1), sys.argv.pop(1), sys.argv.pop(1)
TMP = tempfile.TemporaryDirectory()
ROOT = os.path.join(TMP.name, 'root')
DEB = os.path.abspath((glob.glob(os.path.join(FOLDER, '*.deb')) + [''])[0])
EXAMPLES, CLI, KELVANE = (os.path.join(ROOT, p) for p in ('usr/share/kelvane/examples', 'usr/bin/kelvane-cli',
                                                         'usr/bin/kelvane'))


def setUpModule():
    subprocess.run(['dpkg-deb', '-x', DEB, ROOT], check=True)


def tearDownModule():
    TMP.cleanup()


def image(name):
    with open(os.path.join(EXAMPLES, name), 'rb') as f:
        return f.read()


def run(args, **kw):
    return subprocess.run(args, capture_output=True, text=True, timeout=120, **kw)


class Package(unittest.TestCase):
    def test_files_and_control(self):
        self.assertEqual(os.path.basename(DEB), f'kelvane_{VERSION}_amd64.deb')
        with open(os.path.join(DATA, 'contents.txt')) as f:
            for path in f.read().split():
                self.assertTrue(os.path.isfile(os.path.join(ROOT, path)), path)
        with open(os.path.join(ROOT, 'usr/share/icons/hicolor/256x256/apps/kelvane.png'), 'rb') as f:
            self.assertEqual(struct.unpack('>8x4x4sII', f.read(24)), (b'IHDR', 256, 256))
        control = {n: run(['dpkg-deb', '-f', DEB, n]).stdout.strip() for n in ('Package', 'Version', 'Depends')}
        self.assertEqual((control['Package'], control['Version']), ('kelvane', VERSION))
        depends = {d.split()[0] for d in control['Depends'].split(', ')}  # as dpkg-shlibdeps found them
        self.assertLessEqual({'libc6', 'libqt6widgets6', 'libqt6dbus6', 'libqscintilla2-qt6-15'}, depends)

    def test_validators(self):
        tools = [('desktop-file-validate', 'usr/share/applications/org.example.kelvane.desktop'),
                 ('appstreamcli', 'validate', '--no-net', 'usr/share/metainfo/org.example.kelvane.metainfo.xml'),
                 ('lintian', DEB)]
        missing = [t[0] for t in tools if not shutil.which(t[0])]
        for tool in tools:
            if tool[0] not in missing:
                p = run(list(tool[:-1]) + [os.path.join(ROOT, tool[-1])])
                errors = [l for l in p.stdout.splitlines() if l.startswith('E:')]
                self.assertEqual((p.returncode, errors), (0, []), p.stdout + p.stderr)
        if missing:
            self.skipTest(f'{", ".join(missing)} not installed (scripts/install-deps.sh installs them)')

    def test_man_pages_name_every_option_of_the_help(self):
        for program, commands in (('kelvane', ['']), ('kelvane-cli', ['', 'run', 'asm', 'disasm', 'basic'])):
            with gzip.open(os.path.join(ROOT, f'usr/share/man/man1/{program}.1.gz'), 'rt') as f:
                page = f.read().replace('\\-', '-')
            self.assertIn(f'Kelvane {VERSION}', page)
            for command in commands:
                p = run([os.path.join(ROOT, 'usr/bin', program)] + command.split() + ['--help'])
                self.assertEqual(p.returncode, 0, p.stderr)
                for option in set(re.findall(r'--[a-z][a-z-]*', p.stdout)):
                    self.assertIn(option, page, f'{program} {command}')

    def test_cli_on_the_installed_examples(self):
        p = run([CLI, 'run', os.path.join(EXAMPLES, 'add.hex'), '--terminal', '01'])
        self.assertEqual((p.returncode, p.stdout), (0, '\x08'))  # 5 + 3 sent to the terminal
        source = shutil.copy(os.path.join(EXAMPLES, 'asm_tour.asm'), TMP.name)
        self.assertEqual(run([CLI, 'asm', source]).returncode, 0)
        lab = os.path.join(EXAMPLES, 'grading/lab1')
        p = run([os.path.join(EXAMPLES, 'grading/grade.sh'), os.path.join(lab, 'students'),
                 os.path.join(lab, 'expected.json'), '--terminal', '01'], env=dict(os.environ, KELVANE_CLI=CLI))
        self.assertEqual(p.stdout.splitlines()[-1:], ['1 of 3 programs pass.'], p.stderr)

    def test_help_and_version_without_a_display(self):
        env = {k: v for k, v in os.environ.items() if k not in ('DISPLAY', 'WAYLAND_DISPLAY', 'QT_QPA_PLATFORM')}
        self.assertEqual(run([KELVANE, '--version'], env=env).stdout, f'kelvane {VERSION}\n')
        p = run([KELVANE, '--help'], env=env)
        self.assertEqual(p.returncode, 0)
        self.assertRegex(p.stdout, r'^Usage: .*kelvane \[options\] \[FILE\.\.\.\]\n')

    def test_started_with_a_program_then_handed_another(self):
        home = os.path.join(TMP.name, 'home')
        os.makedirs(os.path.join(home, 'run'), mode=0o700)
        env = dict(os.environ, HOME=home, XDG_CONFIG_HOME=home + '/config', XDG_DATA_HOME=home + '/data',
                   XDG_RUNTIME_DIR=home + '/run', QT_QPA_PLATFORM='offscreen')
        start = lambda *files: subprocess.Popen([KELVANE] + [os.path.join(EXAMPLES, f) for f in files], env=env,
                                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        first = start('sum.hex')
        try:
            sum_, add = (image(n) for n in ('sum.obj', 'add.obj'))
            self.assertTrue(self.memory_becomes(sum_), 'sum.hex was not loaded at start')
            self.assertEqual(start('add.hex').wait(30), 0)  # handed over; the second start ends
            self.assertTrue(self.memory_becomes(add, sum_), 'add.hex was not loaded by the running Kelvane')
            self.assertEqual(start().wait(30), 0)  # no file: the running window is raised
            self.assertIsNone(first.poll())
        finally:
            first.send_signal(signal.SIGTERM)
            first.wait(30)

    def memory_becomes(self, image, before=b''):
        """Memory comes to hold `image` where it or the image `before` it has non-zero bytes."""
        wanted = {a: image[a] if a < len(image) else 0 for a in range(max(len(image), len(before)))
                  if (image[a:a + 1] + before[a:a + 1]).strip(b'\0')}
        for _ in range(100):
            got = [run(['dbus-send', '--session', '--print-reply=literal', '--dest=ikelvane.server', '/server',
                        'ikelvane._server.getmem', f'int32:{a}']).stdout.split()[1:2] for a in sorted(wanted)]
            if got == [[str(wanted[a])] for a in sorted(wanted)]:
                return True
            time.sleep(0.2)
        return False


if __name__ == '__main__':
    if 'DBUS_SESSION_BUS_ADDRESS' not in os.environ:
        sys.exit('run under dbus-run-session')
    unittest.main()
