#!/usr/bin/env bash
# Brings up what the publication tests need on a machine without systemd: a
# system message bus and an mDNS responder answering on loopback only.
#
#   avahi-test-env.sh start    start what is missing, reuse what runs; fails
#                              (exit 1) when publication cannot work
#   avahi-test-env.sh status   report, exit 0 only when publication works
#   avahi-test-env.sh stop     stop the daemons this script started, and only
#                              those (a developer's own daemons are left alone)
#
# Starting needs root; reusing daemons that already run does not.
set -uo pipefail

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
CONF="$ROOT/tests/discovery/avahi-daemon.conf"
BUS_SOCKET=/run/dbus/system_bus_socket
BUS_PIDFILE=/run/dbus/pid
AVAHI_PIDFILE=/run/avahi-daemon/pid
# What this script started, so that stop never touches anyone else's daemon.
STATE_DIR=/run/velora-avahi-test
WAIT_SECONDS=10

say() { echo "avahi-test-env: $*"; }
die() { echo "avahi-test-env: ERROR: $*" >&2; exit 1; }

pid_is() {  # pid_is PID COMMAND: PID is alive and runs COMMAND
  [ -n "${1:-}" ] && [ -r "/proc/$1/comm" ] && [ "$(cat "/proc/$1/comm" 2>/dev/null)" = "$2" ]
}

bus_answers() {
  [ -S "$BUS_SOCKET" ] &&
    timeout 3 dbus-send --system --print-reply --dest=org.freedesktop.DBus / \
      org.freedesktop.DBus.GetId >/dev/null 2>&1
}

avahi_answers() {
  avahi-daemon --check 2>/dev/null && timeout 5 avahi-browse -a -t -p >/dev/null 2>&1
}

avahi_pid() { cat "$AVAHI_PIDFILE" 2>/dev/null; }

wait_for() {  # wait_for CHECK: polls CHECK for up to WAIT_SECONDS
  local deadline=$((SECONDS + WAIT_SECONDS))
  while ! "$@"; do
    [ "$SECONDS" -ge "$deadline" ] && return 1
    sleep 0.2
  done
}

# Answering on D-Bus is not enough: the daemon must also have an interface to
# announce on, or a published service never shows up in a browse. So publish
# a throw-away service the way the tests do and wait until a browse sees it.
publication_works() {
  local name="velora-env-probe-$$" pub found=1 deadline
  avahi-publish -s "$name" _velora-env-probe._tcp 9 >/dev/null 2>&1 9>&- &
  pub=$!
  deadline=$((SECONDS + WAIT_SECONDS))
  while [ "$SECONDS" -lt "$deadline" ]; do
    if timeout 5 avahi-browse -p -t -r _velora-env-probe._tcp 2>/dev/null |
      grep -q "^=;.*;$name;"; then
      found=0
      break
    fi
    sleep 0.3
  done
  kill "$pub" 2>/dev/null
  wait "$pub" 2>/dev/null
  return $found
}

lo_is_multicast() { ip link show lo 2>/dev/null | head -1 | grep -q MULTICAST; }

start_bus() {
  if bus_answers; then
    say "system bus: answering on $BUS_SOCKET (reused)"
    return 0
  fi
  [ "$(id -u)" -eq 0 ] || die "no system bus answers on $BUS_SOCKET and starting one needs root"
  command -v dbus-daemon >/dev/null || die "dbus-daemon is not installed (run scripts/install-deps.sh --tests)"
  mkdir -p /run/dbus "$STATE_DIR"
  dbus-uuidgen --ensure || die "dbus-uuidgen --ensure failed"
  # The bus drops root before exiting, so a stopped bus leaves its pid file
  # behind, and a new bus refuses to start while the file is there.
  if [ -e "$BUS_PIDFILE" ] && ! pid_is "$(cat "$BUS_PIDFILE" 2>/dev/null)" dbus-daemon; then
    rm -f "$BUS_PIDFILE"
  fi
  local pid
  pid="$(dbus-daemon --system --fork --print-pid 9>&-)" || die "dbus-daemon --system --fork failed"
  echo "$pid" >"$STATE_DIR/dbus.pid"
  wait_for bus_answers || die "started dbus-daemon (pid $pid) but $BUS_SOCKET does not answer after ${WAIT_SECONDS}s"
  say "system bus: started dbus-daemon (pid $pid)"
}

start_avahi() {
  if avahi-daemon --check 2>/dev/null; then
    local pid
    pid="$(avahi_pid)"
    if [ -n "$pid" ] && [ "$pid" = "$(cat "$STATE_DIR/avahi.pid" 2>/dev/null)" ]; then
      say "avahi-daemon: running (pid $pid, started earlier by this script with $CONF)"
    else
      say "avahi-daemon: reusing the daemon already running (pid ${pid:-?}) with its own configuration"
    fi
    wait_for avahi_answers || die "avahi-daemon (pid ${pid:-?}) runs but does not answer on the system bus"
    return 0
  fi
  [ "$(id -u)" -eq 0 ] || die "no avahi-daemon runs and starting one needs root"
  command -v avahi-daemon >/dev/null || die "avahi-daemon is not installed (run scripts/install-deps.sh --tests)"
  [ -r "$CONF" ] || die "missing $CONF"
  mkdir -p "$STATE_DIR"
  # A daemon that died uncleanly leaves its pid file, and --check trusts it.
  if [ -e "$AVAHI_PIDFILE" ] && ! pid_is "$(avahi_pid)" avahi-daemon; then
    rm -f "$AVAHI_PIDFILE"
  fi
  if ! avahi-daemon -f "$CONF" -D 9>&-; then
    echo "avahi-daemon -f $CONF -D failed; a foreground run says:" >&2
    timeout 3 avahi-daemon -f "$CONF" --no-proc-title 2>&1 | tail -n 20 >&2
    die "cannot start avahi-daemon"
  fi
  if ! wait_for avahi_answers; then
    die "avahi-daemon started but does not answer after ${WAIT_SECONDS}s (is the system bus policy for org.freedesktop.Avahi installed?)"
  fi
  avahi_pid >"$STATE_DIR/avahi.pid"
  say "avahi-daemon: started (pid $(avahi_pid)) with $CONF"
}

ensure_publication() {
  if publication_works; then
    say "publication: a probe service was published and browsed on $(lo_is_multicast && echo 'lo (MULTICAST)' || echo 'lo (no MULTICAST flag)')"
    return 0
  fi
  # Some kernels bring lo up without the MULTICAST flag, and then the daemon
  # cannot join the mDNS group on it.
  if ! lo_is_multicast && [ "$(id -u)" -eq 0 ]; then
    say "publication: probe not seen; turning on MULTICAST on lo"
    ip link set lo multicast on || die "ip link set lo multicast on failed"
    if publication_works; then
      say "publication: works after 'ip link set lo multicast on'"
      return 0
    fi
  fi
  die "avahi-daemon (pid $(avahi_pid)) answers but a published probe service never showed up in a browse within ${WAIT_SECONDS}s"
}

stop_ours() {  # stop_ours NAME COMMAND
  local file="$STATE_DIR/$1.pid" pid
  pid="$(cat "$file" 2>/dev/null)"
  if pid_is "$pid" "$2"; then
    kill "$pid" && say "$2: stopped pid $pid"
    local deadline=$((SECONDS + WAIT_SECONDS))
    while pid_is "$pid" "$2" && [ "$SECONDS" -lt "$deadline" ]; do sleep 0.1; done
  else
    say "$2: none started by this script is running"
  fi
  rm -f "$file"
}

case "${1:-}" in
  start)
    command -v avahi-browse >/dev/null || die "avahi-browse is not installed (run scripts/install-deps.sh --tests)"
    # Several test runs may set up at once; one at a time keeps the pid files
    # sane. The daemons must not inherit the lock, or it outlives the script.
    exec 9>>"/tmp/velora-avahi-test.lock" || die "cannot open /tmp/velora-avahi-test.lock"
    flock -w 30 9 || die "another avahi-test-env.sh start holds the lock"
    start_bus
    start_avahi
    ensure_publication
    ;;
  status)
    rc=0
    if bus_answers; then say "system bus: answering"; else say "system bus: not answering"; rc=1; fi
    if avahi_answers; then
      say "avahi-daemon: answering (pid $(avahi_pid))"
      if publication_works; then say "publication: works"; else say "publication: probe not seen"; rc=1; fi
    else
      say "avahi-daemon: not answering"
      rc=1
    fi
    exit $rc
    ;;
  stop)
    stop_ours avahi avahi-daemon
    stop_ours dbus dbus-daemon
    ;;
  *)
    echo "usage: $0 start|status|stop" >&2
    exit 2
    ;;
esac
