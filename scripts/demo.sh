#!/usr/bin/env bash
# Installs what is needed, builds and installs the library into build/stage, builds the demo
# host against the installed library and renders the showcase PNG (default: orvel-demo.png).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/bootstrap.sh
out="${1:-$PWD/orvel-demo.png}"
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release
cmake --build build -j "$(nproc)" --target orvel
cmake --install build --prefix "$PWD/build/stage" >/dev/null
cmake -S examples -B build/demo -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$PWD/build/stage"
cmake --build build/demo -j "$(nproc)"
libdir="$(dirname "$(find "$PWD/build/stage" -name 'liborvel.so' | head -n 1)")"
LD_LIBRARY_PATH="$libdir:${LD_LIBRARY_PATH:-}" build/demo/orvel-demo "$out"
