#!/usr/bin/env bash
# Builds everything under AddressSanitizer and UndefinedBehaviorSanitizer and runs the whole test
# suite; then checks that an installed copy of the library links from CMake and from pkg-config, and
# runs each fuzz target for a few seconds.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)

scripts/deps.sh

cmake --preset asan >/dev/null
cmake --build --preset asan -j"$jobs"
# Long exhaustive checks carry the label "exhaustive" and run only on request.
ctest --preset asan -j"$jobs" --label-exclude exhaustive

scripts/consumer-check.sh

# The fuzz targets, briefly, with clang's libFuzzer (their seeds already ran above as replay tests).
scripts/fuzz-smoke.sh 10
