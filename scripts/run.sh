#!/usr/bin/env bash
# Builds, then runs the bundled sample job through the filter module with the pipeline host on the
# bundled machine, and prints its report. Arguments are passed to the host, e.g. --gradual,
# --printer "QX Quarry 36" or --property NAME=i4:1; --machine FILE replaces the bundled machine.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${BUILD_DIR:-$root/build}

bash "$root/scripts/build.sh"
machine="$build_dir/machine"
mkdir -p "$machine"
machine_description=(--machine "$root/samples/machines/default.json")
for argument in "$@"; do
  if [[ "$argument" == --machine || "$argument" == --machine=* ]]; then
    machine_description=()
  fi
done
exec "$build_dir/bin/qxpipelinehost" --input "$root/samples/jobs/sample.xps" --root "$machine" \
  "${machine_description[@]}" "$@"
