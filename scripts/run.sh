#!/usr/bin/env bash
# Builds Veldrin and starts it; arguments (mailto: links) are passed on.
set -euo pipefail
cd "$(dirname "$0")/.."
export CCACHE_DIR="${CCACHE_DIR:-$(pwd)/.cache/ccache}"
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELDRIN_BUILD_TESTS=OFF
cmake --build build --parallel "$(nproc)"
exec ./build/src/veldrin "$@"
