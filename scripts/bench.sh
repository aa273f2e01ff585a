#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs what is missing, builds with optimisation and prints what a scan costs beside what it is meant to cost. The
# unit "pair" is one forward and one inverse transform of the padded grid, out of place and on one thread, measured in
# turn with the rest. An idle machine is needed for the throughput; the other times stand for CPU time or change little.
#   scripts/bench.sh            all but the largest grid, in less than ten minutes after the build
#   scripts/bench.sh --large    the grid of 512^3 only, which takes up to 14 GB
# JOBS=N sets the number of parallel jobs of the build.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/lib.sh

option="${1:-}"
[[ $# -le 1 && ( -z "$option" || "$option" == --large ) ]] || die "usage: bench.sh [--large]"

# kernel PROGRAM BENCHMARK COUNTER: a counter of a benchmark, the median of several repetitions.
kernel() {
    "$bin/$1" --benchmark_filter="^$2" --benchmark_repetitions=3 --benchmark_report_aggregates_only=true \
        --benchmark_format=csv 2>/dev/null |
        awk -F, -v counter="\"$3\"" '
            /^name,/ { for (i = 1; i <= NF; ++i) if ($i == counter) column = i }
            /_median"/ { print $column }'
}

row() {
    printf '%-68s %7.2f  %-13s %s\n' "$1" "$2" "" "${3:-}"
}

require_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}"
build_dir=build/bench
bin="$PWD/$build_dir/bin"
say "Building with benchmarks in $build_dir"
cmake --preset release -B "$build_dir" -DSELVANE_BUILD_BENCHMARKS=ON
cmake --build "$build_dir" --parallel "$(jobs_count)" \
    --target selvane selvane-fit whole_runs fit_runs one_rotation_benchmark local_rotation_benchmark oracle_benchmark \
    polish_benchmark reading_benchmark writing_benchmark
export OPENBLAS_NUM_THREADS=1

say "Measuring; the load of the last minute is $(cut -d' ' -f1 /proc/loadavg 2>/dev/null || echo unknown)"
printf '%-68s %7s  %-13s %s\n' "" "median" "(least-most)" "target"
if [[ "$option" == --large ]]; then
    "$bin/whole_runs" "$bin/selvane" "$build_dir/runs" --large
    exit
fi
"$bin/whole_runs" "$bin/selvane" "$build_dir/runs"
later='laterRotation/128/'
row "the parts of a rotation late in a scan, 128^3: rotate, in pairs" "$(kernel one_rotation_benchmark "$later" rotate)"
row "  transform and multiply" "$(kernel one_rotation_benchmark "$later" correlate)"
row "  transform back and look for candidates" "$(kernel one_rotation_benchmark "$later" offer)"
for edge in 64 128; do
    row "a local rotation, $edge^3, in plain rotations" \
        "$(kernel local_rotation_benchmark "localRotation<double>/$edge/" plain_rotations)" "<= 2.3"
    row "  in single precision" \
        "$(kernel local_rotation_benchmark "localRotation<float>/$edge/" plain_rotations)" "<= 1.4"
done
row "a multistep oracle call with derivatives, no modes, 128^3, in pairs" \
    "$(kernel oracle_benchmark derivativesFewVoxels/128/0/ pairs)" "<= 4"
row "writing poses of 20,000 atoms, in times of fprintf" \
    "$(kernel writing_benchmark pose/atoms:20000/modes:0/ ratio)" "<= 0.4"
"$bin/fit_runs" "$bin/selvane-fit" "$build_dir/runs"
row "reading a gzipped map of 256^3, in times of inflating it" \
    "$(kernel reading_benchmark gzippedMap/256 ratio)" "<= 2"
row "reading a plain map of 256^3, in times of fetching and copying it" \
    "$(kernel reading_benchmark plainMap/256 ratio)"
row "polishing a pose of 3,000 atoms, coarse and fine, in pairs of 64^3" \
    "$(kernel polish_benchmark polish/3000 pairs)" "<= 5"
