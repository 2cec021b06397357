#!/usr/bin/env bash
# Non-blank lines of the product code and of the tests, and their ratio; exits 1 when the tests
# pass 40% of the product code. Every file under tests/ counts, whatever its language, except the
# recorded data in tests/data/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
count() { if [ $# -gt 0 ]; then cat -- "$@" | grep -cv '^[[:space:]]*$' || true; else echo 0; fi; }
mapfile -d '' product < <(find core sim progfiles assembler disassembler basic tools modules shell app cli \
    -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.hpp' -o -name '*.c' -o -name '*.py' \) -print0 2>/dev/null)
mapfile -d '' tests < <(find tests -type f -not -path 'tests/data/*' -print0)
p=$(count "${product[@]}")
t=$(count "${tests[@]}")
echo "product code: $p lines"
echo "tests:        $t lines"
awk -v t="$t" -v p="$p" 'BEGIN { r = p ? 100 * t / p : 0; printf "ratio:        %.1f%%\n", r; exit (r > 40) }'
