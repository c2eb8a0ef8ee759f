# Shell pieces of the HTTP benchmarks (sourced): result rows, free loopback
# ports, the reference host, nginx, and wrk runs reduced to three numbers.
# Every process started here is stopped by stop_all, by its own pid.

started_pids=()

result() {  # section measure value unit [target verdict]
  printf 'RESULT\t%s\t%s\t%s\t%s\t%s\t%s\n' "$1" "$2" "$3" "$4" "${5:--}" "${6:--}"
}
verdict() { awk "BEGIN { print ($1) ? \"met\" : \"missed\" }"; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.3f", (b > 0 ? a / b : 0) }'; }

# A port with the nine after it free (the service tries ten), below the
# ephemeral range, where the clients' own ports would come and go.
free_port() {
  python3 - <<'PY'
import random, socket
while True:
    base = random.randrange(20000, 32000)
    try:
        socks = []
        for p in range(base, base + 10):
            s = socket.socket()
            s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            s.bind(("0.0.0.0", p)); socks.append(s)
        print(base); break
    except OSError:
        pass
    finally:
        for s in socks: s.close()
PY
}

start_bg() {
  "$@" </dev/null >/dev/null 2>&1 &
  started_pids+=($!)
}

# The start_* functions put the port into the variable named first (they run
# in this shell, not in a $(...) one, so that stop_all knows the pid).
# The host runs --open: the load runs call routes without pairing.
start_host() {  # VAR BUILD
  local _port
  _port=$(free_port)
  DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent AVAHI_COMPAT_NOWARN=1 \
    "$2/bin/velora-host" --port "$_port" --open --quiet </dev/null >/dev/null 2>&1 &
  started_pids+=($!)
  printf -v "$1" %s "$_port"
}

# start_nginx VAR DIR WORKERS ROOT. Runs as the current user
# with every path it writes inside DIR; GET /ping answers the service's
# constant body, anything else comes from ROOT.
start_nginx() {
  local dir=$2 workers=$3 root=$4 _port user=""
  _port=$(free_port)
  mkdir -p "$dir"
  [ "$(id -u)" = 0 ] && user="user root;"
  cat >"$dir/nginx.conf" <<CONF
$user
worker_processes $workers;
daemon off;
master_process on;
pid $dir/nginx.pid;
error_log $dir/error.log warn;
events { worker_connections 1024; }
http {
  access_log off;
  client_body_temp_path $dir/body;
  proxy_temp_path $dir/proxy;
  fastcgi_temp_path $dir/fastcgi;
  uwsgi_temp_path $dir/uwsgi;
  scgi_temp_path $dir/scgi;
  sendfile on;
  keepalive_requests 1000000;
  types { text/html html; }
  server {
    listen 127.0.0.1:$_port;
    root $root;
    location = /ping { default_type application/json; return 200 '"SUCCESS"'; }
  }
}
CONF
  nginx -p "$dir" -c "$dir/nginx.conf" -e "$dir/error.log" </dev/null >/dev/null 2>&1 &
  started_pids+=($!)
  printf -v "$1" %s "$_port"
}

wait_http() {  # PORT PATH: until it answers (at most 10 s)
  for _ in $(seq 100); do
    curl -s -o /dev/null "http://127.0.0.1:$1$2" && return 0
    sleep 0.1
  done
  echo "nothing answers on port $1" >&2
  return 1
}

stop_all() {
  local pid
  for pid in "${started_pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  for pid in "${started_pids[@]}"; do wait "$pid" 2>/dev/null || true; done
  started_pids=()
}

# run_wrk CONNECTIONS URL -> "req/s p50_ms p99_ms" (2 threads, DURATION s)
run_wrk() {
  wrk -t2 -c"$1" -d"${duration}s" --latency "$2" | awk '
    function ms(v) { n = v + 0; if (v ~ /us$/) n /= 1000; else if (v ~ /[0-9]s$/) n *= 1000; return n }
    /Requests\/sec/ { rps = $2 }
    /^ +50%/ { p50 = ms($2) } /^ +99%/ { p99 = ms($2) }
    END { printf "%s %.3f %.3f\n", rps, p50, p99 }'
}
