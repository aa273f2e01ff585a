#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Fuzzes the readers of maps and models and the command line, one after the other, each for a bounded time. Inputs to
# begin with are the committed ones, our generator's and, where a folder of real files is there, the heads of those.
#   scripts/fuzz.sh [SECONDS]     for each fuzzer; 60 without
#   SELVANE_FUZZ_DATA=DIRECTORY   folder of real maps and models; ../shared/data without
# Inputs found stay in build/fuzz/corpus, faults in build/fuzz/faults. Status 1 if there was a fault.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/lib.sh

readonly SECONDS_EACH="${1:-60}"
[[ "$SECONDS_EACH" =~ ^[1-9][0-9]*$ ]] || die "SECONDS must be a whole number above 0, not '$SECONDS_EACH'"
readonly DATA="${SELVANE_FUZZ_DATA:-../shared/data}"
readonly WORK=build/fuzz
readonly LONGEST_INPUT=4096      # bytes; a small map and a model of 50 atoms fit
readonly LARGEST_ALLOCATION_MB=8 # far more than such an input bears out
readonly LARGEST_UNFOLDED_MB=160 # gzip folds a byte to a thousandth of one, which may be a voxel of a skew map
readonly LONGEST_RUN=10          # seconds for one input

# seeds_of TARGET: the heads of real files that are of its kind.
seeds_of() {
    local pattern file
    [[ -d "$DATA" ]] || return 0
    case "$1" in
    map | mapfile) pattern='.*\.\(map\|mrc\|ccp4\)' ;;
    modelfile) pattern='.*\.\(pdb\|ent\|cif\|cif\.gz\)' ;;
    pdb | pqr) pattern='.*\.\(pdb\|ent\|pqr\|cif\)' ;;
    *) return 0 ;;
    esac
    while IFS= read -r -d '' file; do
        head -c "$LONGEST_INPUT" "$file" >"$WORK/corpus/$1/head_$(basename "$file")"
    done < <(find "$DATA" -type f -iregex "$pattern" -print0)
}

fuzz() {
    local corpus="$WORK/corpus/$1" faults="$WORK/faults/$1" largest="$LARGEST_ALLOCATION_MB"
    [[ "$1" != mapfile ]] || largest="$LARGEST_UNFOLDED_MB"
    mkdir -p "$corpus" "$faults"
    seeds_of "$1"
    say "Fuzzing $1 for $SECONDS_EACH s, from $(find "$corpus" "fuzz/corpus/$1" -type f | wc -l) inputs"
    "$WORK/bin/fuzz_$1" -max_total_time="$SECONDS_EACH" -max_len="$LONGEST_INPUT" -timeout="$LONGEST_RUN" \
        -malloc_limit_mb="$largest" -artifact_prefix="$faults/" -close_fd_mask=3 \
        -dict="fuzz/dictionaries/$1.dict" -print_final_stats=1 "$corpus" "fuzz/corpus/$1" 2>&1 |
        grep -v -E '^#[0-9]+.*(NEW|REDUCE|RELOAD)' | tail -n 40
}

require_packages "${BUILD_PACKAGES[@]}" clang libclang-rt-dev
build fuzz
"$WORK/bin/fuzz_seeds" "$WORK/corpus"
status=0
for target in map mapfile pdb pqr modelfile options; do
    fuzz "$target" || status=1
done
if ((status == 0)); then
    say "No fault found; all inputs that reach new code are in $WORK/corpus"
else
    say "There were faults; the inputs are in $WORK/faults"
fi
exit "$status"
