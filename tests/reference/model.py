# An independent model of the simulated 8085 and of a headless run, written from
# the machine's description alone, so that `kelvane-cli run --trace` can be
# checked against a second reading of it. Python standard library only.
"""Reference model of the simulated machine and of `kelvane-cli run`.

Every register, flag, memory and port element is a plain integer, kept in range
only by the explicit arithmetic of each instruction, so that the edge values
(256 in a memory element after a push of 65536, registers loaded with it) take
the same roads as in the machine: integer division truncates toward zero and a
remainder takes the sign of the dividend.
"""

import struct

MEMSIZE = 65541          # 64 KB and the five-element top mirror
UNDEFINED_OPCODES = (0x08, 0x10, 0x18, 0x28, 0x38, 0xCB, 0xD9, 0xDD, 0xED, 0xFD)
REGNAMES = ("B", "C", "D", "E", "H", "L", "M", "A")
REGFIELDS = ("b", "c", "d", "e", "h", "l", None, "a")


class Undefined(Exception):
    """The program reached an element outside the machine's arrays; what the
    machine does then is not settled, so a comparison stops before it."""


# ---------------------------------------------------------------- arithmetic

def idiv(x, y):
    """Integer part of x / y (truncation toward zero)."""
    q = abs(x) // abs(y)
    return q if (x >= 0) == (y >= 0) else -q


def vmod(x, y):
    """Remainder with the sign of the dividend."""
    return x - y * idiv(x, y)


def wrap32(x):
    x &= 0xFFFFFFFF
    return x - 0x100000000 if x & 0x80000000 else x


# ---------------------------------------------------------------- hex helpers

def _hex(n):
    # a negative 32-bit number shows its two's complement, eight digits
    return format(n & 0xFFFFFFFF if n < 0 else n, "X")


_HEX2 = ["%02X" % i for i in range(256)]


def hexbyte(n):
    if 0 <= n < 256:
        return _HEX2[n]
    return ("0" + _hex(n))[-2:]


def hexword(n):
    return ("000" + _hex(n))[-4:]


def asmhexbyte(n):
    s = hexbyte(n)
    return "0" + s if ord(s[0]) > 57 else s


def asmhexword(n):
    s = hexword(n)
    return "0" + s if ord(s[0]) > 57 else s


# ---------------------------------------------------------------- instruction text

_COND = ("NZ", "Z", "NC", "C", "PO", "PE", "P", "M")
_PAIRS = ("B", "D", "H", "SP")
_ALU = ("ADD", "ADC", "SUB", "SBB", "ANA", "XRA", "ORA", "CMP")
_ALUI = ("ADI", "ACI", "SUI", "SBI", "ANI", "XRI", "ORI", "CPI")


def _build_text_table():
    """Per opcode: (kind, text) with kind 0 fixed text, 1 byte operand prefix,
    2 word operand prefix."""
    t = [None] * 256
    for op in UNDEFINED_OPCODES:
        t[op] = (0, "UNRECOGNIZED")
    fixed = {0x00: "NOP", 0x76: "HLT", 0x20: "RIM", 0x30: "SIM", 0x07: "RLC",
             0x0F: "RRC", 0x17: "RAL", 0x1F: "RAR", 0x27: "DAA", 0x2F: "CMA",
             0x37: "STC", 0x3F: "CMC", 0x02: "STAX B", 0x12: "STAX D",
             0x0A: "LDAX B", 0x1A: "LDAX D", 0xEB: "XCHG", 0xE3: "XTHL",
             0xF9: "SPHL", 0xE9: "PCHL", 0xC9: "RET", 0xFB: "EI", 0xF3: "DI"}
    for op, s in fixed.items():
        t[op] = (0, s)
    for r in range(8):
        t[0x04 + 8 * r] = (0, "INR " + REGNAMES[r])
        t[0x05 + 8 * r] = (0, "DCR " + REGNAMES[r])
        t[0x06 + 8 * r] = (1, "MVI " + REGNAMES[r] + ",")
        t[0xC7 + 8 * r] = (0, "RST %d" % r)
        t[0xC0 + 8 * r] = (0, "R" + _COND[r])
        t[0xC2 + 8 * r] = (2, "J" + _COND[r] + " ")
        t[0xC4 + 8 * r] = (2, "C" + _COND[r] + " ")
        t[0xC6 + 8 * r] = (1, _ALUI[r] + " ")
        for s in range(8):
            if 0x40 + 8 * r + s != 0x76:
                t[0x40 + 8 * r + s] = (0, "MOV %s,%s" % (REGNAMES[r], REGNAMES[s]))
            t[0x80 + 8 * r + s] = (0, "%s %s" % (_ALU[r], REGNAMES[s]))
    for p in range(4):
        t[0x01 + 16 * p] = (2, "LXI " + _PAIRS[p] + ",")
        t[0x03 + 16 * p] = (0, "INX " + _PAIRS[p])
        t[0x0B + 16 * p] = (0, "DCX " + _PAIRS[p])
        t[0x09 + 16 * p] = (0, "DAD " + _PAIRS[p])
    for p, name in ((0, "B"), (1, "D"), (2, "H"), (3, "PSW")):
        t[0xC5 + 16 * p] = (0, "PUSH " + name)
        t[0xC1 + 16 * p] = (0, "POP " + name)
    t[0x22] = (2, "SHLD ")
    t[0x2A] = (2, "LHLD ")
    t[0x32] = (2, "STA ")
    t[0x3A] = (2, "LDA ")
    t[0xC3] = (2, "JMP ")
    t[0xCD] = (2, "CALL ")
    t[0xDB] = (1, "IN ")
    t[0xD3] = (1, "OUT ")
    assert all(x is not None for x in t)
    return t


TEXT_TABLE = _build_text_table()


def selector(v):
    """Dispatch goes on the two-digit text of the element, so 256 runs as 00."""
    return int(hexbyte(v), 16)


def instructiontext(opcode, byte1, byte2):
    kind, s = TEXT_TABLE[selector(opcode)]
    if kind == 0:
        return s
    if kind == 1:
        return s + asmhexbyte(byte1) + "H"
    return s + asmhexword(byte2 * 256 + byte1) + "H"


# ---------------------------------------------------------------- cycles

def _build_cycles():
    c = [4] * 256
    for r in range(8):
        for s in range(8):
            op = 0x40 + 8 * r + s
            c[op] = 7 if (r == 6 or s == 6) else 4
            c[0x80 + 8 * r + s] = 7 if s == 6 else 4
        c[0x06 + 8 * r] = 7
        c[0xC7 + 8 * r] = 12
        c[0xC6 + 8 * r] = 7
    c[0x76] = 5
    c[0x36] = 10
    c[0x34] = c[0x35] = 10
    for p in range(4):
        c[0x01 + 16 * p] = 10
        c[0x03 + 16 * p] = 6
        c[0x0B + 16 * p] = 6
        c[0x09 + 16 * p] = 10
        c[0xC5 + 16 * p] = 12
        c[0xC1 + 16 * p] = 10
    for op in (0x0A, 0x1A, 0x02, 0x12):
        c[op] = 7
    c[0x3A] = c[0x32] = 13
    c[0x2A] = c[0x22] = 16
    c[0xE3] = 16
    c[0xF9] = c[0xE9] = 6
    c[0xC3] = 10
    c[0xCD] = 18
    c[0xC9] = 10
    c[0xDB] = c[0xD3] = 10
    return c


CYCLES = _build_cycles()

# interrupt name: (pending-order index, vector or None for INTR, cycles, text)
INTERRUPTS = {
    "TRAP": (0, 36, 11, "TRAP"),
    "RST7.5": (1, 60, 12, "RST 7.5"),
    "RST6.5": (2, 52, 12, "RST 6.5"),
    "RST5.5": (3, 44, 12, "RST 5.5"),
    "INTR": (4, None, 13, "INTR"),
}


# ---------------------------------------------------------------- the machine

class Machine:
    def __init__(self):
        # state initialiser
        self.mem = [0] * MEMSIZE
        self.ports = [0] * 256
        self.a = self.b = self.c = self.d = self.e = self.h = self.l = 0
        self.fs = self.fz = self.f5 = self.fac = self.f3 = self.fp = self.f1 = self.fcy = 0
        self.sp = self.pc = 0
        self.f = self.hlvalue = 0
        self.sid = self.sod = 0
        self.subflag = self.inte = 0
        self.mask75 = self.mask65 = self.mask55 = 0
        self.instructioncount = self.cyclecount = self.instructioncycles = 0
        self.halted = 0
        self.lastinstruction = ""
        self.nextinstruction = ""
        self.startaddress = 0
        self.stoprequest = False
        self.optffdefaults = "ON"
        self.opthalt = "ON"
        # enabled state of the interrupt buttons TRAP, RST 7.5, 6.5, 5.5, INTR
        self.buttons = [False] * 5
        # the terminal device: output port or None, and what it received
        self.termport = None
        self.termtext = []
        self.out = []            # what the run writes to standard output, in order
        self.trace = False

    # -- memory and port access with the arrays' bounds
    def rd(self, i):
        if 0 <= i < MEMSIZE:
            return self.mem[i]
        raise Undefined("read of element %d" % i)

    def wr(self, i, v):
        if 0 <= i < MEMSIZE:
            self.mem[i] = v
            return
        raise Undefined("write of element %d" % i)

    def hl(self):
        return self.h * 256 + self.l

    # -- panel refresh: what it does to the state
    def compose(self):
        self.f = (self.fs * 128 + self.fz * 64 + self.f5 * 32 + self.fac * 16
                  + self.f3 * 8 + self.fp * 4 + self.f1 * 2 + self.fcy)
        self.hlvalue = self.rd(self.hl())

    ekran = compose

    # -- state operations
    def clean(self):
        self.lastinstruction = ""
        self.nextinstruction = ""
        self.instructioncount = self.cyclecount = self.halted = 0
        v = 255 if self.optffdefaults == "ON" else 0
        fl = 1 if self.optffdefaults == "ON" else 0
        self.a = self.b = self.c = self.d = self.e = self.h = self.l = v
        self.fs = self.fz = self.f5 = self.fac = self.f3 = self.fp = self.f1 = self.fcy = fl
        self.sp = 65535 if self.optffdefaults == "ON" else 0
        self.pc = self.startaddress
        self.f = self.hlvalue = self.sid = self.sod = 0
        self.ekran()

    def clean1(self):
        self.stoprequest = False
        self.subflag = self.inte = 0
        self.mask75 = self.mask65 = self.mask55 = 0
        self.instructioncycles = 0

    def pushword(self, v):
        self.sp -= 1
        if self.sp == -1:
            self.sp = 65535
        self.wr(self.sp, idiv(v, 256))
        self.sp -= 1
        if self.sp == -1:
            self.sp = 65535
        self.wr(self.sp, vmod(v, 256))

    def popword(self):
        low = self.rd(self.sp)
        self.sp += 1
        if self.sp == 65536:
            self.sp = 0
        high = self.rd(self.sp)
        self.sp += 1
        if self.sp == 65536:
            self.sp = 0
        return low + high * 256

    # -- flag routines
    def setzero(self, v):
        self.fz = 1 if v == 0 else 0

    def setsign(self, v):
        self.fs = (v >> 7) & 1

    def setparity(self, v):
        self.fp = 1 if bin(v & 0xFF).count("1") % 2 == 0 else 0

    def szp(self, v):
        self.setzero(v)
        self.setsign(v)
        self.setparity(v)

    def acadd(self, x, y):
        self.fac = 1 if vmod(x, 16) + vmod(y, 16) > 15 else 0

    def acadc(self, x, y):
        self.fac = 1 if vmod(x, 16) + vmod(y, 16) + self.fcy > 15 else 0

    def acsub(self, x, y):
        self.fac = 1 if vmod(x, 16) - vmod(y, 16) < 0 else 0

    def acsbb(self, x, y):
        self.fac = 1 if vmod(x, 16) - vmod(y, 16) - self.fcy < 0 else 0

    # -- ALU routines
    def aluinr(self, v):
        self.acadd(v, 1)
        r = v + 1
        if r == 256:
            r = 0
        self.szp(r)
        return r

    def aludcr(self, v):
        self.acsub(v, 1)
        r = v - 1
        if r == -1:
            r = 255
        self.szp(r)
        return r

    def _addtail(self):
        if self.a >= 256:
            self.a -= 256
            self.fcy = 1
        else:
            self.fcy = 0
        self.szp(self.a)
        self.subflag = 0

    def _subtail(self):
        if self.a < 0:
            self.a += 256
            self.fcy = 1
        else:
            self.fcy = 0
        self.szp(self.a)
        self.subflag = 1

    def aluadd(self, v):
        self.acadd(self.a, v)
        self.a = self.a + v
        self._addtail()

    def aluadc(self, v):
        old = self.fcy
        self.acadc(self.a, v)
        self.a = self.a + v + old
        self._addtail()

    def alusub(self, v):
        self.acsub(self.a, v)
        self.a = self.a - v
        self._subtail()

    def alusbb(self, v):
        old = self.fcy
        self.acsbb(self.a, v)
        self.a = self.a - v - old
        self._subtail()

    def aluana(self, v):
        self.a = self.a & v
        self.fac = 1
        self.fcy = 0
        self.szp(self.a)

    def aluxra(self, v):
        self.a = self.a ^ v
        self.fac = 0
        self.fcy = 0
        self.szp(self.a)

    def aluora(self, v):
        self.a = self.a | v
        self.fac = 0
        self.fcy = 0
        self.szp(self.a)

    def alucmp(self, v):
        self.acsub(self.a, v)
        t = self.a - v
        if t < 0:
            t += 256
            self.fcy = 1
        else:
            self.fcy = 0
        self.szp(t)

    def aludad(self, v):
        t = self.hl() + v
        if t >= 65536:
            t -= 65536
            self.fcy = 1
        else:
            self.fcy = 0
        self.h = idiv(t, 256)
        self.l = vmod(t, 256)

    # -- register access by the 3-bit code
    def getr(self, r):
        if r == 6:
            return self.rd(self.hl())
        return getattr(self, REGFIELDS[r])

    def setr(self, r, v):
        if r == 6:
            self.wr(self.hl(), v)
        else:
            setattr(self, REGFIELDS[r], v)

    def cond(self, cc):
        if cc == 0:
            return self.fz == 0
        if cc == 1:
            return self.fz == 1
        if cc == 2:
            return self.fcy == 0
        if cc == 3:
            return self.fcy == 1
        if cc == 4:
            return self.fp == 0
        if cc == 5:
            return self.fp == 1
        if cc == 6:
            return self.fs == 0
        return self.fs == 1

    def refreshinterruptbuttons(self):
        self.buttons[0] = True
        self.buttons[1] = self.inte == 1 and self.mask75 == 0
        self.buttons[2] = self.inte == 1 and self.mask65 == 0
        self.buttons[3] = self.inte == 1 and self.mask55 == 0
        self.buttons[4] = self.inte == 1

    # -- port path: no modules, no devices but the terminal, prompt and io log off
    def portread(self, p):
        if not 0 <= p < 256:
            raise Undefined("port %d" % p)
        v = self.ports[p]
        self.ports[p] = v
        return v

    def portwrite(self, p, v):
        if not 0 <= p < 256:
            raise Undefined("port %d" % p)
        if self.termport is not None and self.termport == p:
            if not 0 <= v < 256:
                raise Undefined("terminal character %d" % v)
            self.termtext.append(v)
            self.out.append(bytes([v]))
            return
        self.ports[p] = v

    # -- one instruction
    def execute(self):
        pc = self.pc
        op = selector(self.rd(pc))
        b1 = self.rd(pc + 1)
        b2 = self.rd(pc + 2)
        kind, text = TEXT_TABLE[op]
        cyc = CYCLES[op]
        npc = pc + 1
        if kind == 1:
            text = text + asmhexbyte(b1) + "H"
            npc = pc + 2
        elif kind == 2:
            text = text + asmhexword(b2 * 256 + b1) + "H"
            npc = pc + 3
        if op == 0xCC:          # CZ keeps the four-digit form
            text = "CZ " + hexword(b2 * 256 + b1) + "H"
        self.lastinstruction = text
        hi = op >> 6
        if hi == 1:
            if op == 0x76:
                if self.opthalt == "ON":
                    self.stoprequest = True
                npc = pc
            else:
                self.setr((op >> 3) & 7, self.getr(op & 7))
        elif hi == 2:
            v = self.getr(op & 7)
            (self.aluadd, self.aluadc, self.alusub, self.alusbb,
             self.aluana, self.aluxra, self.aluora, self.alucmp)[(op >> 3) & 7](v)
        elif hi == 0:
            npc = self._group0(op, pc, b1, b2, npc)
        else:
            npc, cyc = self._group3(op, pc, b1, b2, npc, cyc)
        self.instructioncycles = cyc
        self.pc = npc

    def _group0(self, op, pc, b1, b2, npc):
        low = op & 7
        r = (op >> 3) & 7
        if op in UNDEFINED_OPCODES or op == 0x00:
            return npc
        if low == 4:
            v = self.aluinr(self.getr(r))
            self.setr(r, v)
            if r == 7:
                self.subflag = 0
        elif low == 5:
            v = self.aludcr(self.getr(r))
            self.setr(r, v)
            if r == 7:
                self.subflag = 1
        elif low == 6:
            self.setr(r, b1)
        elif op == 0x01:
            self.c, self.b = b1, b2
        elif op == 0x11:
            self.e, self.d = b1, b2
        elif op == 0x21:
            self.l, self.h = b1, b2
        elif op == 0x31:
            self.sp = b2 * 256 + b1
        elif op in (0x03, 0x13, 0x23):
            hn, ln = (("b", "c"), ("d", "e"), ("h", "l"))[op >> 4]
            lo = getattr(self, ln) + 1
            hv = getattr(self, hn)
            if lo == 256:
                lo = 0
                hv += 1
            if hv == 256:
                hv = 0
            setattr(self, ln, lo)
            setattr(self, hn, hv)
        elif op == 0x33:
            self.sp += 1
            if self.sp == 65536:
                self.sp = 0
        elif op in (0x0B, 0x1B, 0x2B):
            hn, ln = (("b", "c"), ("d", "e"), ("h", "l"))[op >> 4]
            lo = getattr(self, ln) - 1
            hv = getattr(self, hn)
            if lo == -1:
                lo = 255
                hv -= 1
            if hv == -1:
                hv = 255
            setattr(self, ln, lo)
            setattr(self, hn, hv)
        elif op == 0x3B:
            self.sp -= 1
            if self.sp == -1:
                self.sp = 65535
        elif op in (0x09, 0x19, 0x29):
            self.aludad((self.b * 256 + self.c, self.d * 256 + self.e, self.hl())[op >> 4])
        elif op == 0x39:
            self.aludad(self.sp)
        elif op == 0x0A:
            self.a = self.rd(self.b * 256 + self.c)
        elif op == 0x1A:
            self.a = self.rd(self.d * 256 + self.e)
        elif op == 0x02:
            self.wr(self.b * 256 + self.c, self.a)
        elif op == 0x12:
            self.wr(self.d * 256 + self.e, self.a)
        elif op == 0x3A:
            self.a = self.rd(b2 * 256 + b1)
        elif op == 0x32:
            self.wr(b2 * 256 + b1, self.a)
        elif op == 0x2A:
            addr = b2 * 256 + b1
            self.l = self.rd(addr)
            self.h = self.rd(addr + 1)
        elif op == 0x22:
            addr = b2 * 256 + b1
            self.wr(addr, self.l)
            self.wr(addr + 1, self.h)
        elif op == 0x07:
            self.fcy = 1 if self.a >= 128 else 0
            self.a = self.a * 2 - self.fcy * 256 + self.fcy
        elif op == 0x0F:
            self.fcy = vmod(self.a, 2)
            self.a = idiv(self.a - self.fcy, 2) + self.fcy * 128
        elif op == 0x17:
            old = self.fcy
            self.fcy = 1 if self.a >= 128 else 0
            self.a = self.a * 2 - self.fcy * 256 + old
        elif op == 0x1F:
            old = self.fcy
            self.fcy = vmod(self.a, 2)
            self.a = idiv(self.a - self.fcy, 2) + old * 128
        elif op == 0x2F:
            self.a = 255 - self.a
            self.subflag = 1
        elif op == 0x37:
            self.fcy = 1
        elif op == 0x3F:
            self.fcy = 1 - self.fcy
        elif op == 0x27:
            self.daa()
        elif op == 0x20:
            self.a = (self.mask55 + self.mask65 * 2 + self.mask75 * 4
                      + self.inte * 8 + self.sid * 128)
        elif op == 0x30:
            a = self.a
            if a & 64:
                self.sod = (a >> 7) & 1
            if a & 8:
                self.mask75 = (a >> 2) & 1
                self.mask65 = (a >> 1) & 1
                self.mask55 = a & 1
            self.refreshinterruptbuttons()
        else:
            raise AssertionError("opcode %02X not handled" % op)
        return npc

    def daa(self):
        hi = idiv(self.a, 16)
        lo = vmod(self.a, 16)
        if self.subflag == 0:
            k = 0
            if lo > 9:
                k += 6
                hi += 1
                self.fac = 1
            elif self.fac:
                k += 6
            if hi > 9:
                k += 96
                self.fcy = 1
            elif self.fcy:
                k += 96
        else:
            k = ((0, 160), (250, 154))[1 if self.fac else 0][1 if self.fcy else 0]
        self.a += k
        if self.a > 255:
            self.a -= 256
        self.szp(self.a)

    def _group3(self, op, pc, b1, b2, npc, cyc):
        low = op & 7
        cc = (op >> 3) & 7
        if low == 0:                                    # conditional return
            if self.cond(cc):
                npc = self.popword()
                cyc = 12
            else:
                cyc = 8 if cc in (4, 5) else 6
        elif low == 2:                                  # conditional jump
            if self.cond(cc):
                npc = b2 * 256 + b1
                cyc = 10
            else:
                cyc = 7
        elif low == 4:                                  # conditional call
            if self.cond(cc):
                self.pushword(pc + 3)
                npc = self.rd(pc + 2) * 256 + self.rd(pc + 1)
                cyc = 18
            else:
                cyc = 9
        elif low == 6:
            (self.aluadd, self.aluadc, self.alusub, self.alusbb,
             self.aluana, self.aluxra, self.aluora, self.alucmp)[cc](b1)
        elif low == 7:
            self.pushword(pc + 1)
            npc = cc * 8
        elif op in (0xC5, 0xD5, 0xE5):
            hv, lv = ((self.b, self.c), (self.d, self.e), (self.h, self.l))[(op >> 4) - 12]
            self.pushword(hv * 256 + lv)
        elif op == 0xF5:
            self.pushword(self.a * 256 + self.f)
        elif op in (0xC1, 0xD1, 0xE1):
            v = self.popword()
            hn, ln = (("b", "c"), ("d", "e"), ("h", "l"))[(op >> 4) - 12]
            setattr(self, hn, idiv(v, 256))
            setattr(self, ln, vmod(v, 256))
        elif op == 0xF1:
            v = self.popword()
            self.a = idiv(v, 256)
            x = vmod(v, 256)
            (self.fs, self.fz, self.f5, self.fac, self.f3, self.fp, self.f1,
             self.fcy) = [(x >> i) & 1 for i in range(7, -1, -1)]
        elif op == 0xC3:
            npc = b2 * 256 + b1
        elif op == 0xCD:
            self.pushword(pc + 3)
            npc = self.rd(pc + 2) * 256 + self.rd(pc + 1)
        elif op == 0xC9:
            npc = self.popword()
        elif op == 0xE9:
            npc = self.hl()
        elif op == 0xF9:
            self.sp = self.hl()
        elif op == 0xEB:
            self.d, self.h = self.h, self.d
            self.e, self.l = self.l, self.e
        elif op == 0xE3:
            t = self.l
            self.l = self.rd(self.sp)
            self.wr(self.sp, t)
            t = self.h
            self.h = self.rd(self.sp + 1)
            self.wr(self.sp + 1, t)
        elif op == 0xDB:
            self.a = self.portread(b1)
        elif op == 0xD3:
            self.portwrite(b1, self.a)
        elif op == 0xFB:
            self.inte = 1
            self.refreshinterruptbuttons()
        elif op == 0xF3:
            self.inte = 0
            self.refreshinterruptbuttons()
        elif op in UNDEFINED_OPCODES:
            pass
        else:
            raise AssertionError("opcode %02X not handled" % op)
        return npc, cyc

    # -- the log row
    def logrow(self, address):
        s = str(self.instructioncount).ljust(7)
        s += hexword(address) + "  " + self.lastinstruction.ljust(16)
        s += hexbyte(self.a) + " "
        s += "".join(str(x) for x in (self.fs, self.fz, self.f5, self.fac,
                                      self.f3, self.fp, self.f1, self.fcy))
        s += "  "
        s += "".join(hexbyte(x) + " " for x in (self.b, self.c, self.d, self.e, self.h, self.l))
        s += hexword(self.sp)
        return s

    def emit(self, row):
        if self.trace:
            self.out.append(row.encode("latin-1") + b"\n")

    # -- stepinstruction at rate 6 (no windows, no breakpoints, no modules)
    def stepinstruction(self):
        self.lastinstruction = ""
        address = self.pc
        self.execute()
        self.instructioncount = wrap32(self.instructioncount + 1)
        self.cyclecount = wrap32(self.cyclecount + self.instructioncycles)
        self.halted = 1 if self.lastinstruction == "HLT" else 0
        if self.pc > 65535:
            self.pc -= 65536
        self.nextinstruction = instructiontext(self.rd(self.pc), self.rd(self.pc + 1),
                                               self.rd(self.pc + 2))
        self.compose()
        self.emit(self.logrow(address))

    # -- a press of an interrupt button, acted on at once
    def accept(self, name, choice=None):
        idx, vector, cyc, text = INTERRUPTS[name]
        self.pushword(self.pc)
        if vector is None:
            vector = (choice - 1) * 8
        self.pc = vector
        self.buttons = [False] * 5
        self.inte = 0
        self.cyclecount = wrap32(self.cyclecount + cyc)
        self.instructioncount = wrap32(self.instructioncount + 1)
        self.lastinstruction = text
        self.ekran()
        self.emit(self.logrow(self.pc))

    def reset(self):
        self.clean()
        self.lastinstruction = "RESET"
        self.nextinstruction = instructiontext(self.rd(self.pc), self.rd(self.pc + 1),
                                               self.rd(self.pc + 2))
        self.ekran()
        self.buttons = [True, False, False, False, False]
        if self.trace:
            self.out.append(b"RESET\n")


# ---------------------------------------------------------------- the statistics

def float32(x):
    return struct.unpack("<f", struct.pack("<f", float(x)))[0]


def clocktext(mhz):
    """The clock in its shortest decimal form that gives back the same single."""
    for p in range(0, 10):
        s = "%.*f" % (p, mhz)
        if float32(float(s)) == mhz:
            return s
    return repr(mhz)


def cycletime(n, mhz):
    if n >= 10000000:
        t = int(n * 100.0 / mhz)
    else:
        t = round((n * 100) / mhz)
    digits = str(t).rjust(3, "0")
    return digits[:-2] + "." + digits[-2:] + " \u00b5s"


# ---------------------------------------------------------------- a headless run

class RunOptions:
    def __init__(self, start=0, maxinstr=1000, ffdefaults=True, haltstops=True,
                 clock="4", presses=(), ports=(), terminal=None, trace=True):
        self.start = start
        self.maxinstr = maxinstr
        self.ffdefaults = ffdefaults
        self.haltstops = haltstops
        self.clock = clock
        self.presses = list(presses)     # (count, name) in order given
        self.ports = list(ports)         # (port, value)
        self.terminal = terminal
        self.trace = trace

    def argv(self):
        args = ["--trace"] if self.trace else []
        args += ["--max-instructions", str(self.maxinstr)]
        if self.start:
            args += ["--start", "%04X" % self.start]
        if not self.ffdefaults:
            args += ["--ff-defaults", "off"]
        if not self.haltstops:
            args += ["--halt-stops", "off"]
        if self.clock != "4":
            args += ["--clock", self.clock]
        for n, name in self.presses:
            args += ["--interrupt", "%d:%s" % (n, name)]
        for p, v in self.ports:
            args += ["--port", "%02X=%02X" % (p, v)]
        if self.terminal is not None:
            args += ["--terminal", "%02X" % self.terminal]
        return args


class RunResult:
    def __init__(self):
        self.stdout = b""
        self.stats = []          # the statistics lines without the elapsed one
        self.undefined = None    # why the run left the defined road, if it did
        self.instructions = 0    # steps the model executed


def press(m, name):
    """A press at Step By Step rate: it acts only if its button is enabled."""
    if name == "RESET":
        m.reset()
        return
    if name.startswith("INTR") and len(name) == 5:
        if m.buttons[4]:
            m.accept("INTR", int(name[4]))
        return
    idx = INTERRUPTS[name][0]
    if m.buttons[idx]:
        m.accept(name)


def run(image, opts, step_limit=10 ** 7):
    """Load image at 0, Start, and run as `kelvane-cli run` does."""
    m = Machine()
    m.trace = opts.trace
    for i, v in enumerate(image):
        m.mem[i] = v
    for p, v in opts.ports:
        m.ports[p] = v
    m.termport = opts.terminal
    m.optffdefaults = "ON" if opts.ffdefaults else "OFF"
    m.opthalt = "ON" if opts.haltstops else "OFF"
    m.startaddress = opts.start
    mhz = float32(opts.clock)
    res = RunResult()
    # Start
    m.clean()
    m.clean1()
    m.nextinstruction = instructiontext(m.rd(m.pc), m.rd(m.pc + 1), m.rd(m.pc + 2))
    m.ekran()
    m.buttons = [True, False, False, False, False]
    for i in range(5):
        m.mem[65536 + i] = m.mem[i]
    pending = list(opts.presses)
    steps = 0
    try:
        while True:
            m.stepinstruction()
            steps += 1
            if m.stoprequest or m.instructioncount >= opts.maxinstr:
                break
            now = [p for p in pending if p[0] == m.instructioncount]
            for p in now:
                pending.remove(p)
                press(m, p[1])
            if m.instructioncount >= opts.maxinstr:
                break
            if steps >= step_limit:
                raise Undefined("step limit")
    except Undefined as ex:
        res.undefined = str(ex)
    res.instructions = steps
    res.machine = m
    res.stdout = b"".join(m.out)
    res.stats = [
        "Total number of executed instructions is %d." % m.instructioncount,
        "Real-time duration of the simulation is %d clock cycles or %s at %s MHz."
        % (m.cyclecount, cycletime(m.cyclecount, mhz), clocktext(mhz)),
    ]
    return res
