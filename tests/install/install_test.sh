#!/usr/bin/env bash
# Installs the build into a scratch prefix and uses it the ways a host does:
# checks what landed where, builds a tiny host against the installation with
# CMake and with pkg-config and runs both, then runs the installed reference
# host and asks it for its pages over HTTP.
#
# usage: install_test.sh BUILD_DIR CONSUMER_DIR CMAKE CXX LIBDIR WITH_HOST(0|1) WORK_DIR
set -euo pipefail

build_dir=$1
consumer_dir=$2
cmake=$3
cxx=$4
libdir=$5
with_host=$6
work=$7

fail() {
  echo "FAIL: $*" >&2
  exit 1
}
step() { echo "== $*"; }
# Runs a command with its output in a log that is shown only when it fails.
quietly() {
  local log=$1
  shift
  if ! "$@" >"$log" 2>&1; then
    cat "$log" >&2
    fail "$* (log: $log)"
  fi
}

rm -rf "$work"
mkdir -p "$work"
staging=$work/staging
prefix=$work/prefix

step "cmake --install into a scratch prefix"
quietly "$work/install.log" "$cmake" --install "$build_dir" --prefix "$staging"
# A host bundles the package wherever it likes, so everything below runs
# after the installation has been moved away from where it was installed.
mv "$staging" "$prefix"

step "installed layout"
for header in VeloraRemoteSDK.h VeloraExport.h VeloraLibraryItems.h VeloraListeners.h \
  VeloraListenerList.h VeloraNullListeners.h VeloraServices.h VeloraTypes.h; do
  [ -f "$prefix/include/velora/$header" ] || fail "include/velora/$header is missing"
done

lib=$prefix/$libdir/libVeloraPlayer_sdk_TARN.so
[ -L "$lib" ] || fail "$lib is missing or not a symlink"
[ -L "$lib.0" ] || fail "$lib.0 is missing or not a symlink"
real=$(readlink -f "$lib")
[ "$real" = "$(cd "$prefix/$libdir" && pwd -P)/libVeloraPlayer_sdk_TARN.so.0.4.81" ] ||
  fail "$lib resolves to $real, not to libVeloraPlayer_sdk_TARN.so.0.4.81 beside it"
soname=$(readelf -d "$real" | sed -n 's/.*(SONAME).*\[\(.*\)\].*/\1/p')
[ "$soname" = "libVeloraPlayer_sdk_TARN.so.0" ] || fail "SONAME is '$soname'"
# Only the public interface is exported; the implementation stays hidden.
# (The symbol table is read once: grep -q closing a pipe early would fail it.)
exported=$(nm -D --defined-only -C "$real")
grep -q ' getSDKVersionInt()$' <<<"$exported" || fail "getSDKVersionInt is not exported"
grep -q ' mServicePort$' <<<"$exported" || fail "mServicePort is not exported"
if grep -q 'VeloraRestService' <<<"$exported"; then
  fail "implementation symbols are exported: $(grep -m3 VeloraRestService <<<"$exported")"
fi

pc=$prefix/$libdir/pkgconfig/velora-remote-sdk.pc
[ -f "$pc" ] || fail "$pc is missing"
package_dir=$prefix/$libdir/cmake/VeloraRemoteSDK
for f in VeloraRemoteSDKConfig.cmake VeloraRemoteSDKConfigVersion.cmake \
  VeloraRemoteSDKTargets.cmake; do
  [ -f "$package_dir/$f" ] || fail "$package_dir/$f is missing"
done

if [ "$with_host" = 1 ]; then
  [ -x "$prefix/bin/velora-host" ] || fail "bin/velora-host is missing"
  for page in index.html app.js style.css; do
    [ -f "$prefix/bin/pages/$page" ] || fail "bin/pages/$page is missing"
  done
  runpath=$(readelf -d "$prefix/bin/velora-host" | sed -n 's/.*R\(UN\)\{0,1\}PATH.*\[\(.*\)\].*/\2/p')
  [ "$runpath" = "\$ORIGIN/../$libdir" ] || fail "velora-host's run path is '$runpath'"
fi

# Nothing installed may point back into the build or source tree.
if leaks=$(grep -rIlF -e "$build_dir" -e "$consumer_dir" "$prefix"); then
  fail "installed files refer to the build tree: $leaks"
fi

step "tiny host built with CMake against the installed package"
quietly "$work/cmake-configure.log" "$cmake" -S "$consumer_dir" -B "$work/cmake-build" \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
found=$(sed -n 's/^VeloraRemoteSDK_DIR:PATH=//p' "$work/cmake-build/CMakeCache.txt")
[ "$found" = "$package_dir" ] || fail "find_package used '$found', not $package_dir"
quietly "$work/cmake-build.log" "$cmake" --build "$work/cmake-build"
# Its build run path must lead to the installed library, not to the build tree.
loaded=$(ldd "$work/cmake-build/tiny-host")
grep -q "libVeloraPlayer_sdk_TARN.so.0 => $prefix/" <<<"$loaded" ||
  fail "tiny host does not load the installed library: $loaded"
"$work/cmake-build/tiny-host" || fail "tiny host (CMake build) failed"

step "tiny host built with pkg-config against the installed package"
export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
version=$(pkg-config --modversion velora-remote-sdk)
[ "$version" = 0.4.81 ] || fail "pkg-config reports version '$version'"
pc_libdir=$(pkg-config --variable=libdir velora-remote-sdk)
[ "$(cd "$pc_libdir" && pwd -P)" = "$(cd "$prefix/$libdir" && pwd -P)" ] ||
  fail "pkg-config libdir '$pc_libdir' is not the installed one"
# shellcheck disable=SC2046 # the flags are meant to split into words
"$cxx" -Wall -Wextra -Werror "$consumer_dir/tiny_host.cpp" -o "$work/tiny-host-pc" \
  $(pkg-config --cflags --libs velora-remote-sdk) -Wl,-rpath,"$pc_libdir" ||
  fail "tiny host does not build with pkg-config's flags"
"$work/tiny-host-pc" || fail "tiny host (pkg-config build) failed"

if [ "$with_host" != 1 ]; then
  echo "install test passed (reference host not built)"
  exit 0
fi

step "installed velora-host serves the installed pages"
port_in_use() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }
base=""
for _ in $(seq 20); do
  candidate=$((41000 + RANDOM % 18000))
  busy=0
  for p in $(seq "$candidate" $((candidate + 9))); do
    if port_in_use "$p"; then busy=1; fi
  done
  if [ "$busy" = 0 ]; then
    base=$candidate
    break
  fi
done
[ -n "$base" ] || fail "no free range of ten ports found"

# No system bus for this host: publishing must not reach a DNS-SD daemon that
# the discovery tests may be running at the same time.
DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent AVAHI_COMPAT_NOWARN=1 \
  "$prefix/bin/velora-host" --port "$base" </dev/null >"$work/host.log" 2>&1 &
host_pid=$!
trap 'kill -9 "$host_pid" 2>/dev/null || true' EXIT

# The service takes the first free port of ten from the base; another test
# may have taken the base meanwhile, so read the port it reports.
ready=0
for _ in $(seq 150); do
  served=$(grep -o 'Service published on port[0-9]*' "$work/host.log" | tail -n 1 | sed 's/.*port//' || true)
  url=http://127.0.0.1:${served:-$base}
  if [ -n "$served" ] && curl -s -o /dev/null "$url/"; then
    ready=1
    break
  fi
  kill -0 "$host_pid" 2>/dev/null || {
    cat "$work/host.log" >&2
    fail "velora-host exited early"
  }
  sleep 0.2
done
[ "$ready" = 1 ] || {
  cat "$work/host.log" >&2
  fail "velora-host did not answer on $url within 30 s"
}

# fetch PATH FILE: prints "<status> <content type>" and stores the body.
fetch() { curl -s -o "$2" -w '%{http_code} %{content_type}' "$url$1"; }
[ "$(fetch / "$work/index")" = "200 text/html" ] || fail "GET / did not answer 200 text/html"
cmp -s "$work/index" "$prefix/bin/pages/index.html" || fail "GET / is not bin/pages/index.html"
[ "$(fetch /app.js "$work/app")" = "200 application/javascript" ] ||
  fail "GET /app.js did not answer 200 application/javascript"
cmp -s "$work/app" "$prefix/bin/pages/app.js" || fail "GET /app.js is not bin/pages/app.js"
[ "$(fetch /style.css "$work/style")" = "200 text/css" ] || fail "GET /style.css is not text/css"
status=$(curl -s -o "$work/nothing" -w '%{http_code}' "$url/nothing")
{ [ "$status" = 400 ] && [ "$(cat "$work/nothing")" = '"/nothing"' ]; } ||
  fail "GET /nothing answered $status '$(cat "$work/nothing")', not 400 \"/nothing\""
# The host keeps files outside its pages folder private.
status=$(curl -s -o /dev/null -w '%{http_code}' "$url$prefix/bin/pages/index.html")
[ "$status" = 403 ] || fail "a file outside the pages folder answered $status, not 403"

# SIGTERM shuts the service down and ends the program cleanly.
kill -TERM "$host_pid"
for _ in $(seq 50); do
  kill -0 "$host_pid" 2>/dev/null || break
  sleep 0.2
done
if kill -0 "$host_pid" 2>/dev/null; then
  cat "$work/host.log" >&2
  fail "velora-host did not stop within 10 s of SIGTERM"
fi
rc=0
wait "$host_pid" || rc=$?
trap - EXIT
[ "$rc" = 0 ] || {
  cat "$work/host.log" >&2
  fail "velora-host exited with $rc after SIGTERM"
}
grep -q 'onPageServed' "$work/host.log" || fail "velora-host did not log onPageServed"

echo "install test passed"
