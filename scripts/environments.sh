#!/usr/bin/env bash
# The main job in every environment a user's session may give the host: plain; with a private
# XDG_RUNTIME_DIR (every desktop and SSH login sets one); without HOME; under umask 077; from the
# folder /; with LC_ALL=C.UTF-8; all of these at once; and, when run as root, as another Linux user
# with a runtime folder of its own, and as root for a job user who exists on this host, so that the
# preview application runs as that user. In each, the preview job ends the same way:
#   accept  S_OK, the output equal to the input;
#   cancel  E_ABORT, an empty and closed output;
#   change  S_OK, the application's input bin and rotation published, settings changed.
# Exits non-zero when any run ends otherwise; its report is then printed.
#
#   BUILD_DIR  where the programs are built (default build)
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${BUILD_DIR:-$root/build}

bash "$root/scripts/build.sh" >/dev/null

# Everything a run needs, where any user may read it: the checkout may sit in root's home.
work=$(mktemp -d /tmp/qxenv.XXXXXX)
trap '[[ -n "${QXENV_KEEP:-}" ]] || rm -rf "$work"' EXIT
chmod 0755 "$work"
mkdir -p "$work/bin" "$work/runs"
cp "$build_dir"/bin/qxpipelinehost "$build_dir"/bin/*.so "$build_dir"/bin/qxpreviewapp "$work/bin/"
cp "$root/samples/jobs/preview.xps" "$root/samples/machines/default.json" "$work/"
chmod -R a+rX "$work/bin" "$work/preview.xps" "$work/default.json"
chmod 1777 "$work/runs"

export QXPREVIEW_INPUT_BIN=3 QXPREVIEW_ROTATION=1
failures=0
runs=0

# run NAME MODE USER MACHINE ENV...: one job through the host, its machine root and output fresh;
# ENV are env's arguments (options and assignments, then any wrapper command). USER, when not
# empty, is the Linux user to run as; MACHINE, when not empty, replaces the bundled machine.
run() {
  local name=$1 mode=$2 user=$3 machine=${4:-$work/default.json}
  shift 4
  local folder="$work/runs/$name-$mode"
  mkdir -p "$folder/root"
  [[ -z "$user" ]] || chown -R "$user" "$folder"
  local host=("$work/bin/qxpipelinehost" --input "$work/preview.xps" --root "$folder/root"
    --machine "$machine" --preview "$mode" --output "$folder/output.xps")
  local as_user=()
  [[ -z "$user" ]] || as_user=(runuser -u "$user" --)
  local status=0
  "${as_user[@]}" env "$@" "${host[@]}" --log-level info >"$folder/report" 2>&1 ||
    status=$?
  runs=$((runs + 1))
  if ! check "$mode" "$status" "$folder"; then
    failures=$((failures + 1))
    echo "environments: $name, preview $mode: FAILED (status $status)"
    sed 's/^/    /' "$folder/report"
  else
    echo "environments: $name, preview $mode: ok"
  fi
}

has() { grep -qE "$1" "$2/report"; }

check() {
  local mode=$1 status=$2 folder=$3
  case "$mode" in
    accept)
      ((status == 0)) && has 'StartOperation +0x00000000 \(0, S_OK\)' "$folder" &&
        has '^  equal +yes, byte for byte' "$folder" && cmp -s "$work/preview.xps" "$folder/output.xps"
      ;;
    cancel)
      ((status == 1)) && has 'StartOperation +0x80004004 \(-2147467260, E_ABORT\)' "$folder" &&
        has '^  closed +yes' "$folder" && [[ -f "$folder/output.xps" && ! -s "$folder/output.xps" ]]
      ;;
    change)
      ((status == 0)) && has '^  XPS_FP_INPUTBIN +VT_I4 +3$' "$folder" &&
        has '^  XPS_FP_ROTATION +VT_I4 +1$' "$folder" &&
        has '^  XPS_FP_SETTINGSCHANGEDINPRINTPREVIEW +VT_I4 +1$' "$folder" &&
        cmp -s "$work/preview.xps" "$folder/output.xps"
      ;;
  esac
}

private_runtime() {
  local folder
  folder=$(mktemp -d "$work/runtime.XXXXXX")
  chmod 0700 "$folder"
  [[ -z "${1:-}" ]] || chown "$1" "$folder"
  echo "$folder"
}

runtime=$(private_runtime)
for mode in accept cancel change; do
  run plain "$mode" "" ""
  run "XDG_RUNTIME_DIR set" "$mode" "" "" XDG_RUNTIME_DIR="$runtime"
  run "HOME unset" "$mode" "" "" -u HOME
  run "umask 077" "$mode" "" "" bash -c 'umask 077 && exec "$@"' umask
  run "working folder /" "$mode" "" "" bash -c 'cd / && exec "$@"' folder
  run "LC_ALL=C.UTF-8" "$mode" "" "" LC_ALL=C.UTF-8
  run "a login session" "$mode" "" "" -u HOME XDG_RUNTIME_DIR="$runtime" LC_ALL=C.UTF-8 \
    bash -c 'cd / && umask 077 && exec "$@"' session
done

if [[ "$(id -u)" -eq 0 ]]; then
  for user in qxenvhost qxenvjob; do
    id -u "$user" >/dev/null 2>&1 || useradd --no-create-home --shell /usr/sbin/nologin "$user"
  done
  other_runtime=$(private_runtime qxenvhost)
  # The bundled machine with its job user renamed to a user this host knows.
  python3 - "$work/default.json" "$work/jobuser.json" <<'EOF'
import json, sys
machine = json.load(open(sys.argv[1]))
for user in machine["users"]:
    if user["name"] == "ana":
        user["name"] = "qxenvjob"
for job in machine["jobs"]:
    if job.get("user") == "ana":
        job["user"] = "qxenvjob"
json.dump(machine, open(sys.argv[2], "w"), indent=2)
EOF
  chmod a+r "$work/jobuser.json"
  for mode in accept cancel change; do
    run "another user" "$mode" qxenvhost "" -u HOME XDG_RUNTIME_DIR="$other_runtime" \
      bash -c 'cd / && umask 077 && exec "$@"' session
    run "root for a job user of this host" "$mode" "" "$work/jobuser.json" XDG_RUNTIME_DIR="$runtime" \
      bash -c 'umask 077 && exec "$@"' session
  done
else
  echo "environments: not root, so no run as another user"
fi

echo "environments: $((runs - failures)) of $runs runs ended as they should"
((failures == 0))
