#!/bin/sh
# Fails when a tracked C++ file differs from what .clang-format makes of it.
# A check, not a rewrite: `clang-format -i FILE` applies the style.
set -eu
cd "$(dirname "$0")/.."
git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format --dry-run -Werror
echo "ok: every C++ file is formatted by .clang-format"
