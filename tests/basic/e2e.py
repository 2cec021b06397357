#!/usr/bin/env python3
"""Compiles, assembles and runs the recorded BASIC programs and compares the terminal text with
what each program means. A program that subtracts gets one assembler error, on its "SSB H" line,
which is corrected to "SBB H" as a user would. Usage: e2e.py KELVANE_CLI PROGRAMS.jsonl"""
import concurrent.futures
import json
import os
import subprocess
import sys
import tempfile


def cli(*args):
    p = subprocess.run([sys.argv[1]] + list(args), capture_output=True, timeout=60)
    return p.returncode, p.stdout, p.stderr.decode('latin-1')


def check(rec, d):
    src = os.path.join(d, 'prog.bas')
    with open(src, 'w', newline='') as f:
        f.write(rec['source'])
    code, _, err = cli('basic', src)
    if code != 0:
        return 'compile: ' + err
    asm = os.path.join(d, 'prog.asm')
    code, _, err = cli('asm', asm)
    with open(asm, 'rb') as f:
        lines = f.read().split(b'\r\n')
    ssb = [n + 1 for n, l in enumerate(lines) if l == b'\tSSB H']
    if rec['subtracts']:
        want = '%s:%d: Error: Unrecognized instruction.\nNumber of errors = 1\n' % (asm, ssb[0]) if ssb else '?'
        if len(ssb) != 1 or code != 1 or err != want:
            return 'SSB line %s, assembler said %r' % (ssb, err)
        lines[ssb[0] - 1] = b'\tSBB H'
        with open(asm, 'wb') as f:
            f.write(b'\r\n'.join(lines))
        code, _, err = cli('asm', asm)
    if code != 0 or ssb and not rec['subtracts']:
        return 'assemble: ' + err
    code, out, err = cli('run', os.path.join(d, 'prog.obj'), '--terminal', rec['port'],
                         '--max-instructions', '20000000')
    if code != 0 or 'executed instructions is 20000000.' in err:
        return 'run: ' + err
    if out != rec['expect'].encode('latin-1'):
        return 'terminal %r, expected %r' % (out, rec['expect'])
    return None


def checked(rec):
    with tempfile.TemporaryDirectory() as d:
        return rec['seed'], check(rec, d)


def main():
    with open(sys.argv[2]) as f:
        records = [json.loads(line) for line in f]
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        problems = [(seed, p) for seed, p in pool.map(checked, records) if p]
    for seed, problem in problems:
        print('seed %d: %s' % (seed, problem))
    print('%d programs, %d failed' % (len(records), len(problems)))
    sys.exit(1 if problems else 0)


if __name__ == '__main__':
    main()
