#!/usr/bin/env bash
# Builds and tests every configuration listed at the bottom, prints a summary
# and exits non-zero if any configuration failed to build or had a failing
# test. Build folders are kept, so a second run only rebuilds what changed.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

if ! bash scripts/install-deps.sh --tests; then
  echo "test.sh: installing the dependencies failed" >&2
  exit 1
fi

# The compiler cache (CMake compiles through ccache when it is installed)
# keeps its objects in the user's cache folder. Paths under the checkout are
# hashed relative to it and the build folder is left out of the hash, so a
# clone in another folder reuses what this one compiled; the sloppiness is
# what lets the precompiled headers and their users be cached at all.
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$PWD}
export CCACHE_NOHASHDIR=${CCACHE_NOHASHDIR:-1}
export CCACHE_SLOPPINESS=${CCACHE_SLOPPINESS:-pch_defines,time_macros,include_file_mtime,include_file_ctime}

export AVAHI_COMPAT_NOWARN=1
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
export TSAN_OPTIONS=${TSAN_OPTIONS:-suppressions=$PWD/tests/tsan.supp second_deadlock_stack=1}
jobs=$(nproc)

# Areas (a ctest -L regular expression, e.g. "service|host") that the
# ThreadSanitizer build runs; empty leaves that build out.
TSAN_LABELS="host|service"

summary=()
total_passed=0
total_failed=0
failed_configs=0

# record NAME SECONDS TEXT
record() {
  summary+=("$(printf '%-6s %5ss  %s' "$1" "$2" "$3")")
}

# run_config NAME BUILD_DIR "CMAKE OPTIONS" "CTEST OPTIONS" ["TARGETS"]
# Without TARGETS everything is built.
run_config() {
  local name=$1 dir=$2 cmake_opts ctest_opts targets=()
  read -r -a cmake_opts <<<"$3"
  read -r -a ctest_opts <<<"$4"
  if [ -n "${5:-}" ]; then
    read -r -a targets <<<"$5"
    targets=(--target "${targets[@]}")
  fi
  local start=$SECONDS

  echo "=== [$name] configure $dir: ${cmake_opts[*]}"
  if ! cmake -S . -B "$dir" "${cmake_opts[@]}"; then
    record "$name" $((SECONDS - start)) "configure FAILED"
    failed_configs=$((failed_configs + 1))
    return
  fi
  echo "=== [$name] build"
  if ! cmake --build "$dir" -j"$jobs" "${targets[@]}"; then
    record "$name" $((SECONDS - start)) "build FAILED"
    failed_configs=$((failed_configs + 1))
    return
  fi
  local built=$SECONDS

  echo "=== [$name] ctest ${ctest_opts[*]}"
  local log=$dir/ctest.log rc
  ctest --test-dir "$dir" --output-on-failure --no-tests=error -j"$jobs" "${ctest_opts[@]}" 2>&1 |
    tee "$log"
  rc=${PIPESTATUS[0]}

  local line total=0 failed=0
  line=$(grep -E '^[0-9]+% tests passed, [0-9]+ tests? failed out of [0-9]+' "$log" | tail -n 1)
  if [ -n "$line" ]; then
    failed=$(sed -E 's/.* ([0-9]+) tests? failed.*/\1/' <<<"$line")
    total=$(sed -E 's/.*out of ([0-9]+).*/\1/' <<<"$line")
  elif [ "$rc" -ne 0 ]; then
    failed=1  # ctest itself failed before running anything
  fi
  total_passed=$((total_passed + total - failed))
  total_failed=$((total_failed + failed))
  local result="$((total - failed))/$total passed"
  if [ "$rc" -ne 0 ]; then
    result="$result, FAILED (ctest exit $rc)"
    failed_configs=$((failed_configs + 1))
  fi
  record "$name" $((SECONDS - start)) "$result (build $((built - start))s, tests $((SECONDS - built))s)"
}

run_config test build/test "-DCMAKE_BUILD_TYPE=RelWithDebInfo" ""
# Sanitizer builds compile at -O1 and leave out the programs only the plain
# build needs (the host, whose package test runs there, and the benchmarks).
# Their reports need line tables, not variables: -g1 halves the objects and
# saves a sixth of the compile.
sanitized="-DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O1 -DCMAKE_CXX_FLAGS=-g1 -DVELORA_BUILD_HOST=OFF -DVELORA_BUILD_BENCH=OFF"
run_config asan build/asan "$sanitized -DVELORA_SANITIZE=address,undefined" "-LE install"
if [ -n "$TSAN_LABELS" ]; then
  # The load test runs 5 s there instead of 30: the sanitizer slows every
  # request several times over, and races show within seconds. Only the
  # programs of those areas are built (each area's label is its program's).
  tsan_targets=""
  for area in ${TSAN_LABELS//|/ }; do tsan_targets+=" velora_${area}_tests"; done
  VELORA_LOAD_SECONDS=5 run_config tsan build/tsan "$sanitized -DVELORA_SANITIZE=thread" \
    "-L $TSAN_LABELS" "$tsan_targets"
fi
# The fuzz targets alone, built with clang (libFuzzer, ASan, UBSan); each
# runs for a few seconds on its seed corpus (about a minute in all).
run_config fuzz build/fuzz "$sanitized -DCMAKE_CXX_COMPILER=clang++ -DVELORA_BUILD_FUZZ=ON -DVELORA_BUILD_TESTS=OFF" "-L fuzz"

echo
echo "=== summary"
printf '%s\n' "${summary[@]}"
echo "total: $total_passed passed, $total_failed failed"
[ "$failed_configs" -eq 0 ]
