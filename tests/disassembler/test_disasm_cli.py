#!/usr/bin/env python3
"""kelvane-cli disasm as a user runs it: the recorded texts of both forms from .obj and .hex files,
the loader's refusals with their exit status, nothing left in the program's folder, runs side by
side in one folder. Usage: test_disasm_cli.py KELVANE_CLI OUTPUTS.txt"""
import concurrent.futures
import os
import random
import subprocess
import sys
import tempfile
import unittest

CLI, OUTPUTS = sys.argv.pop(1), sys.argv.pop(1)


def disasm(*args):
    p = subprocess.run([CLI, "disasm"] + list(args), capture_output=True, timeout=60)
    return p.returncode, p.stdout.decode("latin-1"), p.stderr.decode("latin-1")


def hexfile(data):
    rows = []
    for at in range(0, len(data), 16):
        body = bytes([len(data[at:at + 16]), at >> 8, at & 255, 0]) + data[at:at + 16]
        rows.append(":%s%02X\r\n" % (body.hex().upper(), -sum(body) & 255))
    return "".join(rows) + ":00000001FF\r\n"


def recorded():
    """(name, bytes, listing, source) of each case in OUTPUTS."""
    cases = []
    with open(OUTPUTS, newline="") as f:
        for line in f:
            if line.startswith("@@ case "):
                words = line.split()
                cases.append([words[2], bytes.fromhex("".join(words[3:])), "", ""])
            elif line.startswith("@@ "):
                part = 2 if line.strip() == "@@ listing" else 3
            else:
                cases[-1][part] += line
    return cases


class Disasm(unittest.TestCase):
    def setUp(self):
        self.tmp = tempfile.TemporaryDirectory()
        self.dir = self.tmp.name

    def tearDown(self):
        self.tmp.cleanup()

    def put(self, name, data):
        path = os.path.join(self.dir, name)
        with open(path, "wb") as f:
            f.write(data if isinstance(data, bytes) else data.encode())
        return path

    def test_recorded_texts_from_obj_and_hex(self):
        self.put("notes.txt", "mine")
        for name, data, listing, source in recorded():
            obj, hx = self.put("prog.obj", data), self.put("prog.txt", hexfile(data))
            for args, want in (([obj], listing), ([obj, "--source"], source),
                               (["--format", "hex", hx], listing), ([hx, "--format", "hex", "--source"], source)):
                self.assertEqual(disasm(*args), (0, want, ""), name + " " + " ".join(args[1:]))
        self.assertEqual(sorted(os.listdir(self.dir)), ["notes.txt", "prog.obj", "prog.txt"])

    def test_program_named_like_a_working_file_survives(self):
        for name in ("8085_disassembler_temporary_file", "8085_disassembler_temporary_file2"):
            path = self.put(name, b"\xC3\x03\x00\x76")
            code, out, _ = disasm(path, "--format", "obj")
            self.assertEqual((code, out.count("JMP L0001")), (0, 1))
            with open(path, "rb") as f:
                self.assertEqual(f.read(), b"\xC3\x03\x00\x76")
            self.assertEqual(os.listdir(self.dir), [name])
            os.unlink(path)

    def test_refusals_and_usage_errors(self):
        code, out, _ = disasm(self.put("full.obj", bytes(65536)))
        self.assertEqual(code, 0)
        self.assertIn("\n5536   FFFF 00                  NOP\n", out)
        p = os.path.join(self.dir, "full.obj")
        for args, status, message in (
                ([self.put("empty.obj", b"")], 1, "The size of the selected file is zero."),
                ([self.put("big.obj", bytes(65537))], 1, "The size of the selected file is greater than 64K."),
                ([self.put("bad.hex", ":0100000000FE\r\n")], 1, "Intel Hex Format contains errors."),
                ([], 2, "usage: kelvane-cli disasm"), ([p, "--format"], 2, "usage: kelvane-cli disasm"),
                ([p, "--format", "bin"], 2, "usage"), ([p, "--listing"], 2, "usage"), ([p, p], 2, "usage")):
            code, out, err = disasm(*args)
            self.assertEqual((code, out), (status, ""), args)
            self.assertIn(message, err)
        self.assertNotEqual(disasm(os.path.join(self.dir, "none.obj"))[0], 0)
        self.assertEqual(sorted(os.listdir(self.dir)), ["bad.hex", "big.obj", "empty.obj", "full.obj"])

    def test_runs_side_by_side_in_one_folder(self):
        # The working files have fixed names; runs in the same folder must not mix them up.
        rng = random.Random(5)
        paths = [self.put("p%d.obj" % k, rng.randbytes(rng.randrange(20000, 60000))) for k in range(8)]
        alone = [disasm(p, "--source") for p in paths]
        with concurrent.futures.ThreadPoolExecutor(8) as pool:
            together = list(pool.map(lambda p: disasm(p, "--source"), paths))
        self.assertTrue(together == alone, "a run beside others gave another text")
        self.assertEqual(len(os.listdir(self.dir)), 8)


if __name__ == "__main__":
    unittest.main()
