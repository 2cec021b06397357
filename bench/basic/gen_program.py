#!/usr/bin/env python3
"""Writes a large BASIC source for timing: LINES lines declaring VARIABLES variables (Integer,
Short and Boolean scalars and arrays), then a mix of every statement form: assignments with
literals of every spelling, arithmetic, logic, Not, SetBit, Put, Get, Peek, Poke, Print, If and
While blocks, For loops, line labels with Goto and Gosub, comments and blank lines. The source
compiles without an error. Usage: gen_program.py LINES VARIABLES OUT.bas"""
import random
import sys


def main():
    lines = int(sys.argv[1]) if len(sys.argv) > 1 else 20000
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 2000
    out = sys.argv[3] if len(sys.argv) > 3 else 'bench.bas'
    rng = random.Random(8085)
    kinds = ['Integer', 'Short', 'Boolean']
    names = {t: [] for t in kinds}
    src = []
    for n in range(count):
        t = kinds[n % 3]
        name = 'v%d_%s' % (n, t[0].lower())
        names[t].append(name)
        src.append('Dim %s%s As %s' % (name, '(4)' if n % 10 == 9 else '', t))
    arrays = {t: [v for v in names[t] if int(v[1:v.index('_')]) % 10 == 9] for t in kinds}
    scalars = {t: [v for v in names[t] if v not in arrays[t]] for t in kinds}
    src += ['Const c%d = %d' % (n, rng.randrange(1000)) for n in range(50)]
    labels = ['lab%d' % n for n in range(500)]
    defined = 0

    def operand(t):
        r = rng.randrange(8)
        if r == 0 and arrays[t]:
            return '%s(%d)' % (rng.choice(arrays[t]), rng.randrange(4))
        if r == 1 and arrays[t]:
            return '%s(%s)' % (rng.choice(arrays[t]), rng.choice(scalars['Integer']))
        if r == 2:
            if t == 'Boolean':
                return rng.choice(['True', 'False', '0', '1'])
            v = rng.randrange(100)
            return rng.choice([str(v), '-%d' % v, '0%XH' % v, '0x%x' % v, '%%%s' % bin(v)[2:],
                               '"%s"' % chr(65 + v % 26),
                               'c%d' % rng.randrange(50) if t == 'Integer' else str(v)])
        return rng.choice(scalars[t])

    depth = []
    while len(src) < lines - len(depth) - 1:
        k = rng.randrange(16)
        t = rng.choice(['Integer', 'Short'])
        label = ''
        if defined < len(labels) and rng.randrange(40) == 0:
            label = labels[defined] + ': '
            defined += 1
        if k < 3:
            stmt = '%s = %s' % (rng.choice(scalars[t]), operand(t))
        elif k < 5:
            op = rng.choice(['+', '-', '*', '/', 'Mod'])
            stmt = '%s = %s %s %s' % (rng.choice(scalars[t]), operand(t), op, operand(t))
        elif k == 5:
            tt = rng.choice(['Short', 'Boolean'])
            op = rng.choice(['And', 'Or', 'Xor', 'Nand'])
            stmt = '%s = %s %s %s' % (rng.choice(scalars[tt]), operand(tt), op, operand(tt))
        elif k == 6:
            stmt = rng.choice(['%s = Not %s' % (rng.choice(scalars['Short']), operand('Short')),
                               'SetBit %s, %d' % (rng.choice(scalars['Short']), rng.randrange(8)),
                               'Put 10H, %s' % operand('Short'), '%s = Get(20H)' % rng.choice(scalars['Short']),
                               '%s = Peek(%s)' % (rng.choice(scalars['Integer']), operand('Integer')),
                               'Poke 7000H, %s' % operand('Short')])
        elif k == 7:
            stmt = 'Print 1, "value", %s, CrLf' % rng.choice(scalars[rng.choice(kinds)])
        elif k == 8 and len(depth) < 20:
            stmt = 'If %s %s %s Then' % (rng.choice(scalars[t]), rng.choice(['=', '<>', '<', '>=']), operand(t))
            depth.append('Endif')
        elif k == 9 and len(depth) < 20:
            stmt = 'While %s' % rng.choice(scalars['Boolean'])
            depth.append('Wend')
        elif k == 10 and len(depth) < 20:
            i = rng.choice(scalars['Integer'])
            stmt = 'For %s = 1 To %s Step %s' % (i, operand('Integer'), rng.choice(['1', '-1', '2', '-3']))
            depth.append('Next %s' % i)
        elif k == 11 and depth:
            stmt = depth.pop()
        elif k == 12 and defined:
            stmt = '%s %s' % (rng.choice(['Goto', 'Gosub']), labels[rng.randrange(defined)])
        elif k == 13:
            stmt = "' a comment line"
        elif k == 14:
            stmt = ''
        else:
            stmt = 'Return'
        if not stmt and label:
            stmt = 'End'
        src.append(label + stmt)
    src += list(reversed(depth)) + ['End']
    with open(out, 'w', newline='') as f:
        f.write('\r\n'.join(src) + '\r\n')


if __name__ == '__main__':
    main()
