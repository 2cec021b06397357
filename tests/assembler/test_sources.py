#!/usr/bin/env python3
# kelvane-cli asm against recorded outputs: NAME.asm in the data folder must give NAME.lst,
# NAME.obj and NAME.hex byte for byte; the sources of random.jsonl (every literal form,
# one-operator expressions, register-like labels, lists, .ORG near FFFF, CR LF, LF and lone CR)
# must give listings, images and HEX files of the recorded hashes.
"""usage: test_sources.py KELVANE_CLI DATA_FOLDER"""
import glob
import hashlib
import json
import os
import subprocess
import sys
import tempfile


def sha(data):
    return hashlib.sha256(data).hexdigest()[:16]


def assemble(cli, folder, source):
    path = os.path.join(folder, "s.asm")
    with open(path, "wb") as f:
        f.write(source)
    subprocess.run([cli, "asm", path, "--hex"], capture_output=True, timeout=60)
    got = {}
    for ext in ("lst", "obj", "hex"):
        with open(os.path.join(folder, "s." + ext), "rb") as f:
            got[ext] = f.read()
    return got


def firstdifference(ext, want, got):
    """The first byte of the image, or the first row of a text, that differs."""
    if ext == "obj":
        k = next((i for i in range(min(len(want), len(got))) if want[i] != got[i]), min(len(want), len(got)))
        return "byte %04X: want %s, got %s (%d bytes, want %d)" % (
            k, want[k:k + 1].hex() or "end", got[k:k + 1].hex() or "end", len(got), len(want))
    w, g = want.split(b"\r\n"), got.split(b"\r\n")
    k = next((i for i in range(max(len(w), len(g))) if w[i:i + 1] != g[i:i + 1]), len(w))
    return "row %d\n  want %r\n  got  %r" % (k + 1, w[k] if k < len(w) else b"", g[k] if k < len(g) else b"")


def stretch(marks, lst):
    """Rows of the listing around the first recorded mark it misses."""
    rows = lst.split(b"\r\n")
    lo = 0
    for k, mark in enumerate(marks):
        if sha(b"".join(r + b"\r\n" for r in rows[:2 ** k]))[:8] != mark:
            return "first difference in rows %d-%d:\n%s" % (
                lo + 1, 2 ** k, "\n".join("    %r" % r for r in rows[lo:2 ** k]))
        lo = 2 ** k
    return "rows agree up to row %d" % lo


def main():
    cli, data = sys.argv[1], sys.argv[2]
    failures = []
    with tempfile.TemporaryDirectory() as d:
        for src in sorted(glob.glob(os.path.join(data, "*.asm"))):
            with open(src, "rb") as f:
                got = assemble(cli, d, f.read())
            for ext in ("lst", "obj", "hex"):
                with open(src[:-3] + ext, "rb") as f:
                    want = f.read()
                if got[ext] != want:
                    failures.append("%s.%s differs: %s" % (os.path.basename(src)[:-4], ext, firstdifference(ext, want, got[ext])))
        with open(os.path.join(data, "random.jsonl")) as f:
            records = [json.loads(line) for line in f if line.strip()]
        for rec in records:
            got = assemble(cli, d, rec["source"].encode("latin-1"))
            bad = [ext for ext in ("lst", "obj", "hex") if sha(got[ext]) != rec[ext]]
            if bad:
                failures.append("random source %d: %s differ (.obj %d bytes, want %d)\n%s" % (
                    rec["seed"], ", ".join(bad), len(got["obj"]), rec["objsize"], stretch(rec["marks"], got["lst"])))
    for text in failures[:5]:
        print(text + "\n")
    print("%d random sources and the hand-made ones, %d failures" % (len(records), len(failures)))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
