#!/usr/bin/env bash
# Builds, then runs the bundled sample job through the filter module with the pipeline host and
# prints its report. Arguments are passed to the host, e.g. --gradual or --property NAME=i4:1.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${BUILD_DIR:-$root/build}

bash "$root/scripts/build.sh"
machine="$build_dir/machine"
mkdir -p "$machine"
exec "$build_dir/bin/qxpipelinehost" --input "$root/samples/jobs/sample.xps" --root "$machine" "$@"
