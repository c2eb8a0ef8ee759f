#!/usr/bin/env bash
# Long-poll fan-out on loopback: req/s and latency of GET /ping (answered by
# the reference host's listener) with and without 64 clients long-polling
# /status, and how long each of those polls takes to come back with 304.
#
#   bash bench/load_status.sh BUILD_DIR     (run-all.sh passes build/b-bench)
#
# Prints RESULT rows (see run-all.sh). The runs alternate: 16 connections
# alone, 16 and 64 with the pollers, 64 alone, so that a drift of the shared
# machine falls on both sides. Bounded: four wrk runs of DURATION seconds (6 by
# default) and the pollers' own time limit.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${1:-build/b-bench}
duration=${DURATION:-6}
pollers=${POLLERS:-64}
source bench/http_common.sh

work=$(mktemp -d)
trap 'stop_all; rm -rf "$work"' EXIT
start_host port "$build"
wait_http "$port" /ping
# The host publishes its state on start; that first delivery is not a 304.
curl -s -o /dev/null "http://127.0.0.1:$port/status"
url="http://127.0.0.1:$port/ping"
section="long-poll fan-out"

declare -A rps p50 p99
read -r rps[alone,16] p50[alone,16] p99[alone,16] < <(run_wrk 16 "$url")

# The pollers: keep-alive clients that loop GET /status and report how long
# every answer took.
python3 bench/status_pollers.py "$port" "$pollers" $((duration * 2 + 4)) >"$work/polls" &
pollers_pid=$!
sleep 1.5
read -r rps[polled,16] p50[polled,16] p99[polled,16] < <(run_wrk 16 "$url")
read -r rps[polled,64] p50[polled,64] p99[polled,64] < <(run_wrk 64 "$url")
wait "$pollers_pid"
read -r rps[alone,64] p50[alone,64] p99[alone,64] < <(run_wrk 64 "$url")

for c in 16 64; do
  result "$section" "GET /ping, $c conns, no pollers" "${rps[alone,$c]}" "req/s"
  result "$section" "GET /ping, $c conns, $pollers pollers" "${rps[polled,$c]}" "req/s"
  r=$(ratio "${rps[polled,$c]}" "${rps[alone,$c]}")
  result "$section" "GET /ping with / without pollers, $c conns" "$r" "x" ">= 0.8" \
    "$(verdict "$r >= 0.8")"
  result "$section" "GET /ping, $c conns, $pollers pollers, p50" "${p50[polled,$c]}" "ms"
  result "$section" "GET /ping, $c conns, $pollers pollers, p99" "${p99[polled,$c]}" "ms" "< 10" \
    "$(verdict "${p99[polled,$c]} < 10")"
done
read -r n other min max late < <(awk '
  $1 == 304 { n++; t = $2; if (min == "" || t < min) min = t; if (t > max) max = t
              if (t < 1.0 || t > 1.2) late++ }
  $1 != 304 { other++ }
  END { printf "%d %d %.3f %.3f %d\n", n, other, min, max, late }' "$work/polls")
result "$section" "status polls answered 304" "$n" "count"
result "$section" "status polls answered otherwise" "$other" "count" "0" "$(verdict "$other == 0")"
result "$section" "status 304, fastest" "$min" "s" ">= 1.0" "$(verdict "$min >= 1.0")"
result "$section" "status 304, slowest" "$max" "s" "<= 1.2" "$(verdict "$max <= 1.2")"
result "$section" "status 304s outside 1.0-1.2 s" "$late" "count" "0" "$(verdict "$late == 0")"
