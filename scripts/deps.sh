#!/usr/bin/env bash
# Installs the Debian packages that building, testing and fuzzing need; does nothing when all are there.
set -euo pipefail

packages=(
  g++ clang cmake ninja-build pkg-config   # compilers and build
  libboost-dev                             # boost::format, boost::shared_ptr
  libgtest-dev libgmock-dev                # unit tests
  libbenchmark-dev                         # benchmarks
  libicu-dev                               # test oracle and benchmark peer for Unicode
  libclang-rt-14-dev                       # libFuzzer and sanitizer runtimes for clang
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]} == 0)); then
  exit 0
fi
if [[ $(id -u) -ne 0 ]]; then
  echo "deps: missing packages: ${missing[*]}; run as root to install them" >&2
  exit 1
fi
echo "deps: installing ${missing[*]}"
apt-get update -qq
DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
