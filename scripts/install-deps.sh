#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need. Idempotent: a
# package that is already installed is skipped, so a warm machine costs a
# dpkg query and nothing else.
set -euo pipefail

build_pkgs=(
  build-essential cmake pkg-config git ca-certificates
  libcpprest-dev libboost-system-dev libboost-thread-dev libboost-chrono-dev
  libssl-dev uuid-dev zlib1g-dev libavahi-compat-libdnssd-dev
  libgtest-dev libgmock-dev curl
)
# Daemons the tests start themselves (publication over DNS-SD).
test_pkgs=(dbus avahi-daemon avahi-utils)

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
