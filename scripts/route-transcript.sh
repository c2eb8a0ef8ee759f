#!/usr/bin/env bash
# Usage: scripts/route-transcript.sh [OLD_REV]
#
# Records every route's replies and host callbacks from the library built at
# OLD_REV (default: the merge-base of HEAD with main) and from the working
# tree, and prints the difference. Exit 0 when the transcripts are identical,
# 1 when they differ, 2 when something could not be built or run.
#
# Everything goes under build/transcript/: old-src (a git worktree at
# OLD_REV, built in old-src/build), new (the working tree's library), recorder
# (the recording host, built from this tree's tools/transcript against the new
# library), and the transcripts old.txt and new.txt. JOBS sets the build
# parallelism (default 2).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
root=$PWD
out=$root/build/transcript
jobs=${JOBS:-2}
mkdir -p "$out"

fail() {
  echo "route-transcript: $*" >&2
  exit 2
}

old_rev=${1:-$(git merge-base HEAD main)}
old_sha=$(git rev-parse --verify --quiet "${old_rev}^{commit}") || fail "unknown revision $old_rev"

# build_library SOURCE BUILD_DIR
build_library() {
  local src=$1 dir=$2
  echo "=== library from $src -> $dir"
  cmake -S "$src" -B "$dir" -DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DVELORA_BUILD_TESTS=OFF -DVELORA_BUILD_HOST=OFF -DVELORA_BUILD_BENCH=OFF >"$dir.configure.log" ||
    fail "configuring $dir failed, see $dir.configure.log"
  cmake --build "$dir" -j"$jobs" --target VeloraPlayer_sdk_TARN >"$dir.build.log" 2>&1 ||
    fail "building $dir failed, see $dir.build.log"
}

old_src=$out/old-src
if [ -e "$old_src/.git" ]; then
  git -C "$old_src" checkout --quiet --force --detach "$old_sha"
else
  rm -rf "$old_src"
  git worktree add --quiet --force --detach "$old_src" "$old_sha"
fi
echo "=== old: $(git log -1 --format='%h %s' "$old_sha")"
# Built inside its own tree, as a checkout of main is, so ccache finds the
# objects under the same relative paths.
build_library "$old_src" "$old_src/build"
build_library "$root" "$out/new"

echo "=== recorder"
cmake -S "$root/tools/transcript" -B "$out/recorder" -DCMAKE_CXX_COMPILER_LAUNCHER=ccache \
  -DVELORA_LIBRARY_BUILD="$out/new" >"$out/recorder.configure.log" ||
  fail "configuring the recorder failed, see $out/recorder.configure.log"
cmake --build "$out/recorder" -j"$jobs" >"$out/recorder.build.log" 2>&1 ||
  fail "building the recorder failed, see $out/recorder.build.log"

# record NAME BUILD_DIR: runs the recorder against BUILD_DIR/lib.
record() {
  echo "=== recording $1"
  AVAHI_COMPAT_NOWARN=1 LD_LIBRARY_PATH="$2/lib" \
    "$out/recorder/bin/velora-route-transcript" "$out/$1.txt" >/dev/null ||
    fail "recording $1 failed"
}
record old "$old_src/build"
record new "$out/new"

head -n 1 "$out/new.txt"
if diff -u --label "old ($(git rev-parse --short "$old_sha"))" --label "new (working tree)" \
  "$out/old.txt" "$out/new.txt"; then
  echo "route-transcript: identical ($out/old.txt, $out/new.txt)"
  exit 0
fi
echo "route-transcript: the transcripts differ" >&2
exit 1
