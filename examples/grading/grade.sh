#!/usr/bin/env bash
# Grades a folder of 8085 programs: every NAME.asm in it is assembled and run by kelvane-cli, side
# by side (xargs -P), and its final state compared with the expected values of one JSON file.
# Prints one table row per program and exits 0 when every program passes, 1 otherwise.
#
# usage: grade.sh [-j JOBS] [-n MAX_INSTRUCTIONS] [-o KEEP_DIR] STUDENTS_DIR EXPECTED.json [RUN_OPTION...]
#
#   -j JOBS              programs graded at once (default: the number of processors)
#   -n MAX_INSTRUCTIONS  a program that has not halted by then fails (default 10000000)
#   -o KEEP_DIR          keep each program's listing and what the tools said (NAME.lst, NAME.txt)
#   RUN_OPTION...        more options for `kelvane-cli run`, such as --terminal 01 or --start 0100
#
# kelvane-cli is taken from $KELVANE_CLI, else from PATH, else from the build folder of this tree.
# The students' folder is only read: each program is assembled in a private folder.
set -euo pipefail

self=$(readlink -f "$0")
here=$(dirname "$self")

findcli() {
    if [ -n "${KELVANE_CLI:-}" ]; then
        echo "$KELVANE_CLI"
    elif command -v kelvane-cli >/dev/null; then
        command -v kelvane-cli
    else
        echo "$here/../../build/kelvane-cli"
    fi
}

# One line of the table, its fields separated by tabs (none inside a field).
row() {
    local fields=()
    for f in "$@"; do fields+=("$(printf '%s' "$f" | tr '\t\r\n' '   ')"); done
    (IFS=$'\t'; printf '%s\n' "${fields[*]}")
}

# Grades one program: the options for run, then the program. Runs under xargs.
gradeone() {
    local src=${*: -1}
    local runoptions=("${@:1:$#-1}")
    local name out status
    name=$(basename "$src")
    work=$(mktemp -d) # global: the trap runs after this function has returned
    trap 'rm -rf "$work"' EXIT
    cp -- "$src" "$work/$name"

    status=0
    out=$(cd "$work" && "$GRADE_CLI" asm "$name" 2>&1) || status=$?
    keep "$name" "$work" "$out"
    if [ "$status" -ne 0 ]; then
        local errors first
        errors=$(printf '%s\n' "$out" | sed -n 's/^Number of errors = //p')
        # "NAME.asm:8: Error: Unrecognized instruction." as "line 8: Unrecognized instruction."
        first=$(printf '%s\n' "$out" | grep -m1 -v '^Number of errors' | sed 's/^.*:\([0-9]*\): Error: /line \1: /' || true)
        row "$name" "${errors:-no}${errors:+ errors}" "FAIL" "$first"
        return
    fi

    local objs=("$work"/*.obj)
    status=0
    out=$("$GRADE_CLI" run "${objs[0]}" --max-instructions "$GRADE_MAX" --expect "$GRADE_EXPECT" \
          "${runoptions[@]}" 2>&1 >/dev/null) || status=$?
    keep "$name" "$work" "$out"
    local count diffs
    count=$(printf '%s\n' "$out" | sed -n 's/^Total number of executed instructions is \([0-9]*\)\.$/\1/p')
    diffs=$(printf '%s\n' "$out" | sed -e '/^Total number of executed/,/^Real-time duration/d' -e '/^$/d')
    if [ "$status" -eq 0 ]; then
        row "$name" "ok" "PASS" "$count instructions"
    elif [ "$status" -eq 1 ] && [ -n "$count" ]; then
        local first more note=""
        first=$(printf '%s\n' "$diffs" | head -n 1)
        more=$(($(printf '%s\n' "$diffs" | wc -l) - 1))
        [ "$count" = "$GRADE_MAX" ] && note="no HLT within $GRADE_MAX instructions; "
        row "$name" "ok" "FAIL" "$note$first$([ "$more" -gt 0 ] && echo " (and $more more)")"
    else
        row "$name" "ok" "ERROR" "$(printf '%s\n' "$out" | head -n 1)"
    fi
}

# With -o: the program's listing and everything the tools said, under KEEP_DIR.
keep() {
    [ -n "$GRADE_KEEP" ] || return 0
    local base=${1%%.*}
    cp -f -- "$2"/*.lst "$GRADE_KEEP/$base.lst" 2>/dev/null || true
    [ -z "$3" ] || printf '%s\n' "$3" >>"$GRADE_KEEP/$base.txt"
}

if [ "${1:-}" = "--one" ]; then
    shift
    gradeone "$@"
    exit 0
fi

usage() {
    echo "usage: $(basename "$0") [-j JOBS] [-n MAX_INSTRUCTIONS] [-o KEEP_DIR] STUDENTS_DIR EXPECTED.json [RUN_OPTION...]" >&2
    exit 2
}

jobs=$(nproc 2>/dev/null || echo 2)
max=10000000
keepdir=""
while getopts "j:n:o:h" opt; do
    case $opt in
        j) jobs=$OPTARG ;;
        n) max=$OPTARG ;;
        o) keepdir=$OPTARG ;;
        *) usage ;;
    esac
done
shift $((OPTIND - 1))
[ $# -ge 2 ] || usage
students=$1
expected=$2
shift 2
[ -d "$students" ] || { echo "grade.sh: $students is not a folder" >&2; exit 2; }
[ -r "$expected" ] || { echo "grade.sh: can't read $expected" >&2; exit 2; }
cli=$(findcli)
[ -x "$cli" ] || { echo "grade.sh: kelvane-cli not found (set KELVANE_CLI)" >&2; exit 2; }
if [ -n "$keepdir" ]; then
    mkdir -p "$keepdir"
    rm -f "$keepdir"/*.txt
    keepdir=$(readlink -f "$keepdir")
fi

mapfile -d '' programs < <(find "$students" -maxdepth 1 -type f -iname '*.asm' -print0 | sort -z)
[ ${#programs[@]} -gt 0 ] || { echo "grade.sh: no .asm files in $students" >&2; exit 2; }

export GRADE_CLI=$cli GRADE_EXPECT=$(readlink -f "$expected") GRADE_MAX=$max GRADE_KEEP=$keepdir
rows=$(printf '%s\0' "${programs[@]}" | xargs -0 -n 1 -P "$jobs" "$self" --one "$@" | sort)

printf 'PROGRAM\tASSEMBLY\tRESULT\tDETAILS\n%s\n' "$rows" | awk -F '\t' '
    { for (i = 1; i <= 3; i++) if (length($i) > w[i]) w[i] = length($i); line[NR] = $0 }
    END {
        for (n = 1; n <= NR; n++) {
            split(line[n], f, "\t")
            printf "%-" w[1] "s  %-" w[2] "s  %-" w[3] "s  %s\n", f[1], f[2], f[3], f[4]
        }
    }'
passed=$(printf '%s\n' "$rows" | awk -F '\t' '$3 == "PASS"' | wc -l)
echo
echo "$passed of ${#programs[@]} programs pass."
[ "$passed" -eq ${#programs[@]} ]
