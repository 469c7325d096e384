#!/usr/bin/env bash
# Builds, then runs the bundled preview job through the filter module with the pipeline host on the
# bundled machine, the preview application accepting it, and prints the host's report with the
# filter's decision from its log. Arguments are passed to the host, e.g. --preview cancel,
# --input samples/jobs/sample.xps, --printer "QX Quarry 36" or --property NAME=i4:1; --machine FILE
# replaces the bundled machine (the host's default, which the build puts beside it), --input FILE
# the job, --log-level LEVEL the log level.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${BUILD_DIR:-$root/build}

bash "$root/scripts/build.sh"
machine="$build_dir/machine"
# The host refuses a root that others may write, whatever the umask made of it.
mkdir -p -m 0755 "$machine"
job=(--input "$root/samples/jobs/preview.xps")
log_level=(--log-level info)
for argument in "$@"; do
  case "$argument" in
    --input|--input=*|--input-folder|--input-folder=*) job=() ;;
    --log-level|--log-level=*) log_level=() ;;
  esac
done
exec "$build_dir/bin/qxpipelinehost" "${job[@]}" --root "$machine" "${log_level[@]}" "$@"
