#!/usr/bin/env bash
# Installs the build into a scratch prefix and moves it elsewhere, as a host
# bundling the package does; builds a tiny host against it with CMake and with
# pkg-config and runs both; then asks the installed reference host for its
# pages over HTTP.
#
# usage: install_test.sh BUILD_DIR CONSUMER_DIR CMAKE CXX LIBDIR WITH_HOST(0|1) WORK_DIR
set -euo pipefail
build_dir=$1 consumer_dir=$2 cmake=$3 cxx=$4 libdir=$5 with_host=$6 work=$7
prefix=$work/prefix lib=$work/prefix/$libdir

fail() {
  echo "FAIL: $*" >&2
  [ ! -f "$work/host.log" ] || cat "$work/host.log" >&2
  exit 1
}
# Runs a command with its output in a log that is shown only when it fails.
quietly() {
  local log=$1
  shift
  "$@" >"$log" 2>&1 || { cat "$log" >&2 && fail "$*"; }
}

rm -rf "$work" && mkdir -p "$work"
quietly "$work/install.log" "$cmake" --install "$build_dir" --prefix "$work/staging"
mv "$work/staging" "$prefix"

for header in "$prefix"/include/velora/*.h; do
  echo "#include <velora/${header##*/}>" |
    "$cxx" -std=c++17 -Wall -Wextra -Werror -fsyntax-only -I"$prefix/include" -x c++ - ||
    fail "${header##*/} does not compile on its own"
done
# Only the public interface is exported. (nm is read whole: grep -q closing
# the pipe early would fail it.)
exported=$(nm -D --defined-only -C "$lib/libVeloraPlayer_sdk_TARN.so")
if grep -q VeloraRestService <<<"$exported"; then fail "implementation symbols are exported"; fi
if leaks=$(grep -rIlF -e "$build_dir" -e "$consumer_dir" "$prefix"); then
  fail "installed files refer to the build tree: $leaks"
fi

quietly "$work/configure.log" "$cmake" -S "$consumer_dir" -B "$work/cmake-build" \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
grep -qx "VeloraRemoteSDK_DIR:PATH=$lib/cmake/VeloraRemoteSDK" "$work/cmake-build/CMakeCache.txt" ||
  fail "find_package did not take the installed package"
quietly "$work/build.log" "$cmake" --build "$work/cmake-build"

export PKG_CONFIG_PATH=$lib/pkgconfig
# shellcheck disable=SC2046 # the flags are meant to split into words
"$cxx" -Wall -Wextra -Werror "$consumer_dir/tiny_host.cpp" -o "$work/tiny-host-pc" \
  $(pkg-config --cflags --libs velora-remote-sdk) \
  -Wl,-rpath,"$(pkg-config --variable=libdir velora-remote-sdk)" ||
  fail "tiny host does not build with pkg-config's flags"

version=$(pkg-config --modversion velora-remote-sdk)
for host in "$work/cmake-build/tiny-host" "$work/tiny-host-pc"; do
  grep -q "libVeloraPlayer_sdk_TARN.so.0 => $prefix/" <<<"$(ldd "$host")" ||
    fail "$host does not load the installed library"
  out=$("$host") || fail "$host failed"
  [ "${out##*$'\n'}" = "$version" ] || fail "$host loads version '${out##*$'\n'}', not $version"
done

if [ "$with_host" != 1 ]; then
  echo "install test passed (reference host not built)"
  exit 0
fi

# No system bus: publishing must not reach a daemon the discovery tests use.
DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent AVAHI_COMPAT_NOWARN=1 \
  "$prefix/bin/velora-host" --port $((41000 + RANDOM % 18000)) </dev/null >"$work/host.log" 2>&1 &
host_pid=$!
trap 'kill -9 "$host_pid" 2>/dev/null || true' EXIT
# It serves the first free port of ten from the base, and says which.
for _ in $(seq 150); do
  port=$(grep -o 'published on port[0-9]*' "$work/host.log" | sed 's/.*port//' || true)
  url=http://127.0.0.1:$port
  if [ -n "$port" ] && curl -s -o /dev/null "$url/"; then break; fi
  kill -0 "$host_pid" 2>/dev/null || fail "velora-host exited"
  sleep 0.2
done
status=$(curl -s -o "$work/index" -w '%{http_code} %{content_type}' "$url/" || true)
if [ "$status" != "200 text/html" ] || ! cmp -s "$work/index" "$prefix/bin/pages/index.html"; then
  fail "GET / answered '$status', not the installed bin/pages/index.html"
fi
# Files named by their path outside the pages folder stay private.
status=$(curl -s -o /dev/null -w '%{http_code}' "$url$prefix/bin/pages/index.html" || true)
[ "$status" = 403 ] || fail "a file outside the pages folder answered $status, not 403"

kill -TERM "$host_pid"
timeout 10 tail --pid="$host_pid" -f /dev/null || fail "velora-host ignored SIGTERM for 10 s"
wait "$host_pid" || fail "velora-host exited with $? after SIGTERM"
trap - EXIT
echo "install test passed"
