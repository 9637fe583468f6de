#!/usr/bin/env bash
# Runs a command against a fresh private Cyrus JMAP server: starts one in a
# temporary directory, exports its VELDRIN_TEST_* variables, runs the command
# and stops the server again, also when the command fails, is interrupted or
# loses its terminal.
# Exits with the command's status.
#
#   with-cyrus.sh <command> [arguments...]
#
# VELDRIN_TEST_KEEP=1 keeps the server's directory (logs, sent mail) afterwards.
set -uo pipefail

if [ $# -lt 1 ]; then
  echo "usage: $0 <command> [arguments...]" >&2
  exit 2
fi
here="$(cd "$(dirname "$0")" && pwd)"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

workdir="$(mktemp -d "${TMPDIR:-/tmp}/veldrin-cyrus.XXXXXX")"
cleanup() {
  "$here/stop-cyrus.sh" "$workdir"
  if [ "${VELDRIN_TEST_KEEP:-0}" = 1 ]; then
    echo "with-cyrus: kept $workdir" >&2
  else
    $SUDO rm -rf "$workdir"
  fi
}
trap cleanup EXIT
# A signal ends the script through exit, which runs the cleanup; a closed terminal (HUP)
# must not leave a server behind any more than Ctrl-C does.
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM

"$here/start-cyrus.sh" "$workdir" >&2 || exit 1
# shellcheck source=/dev/null
. "$workdir/env"

"$@"
