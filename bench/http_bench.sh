#!/usr/bin/env bash
# HTTP overhead and static pages on loopback, each contender measured beside
# the others in the same run:
#   - the bare HTTP library (velora_bench_bare_listener, same pool size as the
#     service) answering a constant JSON string,
#   - the service's GET /ping and GET /playback/next, answered by the
#     reference host's listeners,
#   - nginx answering the same constant body, with one worker and with one
#     worker per core,
# with wrk at 16 and 64 connections; then a 100 KB page from the service's
# pages folder against nginx serving the same file.
#
#   bash bench/http_bench.sh BUILD_DIR     (run-all.sh passes build/b-bench)
#
# Prints RESULT rows (see run-all.sh). Bounded: every wrk run lasts DURATION
# seconds (4 by default); each contender of the overhead table runs ROUNDS
# times (3) and reports its medians; the whole script about 34 runs.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${1:-build/b-bench}
duration=${DURATION:-4}
rounds=${ROUNDS:-3}
source bench/http_common.sh

work=$(mktemp -d)
trap 'stop_all; rm -rf "$work"' EXIT

# The page: 100 KB of text, once in the service's pages folder and once in
# nginx's root.
page=bench-100k.html
python3 -c 'import sys; sys.stdout.write(("<p>" + "x" * 96 + "</p>\n") * 1000)' |
  head -c 102400 >"$work/$page"
cp "$work/$page" "$build/bin/pages/$page"
trap 'stop_all; rm -rf "$work"; rm -f "$build/bin/pages/$page"' EXIT

bare_port=$(free_port)
start_bg "$build/bench/velora_bench_bare_listener" "$bare_port"
start_host host_port "$build"
start_nginx nginx1_port "$work/nginx-1" 1 "$work"
start_nginx nginxa_port "$work/nginx-auto" auto "$work"
for p in "$bare_port" "$host_port" "$nginx1_port" "$nginxa_port"; do wait_http "$p" /ping; done

body_of() { curl -s "http://127.0.0.1:$1$2"; }
if [ "$(body_of "$bare_port" /ping)" != "$(body_of "$host_port" /ping)" ] ||
  [ "$(body_of "$nginx1_port" /ping)" != "$(body_of "$host_port" /ping)" ]; then
  echo "warning: the contenders' /ping bodies differ" >&2
fi

declare -A rps p50 p99
contenders=(bare ping next nginx1 nginxauto)
declare -A url=(
  [bare]="http://127.0.0.1:$bare_port/ping"
  [ping]="http://127.0.0.1:$host_port/ping"
  [next]="http://127.0.0.1:$host_port/playback/next"
  [nginx1]="http://127.0.0.1:$nginx1_port/ping"
  [nginxauto]="http://127.0.0.1:$nginxa_port/ping"
)
declare -A label=(
  [bare]="bare listener, constant JSON"
  [ping]="service GET /ping"
  [next]="service GET /playback/next"
  [nginx1]="nginx 1 worker, constant JSON"
  [nginxauto]="nginx auto workers, constant JSON"
)
# The median of three: on a shared machine one run of a contender can land
# on a busy second; rounds interleave the contenders so that a slow spell
# touches them all, and the middle value of each leaves it out.
median() { printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
for c in 16 64; do
  declare -A runs=()
  for ((round = 0; round < rounds; round++)); do
    for name in "${contenders[@]}"; do
      read -r r a b < <(run_wrk "$c" "${url[$name]}")
      runs[$name,rps]+="$r "
      runs[$name,p50]+="$a "
      runs[$name,p99]+="$b "
    done
    # A new order each round, so that no contender always runs first.
    contenders=("${contenders[@]:1}" "${contenders[0]}")
  done
  for name in "${contenders[@]}"; do
    # shellcheck disable=SC2086
    {
      rps[$name,$c]=$(median ${runs[$name,rps]})
      p50[$name,$c]=$(median ${runs[$name,p50]})
      p99[$name,$c]=$(median ${runs[$name,p99]})
    }
  done
  for name in "${contenders[@]}"; do
    result "http overhead" "${label[$name]}, $c conns" "${rps[$name,$c]}" "req/s"
    result "http overhead" "${label[$name]}, $c conns, p50" "${p50[$name,$c]}" "ms"
    case $name in
      ping | next)
        result "http overhead" "${label[$name]}, $c conns, p99" "${p99[$name,$c]}" "ms" "< 10" \
          "$(verdict "${p99[$name,$c]} < 10")" ;;
      *) result "http overhead" "${label[$name]}, $c conns, p99" "${p99[$name,$c]}" "ms" ;;
    esac
  done
  for name in ping next; do
    r=$(ratio "${rps[$name,$c]}" "${rps[bare,$c]}")
    result "http overhead" "${label[$name]} / bare listener, $c conns" "$r" "x" ">= 0.9" \
      "$(verdict "$r >= 0.9")"
    for n in nginx1 nginxauto; do
      result "http overhead" "${label[$name]} / ${label[$n]%%, *}, $c conns" \
        "$(ratio "${rps[$name,$c]}" "${rps[$n,$c]}")" "x"
    done
  done
done

# Static pages.
for c in 16 64; do
  read -r s_rps s50 s99 < <(run_wrk "$c" "http://127.0.0.1:$host_port/$page")
  read -r n_rps n50 n99 < <(run_wrk "$c" "http://127.0.0.1:$nginx1_port/$page")
  result "static page" "service, 100 KB page, $c conns" "$s_rps" "req/s"
  result "static page" "service, 100 KB page, $c conns, p99" "$s99" "ms"
  result "static page" "nginx 1 worker, 100 KB page, $c conns" "$n_rps" "req/s"
  result "static page" "nginx 1 worker, 100 KB page, $c conns, p99" "$n99" "ms"
  result "static page" "service / nginx 1 worker, $c conns" "$(ratio "$s_rps" "$n_rps")" "x"
done
