# Random 8085 programs for the differential trace test: plain random bytes and
# programs biased toward the machine's corners (top of memory, stack wrap,
# self-modifying code, 256 in a memory element, HLT, interrupts, ports).
"""Program generator: gen(rng, kind) gives a Program (image, run options)."""

from model import RunOptions

CLOCKS = ("4", "4", "4", "2.5", "1", "3", "6.144", "0.5", "3.125", "5", "10", "1.5",
          "0.1", "3.579545", "2.4576", "12", "100", "0.3", "7.3728", "1.8432",
          "4.0", "2.50", "3.3333333", "0.25", "123.456")
COND_JUMPS = (0xC2, 0xCA, 0xD2, 0xDA, 0xE2, 0xEA, 0xF2, 0xFA)
COND_CALLS = (0xC4, 0xCC, 0xD4, 0xDC, 0xE4, 0xEC, 0xF4, 0xFC)
WORD_OPS = {0x01, 0x11, 0x21, 0x31, 0x22, 0x2A, 0x32, 0x3A, 0xC3, 0xCD} | set(COND_JUMPS) | set(COND_CALLS)
BYTE_OPS = {0x06, 0x0E, 0x16, 0x1E, 0x26, 0x2E, 0x36, 0x3E,
            0xC6, 0xCE, 0xD6, 0xDE, 0xE6, 0xEE, 0xF6, 0xFE, 0xD3, 0xDB}
INTERRUPT_NAMES = ("TRAP", "RST7.5", "RST6.5", "RST5.5", "INTR1", "INTR2", "INTR3",
                   "INTR4", "INTR5", "INTR6", "INTR7", "INTR8", "RESET")
KINDS = ("random", "fullrandom", "stream", "top", "stack", "selfmod", "edge256",
         "halt", "daa", "intr", "ports")
# runs of ten million cycles and more: too slow for the routine test
SLOW_KINDS = ("long",)


class Program:
    def __init__(self, kind, image, opts):
        assert 1 <= len(image) <= 65536, "image of %d bytes" % len(image)
        self.kind = kind
        self.image = bytes(image)
        self.opts = opts


def length_of(op):
    if op in WORD_OPS:
        return 3
    if op in BYTE_OPS:
        return 2
    return 1


def base_options(rng, maxlo=1, maxhi=1500):
    return RunOptions(maxinstr=rng.randint(maxlo, maxhi),
                      ffdefaults=rng.random() < 0.5,
                      haltstops=rng.random() < 0.6,
                      clock=rng.choice(CLOCKS))


class Stream:
    """Writes a stream of instructions into an image, with operands biased
    toward addresses that keep the program busy with itself."""

    def __init__(self, rng, image, origin, size, data=None, ports=None):
        self.rng = rng
        self.image = image
        self.origin = origin
        self.size = size
        self.pos = origin
        self.data = data if data is not None else (origin, origin + size)
        self.ports = ports or [rng.randrange(256) for _ in range(3)]

    def put(self, *bs):
        for v in bs:
            self.image[self.pos % 65536] = v & 0xFF
            self.pos += 1

    def target(self):
        r = self.rng.random()
        if r < 0.75:
            return self.origin + self.rng.randrange(self.size)
        if r < 0.9:
            return self.rng.randrange(*self.data)
        return self.rng.randrange(65536)

    def operand16(self, op):
        rng = self.rng
        if op == 0x31:
            return rng.choice((0, 1, 2, 3, 0xFFFF, 0xFFFE, 0xFFFD, rng.randrange(65536),
                               self.origin + rng.randrange(self.size + 8)))
        if op in (0x01, 0x11, 0x21, 0x22, 0x2A, 0x32, 0x3A):
            r = rng.random()
            if r < 0.6:
                return rng.randrange(*self.data)
            if r < 0.8:
                return self.origin + rng.randrange(self.size)
            return rng.choice((0xFFFF, 0xFFFE, 0xFFFD, 0, 1, rng.randrange(65536)))
        return self.target() & 0xFFFF

    def instruction(self, op=None):
        rng = self.rng
        if op is None:
            op = rng.randrange(256)
            # keep HLT from ending every program early
            if op == 0x76 and rng.random() < 0.7:
                op = 0x00
        n = length_of(op)
        if n == 1:
            self.put(op)
        elif n == 2:
            if op in (0xD3, 0xDB):
                self.put(op, rng.choice(self.ports))
            else:
                self.put(op, rng.randrange(256))
        else:
            w = self.operand16(op)
            self.put(op, w & 0xFF, w >> 8)
        return op

    def fill(self, count):
        end = self.origin + self.size
        while self.pos < end - 3 and count > 0:
            self.instruction()
            count -= 1


def fill_data(rng, image, lo, hi):
    for i in range(lo, hi):
        image[i % 65536] = rng.randrange(256)


# ------------------------------------------------------------------ kinds

def g_random(rng):
    image = bytes(rng.randrange(256) for _ in range(rng.randint(1, 600)))
    opts = base_options(rng)
    opts.trace = rng.random() < 0.9
    return Program("random", image, opts)


def g_fullrandom(rng):
    image = bytearray(rng.getrandbits(8) for _ in range(65536))
    opts = base_options(rng, 1, 3000)
    if rng.random() < 0.5:
        opts.start = rng.randrange(65536)
    return Program("fullrandom", image, opts)


def g_stream(rng):
    size = rng.randint(16, 400)
    origin = rng.choice((0, 0, rng.randrange(0x8000)))
    image = bytearray(origin + size + 256)
    fill_data(rng, image, origin + size, origin + size + 256)
    s = Stream(rng, image, origin, size, data=(origin + size, origin + size + 256))
    s.fill(10 ** 6)
    opts = base_options(rng, 1, 2500)
    opts.start = origin
    return Program("stream", image, opts)


def g_top(rng):
    """Code at the very top of memory, running through FFFF into the mirror."""
    image = bytearray(65536)
    if rng.random() < 0.5:
        fill_data(rng, image, 0, 65536)
    else:
        fill_data(rng, image, 0, 64)
    lo = rng.randint(0xFFE0, 0xFFFF)
    s = Stream(rng, image, lo, 0x10000 - lo, data=(0xFF00, 0x10000))
    # one or more instructions placed so that their operands cross FFFF
    special = rng.choice([0xC3, 0xCD, 0x3A, 0x32, 0x2A, 0x22, 0x01, 0x11, 0x21, 0x31,
                          0x3E, 0x36, 0xC6, 0xDB, 0xD3, 0xFF, 0xC7, 0xCF, 0xE3, 0x76]
                         + list(COND_JUMPS) + list(COND_CALLS))
    where = rng.choice((0xFFFD, 0xFFFE, 0xFFFF, 0xFFFF))
    while s.pos < where:
        s.instruction()
    if s.pos == where:
        s.pos = where
        s.instruction(special)
    opts = base_options(rng, 1, 1500)
    opts.start = lo if rng.random() < 0.8 else rng.randint(0xFFF0, 0xFFFF)
    return Program("top", image, opts)


def g_stack(rng):
    """The stack pointer near 0 or FFFF so pushes and pops wrap."""
    size = rng.randint(40, 200)
    image = bytearray(size + 64)
    s = Stream(rng, image, 0, size, data=(size, size + 64))
    s.put(0x31, *rng.choice(((0, 0), (1, 0), (2, 0), (3, 0), (0xFF, 0xFF), (0xFE, 0xFF),
                             (0xFD, 0xFF), (rng.randrange(256), rng.randrange(256)))))
    stackops = [0xC5, 0xD5, 0xE5, 0xF5, 0xC1, 0xD1, 0xE1, 0xF1, 0xE3, 0xC9, 0xCD,
                0x33, 0x3B, 0x39, 0xF9, 0xC7, 0xCF, 0xD7, 0xDF, 0xE7, 0xEF, 0xF7, 0xFF]
    stackops += list(COND_CALLS) + [0xC0, 0xC8, 0xD0, 0xD8, 0xE0, 0xE8, 0xF0, 0xF8]
    while s.pos < size - 3:
        if rng.random() < 0.5:
            s.instruction(rng.choice(stackops))
        else:
            s.instruction()
    fill_data(rng, image, size, size + 64)
    opts = base_options(rng, 1, 1500)
    return Program("stack", image, opts)


def g_selfmod(rng):
    """Pushes and stores that land on the operands of the code that runs."""
    size = rng.randint(30, 160)
    image = bytearray(size + 16)
    s = Stream(rng, image, 0, size)
    while s.pos < size - 12:
        r = rng.random()
        here = s.pos
        if r < 0.25:
            # LXI SP just behind a CALL's operand: the push rewrites the target
            call_at = here + 3
            sp = call_at + rng.choice((1, 2, 3, 4))
            s.put(0x31, sp & 0xFF, sp >> 8)
            op = rng.choice((0xCD,) + COND_CALLS)
            t = s.target()
            s.put(op, t & 0xFF, (t >> 8) & 0xFF)
        elif r < 0.45:
            # store to the operand of the next instruction
            nxt = here + 3 + rng.choice((0, 1, 2, 3))
            s.put(rng.choice((0x32, 0x22)), nxt & 0xFF, nxt >> 8)
            s.instruction(rng.choice((0x3E, 0xC3, 0xCD, 0x21, 0xC6, 0x06) + COND_JUMPS))
        elif r < 0.6:
            # MVI M / MOV M,r through HL pointing a few bytes ahead
            nxt = here + 3 + rng.randint(1, 4)
            s.put(0x21, nxt & 0xFF, nxt >> 8)
            s.instruction(rng.choice((0x36, 0x77, 0x70, 0x34, 0x35, 0x71)))
            s.instruction()
        elif r < 0.7:
            # RST / PUSH with SP in the code
            sp = here + rng.randint(3, 8)
            s.put(0x31, sp & 0xFF, sp >> 8)
            s.instruction(rng.choice((0xC5, 0xD5, 0xE5, 0xF5, 0xC7, 0xCF, 0xD7, 0xE3)))
        else:
            s.instruction()
    opts = base_options(rng, 1, 1500)
    return Program("selfmod", image, opts)


def g_edge256(rng):
    """CALL, RST or PUSH near FFFF, so that 256 lands in a memory element and
    then travels through registers, the ALU and memory."""
    image = bytearray(65536)
    fill_data(rng, image, 0, 8)
    # code at the vectors and at 0 uses what lies on the stack
    users = [0xE1, 0xD1, 0xC1, 0xF1, 0xE3, 0xC9, 0x7E, 0x46, 0x3A, 0x2A, 0x0A, 0x1A,
             0x86, 0x8E, 0x96, 0x9E, 0xA6, 0xAE, 0xB6, 0xBE, 0x34, 0x35, 0x04, 0x05,
             0x0C, 0x14, 0x1D, 0x24, 0x2C, 0x3C, 0x3D, 0x07, 0x0F, 0x17, 0x1F, 0x27,
             0x2F, 0x09, 0x19, 0x29, 0x39, 0x03, 0x0B, 0x23, 0x2B, 0xE5, 0xF5, 0xC5,
             0xEB, 0xF9, 0xE9, 0x77, 0x70, 0x02, 0x12, 0x32, 0x22, 0xD3, 0x30, 0x20,
             0x80, 0x88, 0x90, 0x98, 0xA0, 0xA8, 0xB0, 0xB8, 0x47, 0x4F, 0x57, 0x5F,
             0x67, 0x6F, 0x78, 0x79, 0x7C, 0x7D]
    for origin in range(0, 64, 8):
        s = Stream(rng, image, origin, 8, data=(0xFFF0, 0x10000))
        if rng.random() < 0.7:
            # take the pushed value off the stack first
            s.instruction(rng.choice((0xE1, 0xE1, 0xD1, 0xC1, 0xF1, 0xE3, 0xE3)))
        while s.pos < origin + 7:
            if rng.random() < 0.7:
                op = rng.choice(users)
                if length_of(op) > 8 - (s.pos - origin):
                    op = 0x00
                s.instruction(op)
            else:
                s.instruction(rng.choice((0x00, 0x76, 0x7E, 0xE1)))
    fill_data(rng, image, 0xFF00, 0xFFF0)
    op = rng.choice((0xCD, 0xCD, 0xC7, 0xCF, 0xD7, 0xDF, 0xE7, 0xEF, 0xF7, 0xFF) + COND_CALLS)
    # RST pushes 65536 only from FFFF; CALL from FFFD, FFFE and FFFF
    at = 0xFFFF if length_of(op) == 1 or rng.random() < 0.3 else rng.choice((0xFFFD, 0xFFFE))
    image[at] = op
    if length_of(op) == 3 and at + 1 < 65536:
        image[at + 1] = rng.randrange(8) * 8 + (rng.randrange(8) if rng.random() < 0.2 else 0)
        if at + 2 < 65536:
            image[at + 2] = 0
    if at < 0xFFFF:
        for i in range(at + length_of(op), 65536):
            image[i] = rng.choice((0x00, 0xC7, 0xFF, 0xE5))
    opts = base_options(rng, 1, 800)
    opts.start = at
    # the push of the return address wants sp near it, or near 0
    prefix = rng.random()
    if prefix < 0.5:
        opts.ffdefaults = True           # sp FFFF
    else:
        # start a little lower and set SP first
        pre = at - 3
        sp = rng.choice((0, 1, 2, 0xFFFF, 0xFFFE, 0xFF80))
        image[pre] = 0x31
        image[pre + 1] = sp & 0xFF
        image[pre + 2] = sp >> 8
        opts.start = pre
    return Program("edge256", image, opts)


def g_halt(rng):
    """A short loop that reaches HLT, with the halt option on and off."""
    size = rng.randint(8, 60)
    image = bytearray(size + 32)
    s = Stream(rng, image, 0, size)
    s.fill(rng.randint(0, 10))
    s.put(0x76)
    s.fill(rng.randint(0, 10))
    opts = base_options(rng, 1, 400)
    opts.haltstops = rng.random() < 0.5
    return Program("halt", image, opts)


def g_daa(rng):
    """Arithmetic and DAA in every order, so subflag paths are walked."""
    ops = [0x27, 0x27, 0x27, 0xC6, 0xCE, 0xD6, 0xDE, 0x2F, 0x3C, 0x3D, 0x04, 0x05,
           0x80, 0x88, 0x90, 0x98, 0xB8, 0xA0, 0xA8, 0xB0, 0x37, 0x3F, 0xFE, 0x87,
           0x97, 0x9F, 0x8F, 0xE6, 0xF6, 0xEE, 0x06, 0x0E, 0x3E, 0xF1, 0xF5, 0x34, 0x35]
    size = rng.randint(30, 200)
    image = bytearray(size + 4)
    s = Stream(rng, image, 0, size, data=(size, size + 4))
    while s.pos < size - 4:
        s.instruction(rng.choice(ops))
    s.put(0xC3, 0, 0)
    opts = base_options(rng, 1, 1500)
    return Program("daa", image, opts)


def g_intr(rng):
    """EI, DI, SIM, RIM and HLT with presses of the interrupt buttons."""
    image = bytearray(0x100)
    main = 0x40
    # a main loop of harmless instructions with EI, DI, SIM, RIM and HLT among them
    safe = [op for op in range(0x40, 0xC0) if op != 0x76]
    safe += [0x04, 0x05, 0x0C, 0x0D, 0x3C, 0x3D, 0x07, 0x0F, 0x17, 0x1F, 0x27, 0x2F,
             0x37, 0x3F, 0x03, 0x13, 0x0B, 0x1B, 0x09, 0x19, 0x29, 0x00, 0xEB]
    s = Stream(rng, image, main, 0x90, data=(0xE0, 0x100))
    s.put(0x21, 0xE0, 0x00)
    if rng.random() < 0.5:
        s.put(0x31, 0x00, 0x00)
    ops = [0xFB, 0xFB, 0xFB, 0xF3, 0x30, 0x30, 0x20, 0x76, 0x3E, 0x3E, 0xC5, 0xC1,
           0xF5, 0xF1, 0xC7, 0xE7, 0xDB, 0xD3]
    while s.pos < 0xC8:
        if rng.random() < 0.4:
            op = rng.choice(ops)
            if op == 0x3E:
                s.put(0x3E, rng.choice((0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F,
                                        0x48, 0xC8, 0x40, 0x00, rng.randrange(256))))
            else:
                s.instruction(op)
        else:
            s.instruction(rng.choice(safe))
    s.put(0xC3, main & 0xFF, 0)
    for vec in range(0, 0x40, 4):
        body = rng.choice(([0xFB, 0xC9], [0xFB, 0xC9], [0xC9], [0x3C, 0xFB, 0xC9],
                           [0x00, 0xC9], [0x20, 0xFB, 0xC9], [0xF3, 0xC9], [0x76, 0xC9]))
        for i, v in enumerate(body):
            image[vec + i] = v
    image[0] = 0xC3
    image[1] = main
    image[2] = 0
    fill_data(rng, image, 0xE0, 0x100)
    opts = base_options(rng, 50, 1200)
    opts.haltstops = rng.random() < 0.2
    presses = []
    n = rng.randint(1, 20)
    at = sorted(rng.sample(range(1, opts.maxinstr - 2), min(n, opts.maxinstr // 3)))
    last = -10
    for c in at:
        if c - last >= 3:
            name = rng.choice(INTERRUPT_NAMES[:-1] if rng.random() < 0.93 else INTERRUPT_NAMES)
            presses.append((c, name))
            last = c
    opts.presses = presses
    return Program("intr", image, opts)


def g_ports(rng):
    """IN and OUT with preset port values and the terminal."""
    ports = rng.sample(range(256), 4)
    size = rng.randint(20, 150)
    image = bytearray(size + 8)
    s = Stream(rng, image, 0, size, ports=ports)
    ops = [0xD3, 0xD3, 0xDB, 0xDB, 0x3C, 0x3E, 0x47, 0x78, 0x07]
    while s.pos < size - 4:
        if rng.random() < 0.5:
            s.instruction(rng.choice(ops))
        else:
            s.instruction()
    opts = base_options(rng, 1, 800)
    opts.ports = [(p, rng.randrange(256)) for p in ports[:rng.randint(0, 4)]]
    if rng.random() < 0.7:
        opts.terminal = rng.choice(ports)
    # without --trace standard output holds the terminal's bytes alone
    opts.trace = rng.random() < 0.7
    return Program("ports", image, opts)


def g_long(rng):
    """A loop of expensive instructions that passes ten million cycles."""
    image = bytearray(64)
    body = [rng.choice((0xE3, 0xE3, 0xCD, 0x2A, 0x22)) for _ in range(rng.randint(4, 8))]
    s = Stream(rng, image, 0, 64)
    s.put(0x31, 0x00, 0x01)
    for op in body:
        if op == 0xCD:
            # CALL to a RET just behind the loop
            s.put(0xCD, 0x30, 0x00)
        elif op in (0x2A, 0x22):
            s.put(op, 0x38 + rng.randrange(8), 0x00)
        else:
            s.put(op)
    s.put(0xC3, 0x03, 0x00)
    image[0x30] = 0xC9
    opts = base_options(rng)
    opts.maxinstr = rng.randint(720000, 900000)
    opts.haltstops = True
    return Program("long", image, opts)


GENERATORS = {
    "random": g_random, "fullrandom": g_fullrandom, "stream": g_stream, "top": g_top,
    "stack": g_stack, "selfmod": g_selfmod, "edge256": g_edge256, "halt": g_halt,
    "daa": g_daa, "intr": g_intr, "ports": g_ports, "long": g_long,
}

# how often each kind is drawn
WEIGHTS = {"random": 3, "fullrandom": 3, "stream": 4, "top": 3, "stack": 3,
           "selfmod": 3, "edge256": 3, "halt": 1, "daa": 2, "intr": 3, "ports": 2, "long": 1}


def gen(rng, kinds):
    pool = [k for k in kinds for _ in range(WEIGHTS[k])]
    kind = rng.choice(pool)
    return GENERATORS[kind](rng)


def program_hex(image):
    """Non-zero stretches of an image as address: bytes lines."""
    lines = []
    n = len(image)
    if n <= 1024:
        for i in range(0, n, 32):
            lines.append("%04X: %s" % (i, image[i:i + 32].hex().upper()))
        return "\n".join(lines)
    i = 0
    while i < n:
        if image[i] == 0:
            i += 1
            continue
        j = i
        while j < n and (image[j] != 0 or any(image[j:j + 8])):
            j += 1
        for k in range(i, j, 32):
            lines.append("%04X: %s" % (k, image[k:min(k + 32, j)].hex().upper()))
        i = j
    lines.append("(length %d bytes, other bytes 00)" % n)
    return "\n".join(lines)


def fixed_programs():
    """Hand-made corner programs run before the random ones, so the routine
    test always walks these roads."""
    progs = []

    def add(name, image, **kw):
        progs.append(Program("fixed:" + name, bytes(image), RunOptions(**kw)))

    # DAA after INR A, DCR A, CMA and after a register DCR: each subflag writer
    add("daa-subflag", [0x3E, 0x0F, 0x3D, 0x27, 0x3C, 0x27, 0x05, 0x27, 0x2F, 0x27,
                        0xC6, 0x9A, 0x27, 0xD6, 0x01, 0x27, 0x76], maxinstr=50)
    for ff in (True, False):
        # PUSH PSW right after Start pushes the composed flag byte
        add("push-psw-start", [0xF5, 0xC1, 0x76], maxinstr=10, ffdefaults=ff)
        # HLT with the option off repeats itself
        add("halt-off", [0x00, 0x76], maxinstr=40, ffdefaults=ff, haltstops=False)
    top = bytearray(65536)
    top[0:5] = bytes([0x34, 0x12, 0x3E, 0x00, 0x76])
    top[0xFFFF] = 0xCF                      # RST 1 at FFFF pushes 65536
    top[8:12] = bytes([0xE1, 0x7E, 0x3C, 0x76])   # POP H: H = 256; MOV A,M reads the mirror
    add("rst1-at-ffff", top, start=0xFFFF, maxinstr=20)
    top2 = bytearray(65536)
    top2[0:2] = bytes([0x00, 0x01])
    top2[0xFFFD:0x10000] = bytes([0xCD, 0x10, 0x00])   # CALL at FFFD pushes 65536
    top2[0x10:0x16] = bytes([0xC1, 0xC5, 0xF1, 0xF5, 0xC9, 0x76])
    add("call-at-fffd", top2, start=0xFFFD, maxinstr=20)
    top2b = bytearray(top2)
    top2b[0xFFFA:0xFFFD] = bytes([0x31, 0x00, 0x01])   # the push lands at 00FE-00FF
    add("call-at-fffd-sp", top2b, start=0xFFFA, maxinstr=20, ffdefaults=False)
    top3 = bytearray(65536)
    top3[0:3] = bytes([0x76, 0x00, 0x80])
    top3[0xFFFF] = 0xC3                     # JMP with its operand in the mirror
    add("jmp-at-ffff", top3, start=0xFFFF, maxinstr=5)
    # 16-bit data accesses at FFFF touch the mirror element above it; LDA at FFFD
    # takes its address from the last two bytes and pc wraps after it
    top4 = bytearray(65536)
    top4[0:5] = bytes([0x11, 0x22, 0x33, 0x44, 0x55])
    top4[0x100:0x113] = bytes([0x2A, 0xFF, 0xFF,        # LHLD FFFF: L = mem[FFFF], H = mirror
                               0x31, 0xFF, 0xFF,        # LXI SP,FFFF
                               0xE3,                    # XTHL with element 65536
                               0x22, 0xFF, 0xFF,        # SHLD FFFF
                               0x2A, 0xFF, 0xFF,
                               0xCC, 0x00, 0xA0,        # CZ A000H, its text keeps four digits
                               0xC3, 0xFD, 0xFF])
    top4[0xA000] = 0x76
    top4[0xFFFD:0x10000] = bytes([0x3A, 0xFE, 0xFF])    # LDA FFFEH at FFFD
    add("top-data", top4, start=0x100, maxinstr=12, ffdefaults=False)
    add("top-data-cz-taken", top4, start=0x100, maxinstr=12)
    # CALL whose push overwrites its own operand
    add("call-overwrites-operand", [0x31, 0x06, 0x00, 0xCD, 0x34, 0x12, 0x76],
        maxinstr=5, haltstops=False)
    # stack wrap both ways
    add("stack-wrap", [0x31, 0x01, 0x00, 0xE5, 0xC5, 0xE3, 0xC1, 0xF1, 0xE1, 0x76],
        maxinstr=20, ffdefaults=False)
    # interrupts: EI, then presses; a press right after a stopping HLT finds the
    # run over and every button off
    intr = bytearray(0x80)
    intr[0:3] = bytes([0xC3, 0x40, 0x00])
    for vec in (0x24, 0x2C, 0x34, 0x3C, 0x10):
        intr[vec:vec + 2] = bytes([0xFB, 0xC9])
    intr[0x40:0x48] = bytes([0xFB, 0x3E, 0x0E, 0x30, 0x00, 0x00, 0xC3, 0x43])
    add("interrupts", intr, maxinstr=60, presses=[(3, "TRAP"), (8, "RST7.5"),
        (12, "RST6.5"), (16, "RST5.5"), (20, "INTR3"), (24, "RST7.5"), (30, "RESET"),
        (40, "TRAP")])
    add("press-after-stopping-hlt", [0x00, 0x00, 0x76], maxinstr=10, presses=[(3, "TRAP")])
    add("press-at-max", [0x00] * 8, maxinstr=5, presses=[(5, "TRAP")])
    add("press-during-hlt-loop", [0xFB, 0x76] + [0] * 0x22 + [0xC9], maxinstr=12,
        haltstops=False, presses=[(4, "TRAP")])
    return progs
