# SPDX-License-Identifier: GPL-3.0-or-later
# shellcheck shell=bash
# What the scripts share: packages, the number of jobs, building and testing a preset. To be sourced.

# Debian's names of what the build needs, and of what the tests and benchmarks need besides.
# shellcheck disable=SC2034  # the scripts that source this file use them
BUILD_PACKAGES=(g++ cmake make libfftw3-dev libarmadillo-dev libopenblas-dev libarpack2-dev libeigen3-dev libtclap-dev
    gemmi-dev tao-pegtl-dev zlib1g-dev libcli11-dev nlohmann-json3-dev)
# shellcheck disable=SC2034
TEST_PACKAGES=(libgtest-dev libbenchmark-dev gemmi python3-gemmi python3-mrcfile python3-numpy python3-jsonschema)

say() {
    printf '\n== %s\n' "$*"
}

die() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# Parallel jobs: JOBS if set, otherwise one per core, but no more than one per 1.5 GiB of memory.
jobs_count() {
    local cores memory_kib by_memory
    if [[ -n "${JOBS:-}" ]]; then
        [[ "$JOBS" =~ ^[1-9][0-9]*$ ]] || die "JOBS must be a whole number above 0, not '$JOBS'"
        echo "$JOBS"
        return
    fi
    cores="$(nproc)"
    memory_kib="$(awk '/^MemTotal:/ { print $2 }' /proc/meminfo 2>/dev/null || true)"
    by_memory=$((${memory_kib:-1572864} / 1572864))
    ((by_memory >= 1)) || by_memory=1
    echo $((cores < by_memory ? cores : by_memory))
}

is_debian() {
    [[ -e /etc/debian_version ]] && command -v apt-get >/dev/null && command -v dpkg-query >/dev/null
}

is_installed() {
    [[ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" == installed ]]
}

# Runs a command with the rights to install packages.
as_root() {
    if [[ "$(id -u)" == 0 ]]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        die "installing packages needs root or sudo; as root: apt-get install ${missing[*]}"
    fi
}

# A program or header that shows whether a package's content is there, on systems with other package names.
probe() {
    case "$1" in
    g++) command -v g++ || command -v c++ ;;
    cmake | make) command -v "$1" ;;
    libfftw3-dev) has_header fftw3.h ;;
    libarmadillo-dev) has_header armadillo ;;
    libeigen3-dev) has_header eigen3/Eigen/Core || has_header Eigen/Core ;;
    libtclap-dev) has_header tclap/CmdLine.h ;;
    gemmi-dev) has_header gemmi/model.hpp ;;
    tao-pegtl-dev) has_header tao/pegtl.hpp ;;
    zlib1g-dev) has_header zlib.h ;;
    libcli11-dev) has_header CLI/CLI.hpp ;;
    nlohmann-json3-dev) has_header nlohmann/json.hpp ;;
    libgtest-dev) has_header gtest/gtest.h ;;
    libbenchmark-dev) has_header benchmark/benchmark.h ;;
    gemmi) command -v gemmi ;;
    python3-*) python3 -c "import ${1#python3-}" ;;
    libopenblas-dev) has_library openblas ;;
    libarpack2-dev) has_library arpack ;;
    clang) command -v clang++ ;;
    clang-format-16 | clang-tidy | cppcheck | strace) command -v "$1" ;;
    llvm) command -v llvm-cov && command -v llvm-profdata ;;
    libclang-rt-dev) printf 'int main() {}\n' | clang++ -fsanitize=address -x c++ - -o /dev/null ;;
    *) false ;;
    esac >/dev/null 2>&1
}

has_header() {
    printf '#include <%s>\n' "$1" | "${CXX:-c++}" -std=c++17 -E -x c++ -
}

has_library() {
    printf 'int main() {}\n' | "${CXX:-c++}" -x c++ - "-l$1" -o /dev/null
}

# Installs those of the packages that are missing (Debian), or names them and goes on if they are there (elsewhere).
require_packages() {
    local package
    missing=()
    for package in "$@"; do
        if is_debian; then
            is_installed "$package" || missing+=("$package")
        else
            probe "$package" || missing+=("$package")
        fi
    done
    if ! is_debian; then
        say "This is not Debian. Needed are what Debian calls: $*"
        ((${#missing[@]} == 0)) || die "not found: ${missing[*]}"
        return
    fi
    if ((${#missing[@]} == 0)); then
        say "All packages are there"
        return
    fi
    say "Installing through apt-get: ${missing[*]}"
    as_root apt-get update -q
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"
}

# build PRESET: configures and builds into build/PRESET.
build() {
    local jobs
    jobs="$(jobs_count)"
    say "Building the preset $1 in build/$1 with $jobs jobs"
    cmake --preset "$1"
    cmake --build --preset "$1" --parallel "$jobs"
}

# build_and_test PRESET [OPTION...]: builds and runs all tests, or those that ctest's options leave; the last lines are
# ctest's own summary.
build_and_test() {
    local jobs
    build "$1"
    jobs="$(jobs_count)"
    say "Testing the preset $1"
    ctest --preset "$1" --parallel "$jobs" --no-tests=error "${@:2}"
}
