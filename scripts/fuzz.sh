#!/usr/bin/env bash
# Builds the libFuzzer programs (fuzz/) with clang into build-fuzz/ (or $BUILD_DIR) and runs each for
# FUZZ_SECONDS (default 30), seeded from a copy of fuzz/corpus/<program>, so the seeds in the tree
# never change. Exits 1 when any program finds a crash, a leak, a timeout or runs out of memory,
# naming the program and where its reproducer was kept. FUZZ_TARGETS (space separated) runs only
# those programs; extra arguments go to every libFuzzer run (e.g. -jobs=2).
#   FUZZ_SECONDS=30 bash scripts/fuzz.sh
set -euo pipefail

started=$SECONDS
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${BUILD_DIR:-$root/build-fuzz}
seconds=${FUZZ_SECONDS:-30}
targets=(${FUZZ_TARGETS:-fuzz_xpspackage fuzz_ticket fuzz_ldpb fuzz_bidianswer fuzz_korudescription
                         fuzz_previewmessages fuzz_encodingdecode})

# clang and its sanitizer and libFuzzer runtimes (libclang_rt.fuzzer) besides the usual packages.
bash "$root/scripts/setup.sh" clang libclang-rt-dev

cmake -S "$root" -B "$build_dir" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang \
  -DQX_FUZZ=ON -DQX_BUILD_BENCH=OFF
cmake --build "$build_dir" --target "${targets[@]}" -- -j"$(nproc)"
built=$SECONDS

# Everything a run writes (the grown corpus, the machine root, reproducers) stays in one folder,
# removed when the run is clean.
work_root=$(mktemp -d "${TMPDIR:-/tmp}/qxfuzz-XXXXXX")
findings=()
printf '\n%-22s %12s %10s  %s\n' "program" "executions" "exec/s" "result"
for target in "${targets[@]}"; do
  work="$work_root/$target"
  mkdir -p "$work/corpus" "$work/tmp"
  if [[ -d "$root/fuzz/corpus/$target" ]]; then
    cp -R "$root/fuzz/corpus/$target/." "$work/corpus/"
  fi
  options=(-max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -print_final_stats=1
           -artifact_prefix="$work/")
  if [[ -f "$root/fuzz/dict/$target.dict" ]]; then
    options+=(-dict="$root/fuzz/dict/$target.dict")
  fi
  status=0
  # UndefinedBehaviorSanitizer prints no stack of its own unless asked.
  UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1} TMPDIR="$work/tmp" "$build_dir/bin/$target" "${options[@]}" "$@" "$work/corpus" >"$work/log" 2>&1 || status=$?

  executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/log" | tail -n1)
  rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$work/log" | tail -n1)
  artifact=$(find "$work" -maxdepth 1 -type f \( -name 'crash-*' -o -name 'leak-*' -o -name 'timeout-*' \
                  -o -name 'oom-*' -o -name 'slow-unit-*' \) | head -n1)
  if [[ $status -eq 0 && -z "$artifact" ]]; then
    result=ok
  else
    kind=$(basename "${artifact:-failed-}" | cut -d- -f1)
    result="$kind (exit $status): reproducer ${artifact:-none}, log $work/log"
    findings+=("$target")
  fi
  printf '%-22s %12s %10s  %s\n' "$target" "${executions:-?}" "${rate:-?}" "$result"
  if [[ $status -ne 0 || -n "$artifact" ]]; then
    # The sanitizer's report, so that the finding can be judged without opening the log.
    grep -m1 -A25 -E '^==[0-9]+==ERROR|runtime error|^SUMMARY|deadly signal|fuzz setup failed' "$work/log" \
      | sed 's/^/    /' || true
  fi
done

echo
echo "fuzz: build $((built - started)) s, runs $((SECONDS - built)) s, total $((SECONDS - started)) s"
if ((${#findings[@]} > 0)); then
  echo "fuzz: findings in ${findings[*]}; everything is kept in $work_root"
  exit 1
fi
rm -rf "$work_root"
