#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs what is missing, builds with warnings as errors and runs all tests.
#   scripts/test.sh          JOBS=N sets the number of parallel jobs
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/lib.sh

require_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}"
build_and_test dev
