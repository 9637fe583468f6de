#!/usr/bin/env bash
# Stops what start-cyrus.sh started in <workdir> (Cyrus and the SMTP sink),
# signs it off from the shared syslog listener and takes its certificate
# authority out of the system store again. The work directory itself is left
# in place for inspection.
#
#   stop-cyrus.sh <workdir>
set -uo pipefail

if [ $# -ne 1 ]; then
  echo "usage: $0 <workdir>" >&2
  exit 2
fi
[ -d "$1" ] || exit 0
W="$(cd "$1" && pwd)"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

# A process that has exited but not been reaped yet (our helpers are reaped by
# init, which may take its time) counts as gone.
alive() {
  local state
  [ -n "$1" ] || return 1
  state="$(sed 's/.*) //' "/proc/$1/stat" 2>/dev/null | cut -d' ' -f1)"
  [ -n "$state" ] && [ "$state" != Z ]
}

stop_pid() {  # <pidfile>
  local pid
  pid="$(cat "$1" 2>/dev/null || true)"
  if alive "$pid"; then
    $SUDO kill -TERM "$pid" 2>/dev/null
    for _ in $(seq 100); do
      alive "$pid" || break
      sleep 0.05
    done
    if alive "$pid"; then $SUDO kill -KILL "$pid" 2>/dev/null; fi
  fi
  rm -f "$1" 2>/dev/null || $SUDO rm -f "$1"
}

# The master takes its services down with it on SIGTERM.
stop_pid "$W/run/master.pid"

# Anything of this instance that outlived the master (a service caught in the
# middle of starting) still names this instance's configuration file.
for cmdline in /proc/[0-9]*/cmdline; do
  if tr '\0' ' ' 2>/dev/null <"$cmdline" | grep -qF -- "-C $W/imapd.conf"; then
    pid="${cmdline#/proc/}"
    $SUDO kill -KILL "${pid%/cmdline}" 2>/dev/null || true
  fi
done

stop_pid "$W/run/sink.pid"
# The shared syslog listener leaves once no instance is registered.
if [ -s "$W/run/syslog-registration" ]; then
  registration="$(cat "$W/run/syslog-registration")"
  case "$registration" in
    /tmp/veldrin-syslog/[0-9]*) $SUDO rm -f "$registration" ;;
  esac
  rm -f "$W/run/syslog-registration"
fi

if [ -s "$W/run/ca-installed" ]; then
  ca="$(cat "$W/run/ca-installed")"
  case "$ca" in
    /usr/local/share/ca-certificates/veldrin-test-ca*.crt)
      # update-ca-certificates rebuilds the bundle but keeps the links of a
      # removed authority unless it runs with --fresh, which rebuilds every
      # link and would disturb another instance's clients meanwhile; so take
      # out this authority's links by hand.
      touch /tmp/veldrin-test-ca.lock 2>/dev/null || true
      pem="/etc/ssl/certs/$(basename "$ca" .crt).pem"
      (
        flock 9
        $SUDO rm -f "$ca"
        for link in /etc/ssl/certs/*.[0-9]; do
          if [ -L "$link" ] && [ "$(readlink "$link")" = "$(basename "$pem")" ]; then
            $SUDO rm -f "$link"
          fi
        done
        $SUDO rm -f "$pem"
        $SUDO update-ca-certificates >/dev/null 2>&1
      ) 9</tmp/veldrin-test-ca.lock
      ;;
  esac
  rm -f "$W/run/ca-installed"
fi
exit 0
