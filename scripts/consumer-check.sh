#!/usr/bin/env bash
# Installs the release build into a fresh prefix, then builds and runs a separate consumer project
# against it through find_package and through pkg-config.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
prefix=$root/build/consumer-prefix
rm -rf "$prefix" build/consumer
cmake --preset release >/dev/null
cmake --build --preset release -j"$(nproc)"
cmake --install build/release --prefix "$prefix" >/dev/null

cmake -S examples/consumer -B build/consumer -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build build/consumer
build/consumer/consumer

export PKG_CONFIG_PATH=$prefix/lib/pkgconfig:$prefix/lib/$(gcc -print-multiarch)/pkgconfig
# shellcheck disable=SC2046
g++ -std=c++17 examples/consumer/main.cpp -o build/consumer/consumer-pc $(pkg-config --cflags --libs vykxutil) \
  -Wl,-rpath,"$(pkg-config --variable=libdir vykxutil)"
build/consumer/consumer-pc
echo "consumer-check: the installed package links through CMake and pkg-config"
