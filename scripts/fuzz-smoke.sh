#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for a few seconds from its seed corpus.
# New inputs go to a scratch folder; the seeds in fuzz/corpus stay as they are.
# Usage: scripts/fuzz-smoke.sh [SECONDS_PER_TARGET]   (default 10)
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-10}

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j"$(nproc)"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
count=0
for target in build/fuzz/fuzz/*_fuzz; do
  name=$(basename "$target" _fuzz)
  mkdir -p "$scratch/$name"
  echo "fuzz: $name for ${seconds}s"
  "$target" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 "$scratch/$name" "fuzz/corpus/$name" \
    2>"$scratch/$name.log" || { tail -40 "$scratch/$name.log"; exit 1; }
  grep -E "stat::number_of_executed_units" "$scratch/$name.log" || true
  count=$((count + 1))
done
echo "fuzz: $count targets ran without a finding"
