#!/usr/bin/env bash
# Runs every benchmark and prints one table of their results.
#
#   bash bench/run-all.sh [--quick] [--write]
#
#   --quick   short runs (2 s per wrk run, smaller lists) to check that all works
#   --write   also write the table and the machine's description into
#             bench/RESULTS.md (its "## Analysis" section is kept as it is)
#
# Builds what it needs in build/b-bench (Release, benchmarks on, tests off),
# installing the build's Debian packages, wrk and nginx when missing. Every
# benchmark prints rows "RESULT<TAB>section<TAB>measure<TAB>value<TAB>unit
# <TAB>target<TAB>verdict"; everything else they print goes to
# build/b-bench/bench.log. Loopback only; each benchmark is bounded in time
# (the whole run takes about five minutes).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

quick=0
write=0
for arg in "$@"; do
  case $arg in
    --quick) quick=1 ;;
    --write) write=1 ;;
    *) echo "usage: $0 [--quick] [--write]" >&2; exit 2 ;;
  esac
done
build=build/b-bench
log=$build/bench.log

bash scripts/install-deps.sh
missing=()
command -v wrk >/dev/null || missing+=(wrk)
command -v nginx >/dev/null || [ -x /usr/sbin/nginx ] || missing+=(nginx)
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO=sudo
  echo "installing: ${missing[*]}"
  $SUDO env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null
fi
export PATH=$PATH:/usr/sbin

targets=(velora-host velora_bench_encode velora_bench_feed_latency velora_bench_changes_feed
  velora_bench_bare_listener)
[ -f bench/sha1_bench.cpp ] && targets+=(velora_bench_sha1)
echo "building ${targets[*]} in $build"
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DVELORA_BUILD_BENCH=ON \
  -DVELORA_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j"${JOBS:-$(nproc)}" --target "${targets[@]}" >/dev/null

load() { cut -d' ' -f1-3 /proc/loadavg; }
load_before=$(load)
rows=$(mktemp)
trap 'rm -f "$rows"' EXIT
: >"$log"

# run NAME COMMAND...: the command's RESULT rows into the table, the rest
# into the log; a failing benchmark is reported and the others still run.
run() {
  local name=$1 before status
  shift
  echo "running $name" >&2
  echo "=== $name: $*" >>"$log"
  before=$(wc -l <"$rows")
  set +e
  "$@" 2>>"$log" | tee -a "$log" | { grep $'^RESULT\t' || true; } >>"$rows"
  status=${PIPESTATUS[0]}
  set -e
  [ "$status" = 0 ] || echo "warning: $name exited with status $status (see $log)" >&2
  [ "$(wc -l <"$rows")" -gt "$before" ] || echo "warning: $name printed no result rows" >&2
}

if [ "$quick" = 1 ]; then
  export DURATION=2
  encode_args=(--quick)
  changes=200
  round=1
else
  encode_args=()
  changes=1000
  round=3
fi

if [ -x "$build/bench/velora_bench_sha1" ]; then
  run sha1 "$build/bench/velora_bench_sha1"
else
  echo "skipped sha1: $build/bench/velora_bench_sha1 is not built" >&2
  printf 'RESULT\tsha1\tskipped: velora_bench_sha1 not built\t-\t-\t-\t-\n' >>"$rows"
fi
run "change feed" "$build/bench/velora_bench_feed_latency" "$changes"
run "changes feed" "$build/bench/velora_bench_changes_feed" "$changes" "$round"
run "library scale" "$build/bench/velora_bench_encode" "${encode_args[@]}"
run "http overhead and static page" bash bench/http_bench.sh "$build"
run "long-poll fan-out" bash bench/load_status.sh "$build"
load_after=$(load)

table() {
  echo "| section | measure | value | unit | target | verdict |"
  echo "|---|---|---:|---|---|---|"
  awk -F'\t' '{ printf "| %s | %s | %s | %s | %s | %s |\n", $2, $3, $4, $5, $6, $7 }' "$rows"
}
machine() {
  local cpu cores mem compiler
  cpu=$(awk -F': ' '/^model name/ { print $2; exit }' /proc/cpuinfo)
  cores=$(nproc)
  mem=$(awk '/^MemTotal/ { printf "%.1f GiB", $2 / 1048576 }' /proc/meminfo)
  compiler=$(awk -F= '/^CMAKE_CXX_COMPILER:/ { print $2 }' "$build/CMakeCache.txt")
  compiler="$($compiler --version | head -1)"
  echo "- CPU: $cpu ($cores cores$(grep -qw sha_ni /proc/cpuinfo && echo ', SHA extensions'))"
  echo "- memory: $mem"
  echo "- kernel: $(uname -sr)"
  echo "- compiler: $compiler, Release build"
  echo "- wrk: $(wrk -v 2>&1 | head -1 | cut -d' ' -f1-2); nginx: $(nginx -v 2>&1 | cut -d/ -f2)"
  echo "- load average (1, 5, 15 min): $load_before before, $load_after after"
  echo "- date: $(date -u '+%Y-%m-%d %H:%M UTC'); commit $(git rev-parse --short HEAD)"
}

echo
table
missed=$(awk -F'\t' '$7 == "missed"' "$rows" | wc -l)
met=$(awk -F'\t' '$7 == "met"' "$rows" | wc -l)
echo
echo "targets: $met met, $missed missed; load average $load_before before, $load_after after"

if [ "$write" = 1 ]; then
  out=bench/RESULTS.md
  analysis=""
  [ -f "$out" ] && analysis=$(sed -n '/^## Analysis/,$p' "$out")
  {
    echo "# Benchmark results"
    echo
    echo "Written by \`bash bench/run-all.sh --write\`$([ "$quick" = 1 ] && echo ' --quick (short runs)')."
    echo "Every ratio compares contenders measured side by side in the same run."
    echo
    echo "## Machine"
    echo
    machine
    echo
    echo "## Results ($met targets met, $missed missed)"
    echo
    table
    if [ -n "$analysis" ]; then
      echo
      echo "$analysis"
    fi
  } >"$out"
  echo "wrote $out"
fi
