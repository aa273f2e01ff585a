#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Fits a small example over the results of an earlier run, again and again, while one system call of each thread fails:
# write, openat, rename, renameat2, fsync and mmap, each at each of its first calls behind the start of the program. No
# fault may end a run by a signal, hang it, or leave anything but the earlier results or the new ones, whole, both
# solution files of one run; what is missing must be told, and what a checkpoint holds must come back with --resume.
#   scripts/fault-sweep.sh [CALLS]    CALLS (40) of each; JOBS=N sets the number of runs at once
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/lib.sh

readonly RESULTS=(Rigid_solution.pdb Solution.pdb original.pdb edm.map)
# What fails, and how.
readonly FAULTS=("write ENOSPC" "openat EMFILE" "rename EIO" "renameat2 EINVAL" "fsync EIO" "mmap ENOMEM")
# The loader makes as many of these as a run that only prints its version; the others it doesn't make.
readonly CALLS_OF_LOADER="openat mmap"
# The files that other threads open; the loader has none of these names, so that they count from the first.
readonly FILES_OF_THREADS=(out/.selvane-checkpoint.new density.map)
readonly LONGEST_RUN=60 # seconds, for a run of less than one
calls="${1:-40}"
[[ "$calls" =~ ^[1-9][0-9]*$ ]] || die "CALLS must be a whole number above 0, not '$calls'"

# fit PREFIX... -- OPTION...: runs the program by the prefix in the present directory, with model.pdb and map.ccp4.
fit() {
    local prefix=()
    while [[ "$1" != -- ]]; do
        prefix+=("$1")
        shift
    done
    "${prefix[@]}" "$PROGRAM" --ipdb model.pdb --iedm map.ccp4 --odir out --dangle 12 --nsolutions 3 --nthread 2 "${@:2}" >report 2>errors
}

# calls_of CALL: how many of them the main thread makes before the program has read its command line.
calls_of() {
    strace -o "$WORK/calls" -e trace="$1" "$PROGRAM" --version >/dev/null
    grep -c "^$1(" "$WORK/calls" || true
}

# is_whole DIR NAME: whether a result of the run in DIR is that of the earlier or of the new run; sets `state`.
is_whole() {
    state=
    ! cmp -s "$1/out/$2" "$WORK/earlier/out/$2" || state=earlier
    ! cmp -s "$1/out/$2" "$WORK/new/out/$2" || state=new
    [[ -n "$state" ]]
}

# defect_of DIR STATUS: prints what is wrong with a run that has ended, if anything.
defect_of() {
    local directory="$1" status="$2" name state rigid missing=
    if ((status == 124 || status == 137)); then echo "hangs"; return; fi
    # The one documented abort: a map that can't be opened.
    if ((status == 134)) && grep -q "could not open CCP4 density map file" "$directory/errors"; then status=1; fi
    if ((status > 1)); then echo "ends with status $status"; return; fi
    for name in "${RESULTS[@]}"; do
        is_whole "$directory" "$name" || { echo "leaves $name neither old nor new"; return; }
        [[ "$name" != Rigid_solution.pdb ]] || rigid="$state"
        [[ "$name" != Solution.pdb || "$state" == "$rigid" ]] || { echo "mixes the solutions of two runs"; return; }
        [[ "$state" == new ]] || missing="$name"
    done
    if [[ -n "$missing" && "$status" == 0 && ! -s "$directory/errors" ]]; then echo "loses $missing silently"; return; fi
    if compgen -G "$directory/out/.selvane-*.partial" >/dev/null || compgen -G "$directory/.selvane-*" >/dev/null ||
        [[ -e "$directory/out/.selvane-checkpoint.new" || -e "$directory/out/.selvane-checkpoint.lock" ]]; then
        echo "leaves a hidden file"
        return
    fi
    [[ ! -e "$directory/out/.selvane-checkpoint" ]] || defect_of_resumed "$directory"
}

defect_of_resumed() {
    (cd "$1" && fit -- --resume) || { echo "cannot be resumed"; return; }
    for name in "${RESULTS[@]}"; do
        is_whole "$1" "$name" && [[ "$state" == new ]] || { echo "has no new $name after it was resumed"; return; }
    done
}

# try_fault "CALL ERROR NUMBER [FILE]": prints a line if a run doesn't stand the fault.
try_fault() {
    local call error number file directory status=0 defect
    read -r call error number file <<<"$1"
    directory="$WORK/$call-$number${file:+-of-${file##*/}}"
    cp -r "$WORK/earlier" "$directory"
    cp "$WORK/new/model.pdb" "$WORK/new/map.ccp4" "$directory"
    # The shell names a process that a signal ended on a stream of its own.
    (cd "$directory" && fit timeout -k 5 "$LONGEST_RUN" strace -f -o strace -e trace="$call" \
        -e inject="$call:error=$error:when=$number" ${file:+-P "$file"} --) 2>/dev/null || status=$?
    defect="$(defect_of "$directory" "$status")"
    if [[ -z "$defect" ]]; then
        rm -rf "$directory"
    else
        echo "$call $number ($error)${file:+ of $file}: the run $defect; see $directory"
    fi
}

# The faults in the form that try_fault takes.
faults() {
    local fault call error skipped number file
    for fault in "${FAULTS[@]}"; do
        read -r call error <<<"$fault"
        skipped=0
        [[ " $CALLS_OF_LOADER " != *" $call "* ]] || skipped="$(calls_of "$call")"
        for ((number = skipped + 1; number <= skipped + calls; ++number)); do
            echo "$call $error $number"
        done
    done
    for file in "${FILES_OF_THREADS[@]}"; do
        for number in 1 2; do
            echo "openat EMFILE $number $file"
        done
    done
}

# words WORD...: 32-bit words in hexadecimal, lowest byte first.
words() {
    local word
    for word in "$@"; do
        printf '%b' "\\x${word:6:2}\\x${word:4:2}\\x${word:2:2}\\x${word:0:2}"
    done
}

# write_map WORD: a map of 12 nodes an axis at 3 angstrom that holds the number, a float, in a part without symmetry.
write_map() {
    local -r nodes=0000000c none=00000000 cell=42100000 angle=42b40000
    local i j k unused
    words "$nodes" "$nodes" "$nodes" 00000002 "$none" "$none" "$none" "$nodes" "$nodes" "$nodes"
    words "$cell" "$cell" "$cell" "$angle" "$angle" "$angle" 00000001 00000002 00000003 "$none" "$1" "$none"
    for ((unused = 23; unused <= 52; ++unused)); do words "$none"; done
    words 2050414d 00004144
    for ((unused = 55; unused <= 256; ++unused)); do words "$none"; done
    for ((k = 0; k < 12; ++k)); do
        for ((j = 0; j < 12; ++j)); do
            for ((i = 0; i < 12; ++i)); do
                if ((i > 2 && i < 9 && j > 3 && j < 3 + i / 2 && k > 4 && k < 9)); then words "$1"; else words "$none"; fi
            done
        done
    done
}

# prepare NAME WORD ATOMS: fits the first atoms of the example's model in a directory of its own.
prepare() {
    mkdir "$WORK/$1"
    head -n "$3" "$WORK/example/model.pdb" >"$WORK/$1/model.pdb"
    write_map "$2" >"$WORK/$1/map.ccp4"
    (cd "$WORK/$1" && fit --) || die "the example cannot be fitted; see $WORK/$1/errors"
}

require_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" strace
say "Building the program with a short interval of checkpoints in build/dev"
cmake --preset dev
cmake --build --preset dev --parallel "$(jobs_count)" --target selvane_short_interval selvane-example
WORK="$PWD/build/fault-sweep"
PROGRAM="$PWD/build/dev/app/selvane_short_interval"
rm -rf "$WORK"
mkdir -p "$WORK"
strace -o /dev/null true || die "strace may not trace here"
build/dev/bin/selvane-example "$WORK/example" >/dev/null
prepare new 40000000 60
prepare earlier 3f800000 50

say "Failing each of $calls calls of write, openat, rename, renameat2, fsync and mmap"
export WORK PROGRAM LONGEST_RUN
export -f fit is_whole defect_of defect_of_resumed try_fault
mapfile -t list < <(faults)
printf '%s\0' "${list[@]}" | xargs -0 -P "$(jobs_count)" -I{} bash -c 'RESULTS=('"${RESULTS[*]}"'); try_fault "$1"' - {} |
    tee "$WORK/defects"
[[ ! -s "$WORK/defects" ]] || die "$(wc -l <"$WORK/defects") of ${#list[@]} faults are not withstood"
echo "${#list[@]} faults withstood"
