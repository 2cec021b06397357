#!/usr/bin/env python3
# kelvane-cli run against recorded traces: corner programs and seeded random ones (top of memory,
# stack wrap, self-modifying code, 256 in a memory element, HLT, DAA, interrupts, ports), each
# compared by the hash of its standard output and by its statistics.
"""usage: test_traces.py KELVANE_CLI TRACES.jsonl [NAME...]"""
import hashlib
import json
import os
import re
import subprocess
import sys
import tempfile


def sha(data):
    return hashlib.sha256(data).hexdigest()[:16]


def lcgbytes(seed, n):
    out = bytearray(n)
    for i in range(n):
        seed = (seed * 1103515245 + 12345) & 0xFFFFFFFF
        out[i] = seed >> 24
    return out


def image(rec):
    img = bytearray(rec["size"])
    for lo, hi, seed in rec.get("fills", []):
        for i, b in enumerate(lcgbytes(seed, hi - lo), lo):
            img[i % 65536] = b
    for at, data in rec["patches"]:
        b = bytes.fromhex(data)
        img[at:at + len(b)] = b
    return img


def firstdifference(rec, out):
    """Rows 2^k..2^(k+1) around the first recorded mark that the output misses."""
    rows = out.split(b"\n")
    lo = 0
    for k, mark in enumerate(rec["marks"]):
        if sha(b"\n".join(rows[:2 ** k]) + b"\n")[:8] != mark:
            return "first difference in rows %d-%d:\n%s" % (lo + 1, 2 ** k, b"\n".join(
                b"    " + r for r in rows[lo:2 ** k]).decode("latin-1"))
        lo = 2 ** k
    return "rows agree up to row %d" % lo


def check(cli, rec, path):
    with open(path, "wb") as f:
        f.write(image(rec))
    p = subprocess.run([cli, "run", path] + rec["args"], capture_output=True, timeout=60)
    out = p.stdout[:rec["bytes"]] if rec.get("prefix") else p.stdout
    if sha(out) != rec["sha"] or (not rec.get("prefix") and p.returncode != 0):
        return "standard output differs (status %d, %d bytes, want %d)\n%s" % (
            p.returncode, len(p.stdout), rec["bytes"], firstdifference(rec, p.stdout))
    if "stats" in rec:
        err = p.stderr.decode("utf-8", "replace").splitlines()
        if (len(err) != 3 or [err[0], err[2]] != rec["stats"]
                or not re.fullmatch(r"\d+\.\d+ seconds elapsed\.", err[1])):
            return "statistics differ:\n  got  %s\n  want %s" % (err, rec["stats"])
    return None


def main():
    cli, data, only = sys.argv[1], sys.argv[2], set(sys.argv[3:])
    with open(data) as f:
        records = [json.loads(line) for line in f if line.strip()]
    failures = 0
    with tempfile.TemporaryDirectory() as d:
        for rec in records:
            if only and rec["name"] not in only:
                continue
            why = check(cli, rec, os.path.join(d, "program.obj"))
            if why:
                failures += 1
                if failures <= 5:
                    print("%s: kelvane-cli run PROGRAM %s\n%s\n" % (rec["name"], " ".join(rec["args"]), why))
    print("%d programs, %d differ" % (len(records), failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
