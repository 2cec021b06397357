"""A second, literal reading of the assembler rules in Python, kept apart from the C++ code, used
for differential runs: assemble(bytes) gives the .lst, .obj and .hex bytes."""
import math, sys

NOVALUE = 100000

def hexbyte(v): return ("0" + format(v & 0xFFFFFFFF, "X"))[-2:]
def hexword(v): return ("000" + format(v & 0xFFFFFFFF, "X"))[-4:]
def parsehexbyte(s):
    for v in range(256):
        if hexbyte(v) == s and len(s) == 2: return v
    return -1
HB = {hexbyte(v): v for v in range(256)}
def phb(s): return HB.get(s, -1) if len(s) == 2 else -1
def parsehexword(s):
    if len(s) != 4: return -1
    a, b = phb(s[:2]), phb(s[2:])
    if a < 0 or b < 0: return -1
    return a * 256 + b
def parsebinword(s):
    if len(s) != 16 or any(c not in "01" for c in s): return -1
    return int(s, 2)

def up(s): return "".join(chr(ord(c) - 32) if "a" <= c <= "z" else c for c in s)
def trim(s): return s.strip(" ")
def rtrim(s): return s.rstrip(" ")

def val(u):
    i = 0; t = ""
    if i < len(u) and u[i] in "+-": t += u[i]; i += 1
    d = False
    while i < len(u) and u[i].isdigit() and u[i] in "0123456789": t += u[i]; i += 1; d = True
    if i < len(u) and u[i] == ".":
        t += "."; i += 1
        while i < len(u) and u[i] in "0123456789": t += u[i]; i += 1; d = True
    if not d: return 0.0
    if i < len(u) and u[i] in "ED":
        j = i + 1; e = "E"
        if j < len(u) and u[j] in "+-": e += u[j]; j += 1
        ed = False
        while j < len(u) and u[j] in "0123456789": e += u[j]; j += 1; ed = True
        if ed: t += e
    try:
        return float(t)
    except Exception:
        return 0.0

def strnum(x):
    if x == 0 or math.isinf(x) or math.isnan(x): return "0"
    s = "%.15G" % x
    if s.startswith("0."): s = s[1:]
    elif s.startswith("-0."): s = "-" + s[2:]
    return s

def dropzeros(u):
    while len(u) > 1 and u[0] == "0": u = u[1:]
    return u

def parsenumber(s):
    k = s; u = up(s); neg = False
    if u[:1] == "-": neg = True
    if u[:1] in ("+", "-") and u: u = u[1:]
    if len(u) == 3 and ((u[0] == "'" and u[2] == "'") or (u[0] == '"' and u[2] == '"')):
        v = ord(k[1]) & 255 if isinstance(k, str) else k[1]
    elif u.endswith("H"):
        u = u[:-1]
        if u[:1] in ("A", "B", "C", "D", "E", "F") and u: return NOVALUE
        u = dropzeros(u)
        if len(u) > 4: return NOVALUE
        v = parsehexword(("000" + u)[-4:])
        if v < 0: return NOVALUE
    elif u.endswith("B"):
        u = dropzeros(u[:-1])
        if len(u) > 16: return NOVALUE
        v = parsebinword(("0" * 15 + u)[-16:])
        if v < 0: return NOVALUE
    else:
        u = dropzeros(u)
        x = val(u)
        if strnum(x) != u: return NOVALUE
        r = round(x)  # ties to even
        if not (r < 65536) or r < -2147483648: return NOVALUE
        v = int(r)
    if neg: v = -v
    if v < -2147483648 or v > 2147483647: return NOVALUE
    return v

def wrap32(v):
    v &= 0xFFFFFFFF
    return v - (1 << 32) if v & 0x80000000 else v

class Asm:
    def findlabel(self, t): return self.index.get(up(t), 0)
    def findsignedlabel(self, t):
        u = up(t)
        if u[:1] in ("-", "+") and u: u = u[1:]
        return self.index.get(u, 0)
    def evalx(self, s):
        i = self.findsignedlabel(s)
        if i >= 1:
            v = self.value[i]
            return wrap32(-v) if s[0] == "-" else v
        v = parsenumber(s)
        if v < NOVALUE: return v
        op = None; a = b = ""
        for c in "+-*/":
            p = s.find(c) + 1
            if p >= 2 and p < len(s):
                op = c; a = s[:p - 1]; b = s[p:]; break
        a = trim(a); b = trim(b)
        if op is None and s == "$": a, b, op = "$", "0", "+"
        if a == "$": a = str(self.lc)
        if a == "" or b == "": return NOVALUE
        def term(t):
            k = self.findlabel(t)
            return self.value[k] if k else parsenumber(t)
        va, vb = term(a), term(b)
        if va >= NOVALUE or vb >= NOVALUE: return NOVALUE
        if op == "+": return wrap32(va + vb)
        if op == "-": return wrap32(va - vb)
        if op == "*": return wrap32(va * vb)
        if vb == 0: return NOVALUE
        r = round(va / vb)
        if r < -2147483648 or r > 2147483647: return NOVALUE
        return r

REG = ["B", "C", "D", "E", "H", "L", "M", "A"]
PAIR = ["B", "D", "H", "SP"]
COND = ["NZ", "Z", "NC", "C", "PO", "PE", "P", "M"]
def table():
    t = {}
    for d in range(8):
        for s in range(8):
            if d == 6 and s == 6: continue
            t["MOV %s,%s" % (REG[d], REG[s])] = (0x40 + 8 * d + s, 1, "n")
    for r in range(8):
        t["MVI %s,*" % REG[r]] = (6 + 8 * r, 2, "b")
        t["INR " + REG[r]] = (4 + 8 * r, 1, "n"); t["DCR " + REG[r]] = (5 + 8 * r, 1, "n")
        for j, m in enumerate(["ADD", "ADC", "SUB", "SBB", "ANA", "XRA", "ORA", "CMP"]):
            t[m + " " + REG[r]] = (0x80 + 8 * j + r, 1, "n")
    for p in range(4):
        t["LXI %s,*" % PAIR[p]] = (1 + 16 * p, 3, "w")
        t["INX " + PAIR[p]] = (3 + 16 * p, 1, "n"); t["DCX " + PAIR[p]] = (0xB + 16 * p, 1, "n"); t["DAD " + PAIR[p]] = (9 + 16 * p, 1, "n")
    for p, n in enumerate(["B", "D", "H", "PSW"]):
        t["PUSH " + n] = (0xC5 + 16 * p, 1, "n"); t["POP " + n] = (0xC1 + 16 * p, 1, "n")
    for c in range(8):
        t["J%s *" % COND[c]] = (0xC2 + 8 * c, 3, "a"); t["C%s *" % COND[c]] = (0xC4 + 8 * c, 3, "a"); t["R" + COND[c]] = (0xC0 + 8 * c, 1, "n")
        t["RST %d" % c] = (0xC7 + 8 * c, 1, "n")
    for k, v in {"STAX B": 2, "STAX D": 0x12, "LDAX B": 0xA, "LDAX D": 0x1A, "XCHG": 0xEB, "XTHL": 0xE3, "SPHL": 0xF9, "PCHL": 0xE9,
                 "RET": 0xC9, "RLC": 7, "RRC": 0xF, "RAL": 0x17, "RAR": 0x1F, "DAA": 0x27, "CMA": 0x2F, "STC": 0x37, "CMC": 0x3F,
                 "EI": 0xFB, "DI": 0xF3, "NOP": 0, "HLT": 0x76, "RIM": 0x20, "SIM": 0x30}.items():
        t[k] = (v, 1, "n")
    for k, v in {"STA *": 0x32, "LDA *": 0x3A, "SHLD *": 0x22, "LHLD *": 0x2A}.items(): t[k] = (v, 3, "w")
    t["JMP *"] = (0xC3, 3, "a"); t["CALL *"] = (0xCD, 3, "a")
    for k, v in {"IN *": 0xDB, "OUT *": 0xD3, "ADI *": 0xC6, "ACI *": 0xCE, "SUI *": 0xD6, "SBI *": 0xDE, "ANI *": 0xE6, "XRI *": 0xEE, "ORI *": 0xF6, "CPI *": 0xFE}.items():
        t[k] = (v, 2, "b")
    assert len(t) == 246
    return t
TABLE = table()
DIR = {}
for n in ["ORG", "EQU", "DB", "DW", "DS", "DEFB", "DEFW", "DEFS"]:
    kind = {"DEFB": "DB", "DEFW": "DW", "DEFS": "DS"}.get(n, n)
    DIR["." + n + " *"] = kind; DIR[n + " *"] = kind
DIR[".END"] = "END"; DIR["END"] = "END"
assert len(DIR) == 18
LISTM = ["DB", ".DB", ".DEFB", "DEFB", ".DW", "DW", ".DEFW", "DEFW"]
LISTT = [m + " *" for m in LISTM]
REGW = ["A", "B", "C", "D", "E", "H", "L", "M", "SP", "PSW"]

def countitems(l, lim):
    n = 1 + l.count(",")
    return 0 if n > lim else n

def assemble(data):
    # lines
    text = data
    lines = []
    start = 0
    while start < len(text):
        nl = text.find(b"\n", start)
        if nl < 0:
            lines.append(text[start:]); break
        e = nl
        if e > start and text[e - 1:e] == b"\r": e -= 1
        lines.append(text[start:e]); start = nl + 1
    lines = [l.decode("latin-1") for l in lines]
    A = Asm(); A.index = {}; A.value = [0]; A.lc = 0
    n = len(lines)
    err = [""] * (n + 1); addr = [0] * (n + 1); tmpl = [""] * (n + 1); op1 = [""] * (n + 1); op2 = [""] * (n + 1); code = [""] * (n + 1)
    ec = [0]
    def seterr(i, m):
        err[i] = m; ec[0] += 1
    for i in range(1, n + 1):
        addr[i] = A.lc
        label = mn = r1 = r2 = ""
        t = lines[i - 1]
        p = t.find(";")
        if p >= 0: t = t[:p]
        t = rtrim(t.replace("\t", " "))
        if t:
            u = up(t)
            if " EQU " in u or " .EQU " in u:
                t = t.lstrip(" "); u = up(t)
            rest = t
            if ("A" <= u[0] <= "Z") or u[0] == "_":
                b = u.find(" ")
                if b < 0: label = u; rest = ""
                else: label = u[:b]; rest = t[b + 1:]
                if label.endswith(":"): label = label[:-1]
                if len(label) >= 33: seterr(i, "Labels can't be longer than 32 characters.")
                elif A.findlabel(label): seterr(i, "Duplicate label.")
                else:
                    A.value.append(NOVALUE); A.index[label] = len(A.value) - 1
                if err[i]: label = ""; rest = ""
            rest = trim(rest)
            if rest:
                b = rest.find(" ")
                if b < 0: mn = up(rest); ops = ""
                else: mn = up(rest[:b]); ops = trim(rest[b + 1:])
                if ops:
                    c = ops.find(",")
                    if c < 0: r1 = ops
                    else: r1 = trim(ops[:c]); r2 = trim(ops[c + 1:])
                if mn in LISTM:
                    if r2: r1 = r1 + "," + r2; r2 = ""
                    items = []
                    for it in r1.split(","):
                        it = trim(it)
                        if len(it) >= 4 and it[0] in "'\"" and it[-1] == it[0]:
                            items += ["'" + ch + "'" for ch in it[1:-1]]
                        else: items.append(it)
                    r1 = ",".join(items)
        ct = c1 = c2 = ""
        if not err[i]: ct, c1, c2 = mn, r1, r2
        if c1:
            ct += " "
            if ct == "RST ": ct += up(c1); c1 = ""
            elif up(c1) in REGW: ct += up(c1); c1 = ""
            else: ct += "*"
            if c2:
                ct += ","
                if up(c2) in REGW: ct += up(c2); c2 = ""
                else: ct += "*"
        if c2 and not c1: c1 = c2; c2 = ""
        tmpl[i], op1[i], op2[i] = ct, c1, c2
        if not err[i] and label:
            k = A.index[label]
            if ct in ("EQU *", ".EQU *"):
                op2[i] = label
                v = A.evalx(c1)
                if v < NOVALUE: A.value[k] = v
            else:
                A.value[k] = A.lc
        if not err[i] and ct:
            if ct in DIR:
                d = DIR[ct]
                if d == "ORG":
                    v = A.evalx(c1)
                    if v < 0 or v > 65535: seterr(i, "Invalid argument of the .ORG directive.")
                    else: A.lc = v
                elif d == "DS":
                    v = A.evalx(c1)
                    if v < 0 or A.lc + v > 65535: seterr(i, "Invalid argument of the .DS directive.")
                    else: A.lc += v
                elif d in ("DB", "DW"):
                    nb = countitems(c1, 16) if d == "DB" else 2 * countitems(c1, 8)
                    if A.lc + nb > 65536: seterr(i, "Code can't go past address FFFF.")
                    else: A.lc += nb
            elif ct in TABLE:
                sz = TABLE[ct][1]
                if A.lc + sz > 65536: seterr(i, "Code can't go past address FFFF.")
                else: A.lc += sz
            else:
                seterr(i, "Unrecognized instruction.")
    for i in range(1, n + 1):
        ct, c1, c2 = tmpl[i], op1[i], op2[i]
        A.lc = addr[i]
        if not err[i] and ct in ("EQU *", ".EQU *"):
            v = A.evalx(c1)
            if v == NOVALUE: seterr(i, "Invalid argument of the .EQU directive.")
            else:
                k = A.findlabel(c2)
                if k: A.value[k] = v
                else: seterr(i, "Label missing.")
        cv = 0
        if not err[i] and ct not in LISTT and c1:
            cv = A.evalx(c1)
            if cv == NOVALUE: seterr(i, "Invalid argument of the instruction.")
        if err[i] or not ct: continue
        txt = ""
        if ct in DIR:
            d = DIR[ct]
            if d in ("DB", "DW"):
                lim, lo, hi, msg = (16, -128, 255, "Invalid argument of the .DB directive.") if d == "DB" else (8, -32768, 65535, "Invalid argument of the .DW directive.")
                nn = countitems(c1, lim)
                parts = []
                ok = nn > 0
                rest = c1
                for q in range(nn):
                    if q < nn - 1:
                        cpos = rest.find(","); it = rest[:cpos]; rest = rest[cpos + 1:]
                    else: it = rest
                    v = A.evalx(trim(it))
                    if v > hi or v < lo: ok = False; break
                    if v < 0: v += 256 if d == "DB" else 65536
                    parts.append(hexbyte(v) if d == "DB" else hexbyte(v % 256) + " " + hexbyte(v // 256))
                if not ok: seterr(i, msg); continue
                txt = " ".join(parts)
        else:
            opc, sz, cl = TABLE[ct]
            txt = hexbyte(opc)
            if cl != "n":
                v = cv
                rng = {"b": (-128, 255, 256), "w": (-32768, 65535, 65536), "a": (0, 65535, 0)}[cl]
                if v < rng[0] or v > rng[1]: seterr(i, "Invalid argument of the instruction."); continue
                if v < 0: v += rng[2]
                txt += " " + hexbyte(v) if sz == 2 else " " + hexbyte(v % 256) + " " + hexbyte(v // 256)
        code[i] = txt
    out = []
    for i in range(1, n + 1):
        c = code[i]; c = c + " " * (12 - len(c) % 12)
        L = ("000" + str(i))[-4:]
        rows = len(c) // 12
        for r in range(rows):
            row = L + "   " + hexword(addr[i] + 4 * r) + " " + c[12 * r:12 * r + 12]
            if r == 0: row += lines[i - 1]
            out.append(row)
        if err[i]: out.append(L + " Error: " + err[i])
    out.append("Number of errors = " + str(ec[0]))
    lst = "".join(r + "\r\n" for r in out).encode("latin-1")
    img = [0] * 65536; last = -1
    for i in range(1, n + 1):
        c = rtrim(code[i]); nb = (len(c) + 1) // 3
        for q in range(nb):
            img[addr[i] + q] = phb(c[3 * q:3 * q + 2]); last = addr[i] + q
    obj = bytes(img[:last + 1])
    hx = []
    a = 0
    while a <= last:
        ch = img[a:min(a + 16, last + 1)]
        data = "".join(hexbyte(b) for b in ch)
        if not (len(ch) == 16 and data == "0" * 32):
            body = hexbyte(len(ch)) + hexword(a) + "00" + data
            s = sum(phb(body[q:q + 2]) for q in range(0, len(body) - 1, 2))
            hx.append(":" + body + hexbyte(256 - s % 256))
        a += 16
    hx.append(":00000001FF")
    return lst, obj, ("".join(r + "\r\n" for r in hx)).encode()

if __name__ == "__main__":
    src = open(sys.argv[1], "rb").read()
    lst, obj, hx = assemble(src)
    base = sys.argv[2]
    open(base + ".lst", "wb").write(lst); open(base + ".obj", "wb").write(obj); open(base + ".hex", "wb").write(hx)
