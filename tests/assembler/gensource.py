"""A random assembler source with the tricky forms mixed in: register-like and over-long labels,
indented EQU, every literal form, one-operator expressions, lists with strings and commas, .ORG
near FFFF, comments, and CR LF, LF or lone CR line ends."""
import random, sys
rng = random.Random(1)
LABELS = ["LP", "X", "Y", "TEN", "lab", "LAB", "B", "A", "FFH", "_q", "START", "Z9", "a_very_long_label_name_of_32_chr", "a_very_long_label_name_of_33_chrs", "SP", "EQU", "NOP", "X,Y", "L-1", "10H"]
MN = ["MOV", "MVI", "LXI", "JMP", "JNZ", "CALL", "RST", "DB", ".DB", ".DW", "DW", ".DEFB", "DEFW", ".DS", "DS", ".ORG", "ORG", "EQU", ".EQU", ".END", "END",
      "ADI", "CPI", "IN", "OUT", "LDA", "STA", "SHLD", "PUSH", "POP", "INX", "DAD", "RET", "NOP", "HLT", "ADD", "INR", "mov", "mvi", "db", "Foo", "LDAX", "RIM"]
REG = ["A", "B", "C", "D", "E", "H", "L", "M", "SP", "PSW", "a", "b", "psw", "sp"]
NUMS = ["0", "5", "-1", "255", "256", "-128", "-129", "65535", "65536", "0FFH", "FFH", "0ffh", "1234H", "10000H", "H", "0H", "1010B", "0B", "12B", "B",
        "'A'", "'a'", "-'A'", "\"x\"", "'''", "' '", "12.5", "1.5", "0.5", ".5", "1E3", "7X", "--5", "-+5", "+5", "$", "$+3", "$-2", "3+$", "5/0", "7/2",
        "-7/2", "1000*100", "1000*101", "2*3+1", "A+B+C", "5--3", "5+-3", "-5-3", "5 + 3", "'+'", "'+'+1", "0FFFFH", "0FFF0H", "0FFFEH", "100H", "',", "';'",
        "\"HELLO\"", "'AB'", "\"A B\"", "''", "0FFFFH*0FFFFH", "1E-05", "00012", "65535.5"]
def operand():
    k = rng.random()
    if k < 0.25: return rng.choice(REG)
    if k < 0.55: return rng.choice(NUMS)
    if k < 0.8:
        l = rng.choice(LABELS)
        return rng.choice([l, "-" + l, l + "+1", l + "-1", l + "*2", l + "/3", "+" + l])
    return rng.choice(NUMS) + rng.choice(["+", "-", "*", "/"]) + rng.choice(NUMS + LABELS)
def sep(): return rng.choice([" ", "\t", "  ", " \t"])
def line():
    k = rng.random()
    if k < 0.05: return ""
    if k < 0.08: return "; comment " + rng.choice(NUMS)
    lab = ""
    if rng.random() < 0.35:
        lab = rng.choice(LABELS) + rng.choice(["", ":", ":"])
    if rng.random() < 0.12:
        return rng.choice(["", "  "]) + (lab.rstrip(":") or "") + sep() + rng.choice(["EQU", ".EQU", "equ"]) + sep() + operand()
    if rng.random() < 0.05:
        return lab
    m = rng.choice(MN)
    nops = rng.choice([0, 1, 1, 2, 2, 3])
    ops = [operand() for _ in range(nops)]
    if m.upper().lstrip(".") in ("DB", "DW", "DEFB", "DEFW") and rng.random() < 0.7:
        ops = [operand() for _ in range(rng.choice([1, 2, 4, 8, 9, 16, 17]))]
    if m.upper().lstrip(".") == "ORG" and rng.random() < 0.5:
        ops = [rng.choice(["0FFF0H", "0FFFEH", "0FFFFH", "0", "100H", "0FFFDH"])]
    body = m + (sep() + (rng.choice([",", ", ", " ,"])).join(ops) if ops else "")
    if rng.random() < 0.2: body += sep() + ";" + rng.choice(NUMS)
    if rng.random() < 0.03: body += "   "
    return lab + sep() + body if lab else sep() + body
def source(seed):
    rng.seed(seed)
    n = rng.randrange(0, 80)
    ends = rng.choice(["\r\n", "\n", "\r\n", "mixed"])
    out = ""
    for _ in range(n):
        out += line() + (rng.choice(["\r\n", "\n", "\r"]) if ends == "mixed" else ends)
    if rng.random() < 0.3 and out: out = out.rstrip("\r\n")
    return out
if __name__ == "__main__":
    sys.stdout.write(source(int(sys.argv[1])))
