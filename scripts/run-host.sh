#!/usr/bin/env bash
# Builds the library and the reference host (Release, in build/release) and
# runs the host, which serves the web remote until Ctrl-C. Arguments go to
# the host: try --help.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

bash scripts/install-deps.sh
export AVAHI_COMPAT_NOWARN=1

cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DVELORA_BUILD_HOST=ON \
  -DVELORA_BUILD_TESTS=OFF
cmake --build build/release --target velora-host -j"$(nproc)"

exec build/release/bin/velora-host "$@"
