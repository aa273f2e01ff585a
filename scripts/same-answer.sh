#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Fits the example again and again and compares the results: byte by byte between runs of one program, alone, beside
# other work and on one core, and within one unit of the last written digit between the release and the sanitizer build.
#   scripts/same-answer.sh [RUNS]    RUNS (20) of the release build; JOBS=N sets the number of parallel jobs
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/lib.sh

readonly RESULTS=(Rigid_solution.pdb Solution.pdb edm.map)
readonly DANGLE=20
runs="${1:-20}"
[[ "$runs" =~ ^[1-9][0-9]*$ ]] || die "RUNS must be a whole number above 0, not '$runs'"

# fit PROGRAM DIR [COMMAND...]: runs the program, by the command if one is given, with its results in DIR.
fit() {
    local program="$1" directory="$2"
    shift 2
    rm -rf -- "$directory"
    mkdir -- "$directory"
    "$@" "$program" --ipdb model.pdb --iedm map.ccp4 --odir "$directory" --dangle "$DANGLE" --nsolutions 100 \
        --nthread 2 >"$directory.report" 2>&1 || die "a run failed; see $PWD/$directory.report"
}

same_bytes() {
    local name
    for name in "${RESULTS[@]}"; do
        cmp -- "$1/$name" "$2/$name" || die "$1 and $2 differ"
    done
}

# same_numbers FILE FILE: equal but for numbers, which may differ by one in their last digit.
same_numbers() {
    paste -d '\n' -- "$1" "$2" | awk '
        # The text before the next number, its blanks aside; number and rest are set.
        function next_number(text, before) {
            if (!match(text, /-?[0-9]+([.][0-9]+)?/)) { number = ""; rest = ""; before = text }
            else {
                before = substr(text, 1, RSTART - 1)
                number = substr(text, RSTART, RLENGTH)
                rest = substr(text, RSTART + RLENGTH)
            }
            gsub(/ /, "", before)
            return before
        }
        function differ() { printf "line %d:\n%s\n%s\n", NR / 2, first, $0; failed = 1; exit 1 }
        NR % 2 { first = $0; next }
        first != $0 {
            a = first
            b = $0
            while (a != "" || b != "") {
                before = next_number(a); x = number; a = rest
                if (next_number(b) != before || (x == "") != (number == "")) differ()
                b = rest
                decimals = index(x, ".") ? length(x) - index(x, ".") : 0
                off = x - number
                if (off < 0) off = -off
                if (off > 1.001 * 10 ^ -decimals) differ()
                if (off > 0) ++changed
            }
        }
        END { if (!failed) printf "%d numbers differ, by one in their last digit\n", changed }'
}

require_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}"
build release
say "Building the sanitizers' program in build/asan-ubsan"
cmake --preset asan-ubsan
cmake --build --preset asan-ubsan --parallel "$(jobs_count)" --target selvane
release="$PWD/build/release/bin/selvane"
sanitized="$PWD/build/asan-ubsan/bin/selvane"

work=build/same-answer
rm -rf "$work"
mkdir -p "$work"
cd "$work"
../release/bin/selvane-example . >example.report

say "Fitting the example $runs times"
busy=()
trap '((${#busy[@]} == 0)) || kill "${busy[@]}"' EXIT
fit "$release" run0
for ((run = 1; run < runs; ++run)); do
    if ((run == runs / 3)); then
        for ((job = 0; job < $(nproc); ++job)); do
            (while :; do :; done) &
            busy+=($!)
        done
        echo "from run $run on, as many busy loops run beside as the machine has cores"
    fi
    ((run != 2 * runs / 3)) || echo "from run $run on, on one core"
    if ((run >= 2 * runs / 3)); then
        fit "$release" again taskset -c 0
    else
        fit "$release" again
    fi
    same_bytes run0 again
done
((${#busy[@]} == 0)) || kill "${busy[@]}"
busy=()
echo "$runs runs gave the same bytes in ${RESULTS[*]}"

say "Fitting the example with the sanitizers' build"
fit "$sanitized" sanitized
cmp run0/edm.map sanitized/edm.map
for name in Rigid_solution.pdb Solution.pdb; do
    told="$(same_numbers "run0/$name" "sanitized/$name")" || die "$name differs between the builds: $told"
    echo "$name: $told"
done
