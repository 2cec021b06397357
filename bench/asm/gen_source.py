#!/usr/bin/env python3
"""Writes a large assembler source for timing: LINES lines, LABELS labels, a mix of every
statement form (register, immediate, word and jump operands with forward and backward label
references, EQU, .DB/.DW lists with strings, comments, blank lines). The location counter goes
back to 0 with .ORG before it can pass FFFF, so the source assembles without errors."""
import random
import sys


def main():
    lines = int(sys.argv[1]) if len(sys.argv) > 1 else 200000
    labels = int(sys.argv[2]) if len(sys.argv) > 2 else 20000
    out = sys.argv[3] if len(sys.argv) > 3 else "bench.asm"
    rng = random.Random(8085)
    regs = "BCDEHLA"
    every = max(1, lines // labels)
    out_lines = []
    lc = 0
    defined = 0
    for n in range(lines):
        label = ""
        if n % every == 0 and defined < labels:
            label = "LBL%05d:" % defined
            defined += 1
        target = "LBL%05d" % rng.randrange(labels)
        k = rng.randrange(12)
        if lc > 60000:
            stmt, size = ".ORG 0", 0
            lc = 0
        elif k == 0:
            stmt, size = "MOV %s,%s" % (rng.choice(regs), rng.choice(regs)), 1
        elif k == 1:
            stmt, size = "MVI %s,%d" % (rng.choice(regs), rng.randrange(256)), 2
        elif k == 2:
            stmt, size = "LXI H,%s+%d" % (target, rng.randrange(100)), 3
        elif k == 3:
            stmt, size = "JNZ %s" % target, 3
        elif k == 4:
            stmt, size = "CALL %s" % target, 3
        elif k == 5:
            stmt, size = "ADI 0%02XH" % rng.randrange(256), 2
        elif k == 6:
            stmt, size = ".DB %d,'A',\"xyz\",%s-%s" % (rng.randrange(256), target, target), 6
        elif k == 7:
            stmt, size = ".DW %s,$+2,1010B" % target, 6
        elif k == 8:
            stmt, size = "LDA $-1", 3
        elif k == 9:
            stmt, size = "INX SP\t; step the stack", 1
        elif k == 10:
            stmt, size = "", 0
        else:
            stmt, size = "CPI '%s'" % rng.choice("abcXYZ019"), 2
        if label and k == 11 and lc <= 60000:
            # An EQU line defines its label by value instead of by address.
            out_lines.append("%s EQU %d" % (label.rstrip(":"), rng.randrange(60000)))
            continue
        out_lines.append(label + "\t" + stmt if stmt else label)
        lc += size
    with open(out, "w", newline="\r\n") as f:
        f.write("\n".join(out_lines) + "\n")
    print("%s: %d lines, %d labels" % (out, len(out_lines), defined))


if __name__ == "__main__":
    main()
