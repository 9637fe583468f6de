#!/usr/bin/env bash
# Fails when a C++ file of the project differs from what clang-format makes of it.
set -euo pipefail
cd "$(dirname "$0")/.."
files=$(git ls-files '*.h' '*.cpp')
[ -n "$files" ] || exit 0
# shellcheck disable=SC2086
if ! clang-format --dry-run --Werror $files; then
    echo "Some files are not formatted: run clang-format -i on them." >&2
    exit 1
fi
