#!/usr/bin/env bash
# Builds the filter as a Windows DLL with mingw-w64 into build-windows/ (or $BUILD_WINDOWS_DIR),
# then checks what it exports and imports: exactly DllGetClassObject and DllCanUnloadNow, and only
# Windows system DLLs, since a driver package carries no compiler runtime beside the filter.
# Arguments are passed to cmake's configure step.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${BUILD_WINDOWS_DIR:-$root/build-windows}

bash "$root/scripts/setup.sh" g++-mingw-w64-x86-64-posix wine wine64 libz-mingw-w64-dev

# mingw-w64 10's ComPtr::Attach adds a reference, so an object adopted with it leaks on Windows
# only, where no test of ours sees it; the system code uses AdoptNewObject (comadopt.h) instead.
if grep -rnE '(\.|->)Attach\(' "$root/filters" "$root/shared"; then
  echo "build-windows: the system code calls ComPtr::Attach; use AdoptNewObject (comadopt.h)" >&2
  exit 1
fi
cmake -S "$root" -B "$build_dir" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" "$@"
cmake --build "$build_dir" -- -j"$(nproc)"

dll=$build_dir/bin/qxiprev.dll
if [[ ! -f "$dll" ]]; then
  echo "build-windows: $dll was not built" >&2
  exit 1
fi
headers=$(x86_64-w64-mingw32-objdump -p "$dll")

# The export names follow the "[Ordinal/Name Pointer] Table" heading, one "[ n] Name" a line.
exports=$(awk '/^\[Ordinal\/Name Pointer\] Table/ {inside = 1; next}
               inside && /^[[:space:]]*\[/ {print $3; next}
               inside {inside = 0}' <<<"$headers" | sort)
imports=$(awk '/DLL Name:/ {print $3}' <<<"$headers" | sort -f)

echo "qxiprev.dll exports:"
sed 's/^/  /' <<<"$exports"
echo "qxiprev.dll imports:"
sed 's/^/  /' <<<"$imports"

failed=0
expected_exports=$'DllCanUnloadNow\nDllGetClassObject'
if [[ "$exports" != "$expected_exports" ]]; then
  echo "build-windows: qxiprev.dll must export exactly DllGetClassObject and DllCanUnloadNow" \
       "(filters/qxiprev/src/qxiprev.def)" >&2
  failed=1
fi
# The system DLLs the filter may call, and the C runtime every Windows has (msvcrt, or the UCRT).
system_dll='^(kernel32|advapi32|ole32|oleaut32|userenv|shell32|msvcrt|ucrtbase|api-ms-win-crt-[a-z0-9-]+)\.dll$|^winspool\.drv$'
while read -r name; do
  if [[ -n "$name" ]] && ! grep -Eqi "$system_dll" <<<"$name"; then
    echo "build-windows: qxiprev.dll imports $name, which is not a Windows system DLL" \
         "(a runtime DLL such as libstdc++-6.dll or libwinpthread-1.dll means a non-static link)" >&2
    failed=1
  fi
done <<<"$imports"
if ((failed)); then
  exit 1
fi
echo "build-windows: $dll"
