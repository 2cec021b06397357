#!/usr/bin/env python3
# A stand-in for `kelvane-cli run` built on the reference model, used only to check
# that difftest.py notices a difference: KELVANE_FAKE_FAULT names a fault to plant.
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import model  # noqa: E402


def main(argv):
    if len(argv) < 2 or argv[0] != "run":
        print("usage: fakecli.py run PROGRAM [options]", file=sys.stderr)
        return 2
    with open(argv[1], "rb") as f:
        image = f.read()
    o = model.RunOptions(trace=False)
    it = iter(argv[2:])
    for arg in it:
        if arg == "--trace":
            o.trace = True
            continue
        val = next(it)
        if arg == "--max-instructions":
            o.maxinstr = int(val)
        elif arg == "--start":
            o.start = int(val, 16)
        elif arg == "--ff-defaults":
            o.ffdefaults = val == "on"
        elif arg == "--halt-stops":
            o.haltstops = val == "on"
        elif arg == "--clock":
            o.clock = val
        elif arg == "--interrupt":
            n, name = val.split(":")
            o.presses.append((int(n), name))
        elif arg == "--port":
            p, v = val.split("=")
            o.ports.append((int(p, 16), int(v, 16)))
        elif arg == "--terminal":
            o.terminal = int(val, 16)
        else:
            print("unknown option " + arg, file=sys.stderr)
            return 2
    fault = os.environ.get("KELVANE_FAKE_FAULT", "")
    if fault == "daa":
        # DAA forgets the subtraction path
        real = model.Machine.daa

        def daa(self):
            self.subflag = 0
            real(self)
        model.Machine.daa = daa
    res = model.run(image, o)
    out = res.stdout
    stats = list(res.stats)
    if fault == "stats":
        stats[1] = stats[1].replace(" clock cycles", "0 clock cycles")
    sys.stdout.buffer.write(out)
    sys.stderr.write(stats[0] + "\n0.0 seconds elapsed.\n" + stats[1] + "\n")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
