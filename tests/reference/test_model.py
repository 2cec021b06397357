#!/usr/bin/env python3
# Self-check of the reference model on the machine's known corner cases, so that a
# difference found by difftest.py is not a slip of the model itself.
import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import model  # noqa: E402
from model import Machine, RunOptions, run, hexbyte, hexword, asmhexbyte, asmhexword  # noqa: E402


def machine(ff=False, **regs):
    m = Machine()
    m.optffdefaults = "ON" if ff else "OFF"
    m.clean()
    m.clean1()
    for k, v in regs.items():
        setattr(m, k, v)
    return m


def step(m, *code, at=None):
    at = m.pc if at is None else at
    for i, v in enumerate(code):
        m.mem[at + i] = v
    m.pc = at
    m.stepinstruction()
    return m


class Helpers(unittest.TestCase):
    def test_hex(self):
        cases = [(hexbyte, 256, "00"), (hexbyte, 10, "0A"), (hexword, 65536, "0000"),
                 (asmhexbyte, 171, "0AB"), (asmhexbyte, 18, "12"), (asmhexbyte, 0, "00"),
                 (asmhexword, 43981, "0ABCD"), (hexbyte, -44, "D4")]
        for f, v, want in cases:
            self.assertEqual(f(v), want, (f.__name__, v))

    def test_instructiontext(self):
        cases = [((195, 0, 160), "JMP 0A000H"), ((204, 0, 160), "CZ 0A000H"),
                 ((62, 255, 0), "MVI A,0FFH"), ((62, 16, 0), "MVI A,10H"),
                 ((8, 0, 0), "UNRECOGNIZED"), ((256, 0, 0), "NOP"),
                 ((0x31, 0xF0, 0xFF), "LXI SP,0FFF0H"), ((0xF5, 0, 0), "PUSH PSW")]
        for args, want in cases:
            self.assertEqual(model.instructiontext(*args), want)

    def test_every_opcode_has_a_text_and_cycles(self):
        texts = {model.instructiontext(op, 0, 0) for op in range(256)}
        self.assertEqual(len(texts), 256 - 10 + 1)

    def test_cycletime(self):
        for n, mhz, want in [(10, 4.0, "2.50 \u00b5s"), (2, 4.0, "0.50 \u00b5s"),
                             (0, 4.0, "0.00 \u00b5s"), (79, 2.5, "31.60 \u00b5s")]:
            self.assertEqual(model.cycletime(n, mhz), want)
        self.assertEqual(model.clocktext(model.float32("2.5")), "2.5")
        self.assertEqual(model.clocktext(model.float32("4")), "4")


class Instructions(unittest.TestCase):
    def flags(self, m):
        return (m.fs, m.fz, m.fac, m.fp, m.fcy)

    def test_alu_edges(self):
        # (registers, code, a, (fs, fz, fac, fp, fcy), subflag)
        cases = [
            (dict(a=0x5A), (0xAF,), 0, (0, 1, 0, 1, 0), 0),                   # XRA A
            (dict(a=0x00), (0xA7,), 0, (0, 1, 1, 1, 0), 0),                   # ANA A
            (dict(a=0x37), (0x97,), 0, (0, 1, 0, 1, 0), 1),                   # SUB A
            (dict(a=10), (0xFE, 20), 10, (1, 0, 0, 1, 1), 0),                 # CPI 20
            (dict(a=0x9A), (0xC6, 0, 0x27), 0, (0, 1, 1, 1, 1), 0),           # ADI 0, DAA
        ]
        for regs, code, a, fl, sub in cases:
            m = machine(**regs)
            for i, v in enumerate(code):
                m.mem[i] = v
            m.pc = 0
            while m.pc < len(code):
                m.stepinstruction()
            self.assertEqual((m.a, self.flags(m), m.subflag), (a, fl, sub), code)

    def test_inr_dcr(self):
        m = step(machine(b=255, fcy=1), 0x04)
        self.assertEqual((m.b, m.fz, m.fac, m.fcy), (0, 1, 1, 1))
        m = step(machine(b=0), 0x05)
        self.assertEqual((m.b, m.fs, m.fac), (255, 1, 1))

    def test_subflag_writers(self):
        # (code before DAA, expected path: 1 subtraction)
        cases = [((0x3D,), 1), ((0x3C,), 0), ((0x2F,), 1), ((0x97, 0x05), 1),
                 ((0x97, 0x3C), 0), ((0x87, 0x3D), 1), ((0x97, 0xB8), 1), ((0x87, 0xA0), 0)]
        for code, path in cases:
            m = machine(a=0x22)
            for op in code:
                step(m, op)
            self.assertEqual(m.subflag, path, code)

    def test_daa_subtraction_table(self):
        for fac, fcy, k in [(0, 0, 0), (0, 1, 160), (1, 0, 250), (1, 1, 154)]:
            m = machine(a=0x40, fac=fac, fcy=fcy, subflag=1)
            step(m, 0x27)
            self.assertEqual(m.a, (0x40 + k) % 256)
            self.assertEqual((m.fac, m.fcy), (fac, fcy))

    def test_pop_psw_sets_all_eight(self):
        m = machine(sp=0x100)
        m.mem[0x100] = 0xFF
        m.mem[0x101] = 0x12
        step(m, 0xF1, at=0)
        self.assertEqual((m.a, m.f5, m.f3, m.f1, m.fcy), (0x12, 1, 1, 1, 1))

    def test_push_psw_after_ff_start_pushes_ff(self):
        res = run(bytes([0xF5, 0xF1, 0x76]), RunOptions(maxinstr=10))
        m_rows = res.stdout.decode().splitlines()
        self.assertTrue(m_rows[1].startswith("2      0001  POP PSW         FF 11111111"))

    def test_rst1_at_ffff_leaves_256(self):
        m = machine(ff=True)
        step(m, 0xCF, at=0xFFFF)
        self.assertEqual((m.mem[0xFFFE], m.mem[0xFFFD], m.pc, m.sp), (256, 0, 8, 0xFFFD))
        step(m, 0xC9, at=8)
        self.assertEqual(m.pc, 0)   # 65536 wraps at the end of the step

    def test_call_overwriting_its_operand(self):
        # LXI SP,0006 ; CALL 1234H at 3: the push writes 0006 over the operand
        res = run(bytes([0x31, 0x06, 0x00, 0xCD, 0x34, 0x12]), RunOptions(maxinstr=3))
        rows = res.stdout.decode().splitlines()
        self.assertIn("CALL 1234H", rows[1])
        self.assertTrue(rows[2].startswith("3      0006"))

    def test_top_mirror(self):
        img = bytearray(65536)
        img[0], img[1] = 0x34, 0x12
        img[0xFFFF] = 0xC3
        res = run(bytes(img), RunOptions(start=0xFFFF, maxinstr=1))
        self.assertIn("JMP 1234H", res.stdout.decode())
        m = machine(h=0xFF, l=0xFF)
        m.mem[0] = 0x50       # a write to 0 after Start does not reach the mirror
        step(m, 0x2A, 0xFF, 0xFF, at=0x10)
        self.assertEqual((m.l, m.h), (0, 0))

    def test_stack_wrap(self):
        m = machine(sp=0)
        m.pushword(0x1234)
        self.assertEqual((m.mem[65535], m.mem[65534], m.sp), (0x12, 0x34, 65534))
        m.sp = 65535
        m.mem[0] = 0x56
        self.assertEqual((m.popword(), m.sp), (0x5600 + m.mem[65535], 1))

    def test_conditional_cycles(self):
        # RPE/RPO not taken cost 8, the other returns 6
        for op, want in [(0xE8, 8), (0xE0, 12), (0xC8, 6), (0xC0, 12), (0xCA, 7), (0xCC, 9)]:
            m = machine(sp=0x200)
            step(m, op, 0, 0)
            self.assertEqual(m.instructioncycles, want, hex(op))

    def test_cz_text_keeps_four_digits(self):
        m = machine(fz=0)
        step(m, 0xCC, 0x00, 0xA0)
        self.assertEqual(m.lastinstruction, "CZ A000H")

    def test_halt_option(self):
        on = run(bytes([0x76]), RunOptions(maxinstr=50, haltstops=True))
        off = run(bytes([0x76]), RunOptions(maxinstr=50, haltstops=False))
        self.assertEqual(on.stdout.count(b"\n"), 1)
        self.assertEqual(off.stdout.count(b"\n"), 50)
        self.assertIn("250 clock cycles", off.stats[1])

    def test_log_row_is_64_characters(self):
        res = run(bytes([0x31, 0xF0, 0xFF, 0x76]), RunOptions(maxinstr=5))
        for row in res.stdout.decode().splitlines():
            self.assertEqual(len(row), 64)


class Interrupts(unittest.TestCase):
    def test_trap_accepted_and_buttons_off(self):
        code = bytes([0xFB, 0x00, 0x00, 0x00]) + bytes(32) + bytes([0x76])
        res = run(code, RunOptions(maxinstr=20, presses=[(2, "TRAP"), (5, "RST7.5")]))
        rows = res.stdout.decode().splitlines()
        self.assertTrue(rows[2].startswith("3      0024  TRAP"))
        # RST 7.5 is refused: accepting TRAP turned every button off
        self.assertNotIn("RST 7.5", res.stdout.decode())

    def test_masked_interrupt_refused(self):
        # MVI A,0BH ; SIM ; EI : 7.5 open, 6.5 and 5.5 masked
        code = bytes([0x3E, 0x0B, 0x30, 0xFB]) + bytes(60) + bytes([0x76])
        for name, taken in [("RST7.5", True), ("RST6.5", False), ("RST5.5", False),
                            ("INTR3", True)]:
            res = run(code, RunOptions(maxinstr=10, presses=[(3, name)]))
            rows = res.stdout.decode().splitlines()
            self.assertEqual(len(rows) > 3 and rows[3][13:17] in ("RST ", "INTR"), taken, name)

    def test_reset_restarts(self):
        res = run(bytes([0x3C, 0x3C, 0x3C, 0xC3, 0, 0]), RunOptions(maxinstr=4, presses=[(3, "RESET")]))
        rows = res.stdout.decode().splitlines()
        self.assertEqual(rows[3], "RESET")
        self.assertTrue(rows[4].startswith("1      0000  INR A           00"))


class Driver(unittest.TestCase):
    """difftest.py against a stand-in runner built on the model: silent when
    nothing is wrong, loud for a planted fault in the trace or the statistics."""

    def drive(self, fault):
        import subprocess
        here = os.path.dirname(os.path.abspath(__file__))
        env = dict(os.environ, KELVANE_FAKE_FAULT=fault)
        p = subprocess.run([sys.executable, os.path.join(here, "difftest.py"),
                            "--cli", os.path.join(here, "fakecli.py"), "--count", "3",
                            "--seed", "driver"], capture_output=True, env=env, text=True)
        return p.returncode, p.stdout

    def test_agreement_passes(self):
        rc, out = self.drive("")
        self.assertEqual(rc, 0, out)
        self.assertIn("0 with differences", out)

    def test_planted_faults_are_found(self):
        for fault, words in [("daa", "DIFFERENCE in the trace"),
                             ("stats", "DIFFERENCE in the statistics")]:
            rc, out = self.drive(fault)
            self.assertEqual(rc, 1, fault)
            self.assertIn(words, out)
            self.assertIn("seed driver", out)


if __name__ == "__main__":
    unittest.main()
