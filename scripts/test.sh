#!/usr/bin/env bash
# Builds, then runs every test.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${BUILD_DIR:-$root/build}

bash "$root/scripts/build.sh"
ctest --test-dir "$build_dir" --output-on-failure -j2
