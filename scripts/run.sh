#!/usr/bin/env bash
# Builds Veldrin and starts it; arguments (mailto: links) are passed on.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELDRIN_BUILD_TESTS=OFF
cmake --build build --parallel "$(nproc)"
exec ./build/src/veldrin "$@"
