#!/usr/bin/env python3
"""Writes seeded BASIC programs with the terminal text each one means: the values are worked out
here as the statements state them (16-bit two's complement, a Short stored as its low byte and
read sign extended, a remainder with the quotient's sign). Usage: gen_e2e.py COUNT OUT.jsonl"""
import json
import random
import sys


class Unsafe(Exception):
    """A choice the program can't carry: zero divisor, far-apart comparison, endless loop..."""


def s16(v):
    v &= 0xFFFF
    return v - 0x10000 if v & 0x8000 else v


def sx8(b):
    return s16(b | 0xFF00) if b & 0x80 else b


def divide(a, b):
    a, b = s16(a), s16(b)
    if b == 0 or -32768 in (a, b):
        raise Unsafe
    q, r = abs(a) // abs(b), abs(a) % abs(b)
    return (-q, -r) if (a < 0) != (b < 0) else (q, r)


def compare(op, a, b):
    a, b = s16(a), s16(b)
    if abs(a - b) >= 32768:
        raise Unsafe
    return {'=': a == b, '<>': a != b, '<': a < b, '<=': a <= b, '>': a > b, '>=': a >= b}[op]


def show(t, v):
    if t == 'Boolean':
        return '1' if v & 0x80 else '0'
    if s16(v) == -32768:
        raise Unsafe
    return str(s16(v))


ARITH = {'+': lambda a, b: a + b, '-': lambda a, b: a - b, '*': lambda a, b: a * b,
         '/': lambda a, b: divide(a, b)[0], 'Mod': lambda a, b: divide(a, b)[1]}
LOGIC = {'And': lambda a, b: a & b, 'Or': lambda a, b: a | b, 'Xor': lambda a, b: a ^ b,
         'Nand': lambda a, b: ~(a & b), 'Nor': lambda a, b: ~(a | b), 'Nxor': lambda a, b: ~(a ^ b)}
MASK = {'Integer': 0xFFFF, 'Short': 0xFF, 'Boolean': 0xFF}
TEXT = 'abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.:;!?-+=*/#,\'  '


def run_all(parts, s, out):
    for p in parts:
        p(s, out)


class Program:
    def __init__(self, seed):
        self.r = r = random.Random(seed)
        self.port = r.choice([1, 2, 0x10, 0x1F, 0x80, 0xA5, 0xFE])
        names = r.sample(['a', 'b', 'c', 'x1', 'y_2', '_t', 'val', 'n9', 'q', 'w', 'zz', 'h2'], 12)
        kinds = ['Integer'] * 5 + ['Short'] * 4 + ['Boolean'] * 3
        self.types = dict(zip(names, kinds))
        self.step = names[4]  # holds a positive step for "Step k" and "Step -k"
        self.arrays = {'arr': ('Integer', 8), 'sb': ('Short', 6)}
        self.counters, self.consts = ['i', 'j', 'k'], {}
        self.labels, self.subs, self.depth = 0, [], 0
        self.subtracts = False

    def label(self):
        self.labels += 1
        return self.r.choice(['l', 'lab_', 'again']) + str(self.labels)

    def var(self, t):
        return self.r.choice([n for n, v in self.types.items() if v == t and n != self.step])

    def literal(self, t, v):
        """A spelling of v that reads back in type t, and its value as loaded into HL."""
        loaded = {'Integer': v & 0xFFFF, 'Short': sx8(v & 0xFF) & 0xFFFF, 'Boolean': 0xFF if v else 0}[t]
        if t == 'Boolean':
            return self.r.choice([['False', '0', '%0', '0H'], ['True', '1', '1B', '0x1']][v]), loaded
        m = abs(v)
        forms = [str(m), '%XH' % m, '0%XH' % m, '0x%x' % m, '%%%s' % bin(m)[2:], '%sB' % bin(m)[2:]]
        if 33 <= m < 127 and chr(m) not in '"(),':
            forms.append('"%s"' % chr(m))
        forms += [k for k, c in self.consts.items() if c == m and (t == 'Integer' or c < 256)]
        return ('-' if v < 0 else '') + self.r.choice(forms), loaded

    def loader(self, t, key):
        return (lambda s: sx8(s[key]) & 0xFFFF) if t == 'Short' else (lambda s: s[key])

    def operand(self, t, named=False):
        """A variable, array element or literal of type t: its text and its value as loaded."""
        k = self.r.randrange(6)
        if k < 2 and not named:
            lo, hi = {'Integer': (-300, 300), 'Short': (-128, 255), 'Boolean': (0, 1)}[t]
            text, value = self.literal(t, self.r.randint(lo, hi))
            return text, lambda s: value
        arrays = [a for a, (at, _) in self.arrays.items() if at == t]
        if k == 2 and arrays:
            a = self.r.choice(arrays)
            i = self.r.randrange(self.arrays[a][1])
            return '%s(%d)' % (a, i), self.loader(t, (a, i))
        name = self.var(t)
        return name, self.loader(t, name)

    def target(self, t):
        """A variable or element (by a counter) of type t and a writer of a loaded value."""
        arrays = [a for a, (at, _) in self.arrays.items() if at == t]
        if arrays and self.r.random() < 0.3:
            a, idx = self.r.choice(arrays), self.r.choice(self.counters)

            def put(s, v):
                i = s16(s[idx])
                if not 0 <= i < self.arrays[a][1]:
                    raise Unsafe
                s[(a, i)] = v & MASK[t]
            return '%s(%s)' % (a, idx), put
        name = self.var(t)
        return name, lambda s, v: s.__setitem__(name, v & MASK[t])

    # ---- simple statements: (lines, action(state, out)) ----
    def assign(self):
        t = self.r.choice(['Integer', 'Short', 'Boolean'])
        x, put = self.target(t)
        other = {'Integer': 'Short', 'Short': 'Integer'}.get(t, t)
        y, get = self.operand(t) if self.r.random() < 0.6 else self.operand(other, named=True)
        return ['%s = %s' % (x, y)], lambda s, o: put(s, get(s))

    def arith(self):
        t, op = self.r.choice(['Integer', 'Short']), self.r.choice(list(ARITH))
        x, put = self.target(t)
        (a, ga), (b, gb) = self.operand(t), self.operand(t)
        self.subtracts |= op == '-'
        return ['%s = %s %s %s' % (x, a, op, b)], lambda s, o: put(s, ARITH[op](ga(s), gb(s)))

    def logic(self):
        t = self.r.choice(['Short', 'Boolean'])
        x, put = self.target(t)
        a, ga = self.operand(t)
        if self.r.random() < 0.3:
            return ['%s = Not %s' % (x, a)], lambda s, o: put(s, ~ga(s))
        op, (b, gb) = self.r.choice(list(LOGIC)), self.operand(t)
        return ['%s = %s %s %s' % (x, a, op, b)], lambda s, o: put(s, LOGIC[op](ga(s), gb(s)))

    def bits(self):
        x, n, on = self.var('Short'), self.r.randrange(8), self.r.random() < 0.5
        word = 'SetBit' if on else 'ResetBit'
        return ['%s %s, %s' % (word, x, self.literal('Short', n)[0])], \
            lambda s, o: s.__setitem__(x, (s[x] | 1 << n) if on else (s[x] & ~(1 << n)))

    def print_(self):
        items, parts = [], []
        for _ in range(self.r.randint(1, 4)):
            k = self.r.randrange(5)
            if k == 0:
                text = ''.join(self.r.choice(TEXT) for _ in range(self.r.randrange(7)))
                items.append('"%s"' % text)
                parts.append(lambda s, text=text: text)
            elif k == 1:
                items.append(self.r.choice(['CrLf', 'Lf']))
                parts.append(lambda s, v=items[-1]: '\r\n' if v == 'CrLf' else '\n')
            else:
                t = self.r.choice(['Integer', 'Short', 'Boolean'])
                text, get = self.operand(t, named=True)
                items.append(text)
                parts.append(lambda s, t=t, get=get: show(t, get(s)))
        port = self.r.choice(['%d' % self.port, '0%XH' % self.port, '0x%x' % self.port])
        sep = [self.r.choice([', ', ',', ' ']) if i.startswith('"') else self.r.choice([', ', ','])
               for i in items]
        line = 'Print %s, ' % port + ''.join(i + s for i, s in zip(items, sep)).rstrip(', ')
        return [line], lambda s, o: o.extend(p(s) for p in parts)

    def simple(self):
        return self.r.choice([self.assign, self.arith, self.arith, self.logic, self.bits,
                              self.print_, self.print_])()

    # ---- compound statements ----
    def body(self, n=None):
        lines, parts = [], []
        self.depth += 1
        for _ in range(n if n is not None else self.r.randint(1, 3)):
            l, p = self.statement() if self.depth < 3 and self.r.random() < 0.2 else self.simple()
            lines += ['  ' + x for x in l]
            parts.append(p)
        self.depth -= 1
        return lines, lambda s, o: run_all(parts, s, o)

    def condition(self):
        """The text between If/While and Then, and its truth on a state."""
        t = self.r.choice(['Integer', 'Short', 'Boolean', 'Bit'])
        if t == 'Bit':
            x, get = self.operand('Boolean', named=True)
            neg = self.r.random() < 0.5
            return ('Not ' if neg else '') + x, lambda s: bool(get(s) & 0x80) != neg
        a, ga = self.operand(t, named=True)
        b, gb = self.operand(t)
        if self.r.random() < 0.5:
            (a, ga), (b, gb) = (b, gb), (a, ga)
        op = self.r.choice(['=', '<>'] if t == 'Boolean' else ['=', '<>', '<', '<=', '>', '>='])
        if t == 'Boolean':
            return '%s %s %s' % (a, op, b), lambda s: (ga(s) == gb(s)) == (op == '=')
        return '%s %s %s' % (a, op, b), lambda s: compare(op, ga(s), gb(s))

    def if_(self):
        cond, test = self.condition()
        then, run_then = self.body()
        if self.r.random() < 0.5:
            return ['If %s Then' % cond] + then + ['Endif'], \
                lambda s, o: run_then(s, o) if test(s) else None
        other, run_other = self.body()
        return ['If %s Then' % cond] + then + ['Else'] + other + ['Endif'], \
            lambda s, o: run_then(s, o) if test(s) else run_other(s, o)

    def while_(self):
        i = self.counters[self.depth]
        start, n = self.r.randint(-5, 5), self.r.randint(0, 5)
        body, run = self.body()
        inc = '  %s = %s + 1' % (i, i)
        if self.r.random() < 0.5:
            op = self.r.choice(['<', '<=', '<>'])
            lit = self.literal('Integer', start + n)[0]
            lines = ['%s = %s' % (i, start), 'While %s %s %s' % (i, op, lit)] + body + [inc, 'Wend']
            f = neg = None
        else:
            f, neg = self.var('Boolean'), self.r.random() < 0.5
            lines = ['%s = %s' % (i, start), '%s = %s' % (f, 'False' if neg else 'True'),
                     'While %s%s' % ('Not ' if neg else '', f)] + body + \
                [inc, '  If %s = %s Then' % (i, start + n), '    %s = %s' % (f, 'True' if neg else 'False'),
                 '  Endif', 'Wend']

        def loop(s, o):
            s[i] = start & 0xFFFF
            if f:
                s[f] = 0 if neg else 0xFF
            for _ in range(13):
                if not (compare(op, s[i], start + n) if not f else bool(s[f] & 0x80) != neg):
                    return
                run(s, o)
                s[i] = (s[i] + 1) & 0xFFFF
                if f and s16(s[i]) == start + n:
                    s[f] = 0xFF if neg else 0
            raise Unsafe
        return lines, loop

    def for_(self):
        i = self.counters[self.depth]
        a, b = self.r.randint(-6, 6), self.r.randint(-6, 6)
        kind = self.r.randrange(6)
        k = self.r.randint(2, 3)
        step, text = [(1, ''), (1, ' Step 1'), (-1, ' Step -1'), (k, ' Step %d' % k), (-k, ' Step -%d' % k),
                      (k, ' Step %s' % self.step)][kind]
        if kind == 5 and self.r.random() < 0.5:
            step, text = -k, ' Step -%s' % self.step
        self.subtracts |= step < -1
        body, run = self.body()
        lines = ['%s = %d' % (self.step, k), 'For %s = %s To %s%s' % (i, self.literal('Integer', a)[0],
                                                                     self.literal('Integer', b)[0], text)]
        lines += body + ['Next %s' % i]
        down = text.startswith(' Step -')
        by_var = kind == 5  # the body may change the step variable: each Next reads it again

        def loop(s, o):
            s[self.step] = k
            s[i] = a & 0xFFFF
            turns = 0
            while compare('>=' if down else '<=', s[i], b):
                turns += 1
                if turns > 12:
                    raise Unsafe
                run(s, o)
                s[i] = (s[i] + (step if not by_var else -s[self.step] if down else s[self.step])) & 0xFFFF
        return lines, loop

    def skip(self):
        lab = self.label()
        dead, _ = self.body(1)
        after, run = self.simple()
        form = self.r.choice(['Goto %s', 'If True Then %s', 'If True Then Goto %s'])
        return [form % lab] + dead + ['%s: %s' % (lab, after[0])], run

    def back(self):
        i, lab, n = self.counters[self.depth], self.label(), self.r.randint(1, 4)
        body, run = self.body()
        op, form = self.r.choice([('<', '%s < %d Then %s'), ('<>', '%s <> %d Then Goto %s')])
        lines = ['%s = 0' % i, '%s:' % lab] + body + ['%s = %s + 1' % (i, i), 'If ' + form % (i, n, lab)]

        def loop(s, o):
            s[i] = 0
            for _ in range(13):
                run(s, o)
                s[i] = (s[i] + 1) & 0xFFFF
                if not compare(op, s[i], n):
                    return
            raise Unsafe
        return lines, loop

    def gosub(self):
        lab = self.label()
        body, run = self.body()
        self.subs += ['%s:' % lab] + body + ['Return']
        calls = self.r.randint(1, 3)
        return ['Gosub %s' % lab] * calls, lambda s, o: [run(s, o) for _ in range(calls)]

    def memory(self):
        addr = 0x7000 + self.r.randrange(256)
        t = self.r.choice(['Integer', 'Short'])
        v, gv = self.operand(self.r.choice(['Integer', 'Short']))
        x = self.var(t)
        p = self.r.choice(['%XH' % addr, '0x%x' % addr, str(addr)])
        if self.r.random() < 0.5:
            holder = self.var('Integer')
            lines = ['%s = %s' % (holder, p), 'Poke %s, %s' % (holder, v), '%s = Peek(%s)' % (x, holder)]
        else:
            holder, lines = None, ['Poke %s, %s' % (p, v), '%s = Peek(%s)' % (x, p)]

        def run(s, o):
            if holder:
                s[holder] = addr
            s[x] = gv(s) & 0xFF
        return lines, run

    def ports(self):
        scratch = self.r.choice([0x20, 0x21, 0x3C])
        v, gv = self.operand('Short') if self.r.random() < 0.5 else self.operand('Integer', named=True)
        x = self.var(self.r.choice(['Integer', 'Short']))
        ch = self.r.choice('ABCxyz!#0')
        lines = ['Put %XH, %s' % (scratch, v), '%s = Get(%d)' % (x, scratch), 'Put %d, "%s"' % (self.port, ch)]
        return lines, lambda s, o: (s.__setitem__(x, gv(s) & 0xFF), o.append(ch))

    def statement(self):
        return self.r.choice([self.simple, self.simple, self.simple, self.if_, self.if_, self.while_,
                              self.for_, self.for_, self.skip, self.back, self.gosub, self.memory,
                              self.ports])()

    def build(self, count):
        lines = ['%s %s' % (l, 'As ' + t) for l, t in
                 [('Dim ' + n, t) for n, t in self.types.items()] +
                 [('Dim %s' % c, 'Integer') for c in self.counters] +
                 [('Dim %s(%d)' % (a, n), t) for a, (t, n) in self.arrays.items()]]
        for name in self.r.sample(['ten', 'big', 'm_1'], 2):
            self.consts[name] = self.r.choice([10, 65, 127, 200, 1000])
            lines.append('Const %s = %d' % (name, self.consts[name]))
        s, out = {}, []
        for n, t in list(self.types.items()) + [(c, 'Integer') for c in self.counters]:
            text, value = self.literal(t, self.r.randint(*{'Integer': (-99, 99), 'Short': (-128, 127),
                                                             'Boolean': (0, 1)}[t]))
            lines.append('%s = %s' % (n, text))
            s[n] = value & MASK[t]
        for a, (t, n) in self.arrays.items():
            lines += ['For i = 0 To %d' % (n - 1), '  %s(i) = i%s' % (a, ' * 7' if t == 'Integer' else ''), 'Next i']
            s.update({(a, e): e * (7 if t == 'Integer' else 1) for e in range(n)})
        done = 0
        while done < count:
            saved = (dict(s), list(out), list(self.subs), self.labels, self.subtracts)
            new, run = self.statement()
            try:
                run(s, out)
            except (Unsafe, KeyError):
                s, out, self.subs, self.labels, self.subtracts = saved
                continue
            lines += new
            done += 1
        lines += ['End'] + self.subs
        return lines, ''.join(out)

    def text(self, lines):
        end = self.r.choice(['\r\n', '\n'])
        dressed = []
        for l in lines:
            k = self.r.randrange(10)
            pre = self.r.choice(['', '', '\t', ' '])
            note = " ' %s" % self.r.choice(['note', 'it\'s "so"', 'x = 1']) if k == 0 else ''
            dressed.append(pre + l.strip() + note + ('\t' if k == 1 else ''))
            if k == 2:
                dressed.append('')
        return end.join(dressed) + (end if self.r.random() < 0.8 else '')


def main():
    count, path = int(sys.argv[1]), sys.argv[2]
    with open(path, 'w') as f:
        for seed in range(1, count + 1):
            p = Program(seed)
            lines, expect = p.build(p.r.randint(5, 14))
            rec = {'seed': seed, 'port': '%02X' % p.port, 'subtracts': p.subtracts,
                   'source': p.text(lines), 'expect': expect}
            f.write(json.dumps(rec) + '\n')


if __name__ == '__main__':
    main()
