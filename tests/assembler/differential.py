#!/usr/bin/env python3
"""Differential run: random sources from gensource.py assembled by kelvane-cli and by the Python
reading in refasm.py must give the same .lst, .obj and .hex bytes.
Usage: differential.py KELVANE_CLI [FIRST_SEED] [COUNT]"""
import os
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import gensource  # noqa: E402
import refasm  # noqa: E402


def main():
    cli = sys.argv[1]
    first = int(sys.argv[2]) if len(sys.argv) > 2 else 1
    count = int(sys.argv[3]) if len(sys.argv) > 3 else 200
    bad = 0
    with tempfile.TemporaryDirectory() as d:
        path = os.path.join(d, "d.asm")
        for seed in range(first, first + count):
            src = gensource.source(seed).encode("latin-1")
            with open(path, "wb") as f:
                f.write(src)
            subprocess.run([cli, "asm", path, "--hex"], capture_output=True)
            want = refasm.assemble(src)
            got = []
            for ext in ("lst", "obj", "hex"):
                with open(os.path.join(d, "d." + ext), "rb") as f:
                    got.append(f.read())
            if got != list(want):
                bad += 1
                print("seed %d differs (lst, obj, hex same: %s)" % (seed, [g == w for g, w in zip(got, want)]))
                if bad >= 5:
                    break
    print("%d sources, %d differ" % (count, bad))
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
