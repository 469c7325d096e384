#!/usr/bin/env bash
# Builds the test programs that run threads, and the programs and modules they start, with
# ThreadSanitizer into build-tsan/ (or $BUILD_DIR), runs them, and fails on any race, lock-order or
# other report from a test or from any process it starts. Arguments are passed to cmake's configure step.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${BUILD_DIR:-$root/build-tsan}

# Each runs on more than one thread, or starts a program that does.
tests=(
  test_driverlog
  test_previewchannel
  test_comlibrary
  test_previewapp
  test_papersources
  test_filter
  test_pipelinehost
  test_previewsession
  test_spooler
)

bash "$root/scripts/setup.sh"
cmake -S "$root" -B "$build_dir" -G Ninja -DQX_SANITIZE_THREAD=ON -DQX_BUILD_BENCH=OFF "$@"
cmake --build "$build_dir" --target "${tests[@]}" -- -j"$(nproc)"

# Reports go to one file per process, so that a child whose output a test swallows is still heard.
# The preview application started as the job's user gets only the QX_ variables of this environment
# and so none of these options: its reports go to the standard error it shares with the test, which
# is kept in the test's output and searched too.
reports="$build_dir/tsan-reports"
outputs="$build_dir/tsan-output"
rm -rf "$reports" "$outputs"
mkdir -p "$reports" "$outputs"
export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 suppressions=$root/scripts/tsan.supp log_path=$reports/tsan"

failed=()
for test in "${tests[@]}"; do
  echo "tsan: $test"
  status=0
  (cd "$build_dir/tests" && timeout 900 "$build_dir/bin/$test") >"$outputs/$test.log" 2>&1 || status=$?
  if ((status != 0)) || grep -q "ThreadSanitizer" "$outputs/$test.log"; then
    echo "tsan: $test failed (exit status $status)"
    cat "$outputs/$test.log"
    failed+=("$test")
  fi
done

shopt -s nullglob
logs=("$reports"/tsan.*)
for log in "${logs[@]}"; do
  echo "tsan: report in $log"
  cat "$log"
done

if ((${#failed[@]} > 0 || ${#logs[@]} > 0)); then
  echo "tsan: failed: ${failed[*]:-} (${#logs[@]} report files in $reports)"
  exit 1
fi
echo "tsan: ${#tests[@]} test programs clean"
