#!/usr/bin/env bash
# A soak run: thousands of jobs with mixed outcomes through one host process, first on one thread,
# then on several, then a batch whose previews are cancelled, on the bundled machine. Checks that
# every job ended as its input says it should, and that the jobs after the warm-up left no file
# descriptor, no thread and little memory behind. Exits non-zero when any check fails.
#
#   SOAK_JOBS     jobs in each of the first two runs (default 10000; 200 for a quick check)
#   SOAK_THREADS  threads of the second and the cancel runs (default 8)
#   SOAK_RSS_MB   the most resident memory the jobs after the warm-up may add (default 16)
#   BUILD_DIR     where to build (default build-soak)
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${BUILD_DIR:-$root/build-soak}
jobs=${SOAK_JOBS:-10000}
threads=${SOAK_THREADS:-8}
rss_limit_mb=${SOAK_RSS_MB:-16}

if ! [[ "$jobs" =~ ^[0-9]+$ ]] || ((jobs < 10)); then
  echo "soak: SOAK_JOBS wants a number of at least 10, not '$jobs'" >&2
  exit 2
fi

bash "$root/scripts/setup.sh"
cmake -S "$root" -B "$build_dir" -G Ninja -DQX_BUILD_BENCH=OFF >/dev/null
cmake --build "$build_dir" --target qxpipelinehost qxiprev qxpreviewapp qxicl qxitrn

work=$(mktemp -d "${TMPDIR:-/tmp}/qxsoak.XXXXXX")
# The reports stay when a check fails, for the lines that say why.
keep_work=0
trap '((keep_work)) || rm -rf "$work"' EXIT
mkdir -p "$work/jobs" "$work/tmp"

# Ten jobs a round. The name's first word is what the job should come to: "pass" prints its own
# bytes without a preview, "preview" prints its own bytes once the preview application accepts it
# (or ends with E_ABORT when it cancels), "corrupt" is no package and fails.
samples="$root/samples/jobs"
cp "$samples/sample.xps" "$work/jobs/pass-01-sample.xps"
cp "$samples/poster-coated.xps" "$work/jobs/pass-02-poster-coated.xps"
cp "$samples/autoselect.xps" "$work/jobs/pass-03-autoselect.xps"
cp "$samples/sample.xps" "$work/jobs/pass-04-sample.xps"
cp "$samples/preview.xps" "$work/jobs/preview-05.xps"
cp "$samples/preview.xps" "$work/jobs/preview-06.xps"
cp "$samples/banner-preview.xps" "$work/jobs/preview-07-banner.xps"
# A job package begins with the ZIP local header's signature; the host skips a file without it.
printf 'PK\003\004 this is a print job in no format at all\n' >"$work/jobs/corrupt-08-text.xps"
head -c "$(($(stat -c %s "$samples/sample.xps") / 2))" "$samples/sample.xps" >"$work/jobs/corrupt-09-truncated.xps"
python3 - "$work/jobs/corrupt-10-zip.xps" <<'PY'
import sys, zipfile
with zipfile.ZipFile(sys.argv[1], "w") as package:
    package.writestr("notes.txt", "a zip archive, but no XPS package in it\n")
PY
files_per_round=10
repeat=$(((jobs + files_per_round - 1) / files_per_round))

failures=0
fail() {
  echo "soak: FAIL: $*" >&2
  failures=$((failures + 1))
}

# A value of the report's summary by its label: "  failed    2" gives 2.
summary_value() { sed -n "s/^  $2  *//p" "$1" | tail -n 1; }

# Runs one batch and checks it. Arguments: a name, the threads, the repeat, the preview mode.
soak_run() {
  local name=$1 run_threads=$2 run_repeat=$3 mode=$4
  local report="$work/$name.report" machine="$work/machine-$name"
  mkdir -p "$machine"
  echo
  echo "== $name: $((run_repeat * files_per_round)) jobs on $run_threads thread(s), preview $mode"
  local started ended status=0
  started=$(date +%s.%N)
  TMPDIR="$work/tmp" "$build_dir/bin/qxpipelinehost" --input-folder "$work/jobs" --repeat "$run_repeat" \
    --threads "$run_threads" --preview "$mode" --root "$machine" \
    --machine "$root/samples/machines/default.json" >"$report" 2>"$work/$name.stderr" || status=$?
  ended=$(date +%s.%N)

  # Every job by what its name says it should come to, from its line in the report.
  local expected_failed preview_fails=0
  [[ "$mode" == cancel ]] && preview_fails=1
  local counts
  counts=$(awk -v preview_fails="$preview_fails" '
    /^job [0-9]+: / {
      file = $3; sub(/:$/, "", file); kind = file; sub(/-.*/, "", kind)
      ok = index($0, "StartOperation 0x00000000 S_OK,") > 0 && $0 ~ /, equal$/
      aborted = index($0, " 0x80004004 E_ABORT,") > 0
      jobs++
      if (kind == "pass" || (kind == "preview" && !preview_fails)) { good = ok }
      else if (kind == "preview") { good = aborted }
      else if (kind == "corrupt") { good = !ok && index($0, "cannot run:") == 0 }
      else { good = 0 }
      if (good) { right++ } else if (wrong++ < 5) { print "unexpected: " $0 > "/dev/stderr" }
      if (kind == "corrupt" || (kind == "preview" && preview_fails)) { failing++ }
    }
    END { printf "%d %d %d\n", jobs, right, failing }' "$report")
  local seen right failing
  read -r seen right failing <<<"$counts"
  expected_failed=$failing

  local total succeeded failed equal rate resources growth
  total=$(summary_value "$report" jobs)
  succeeded=$(summary_value "$report" succeeded)
  failed=$(summary_value "$report" failed)
  equal=$(summary_value "$report" equal | awk '{print $1}')
  rate=$(summary_value "$report" rate)
  resources=$(summary_value "$report" resources)
  growth=$(summary_value "$report" growth)

  awk -v s="$started" -v e="$ended" -v st="$status" 'BEGIN { printf "   wall      %.1f s (exit status %d)\n", e - s, st }'
  echo "   jobs      ${total:-?}: ${succeeded:-?} succeeded, ${failed:-?} failed, ${equal:-?} equal"
  echo "   rate      ${rate:-?}"
  echo "   resources ${resources:-?}"
  echo "   growth    ${growth:-?}"

  local want=$((run_repeat * files_per_round))
  [[ "$total" == "$want" && "$seen" == "$want" ]] || fail "$name: $want jobs wanted, the summary has ${total:-none} and $seen lines"
  [[ "$right" == "$want" ]] || fail "$name: $((want - right)) jobs did not end as expected"
  [[ "$failed" == "$expected_failed" ]] || fail "$name: $expected_failed jobs should fail, ${failed:-?} did"
  [[ "$equal" == "$((want - expected_failed))" ]] ||
    fail "$name: every successful job's output should equal its input: $((want - expected_failed)) wanted, ${equal:-?} equal"
  local want_status=0
  ((expected_failed > 0)) && want_status=1
  [[ "$status" == "$want_status" ]] || fail "$name: exit status $status, $want_status wanted"
  [[ -z "$(ls -A "$work/tmp")" ]] || fail "$name: temporary outputs were left in $work/tmp"
  [[ ! -s "$work/$name.stderr" ]] || fail "$name: the host wrote to standard error: $(head -c 300 "$work/$name.stderr")"

  # "end - warm: +0 fds, +0 threads, +0.4 MB"
  if [[ "$growth" =~ ^end\ -\ warm:\ ([-+][0-9]+)\ fds,\ ([-+][0-9]+)\ threads,\ ([-+][0-9.]+)\ MB$ ]]; then
    ((${BASH_REMATCH[1]} == 0)) || fail "$name: the jobs after the warm-up left ${BASH_REMATCH[1]} file descriptors"
    ((${BASH_REMATCH[2]} == 0)) || fail "$name: the jobs after the warm-up left ${BASH_REMATCH[2]} threads"
    awk -v grown="${BASH_REMATCH[3]}" -v most="$rss_limit_mb" 'BEGIN { exit !(grown < most) }' ||
      fail "$name: resident memory grew by ${BASH_REMATCH[3]} MB after the warm-up (at most $rss_limit_mb)"
  else
    fail "$name: no resource growth in the summary"
  fi
}

soak_start=$(date +%s)
soak_run sequential 1 "$repeat" accept
soak_run threaded "$threads" "$repeat" accept
# A tenth as many (a hundred at least), enough to see cancelled previews come and go.
cancel_repeat=$(((repeat + 9) / 10))
((cancel_repeat >= 10)) || cancel_repeat=10
soak_run cancel "$threads" "$cancel_repeat" cancel
echo
echo "soak: $((files_per_round * (2 * repeat + cancel_repeat))) jobs in $(($(date +%s) - soak_start)) s"
if ((failures > 0)); then
  keep_work=1
  echo "soak: $failures check(s) failed; the reports are in $work" >&2
  exit 1
fi
echo "soak: every check passed"
