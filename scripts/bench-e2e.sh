#!/usr/bin/env bash
# Measures Veldrin end to end as a user meets it: builds the Release program, starts the
# project's Cyrus on loopback with a realistic mailbox, runs Veldrin under Xvfb with a fresh
# home and the token in a private keyring, drives it from outside (X events and pixels, /proc,
# the server's own request log) and prints one table of medians and spreads.
#
#   scripts/bench-e2e.sh [runs]      (3 runs by default; about 20 minutes in all)
#
# Needs what scripts/install-deps.sh installs, and root or sudo (for Cyrus). Set
# VELDRIN_BENCH_KEEP=1 to keep the work directory with each run's figures and logs.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
runs=${1:-3}
harness="$root/tests/integration/harness"
bench="$root/scripts/bench"
python=/usr/bin/python3
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

cmake -S "$root" -B "$root/build-release" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DVELDRIN_BUILD_TESTS=OFF >/dev/null
cmake --build "$root/build-release" --target veldrin --parallel "$(nproc)"

work=$(mktemp -d "${TMPDIR:-/tmp}/veldrin-bench.XXXXXX")
# Cyrus runs as its own user and must reach its folder inside.
chmod 755 "$work"
proxy_pid=""
cleanup() {
    [ -n "$proxy_pid" ] && kill "$proxy_pid" 2>/dev/null || true
    "$harness/stop-cyrus.sh" "$work/cyrus" >/dev/null 2>&1 || true
    if [ "${VELDRIN_BENCH_KEEP:-0}" = 1 ]; then
        echo "bench-e2e: kept $work" >&2
    else
        $SUDO rm -rf "$work"
    fi
}
trap cleanup EXIT

"$harness/start-cyrus.sh" "$work/cyrus" >"$work/cyrus.log" 2>&1
# shellcheck disable=SC1091
source "$work/cyrus/env"
echo "bench-e2e: seeding the mailbox (a few minutes)" >&2
$python "$bench/seed-bench.py" --port "$VELDRIN_TEST_IMAP_PORT" --user "$VELDRIN_TEST_USER" \
    --password "$VELDRIN_TEST_PASSWORD" >&2

# The server's own log of every request of the user: Cyrus writes it where this folder exists.
telemetry="$work/cyrus/data/conf/log/$VELDRIN_TEST_USER"
$SUDO mkdir -p "$telemetry"
$SUDO chown -R cyrus:mail "$work/cyrus/data/conf/log"

# A live push stream, which this server lacks, from a proxy in front of it.
proxy_port=$($python "$harness/free-ports.py" 1)
$python "$bench/push-proxy.py" --port "$proxy_port" --upstream "https://127.0.0.1:$VELDRIN_TEST_HTTPS_PORT" \
    --cert "$work/cyrus/tls/server.crt" --key "$work/cyrus/tls/server.key" \
    --ca "$VELDRIN_TEST_CA" >"$work/proxy.log" 2>&1 &
proxy_pid=$!

drive() {
    local out=$1
    shift
    xvfb-run -a -s "-screen 0 1280x860x24" "$harness/with-keyring.sh" bash -c '
        printf "%s" "$VELDRIN_TEST_TOKEN" | base64 -w0 | secret-tool store --label=Veldrin \
            user fastmail-api-token server com.tolvik.veldrin type base64
        exec "$@"' drive $python "$bench/drive.py" --program "$root/build-release/src/veldrin" \
        --session-url "$VELDRIN_TEST_SESSION_URL" --telemetry "$telemetry" \
        --home "$work/home" --out "$out" "$@" >/dev/null 2>"$out.log"
}

for run in $(seq "$runs"); do
    echo "bench-e2e: run $run of $runs" >&2
    drive "$work/run$run.json" --proxy-url "https://127.0.0.1:$proxy_port/jmap/"
done

echo "bench-e2e: growing the mailbox to 5,000 conversations" >&2
$python "$bench/seed-bench.py" --port "$VELDRIN_TEST_IMAP_PORT" --user "$VELDRIN_TEST_USER" \
    --password "$VELDRIN_TEST_PASSWORD" --conversations 5000 --extra-only >&2
for run in $(seq "$runs"); do
    drive "$work/large$run.json" --start-only
done

echo
echo "Veldrin end to end, $(date -u +%Y-%m-%d), $(nproc) cores, $(uname -r), load average" \
    "$(cut -d' ' -f1-3 /proc/loadavg)"
echo
$python "$bench/report.py" --runs "$work"/run*.json --large "$work"/large*.json
