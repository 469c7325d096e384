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

sections=(loadcheck_log_off loadcheck_log_on standins passthrough preview_accept preview_cancel preview_banner)

if [[ ${QX_NO_BUILD:-0} != 1 ]]; then
  bash "$root/scripts/build-windows.sh"
fi
for program in qxiprev.dll qxloadcheck.exe qxwinhost.exe qxicl.dll qxpreviewapp.exe; do
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
  local report
  report=$(run_job sample.xps done) || return 1
  expect_lines "$report" '  StartOperation 0x00000000 S_OK' '  pipeline  RequestShutdown 0 (0x00000000), FilterFinished 1' \
               '  XPS_FP_PIN = VT_BSTR "' '  XPS_FP_PRIVACYLEVEL = VT_I4 ' || return 1
  expect_equal_output sample.xps "$report"
}

# run_job JOB done|abort: the bundled job JOB (samples/jobs) through qxwinhost.exe on the bundled
# machine's "QX Mesa 44", the driver properties as lines "TYPE NAME=VALUE"; prints the host's report
# and fails unless the job ended as the second argument says.
run_job() {
  local job=$1 expect=$2 work="$WINEPREFIX/drive_c/qxjob" report status=0
  mkdir -p "$work"
  rm -f "$work/output.xps" "$work/preview-report.json"
  cp "$root/samples/jobs/$job" "$work/$job"
  python3 - "$root/samples/machines/default.json" "QX Mesa 44" >"$work/driver.txt" <<'PY2'
import json, sys
machine = json.load(open(sys.argv[1], encoding="utf-8"))
printer = next(p for p in machine["printers"] if p["name"] == sys.argv[2])
for name, entry in printer["driverPropertyBag"].items():
    value = entry["value"]
    if entry["type"] == "bool":
        value = 1 if value else 0
    print(f'{entry["type"]} {name}={value}')
PY2
  driver_log "${QX_WINE_DRIVER_LOG:-off}"
  report=$(run_windows 120 qxwinhost.exe --module "$(winepath -w "$bin/qxiprev.dll")" \
             --input "C:\\qxjob\\$job" --output 'C:\qxjob\output.xps' \
             --driver-properties 'C:\qxjob\driver.txt' --printer "QX Mesa 44" --expect "$expect") || status=$?
  report=${report//$'\r'/}  # the Windows C runtime ends its lines with CR LF
  printf '%s\n' "$report" | sed 's/^/  /' >&2
  printf '%s\n' "$report"
  if [[ ${QX_WINE_DRIVER_LOG:-off} == on && -f $log_folder/qxdrvlog.log ]]; then
    sed 's/^/  log: /' "$log_folder/qxdrvlog.log" >&2
  fi
  return "$status"
}

# expect_lines REPORT LINE...: fails unless the report holds each line (a prefix of one).
expect_lines() {
  local report=$1 expected
  shift
  for expected in "$@"; do
    if ! grep -qF -- "$expected" <<<"$report"; then
      echo "test-windows: the report lacks: $expected" >&2
      return 1
    fi
  done
}

expect_equal_output() {
  local job=$1 report=$2 work="$WINEPREFIX/drive_c/qxjob"
  if ! grep -q 'bytes, equal to the input$' <<<"$report" || ! cmp -s "$work/$job" "$work/output.xps"; then
    echo "test-windows: the output of $job differs from the input" >&2
    return 1
  fi
}

# The preview application stand-in installed as the bundled machine installs the real one: the
# program under Program Files, named by the registry's PPExecPath and PPExecFile, with the archive
# attribute the filter requires of it, and its own copies of qxicl.dll and qxitrn.dll beside it (the
# application loads them from its folder, the filter from the driver's: $bin, beside qxiprev.dll).
install_preview() {
  local folder="$WINEPREFIX/drive_c/Program Files/QX/QX Print Preview2"
  if [[ -f $folder/QXPrintPreview2.exe ]]; then
    return 0
  fi
  mkdir -p "$folder"
  cp "$bin/qxpreviewapp.exe" "$folder/QXPrintPreview2.exe"
  cp "$bin/qxicl.dll" "$bin/qxitrn.dll" "$folder/"
  wine reg add 'HKLM\SOFTWARE\QX\QX Print Preview2' /v PPExecPath /t REG_SZ \
    /d 'C:\Program Files\QX\QX Print Preview2\' /f >/dev/null 2>&1 || return 1
  wine reg add 'HKLM\SOFTWARE\QX\QX Print Preview2' /v PPExecFile /t REG_SZ \
    /d 'QXPrintPreview2.exe' /f >/dev/null 2>&1 || return 1
  # Wine reports a file of the Unix file system as FILE_ATTRIBUTE_ARCHIVE unless its DOS
  # attributes (an extended attribute) say otherwise; attrib sets it as an installer would.
  wine attrib +a 'C:\Program Files\QX\QX Print Preview2\QXPrintPreview2.exe' >/dev/null 2>&1 || true
}

# expect_preview_report MODE: the preview application ran in MODE without an error, and the job file
# it was sent lay in the user's %LOCALAPPDATA%\Temp and was gone after the run. The report is the
# application's own (QXPREVIEW_REPORT).
expect_preview_report() {
  local report="$WINEPREFIX/drive_c/qxjob/preview-report.json" file
  if [[ ! -f $report ]]; then
    echo "test-windows: the preview application wrote no report: it did not run" >&2
    return 1
  fi
  file=$(python3 - "$report" "$1" <<'PY2'
import json, re, sys
report = json.load(open(sys.argv[1], encoding="utf-8"))
problems = []
if report.get("mode") != sys.argv[2] or report.get("error") is not None:
    problems.append(f'mode {report.get("mode")}, error {report.get("error")}')
path = (report.get("data") or {}).get("prnFilePath", "")
if not re.match(r"^C:\\users\\[^\\]+\\AppData\\Local\\Temp\\[^\\]+$", path, re.IGNORECASE):
    problems.append(f"job file {path!r} is not in the user's temporary folder")
if problems:
    sys.exit("; ".join(problems))
print(path)
PY2
  ) || { echo "test-windows: the preview application's report: $file" >&2; return 1; }
  echo "  preview application: $1, job file $file" >&2
  if [[ -e $(winepath -u "$file" 2>/dev/null) ]]; then
    echo "test-windows: the job file $file outlived the run" >&2
    return 1
  fi
}

# The preview job (its ticket asks for the preview) with the application accepting: S_OK, the
# bytes passed through, and the values the Linux host publishes for the same job
# (qxpipelinehost --input samples/jobs/preview.xps --preview accept).
section_preview_accept() {
  local report
  install_preview || return 1
  report=$(QXPREVIEW_MODE=accept QXPREVIEW_REPORT='C:\qxjob\preview-report.json' run_job preview.xps done) || return 1
  expect_preview_report accept || return 1
  expect_lines "$report" '  StartOperation 0x00000000 S_OK' '  writer    closed by the filter' \
               '  pipeline  RequestShutdown 0 (0x00000000), FilterFinished 1' \
               '  XPS_FP_PIN = VT_BSTR ""' '  XPS_FP_PRIVACYLEVEL = VT_I4 -1' \
               '  XPS_FP_ROTATION = VT_I4 -1' '  XPS_FP_OUTPUTCOLOR = VT_I4 -1' '  XPS_FP_INPUTBIN = VT_I4 -1' \
               '  XPS_FP_SETTINGSCHANGEDINPRINTPREVIEW = VT_I4 0' '  XPS_FP_SCALINGMODE = VT_I4 1' \
               '  XPS_FP_FITTOPAPERMEDIASIZEWIDTH = VT_I4 0' '  XPS_FP_FITTOPAPERMEDIASIZEHEIGHT = VT_I4 0' \
               '  XPS_FP_FITTOPAPER = VT_I4 0' '  XPS_FP_SCALINGPERCENTAGE = VT_I4 100' || return 1
  expect_equal_output preview.xps "$report" || return 1
  wine_differences "$report"
}

# What Wine gives otherwise than Windows (and the Linux host) for the same job; reported, not failed.
wine_differences() {
  if grep -qF '  XPS_FP_NUMBERPAGES = VT_BSTR "0"' <<<"$1"; then
    echo "  Wine: XPS_FP_NUMBERPAGES is \"0\" (the Linux host: \"1\"): the host's job in Wine's spooler has" \
         "nothing written into it, so its JOB_INFO_2.TotalPages is 0; the Linux machine's job record says 1" >&2
  fi
}

# A banner past the preview's largest page, accepted: the filter enlarges its pages through the XPS
# object model and writes the package itself (WriteToFile) for the preview, and still prints the
# job's own bytes, as the Linux host shows it (--input samples/jobs/banner-preview.xps).
section_preview_banner() {
  local report
  install_preview || return 1
  report=$(QXPREVIEW_MODE=accept QXPREVIEW_REPORT='C:\qxjob\preview-report.json' run_job banner-preview.xps done) || return 1
  expect_preview_report accept || return 1
  expect_lines "$report" '  StartOperation 0x00000000 S_OK' '  writer    closed by the filter' \
               '  XPS_FP_ROTATION = VT_I4 -1' '  XPS_FP_OUTPUTCOLOR = VT_I4 -1' '  XPS_FP_INPUTBIN = VT_I4 -1' \
               '  XPS_FP_SETTINGSCHANGEDINPRINTPREVIEW = VT_I4 0' || return 1
  expect_equal_output banner-preview.xps "$report"
}

# The same job with the application cancelling: E_ABORT, a shutdown requested with it, and an
# output the filter closed empty, as the Linux host shows it (--preview cancel).
section_preview_cancel() {
  local report
  install_preview || return 1
  report=$(QXPREVIEW_MODE=cancel QXPREVIEW_REPORT='C:\qxjob\preview-report.json' run_job preview.xps abort) || return 1
  expect_preview_report cancel || return 1
  expect_lines "$report" '  StartOperation 0x80004004' '  writer    closed by the filter' \
               '  pipeline  RequestShutdown 1 (0x80004004)' '  0 bytes, empty' || return 1
  if grep -qF 'XPS_FP_ROTATION' <<<"$report"; then
    echo "test-windows: a cancelled preview published values after the privacy level" >&2
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
