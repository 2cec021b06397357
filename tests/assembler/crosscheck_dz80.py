#!/usr/bin/env python3
"""Cross-check of the instruction encodings with an independent 8085 disassembler (dz80 from
the d52 package): every instruction form is written out with sample operands, assembled with
kelvane-cli, disassembled by dz80 -85, and each disassembled statement must read back as the
source statement. Exit 77 (skipped) when dz80 is not installed.
Usage: crosscheck_dz80.py KELVANE_CLI"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

REGS = "B C D E H L M A".split()
CONDS = "NZ Z NC C PO PE P M".split()


def forms():
    out = []
    for d in REGS:
        for s in REGS:
            if not (d == "M" and s == "M"):
                out.append("MOV %s,%s" % (d, s))
    for i, r in enumerate(REGS):
        out.append("MVI %s,%s" % (r, "%02XH" % (0x11 * i + 3)))
        for m in "INR DCR ADD ADC SUB SBB ANA XRA ORA CMP".split():
            out.append("%s %s" % (m, r))
    for i, p in enumerate("B D H SP".split()):
        out.append("LXI %s,%04XH" % (p, 0x1234 + 0x1111 * i))
        for m in "INX DCX DAD".split():
            out.append("%s %s" % (m, p))
    for p in "B D H PSW".split():
        out += ["PUSH " + p, "POP " + p]
    out += ["STAX B", "STAX D", "LDAX B", "LDAX D", "STA 2345H", "LDA 3456H", "SHLD 4567H",
            "LHLD 5678H", "XCHG", "XTHL", "SPHL", "PCHL", "JMP 6789H", "CALL 789AH", "RET",
            "IN 12H", "OUT 34H", "RLC", "RRC", "RAL", "RAR", "DAA", "CMA", "STC", "CMC", "EI",
            "DI", "NOP", "HLT", "RIM", "SIM"]
    for i, c in enumerate(CONDS):
        out += ["J%s %04XH" % (c, 0x1000 + i), "C%s %04XH" % (c, 0x2000 + i), "R" + c]
    for m in "ADI ACI SUI SBI ANI XRI ORI CPI".split():
        out.append("%s 5AH" % m)
    for n in range(8):
        out.append("RST %d" % n)
    return out


def normal(text):
    """Mnemonic and operands with every number as its value."""
    text = text.strip().upper()
    parts = text.split(None, 1)
    ops = parts[1].replace(" ", "").split(",") if len(parts) > 1 else []
    vals = []
    for o in ops:
        m = re.fullmatch(r"[XL]([0-9A-F]{4})", o)
        if m:
            vals.append(int(m.group(1), 16))
        elif re.fullmatch(r"[0-9][0-9A-F]*H", o):
            vals.append(int(o[:-1], 16))
        elif re.fullmatch(r"[0-9]+", o) and parts[0] != "RST":
            vals.append(int(o))
        else:
            vals.append(o)
    return (parts[0], tuple(vals))


def main():
    cli = sys.argv[1]
    dz80 = shutil.which("dz80")
    if dz80 is None:
        print("dz80 not installed; skipped")
        return 77
    src = forms()
    if len(src) != 246:
        print("expected 246 forms, have %d" % len(src))
        return 1
    with tempfile.TemporaryDirectory() as d:
        path = os.path.join(d, "all.asm")
        with open(path, "w") as f:
            f.write("".join("\t%s\r\n" % s for s in src))
        r = subprocess.run([cli, "asm", path], capture_output=True, text=True)
        if r.returncode != 0:
            print(r.stderr)
            return 1
        shutil.copy(os.path.join(d, "all.obj"), os.path.join(d, "all.bin"))
        subprocess.run([dz80, "-85", "-b", "-u", "all.bin"], cwd=d, capture_output=True)
        with open(os.path.join(d, "all.d85")) as f:
            dis = []
            for line in f:
                line = line.split(";")[0].rstrip()
                if not line.startswith("\t"):
                    continue
                stmt = line.strip().replace("\t", " ")
                if stmt.split()[0] in ("ORG", "END"):
                    continue
                dis.append(stmt)
    bad = 0
    for k, s in enumerate(src):
        got = dis[k] if k < len(dis) else "(missing)"
        if normal(s) != normal(got):
            print("source %-12s disassembled as %s" % (s, got))
            bad += 1
    if len(dis) != len(src):
        print("%d statements disassembled for %d written" % (len(dis), len(src)))
        bad += 1
    print("%d forms checked, %d differ" % (len(src), bad))
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
