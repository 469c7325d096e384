#!/usr/bin/env bash
# Installs the Debian packages that the build and the tests need, and any further packages named as
# arguments (e.g. the fuzz build's clang). Does nothing when all are present, so it is cheap to run
# before every build.
set -euo pipefail

packages=(
  cmake ninja-build g++ pkg-config
  libgtest-dev libgmock-dev libbenchmark-dev
  libxml2-dev libzip-dev librapidxml-dev nlohmann-json3-dev
  python3
  # real XPS readers that the tests open written packages with
  mupdf-tools libgxps-utils
  "$@"
)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  if [[ "$status" != "install ok installed" ]]; then
    missing+=("$package")
  fi
done
if ((${#missing[@]} == 0)); then
  exit 0
fi

echo "setup: installing ${missing[*]}"
as_root=()
if [[ "$(id -u)" -ne 0 ]]; then
  as_root=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update
"${as_root[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
