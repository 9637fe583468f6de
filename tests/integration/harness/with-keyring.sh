#!/usr/bin/env bash
# Runs a command with a Secret Service (org.freedesktop.secrets) of its own:
# a private D-Bus session bus with gnome-keyring-daemon on it, whose login
# keyring is new, lives in a temporary directory and is unlocked. Nothing of
# the user's own keyring is read or changed. Exits with the command's status.
#
#   with-keyring.sh <command> [arguments...]
set -uo pipefail

if [ $# -lt 1 ]; then
  echo "usage: $0 <command> [arguments...]" >&2
  exit 2
fi

if [ "${1:-}" != "--on-private-bus" ]; then
  for tool in dbus-run-session dbus-send gnome-keyring-daemon; do
    if ! command -v "$tool" >/dev/null; then
      echo "with-keyring: $tool is missing; run scripts/install-deps.sh" >&2
      exit 1
    fi
  done
  keyring_dir="$(mktemp -d)"
  VELDRIN_KEYRING_DIR="$keyring_dir" dbus-run-session -- "$0" --on-private-bus "$@"
  status=$?
  rm -rf "$keyring_dir"
  exit "$status"
fi
shift

dir="$VELDRIN_KEYRING_DIR"
unset VELDRIN_KEYRING_DIR
mkdir -m 700 "$dir/data" "$dir/run"
# The command keeps the caller's runtime directory; the daemon gets its own so
# that it never reaches a keyring daemon the user already runs.
export XDG_RUNTIME_DIR="${XDG_RUNTIME_DIR:-$dir/run}"

# With no login keyring yet, --unlock creates one with the password read from
# stdin and makes it the default collection.
printf '%s' "veldrin-test-keyring" | XDG_DATA_HOME="$dir/data" XDG_RUNTIME_DIR="$dir/run" \
  gnome-keyring-daemon --unlock --components=secrets >/dev/null

bus() {
  dbus-send --session --print-reply=literal --dest=org.freedesktop.DBus \
    /org/freedesktop/DBus "org.freedesktop.DBus.$1" "string:org.freedesktop.secrets" 2>/dev/null
}
for _ in $(seq 100); do
  [ "$(bus NameHasOwner | tr -d ' ')" = "booleantrue" ] && break
  sleep 0.05
done
daemon_pid="$(bus GetConnectionUnixProcessID | awk '{print $2}')"
if [ -z "$daemon_pid" ]; then
  echo "with-keyring: gnome-keyring-daemon did not appear on the session bus" >&2
  exit 1
fi

"$@"
status=$?
kill "$daemon_pid" 2>/dev/null
exit "$status"
