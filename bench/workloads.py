#!/usr/bin/env python3
"""Writes the 8085 benchmark workloads as binary images (.obj) into the folder given.

Each workload is a list of instructions for the small encoder below; labels end in ':'.
delay.obj  - three nested delay loops (DCX/MOV/ORA/JNZ inner loop)
bubble.obj - bubble sort of 256 bytes filled in descending order, repeated
mul16.obj  - 16-bit shift-and-add multiply, repeated
"""
import sys, os

REG = {'B': 0, 'C': 1, 'D': 2, 'E': 3, 'H': 4, 'L': 5, 'M': 6, 'A': 7}
RP = {'B': 0, 'D': 1, 'H': 2, 'SP': 3, 'PSW': 3}
NOARG = {'NOP': 0x00, 'HLT': 0x76, 'RET': 0xC9, 'XCHG': 0xEB, 'RAL': 0x17, 'RAR': 0x1F,
         'RLC': 0x07, 'RRC': 0x0F, 'STC': 0x37, 'CMC': 0x3F, 'CMA': 0x2F}
ALU = ['ADD', 'ADC', 'SUB', 'SBB', 'ANA', 'XRA', 'ORA', 'CMP']
ALUI = {'ADI': 0xC6, 'ACI': 0xCE, 'SUI': 0xD6, 'SBI': 0xDE, 'ANI': 0xE6, 'XRI': 0xEE, 'ORI': 0xF6, 'CPI': 0xFE}
JMPS = {'JMP': 0xC3, 'JNZ': 0xC2, 'JZ': 0xCA, 'JNC': 0xD2, 'JC': 0xDA, 'CALL': 0xCD}


def assemble(lines):
    for pass_ in (1, 2):
        labels = {} if pass_ == 1 else labels
        out = []
        for line in lines:
            line = line.split(';')[0].strip()
            if not line:
                continue
            if line.endswith(':'):
                labels[line[:-1]] = len(out)
                continue
            mn, _, ops = line.partition(' ')
            ops = [o.strip() for o in ops.split(',')] if ops else []

            def val(t):
                if t in labels:
                    return labels[t]
                if pass_ == 1 and not t[0].isdigit():
                    return 0
                return int(t[:-1], 16) if t.endswith('H') else int(t)
            if mn in NOARG:
                out.append(NOARG[mn])
            elif mn == 'MOV':
                out.append(0x40 + REG[ops[0]] * 8 + REG[ops[1]])
            elif mn == 'MVI':
                out += [0x06 + REG[ops[0]] * 8, val(ops[1]) & 0xFF]
            elif mn == 'LXI':
                v = val(ops[1])
                out += [0x01 + RP[ops[0]] * 16, v & 0xFF, v >> 8]
            elif mn in ('INR', 'DCR'):
                out.append((0x04 if mn == 'INR' else 0x05) + REG[ops[0]] * 8)
            elif mn in ('INX', 'DCX', 'DAD'):
                out.append({'INX': 0x03, 'DCX': 0x0B, 'DAD': 0x09}[mn] + RP[ops[0]] * 16)
            elif mn in ('PUSH', 'POP'):
                out.append((0xC5 if mn == 'PUSH' else 0xC1) + RP[ops[0]] * 16)
            elif mn in ALU:
                out.append(0x80 + ALU.index(mn) * 8 + REG[ops[0]])
            elif mn in ALUI:
                out += [ALUI[mn], val(ops[0]) & 0xFF]
            elif mn in JMPS:
                v = val(ops[0])
                out += [JMPS[mn], v & 0xFF, v >> 8]
            else:
                raise SystemExit('unknown ' + line)
    return bytes(out)


DELAY = """
    LXI SP,0FFF0H
    MVI D,0         ; 256 outer passes
outer:
    LXI B,0FFFFH
inner:
    DCX B
    MOV A,B
    ORA C
    JNZ inner
    DCR D
    JNZ outer
    HLT
"""

BUBBLE = """
    LXI SP,0FFF0H
    MVI E,0         ; 256 repetitions
again:
    LXI H,1000H     ; fill 256 bytes descending
    MVI B,0
fill:
    MOV M,B
    DCR B
    INX H
    MOV A,L
    ORA A
    JNZ fill
pass:
    MVI D,0         ; swapped flag
    LXI H,1000H
    MVI C,255
cmp:
    MOV A,M
    INX H
    CMP M
    JC noswap
    JZ noswap
    MOV B,M
    MOV M,A
    DCX H
    MOV M,B
    INX H
    MVI D,1
noswap:
    DCR C
    JNZ cmp
    MOV A,D
    ORA A
    JNZ pass
    DCR E
    JNZ again
    HLT
"""

MUL16 = """
    LXI SP,0FFF0H
    MVI E,16        ; outer repetitions
    PUSH D
rep:
    LXI B,0         ; inner count in BC, 65536 multiplies
loop:
    PUSH B
    LXI D,1234H     ; multiplicand
    MVI A,0B7H      ; multiplier (8 bits) -> HL = DE * A
    LXI H,0
    MVI C,8
bit:
    DAD H
    RAL
    JNC skip
    DAD D
skip:
    DCR C
    JNZ bit
    POP B
    INX B
    MOV A,B
    ORA C
    JNZ loop
    POP D
    DCR E
    PUSH D
    JNZ rep
    HLT
"""

if __name__ == '__main__':
    folder = sys.argv[1] if len(sys.argv) > 1 else '.'
    os.makedirs(folder, exist_ok=True)
    for name, src in (('delay', DELAY), ('bubble', BUBBLE), ('mul16', MUL16)):
        with open(os.path.join(folder, name + '.obj'), 'wb') as f:
            f.write(assemble(src.splitlines()))
