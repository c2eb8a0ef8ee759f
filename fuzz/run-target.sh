#!/usr/bin/env bash
# run-target.sh BINARY SEEDS WORKDIR SECONDS [DICTIONARY]
# Runs one fuzz target for SECONDS on a fresh copy of its seed corpus in
# WORKDIR and exits non-zero on any finding (crash, sanitizer report, leak,
# timeout, out-of-memory). What the run found is left in WORKDIR/artifacts.
set -euo pipefail
bin=$1 seeds=$2 work=$3 seconds=$4 dict=${5:-}

rm -rf "$work"
mkdir -p "$work/corpus" "$work/artifacts"
cp -R "$seeds"/. "$work/corpus/"

args=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
  -artifact_prefix="$work/artifacts/")
if [ -n "$dict" ]; then
  args+=(-dict="$dict")
fi
# Leaks count as findings; UBSan stops at its first report (the code is built
# with -fno-sanitize-recover=all) and prints where.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=0}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}

# libFuzzer reports every new input it keeps; the log holds them all, and
# only the end (the final coverage and speed, or the finding) is shown.
status=0
"$bin" "${args[@]}" "$work/corpus" >"$work/fuzz.log" 2>&1 || status=$?
if [ "$status" -ne 0 ]; then
  tail -n 150 "$work/fuzz.log"
  echo "run-target.sh: $(basename "$bin") found something; inputs are in $work/artifacts" >&2
  ls -l "$work/artifacts" >&2 || true
else
  grep -E '^(INFO: Seed|#[0-9]+[[:space:]]+(INITED|DONE))|^stat::|^Done ' "$work/fuzz.log" || tail -n 20 "$work/fuzz.log"
fi
exit "$status"
