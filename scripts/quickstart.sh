#!/usr/bin/env bash
# Installs what is missing, builds the optimised library and tools, installs them under
# build/release-install, and runs the main job: vykrec converting a PC text file to Unix lines, to
# mainframe variable blocked records, and back.
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

# PC lines (CR LF) -> Unix lines (LF) -> mainframe variable blocked records -> PC lines again.
"$vykrec" copy --from V --to V --to-termstr LF "$sample" "$work/unix.txt"
"$vykrec" copy --from V --to S370VB "$work/unix.txt" "$work/records.vb"
"$vykrec" copy --from S370VB --to V --to-termstr CRLF "$work/records.vb" "$work/pc.txt"
cmp "$sample" "$work/pc.txt"
echo "vykrec: $sample -> $work/unix.txt (LF lines) -> $work/records.vb (S370VB) -> $work/pc.txt, byte for byte"
