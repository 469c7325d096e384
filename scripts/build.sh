#!/usr/bin/env bash
# Configures and builds everything into build/ (or $BUILD_DIR). Arguments are passed to cmake's
# configure step, e.g.: BUILD_DIR=build-asan bash scripts/build.sh -DQX_SANITIZE=ON
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${BUILD_DIR:-$root/build}

bash "$root/scripts/setup.sh"
cmake -S "$root" -B "$build_dir" -G Ninja "$@"
cmake --build "$build_dir" -- -j"$(nproc)"
