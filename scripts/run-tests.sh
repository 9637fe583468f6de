#!/usr/bin/env bash
# Builds Veldrin with warnings as errors and runs every test: unit and interface tests
# offscreen, the keychain test against a real Secret Service on a private D-Bus, and the
# integration tests against a real JMAP server (Cyrus) on loopback.
#   scripts/run-tests.sh             the whole run
#   scripts/run-tests.sh --sanitize  unit tests under AddressSanitizer and UBSan
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)

sanitize=0
[ "${1:-}" = "--sanitize" ] && sanitize=1

if [ "$sanitize" = 1 ]; then
    build="$root/build-sanitize"
    # The interface needs no second build: its tests do not run under the sanitizers.
    flags=(-DVELDRIN_SANITIZE=ON -DVELDRIN_BUILD_UI=OFF -DCMAKE_BUILD_TYPE=)
else
    build="$root/build-tests"
    # Unoptimised builds compile fastest; benchmarks are measured in a Release build.
    flags=(-DCMAKE_BUILD_TYPE=)
fi

export QT_QPA_PLATFORM=offscreen
export QTWEBENGINE_CHROMIUM_FLAGS="${QTWEBENGINE_CHROMIUM_FLAGS:---no-sandbox --disable-gpu}"

bash scripts/check-format.sh

cmake -S "$root" -B "$build" -G Ninja -DVELDRIN_WERROR=ON "${flags[@]}"
cmake --build "$build" --parallel "$(nproc)"

if [ "$sanitize" = 1 ]; then
    export ASAN_OPTIONS="detect_leaks=0:abort_on_error=1"
    export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
    ctest --test-dir "$build" -LE 'integration|keychain|benchmark|ui' --output-on-failure
    exit 0
fi

ctest --test-dir "$build" -LE 'integration|keychain|benchmark' --output-on-failure
harness="$root/tests/integration/harness"
VELDRIN_REAL_KEYCHAIN=1 bash "$harness/with-keyring.sh" \
    ctest --test-dir "$build" -L keychain --output-on-failure
bash "$harness/with-cyrus.sh" ctest --test-dir "$build" -L integration --output-on-failure
