#!/usr/bin/env bash
# Builds qxiprev.dll and the Windows test programs (scripts/build-windows.sh; QX_NO_BUILD=1 skips
# it), then runs the Windows checks under Wine in a throw-away 64-bit prefix and prints a summary.
# Exits 1 if any section failed. Arguments name the sections to run (default: all).
#
# A section is a function section_<name> added to `sections` below: it returns non-zero on failure
# and runs each Windows program through run_windows, which gives it a time limit. The driver log is
# switched with driver_log on|off before a section that depends on it.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${BUILD_WINDOWS_DIR:-$root/build-windows}
bin=$build_dir/bin

sections=(loadcheck_log_off loadcheck_log_on standins passthrough)

if [[ ${QX_NO_BUILD:-0} != 1 ]]; then
  bash "$root/scripts/build-windows.sh"
fi
for program in qxiprev.dll qxloadcheck.exe qxwinhost.exe; do
  if [[ ! -f $bin/$program ]]; then
    echo "test-windows: $bin/$program is missing (windows/CMakeLists.txt must add_subdirectory(tests))" >&2
    exit 1
  fi
done

WINEPREFIX=$(mktemp -d "${TMPDIR:-/tmp}/qxwinetest.XXXXXX")
export WINEPREFIX WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
cleanup() {
  wineserver -k 2>/dev/null || true
  rm -rf "$WINEPREFIX"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

echo "test-windows: preparing a Wine prefix"
wineboot -i >/dev/null 2>&1 || true
if [[ ! -d $WINEPREFIX/drive_c/windows ]]; then
  echo "test-windows: wineboot did not create the prefix $WINEPREFIX" >&2
  exit 1
fi
# A fresh prefix may lack the user's temporary folder, which GetTempPath names all the same.
for local_folder in "$WINEPREFIX"/drive_c/users/*/AppData/Local; do
  mkdir -p "$local_folder/Temp"
done
# Wine 8 reports Windows 7 by default; a version-4 print driver runs on Windows 8 and later.
echo "test-windows: the prefix reports Windows 10 (Wine's default is Windows 7)"
wine winecfg -v win10 >/dev/null 2>&1

log_folder="$WINEPREFIX/drive_c/QX Inc/Calvost"

# driver_log on|off: the driver's log as the next programs see it; "on" starts from an empty log.
driver_log() {
  if [[ $1 == on ]]; then
    mkdir -p "$log_folder"
    printf 'info\r\n' >"$log_folder/qxdrvlog.cfg"
    rm -f "$log_folder/qxdrvlog.log"
  else
    rm -f "$log_folder/qxdrvlog.cfg"
  fi
}

# run_windows SECONDS PROGRAM ARGS...: runs a program of $bin under Wine, killed after SECONDS.
# Fails unless it exits 0 in time.
run_windows() {
  local limit=$1 program=$2 status=0
  shift 2
  timeout --kill-after=5 "$limit" wine "$bin/$program" "$@" || status=$?
  if ((status == 124 || status == 137)); then
    echo "test-windows: $program $* did not exit within $limit s (a hang)" >&2
  elif ((status != 0)); then
    echo "test-windows: $program $* exited with $status" >&2
  fi
  return "$status"
}

section_loadcheck_log_off() {
  driver_log off
  run_windows 60 qxloadcheck.exe off
}

section_loadcheck_log_on() {
  driver_log on
  run_windows 60 qxloadcheck.exe on
}

# The driver's closed libraries and the preview application, built in the same tree; their smoke
# run makes a prefix of its own.
section_standins() {
  QX_NO_BUILD=1 BUILD_WINSTANDINS_DIR="$build_dir" bash "$root/scripts/test-windows-standins.sh"
}

# The bundled sample job, preview off, through qxwinhost.exe on the bundled machine's "QX Mesa 44":
# the filter passes the bytes through and publishes the PIN and the privacy level, as the Linux
# host shows it. The driver properties go to the host as lines "TYPE NAME=VALUE".
section_passthrough() {
  local work="$WINEPREFIX/drive_c/qxjob" report status=0
  mkdir -p "$work"
  cp "$root/samples/jobs/sample.xps" "$work/sample.xps"
  python3 - "$root/samples/machines/default.json" "QX Mesa 44" >"$work/driver.txt" <<'PY'
import json, sys
machine = json.load(open(sys.argv[1], encoding="utf-8"))
printer = next(p for p in machine["printers"] if p["name"] == sys.argv[2])
for name, entry in printer["driverPropertyBag"].items():
    value = entry["value"]
    if entry["type"] == "bool":
        value = 1 if value else 0
    print(f'{entry["type"]} {name}={value}')
PY
  driver_log off
  report=$(run_windows 120 qxwinhost.exe --module "$(winepath -w "$bin/qxiprev.dll")" \
             --input 'C:\qxjob\sample.xps' --output 'C:\qxjob\output.xps' \
             --driver-properties 'C:\qxjob\driver.txt' --printer "QX Mesa 44") || status=$?
  report=${report//$'\r'/}  # the Windows C runtime ends its lines with CR LF
  printf '%s\n' "$report" | sed 's/^/  /'
  if ((status != 0)); then
    return 1
  fi
  local expected
  for expected in '  StartOperation 0x00000000 S_OK' '  pipeline  RequestShutdown 0 (0x00000000), FilterFinished 1' \
                  '  XPS_FP_PIN = VT_BSTR "' '  XPS_FP_PRIVACYLEVEL = VT_I4 '; do
    if ! grep -qF -- "$expected" <<<"$report"; then
      echo "test-windows: the passthrough report lacks: $expected" >&2
      return 1
    fi
  done
  if ! grep -q 'bytes, equal to the input$' <<<"$report" || ! cmp -s "$work/sample.xps" "$work/output.xps"; then
    echo "test-windows: the passthrough output differs from the input" >&2
    return 1
  fi
}

if (($# > 0)); then
  sections=("$@")
fi
summary=()
failed=0
for section in "${sections[@]}"; do
  echo "test-windows: == $section"
  started=$SECONDS
  if "section_$section"; then
    result=passed
  else
    result=FAILED
    failed=1
  fi
  summary+=("$(printf '%-24s %s (%d s)' "$section" "$result" $((SECONDS - started)))")
done

echo "test-windows: summary"
printf '  %s\n' "${summary[@]}"
exit "$failed"
