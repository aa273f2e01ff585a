#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs what is missing, builds, makes the example, fits it and checks the answer against the known pose.
#   scripts/demo.sh [DIR]    DIR (build/demo) takes the example and the fit; JOBS=N sets the number of parallel jobs
set -euo pipefail

# Degrees between rotations. The resolution of 10 A over the model's radius of 31 A would allow 18; this is finer and
# still takes about half a minute on two cores.
DANGLE=12
SOLUTIONS=100
# Angstrom; a fit this near stands in the right place of a map of 10 A.
MAX_RMSD=2

# A folder given is meant from where the user stands, not from the repository.
output="${1:-}"
[[ -z "$output" || "$output" == /* ]] || output="$PWD/$output"
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/lib.sh
output="${output:-$PWD/build/demo}"

require_packages "${BUILD_PACKAGES[@]}"
build release
bin="$PWD/build/release/bin"

say "Making the example"
mkdir -p -- "$output/fit"
cd -- "$output"
"$bin/selvane-example" "$output"

say "Fitting model.pdb into map.ccp4"
"$bin/selvane" --ipdb "$output/model.pdb" --iedm "$output/map.ccp4" --odir "$output/fit" \
    --dangle "$DANGLE" --nsolutions "$SOLUTIONS" --nthread "$(jobs_count)"

say "Comparing with the known pose"
status=0
"$bin/selvane-check" "$output/fit/Solution.pdb" "$output/truth.pdb" "$MAX_RMSD" || status=$?

say "Files in $output"
cat <<'FILES'
model.pdb                the model as the fit received it
map.ccp4                 the map
truth.pdb, truth.txt     the model where the map shows it, and the way there
fit/Solution.pdb         the poses found, refined, best first, one MODEL each
fit/Rigid_solution.pdb   the same poses as the search found them
fit/original.pdb         the atoms that took part
fit/edm.map              the map as it was read
fit/log.txt              the command line
density.map              the density simulated from the model
FILES
exit "$status"
