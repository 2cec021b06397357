#!/usr/bin/env bash
# Instructions per second of `kelvane-cli run` (no trace) on the workloads: best of three runs,
# by wall-clock time and by the process's CPU time (steadier on a busy machine).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
cli=${1:-$here/../build/kelvane-cli}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
python3 "$here/workloads.py" "$work"
python3 - "$cli" "$work" <<'PY'
import os, re, subprocess, sys, time
cli, work = sys.argv[1], sys.argv[2]
for w in ('delay', 'bubble', 'mul16'):
    best_wall = best_cpu = 0.0
    for _ in range(3):
        t0 = time.perf_counter()
        p = subprocess.Popen([cli, 'run', os.path.join(work, w + '.obj')],
                             stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        err = p.stderr.read().decode()
        _, _, ru = os.wait4(p.pid, 0)
        wall = time.perf_counter() - t0
        n = int(re.search(r'executed instructions is (\d+)\.', err).group(1))
        best_wall = max(best_wall, n / wall)
        best_cpu = max(best_cpu, n / (ru.ru_utime + ru.ru_stime))
    print('%-8s %11d instructions  %7.1f M/s wall  %7.1f M/s cpu' % (w, n, best_wall / 1e6, best_cpu / 1e6))
PY
