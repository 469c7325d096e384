#!/usr/bin/env bash
# Builds the Windows stand-ins (windows/standins) into build-winstandins/ (or $BUILD_WINSTANDINS_DIR)
# unless QX_NO_BUILD=1, checks that each DLL and program imports only Windows system DLLs, and runs
# the smoke peer under Wine in a throw-away prefix: qxitrn.dll round-trips a settings record,
# XPSUIOLib.dll answers from the registry, and qxpreviewapp.exe talks to the peer through
# qxicl.dll over named pipes in the change, cancel and crash modes.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${BUILD_WINSTANDINS_DIR:-$root/build-winstandins}
bin=$build_dir/bin

if [[ ${QX_NO_BUILD:-0} != 1 ]]; then
  cmake -S "$root" -B "$build_dir" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" \
        -DCMAKE_BUILD_TYPE=Release >/dev/null
  cmake --build "$build_dir" -j2 --target winqxitrn winqxicl winxpsuiolib winqxpreviewapp qxsmokepeer
fi

failed=0
system_dll='^(kernel32|advapi32|msvcrt|ucrtbase|api-ms-win-crt-[a-z0-9-]+)\.dll$'
for file in qxitrn.dll qxicl.dll XPSUIOLib.dll qxpreviewapp.exe; do
  for name in $(x86_64-w64-mingw32-objdump -p "$bin/$file" | awk '/DLL Name:/ {print $3}'); do
    if ! grep -Eqi "$system_dll" <<<"$name"; then
      echo "test-windows-standins: $file imports $name, which is not a Windows system DLL" >&2
      failed=1
    fi
  done
done

WINEPREFIX=$(mktemp -d "${TMPDIR:-/tmp}/qxwinestandins.XXXXXX")
export WINEPREFIX WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
trap 'wineserver -k 2>/dev/null || true; rm -rf "$WINEPREFIX"' EXIT
wineboot -i >/dev/null 2>&1 || true
if ! timeout 300 wine "$bin/qxsmokepeer.exe"; then
  failed=1
fi
exit "$failed"
