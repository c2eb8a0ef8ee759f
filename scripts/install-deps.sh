#!/usr/bin/env bash
# Installs the Debian packages the build needs (ccache and lld among them:
# CMake compiles through the one and links with the other when present); with
# --tests, also what the tests need (daemons they start, the browser for the
# web remote's end-to-end test). Idempotent: a package that
# is already installed is skipped, so a warm machine costs a dpkg query and
# nothing else.
set -euo pipefail

for_tests=0
if [ "${1:-}" = "--tests" ]; then for_tests=1; fi

build_pkgs=(
  build-essential cmake pkg-config git ca-certificates
  libcpprest-dev libboost-system-dev libboost-thread-dev libboost-chrono-dev
  libssl-dev uuid-dev zlib1g-dev libavahi-compat-libdnssd-dev
  libgtest-dev libgmock-dev curl libtag1-dev
  ccache lld
)
# Node.js and npm bundle the web remote at build time (esbuild, pinned in
# web/package-lock.json) and run its end-to-end test. Node.js may come from
# elsewhere than Debian (a newer release); only a machine without npm gets
# Debian's. Without them the build still works and copies the remote
# unbundled.
if ! command -v npm >/dev/null 2>&1; then build_pkgs+=(nodejs npm); fi
# Daemons the tests start themselves (publication over DNS-SD), the browser
# that the web remote's end-to-end test drives, and clang for the fuzz targets.
test_pkgs=()
if [ "$for_tests" -eq 1 ]; then
  test_pkgs=(dbus avahi-daemon avahi-utils chromium clang libclang-rt-dev)
fi

missing=()
for p in "${build_pkgs[@]}" "${test_pkgs[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
echo "installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
