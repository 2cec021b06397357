#!/usr/bin/env python3
# Differential test of `kelvane-cli run --trace` against the reference model:
# random programs run through both, standard output compared row for row and
# the statistics compared line for line (the elapsed-seconds line excepted).
"""usage: difftest.py --cli PATH [--count N] [--seed S] [--kinds k1,k2] [--max-reports N]
                   [--interrupts auto|on|off] [--keep-going] [--only I]"""

import argparse
import os
import random
import re
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import model                      # noqa: E402
from gen import KINDS, SLOW_KINDS, fixed_programs, gen, program_hex   # noqa: E402

ELAPSED = re.compile(r"^\d+\.\d+ seconds elapsed\.$")


def run_cli(cli, path, args, timeout=60):
    p = subprocess.run([cli, "run", path] + args, capture_output=True, timeout=timeout)
    return p.returncode, p.stdout, p.stderr


def option_supported(cli, tmpdir, args):
    """Whether `kelvane-cli run` takes an option: it must not end in a usage error."""
    path = os.path.join(tmpdir, "probe.obj")
    with open(path, "wb") as f:
        f.write(bytes([0x00, 0x00, 0x76]))
    rc, _, _ = run_cli(cli, path, ["--max-instructions", "5"] + args)
    return rc == 0


def split_rows(data):
    return data.split(b"\n")


def show_rows(rows, upto, before=5):
    lo = max(0, upto - before)
    return ["    %6d  %r" % (i + 1, rows[i]) for i in range(lo, min(upto, len(rows)))]


def describe(seed, index, prog):
    o = prog.opts
    where = "program %d" % index if index >= 0 else "fixed program"
    lines = ["seed %s, %s, kind %s" % (seed, where, prog.kind),
             "options: " + " ".join(o.argv()),
             "program (hex):", program_hex(prog.image)]
    return "\n".join(lines)


def trace_report(seed, index, prog, res, rc, out, err, note=None):
    mrows = split_rows(res.stdout)
    crows = split_rows(out)
    i = 0
    while i < min(len(mrows), len(crows)) and mrows[i] == crows[i]:
        i += 1
    text = ["DIFFERENCE in the trace at row %d" % (i + 1)]
    if note:
        text.append(note)
    text.append(describe(seed, index, prog))
    text.append("rows before (both agree):")
    text += show_rows(mrows, i)
    text.append("model:       %r" % (mrows[i] if i < len(mrows) else "<end of output>"))
    text.append("kelvane-cli: %r" % (crows[i] if i < len(crows) else "<end of output>"))
    if rc != 0:
        text.append("kelvane-cli exit status %d, standard error: %s"
                    % (rc, err.decode("utf-8", "replace")[:400]))
    return "\n".join(text)


def compare(seed, index, prog, res, rc, out, err):
    """Returns None when the two agree, else a report text."""
    if res.undefined is not None:
        # past an access outside the machine's arrays anything goes; what came
        # before it must agree
        if out.startswith(res.stdout):
            return None
        return trace_report(seed, index, prog, res, rc, out, err,
                            "(the model stopped at a %s)" % res.undefined)
    if rc != 0 or out != res.stdout:
        return trace_report(seed, index, prog, res, rc, out, err)
    got = err.decode("utf-8", "replace").split("\n")
    if got and got[-1] == "":
        got.pop()
    want = res.stats
    if len(got) != 3 or got[0] != want[0] or got[2] != want[1] or not ELAPSED.match(got[1]):
        return "\n".join([
            "DIFFERENCE in the statistics",
            describe(seed, index, prog),
            "model:", "    " + want[0], "    <elapsed>", "    " + want[1],
            "kelvane-cli (standard error):"] + ["    " + g for g in got])
    return None


def main():
    ap = argparse.ArgumentParser(description="kelvane-cli run --trace against the reference model")
    ap.add_argument("--cli", required=True)
    ap.add_argument("--count", type=int, default=300)
    ap.add_argument("--seed", default=None)
    ap.add_argument("--kinds", default=",".join(KINDS))
    ap.add_argument("--interrupts", choices=("auto", "on", "off"), default="auto",
                    help="compare runs with --interrupt/--port/--terminal (auto: if taken)")
    ap.add_argument("--keep-going", action="store_true",
                    help="run every program, not stopping at the first difference")
    ap.add_argument("--max-reports", type=int, default=10,
                    help="with --keep-going: print at most this many differences")
    ap.add_argument("--only", type=int, default=None, help="run program number ONLY only")
    a = ap.parse_args()

    seed = a.seed if a.seed is not None else "1"
    kinds = [k for k in a.kinds.split(",") if k]
    for k in kinds:
        if k not in KINDS + SLOW_KINDS:
            ap.error("unknown kind " + k)
    tmpdir = tempfile.mkdtemp(prefix="kelvane-ref-")
    if a.interrupts == "off":
        kinds = [k for k in kinds if k not in ("intr", "ports")]
    elif a.interrupts == "auto":
        if not option_supported(a.cli, tmpdir, ["--interrupt", "1:TRAP"]):
            print("kelvane-cli run does not take --interrupt: interrupt programs skipped")
            kinds = [k for k in kinds if k != "intr"]
        if not option_supported(a.cli, tmpdir, ["--port", "10=20", "--terminal", "11"]):
            print("kelvane-cli run does not take --port/--terminal: port programs skipped")
            kinds = [k for k in kinds if k != "ports"]
    if not kinds:
        print("no kinds left to run")
        return 0

    path = os.path.join(tmpdir, "program.obj")
    failures = 0
    programs = 0
    instructions = 0
    undefined = 0
    undefined_why = {}
    t0 = time.time()
    fixed = [] if a.only is not None else fixed_programs()
    if "intr" not in kinds:
        fixed = [p for p in fixed if not p.opts.presses]
    indices = [a.only] if a.only is not None else range(-len(fixed), a.count)
    for index in indices:
        if index < 0:
            prog = fixed[index + len(fixed)]
        else:
            prog = gen(random.Random("%s:%d" % (seed, index)), kinds)
        res = model.run(prog.image, prog.opts)
        with open(path, "wb") as f:
            f.write(prog.image)
        try:
            rc, out, err = run_cli(a.cli, path, prog.opts.argv())
        except subprocess.TimeoutExpired:
            rc, out, err = -1, b"", b"timeout"
        programs += 1
        instructions += res.instructions
        if res.undefined is not None:
            undefined += 1
            undefined_why.setdefault(res.undefined.split(" of ")[0].split(" ")[0], []).append(rc)
        report = compare(seed, index, prog, res, rc, out, err)
        if report is not None:
            failures += 1
            if failures <= a.max_reports:
                print(report)
                print()
            if not a.keep_going:
                break
    os.unlink(path) if os.path.exists(path) else None
    os.unlink(os.path.join(tmpdir, "probe.obj"))
    os.rmdir(tmpdir)
    print("%d programs, %d instructions in the model, %d left the defined road, "
          "%d with differences, %.1f s (seed %s)"
          % (programs, instructions, undefined, failures, time.time() - t0, seed))
    for why, rcs in sorted(undefined_why.items()):
        print("  left the defined road at a %s: %d programs, kelvane-cli exit statuses %s"
              % (why, len(rcs), sorted(set(rcs))))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
