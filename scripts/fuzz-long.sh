#!/usr/bin/env bash
# fuzz-long.sh [SECONDS_PER_TARGET] [TARGET...]
# Builds the fuzz targets (clang, build/fuzz) and runs each for longer than
# the test command does (default 600 s each), one after the other. Unlike
# the test command's runs, the corpus grows from run to run: it is kept in
# build/fuzz/long/<target>/corpus and starts from the committed seeds. Exits
# non-zero if any target found something; the inputs are in
# build/fuzz/long/<target>/artifacts.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

seconds=${1:-600}
shift || true
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  targets=(requests json_readers text_helpers)
fi

dir=build/fuzz
cmake -S . -B "$dir" -DCMAKE_CXX_COMPILER=clang++ -DVELORA_BUILD_FUZZ=ON -DVELORA_BUILD_TESTS=OFF \
  -DVELORA_BUILD_HOST=OFF -DVELORA_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_CXX_FLAGS_DEBUG=-O1 -DCMAKE_CXX_FLAGS=-g >/dev/null || exit 1
cmake --build "$dir" -j"$(nproc)" || exit 1

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
failed=0
for name in "${targets[@]}"; do
  work=$dir/long/$name
  mkdir -p "$work/corpus" "$work/artifacts"
  args=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
    -artifact_prefix="$work/artifacts/")
  if [ -f "fuzz/dict/$name.dict" ]; then
    args+=(-dict="fuzz/dict/$name.dict")
  fi
  echo "=== $name: $seconds s"
  if ! "$dir/fuzz/velora_fuzz_$name" "${args[@]}" "$work/corpus" "fuzz/corpus/$name" \
    >"$work/fuzz.log" 2>&1; then
    tail -n 150 "$work/fuzz.log"
    echo "=== $name FOUND SOMETHING: see $work/artifacts and $work/fuzz.log"
    failed=1
  else
    grep -E '^#[0-9]+[[:space:]]+DONE|^stat::' "$work/fuzz.log"
  fi
done
exit "$failed"
