#!/usr/bin/env bash
# Long-poll fan-out on loopback: req/s and latency of GET /ping (answered by
# the reference host's listener) with and without 64 clients long-polling
# /status, and how long each of those polls takes to come back with 304.
#
#   bash bench/load_status.sh [build-dir]     (default build/release)
#
# Bounded: each wrk run lasts DURATION seconds (10 by default).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${1:-build/release}
duration=${DURATION:-10}
pollers=${POLLERS:-64}

if ! command -v wrk >/dev/null; then
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends wrk >/dev/null
fi
if [ ! -x "$build/bin/velora-host" ]; then
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DVELORA_BUILD_TESTS=OFF >/dev/null
  cmake --build "$build" -j"$(nproc)" --target velora-host >/dev/null
fi

port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')
work=$(mktemp -d)
DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent AVAHI_COMPAT_NOWARN=1 \
  "$build/bin/velora-host" --port "$port" --quiet </dev/null >"$work/host.log" 2>&1 &
host=$!
cleanup() {
  kill "$host" 2>/dev/null || true
  jobs -p | xargs -r kill 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
for _ in $(seq 100); do curl -s -o /dev/null "http://127.0.0.1:$port/ping" && break; sleep 0.1; done

# run_wrk CONNECTIONS -> "req/s p50_ms p99_ms"
run_wrk() {
  wrk -t2 -c"$1" -d"${duration}s" --latency "http://127.0.0.1:$port/ping" |
    awk '/Requests\/sec/ {rps=$2}
         /^ +50%/ {p50=$2} /^ +99%/ {p99=$2}
         END {
           conv = "";
           print rps, p50, p99
         }'
}
ms() {  # "1.23ms" / "850.00us" / "1.20s" -> milliseconds
  awk -v v="$1" 'BEGIN { n = v + 0; if (v ~ /us$/) n /= 1000; else if (v ~ /s$/ && v !~ /ms$/) n *= 1000; printf "%.2f", n }'
}

printf '%-34s %10s %9s %9s\n' "GET /ping" "req/s" "p50 ms" "p99 ms"
for c in 16 64; do
  read -r rps p50 p99 < <(run_wrk "$c")
  base_rps[$c]=$rps
  printf '%-34s %10s %9s %9s\n' "$c connections, no pollers" "$rps" "$(ms "$p50")" "$(ms "$p99")"
done

# The pollers: keep-alive clients that loop GET /status and report how long
# every answer took.
python3 bench/status_pollers.py "$port" "$pollers" $((duration * 2 + 3)) >"$work/polls" &
pollers_pid=$!
sleep 1.5
for c in 16 64; do
  read -r rps p50 p99 < <(run_wrk "$c")
  ratio=$(awk -v a="$rps" -v b="${base_rps[$c]}" 'BEGIN { printf "%.2f", a / b }')
  printf '%-34s %10s %9s %9s   (%sx without pollers)\n' "$c connections, $pollers pollers" \
    "$rps" "$(ms "$p50")" "$(ms "$p99")" "$ratio"
done
wait "$pollers_pid"
awk '$1 == 304 { n++; t = $2; if (min == "" || t < min) min = t; if (t > max) max = t }
  $1 != 304 { other++ }
  END { printf "status polls: %d answered 304, between %.3f s and %.3f s; %d other answers\n", n, min, max, other }' "$work/polls"
