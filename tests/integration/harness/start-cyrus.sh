#!/usr/bin/env bash
# Starts a private Cyrus IMAP server that speaks JMAP over HTTPS on loopback,
# with everything it needs (configuration, mail spool, certificates, logs, pid
# files) under one work directory, seeds a test account, and writes
# <workdir>/env with the exports a test needs to reach it.
#
#   start-cyrus.sh <workdir>
#
# Stop it again with stop-cyrus.sh <workdir>. Runs as root or through sudo.
set -euo pipefail

if [ $# -ne 1 ]; then
  echo "usage: $0 <workdir>" >&2
  exit 2
fi

here="$(cd "$(dirname "$0")" && pwd)"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then
  SUDO="sudo"
  # Ask for a password now, not from a step that runs in the background.
  sudo -v
fi
CYRUS_BIN=/usr/lib/cyrus/bin
for tool in "$CYRUS_BIN/master" /usr/sbin/saslpasswd2 openssl curl python3 flock \
    update-ca-certificates; do
  if ! command -v "$tool" >/dev/null; then
    echo "start-cyrus: $tool is missing; run scripts/install-deps.sh" >&2
    exit 1
  fi
done

mkdir -p "$1"
W="$(cd "$1" && pwd)"

# A work directory left over from an earlier run: stop what may still run
# there and start from nothing.
if [ -n "$(ls -A "$W")" ]; then
  "$here/stop-cyrus.sh" "$W" >/dev/null 2>&1 || true
  $SUDO find "$W" -mindepth 1 -delete
fi

USER_ID="test@example.com"
PASSWORD="veldrin-test-password"
# A fixed secret gives the same token on every machine. Test-only.
JWT_SECRET="veldrin-integration-test-hmac-secret"
START_TIMEOUT=20

started=$(date +%s.%N)
ok=0
on_exit() {
  if [ "$ok" -ne 1 ]; then
    echo "start-cyrus: Cyrus did not come up; last lines of its logs:" >&2
    for f in "$W"/log/*.log; do
      [ -s "$f" ] || continue
      echo "--- $f" >&2
      tail -n 30 "$f" >&2
    done
    "$here/stop-cyrus.sh" "$W" >&2 || true
  fi
}
trap on_exit EXIT

ports="$(python3 "$here/free-ports.py" 5)"
read -r -d '' HTTPS_PORT HTTP_PORT IMAP_PORT LMTP_PORT SMTP_PORT <<<"$ports" || true

mkdir -p "$W/tls" "$W/jwt" "$W/log" "$W/run" "$W/sink"
chmod 755 "$W"
D="$W/data"
$SUDO mkdir -p "$D/conf/db" "$D/conf/socket" "$D/conf/sync" "$D/spool" "$D/search" \
  "$D/sieve" "$D/proc" "$D/lock" "$D/socket"
touch "$W/log/cyrus.log"

# Certificates: a certificate authority of our own, and a server certificate
# for 127.0.0.1 signed by it. The common name carries the port so that two
# instances running at once install distinct authorities.
(
  cd "$W/tls"
  openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes \
    -keyout ca.key -out ca.crt -days 3 \
    -subj "/O=Veldrin tests/CN=Veldrin Test CA $HTTPS_PORT" \
    -addext "basicConstraints=critical,CA:TRUE" \
    -addext "keyUsage=critical,keyCertSign,cRLSign" 2>/dev/null
  openssl req -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes \
    -keyout server.key -out server.csr -subj "/O=Veldrin tests/CN=127.0.0.1" 2>/dev/null
  printf '%s\n' "basicConstraints=CA:FALSE" \
    "keyUsage=critical,digitalSignature,keyEncipherment" \
    "extendedKeyUsage=serverAuth" "subjectAltName=IP:127.0.0.1" > server.ext
  openssl x509 -req -in server.csr -CA ca.crt -CAkey ca.key -CAcreateserial \
    -days 2 -extfile server.ext -out server.crt 2>/dev/null
  rm -f server.csr server.ext ca.srl
)

# Trust the authority the way a user's machine trusts a real one: through the
# system store, which curl, OpenSSL and Qt all read.
CA_INSTALLED="/usr/local/share/ca-certificates/veldrin-test-ca-$HTTPS_PORT.crt"
echo "$CA_INSTALLED" > "$W/run/ca-installed"
# Instances share the system store; one at a time changes it.
touch /tmp/veldrin-test-ca.lock 2>/dev/null || true
# Updating the store takes over a second (its hooks rebuild Java's store too),
# so it runs while Cyrus starts; nothing before the first HTTPS request needs it.
(
  flock 9
  $SUDO install -m 644 "$W/tls/ca.crt" "$CA_INSTALLED"
  $SUDO update-ca-certificates >"$W/log/ca.log" 2>&1
) 9</tmp/veldrin-test-ca.lock &
ca_update=$!

# Bearer tokens: an HMAC key for Cyrus, and the matching HS256 token.
printf -- '-----BEGIN HMAC KEY-----\n%s\n-----END HMAC KEY-----\n' \
  "$(printf '%s' "$JWT_SECRET" | base64 -w0)" > "$W/jwt/hmac.pem"
TOKEN="$(python3 - "$JWT_SECRET" "$USER_ID" <<'EOF'
import base64, hashlib, hmac, json, sys
def b64(data):
    return base64.urlsafe_b64encode(data).rstrip(b"=").decode()
secret, user = sys.argv[1].encode(), sys.argv[2]
signing_input = b64(b'{"alg":"HS256","typ":"JWT"}') + "." + b64(
    json.dumps({"sub": user}, separators=(",", ":")).encode())
signature = hmac.new(secret, signing_input.encode(), hashlib.sha256).digest()
print(signing_input + "." + b64(signature))
EOF
)"

cat > "$W/imapd.conf" <<EOF
configdirectory: $D/conf
partition-default: $D/spool
defaultpartition: default
sievedir: $D/sieve
proc_path: $D/proc
mboxname_lockpath: $D/lock
lmtpsocket: $D/socket/lmtp
idlesocket: $D/socket/idle
notifysocket: $D/socket/notify
syslog_prefix: veldrin-cyrus-$HTTPS_PORT
servername: 127.0.0.1

virtdomains: userid
unixhierarchysep: yes
altnamespace: yes
admins: cyrus
allowplaintext: yes
sasl_pwcheck_method: auxprop
sasl_auxprop_plugin: sasldb
sasl_sasldb_path: $D/conf/sasldb2
sasl_mech_list: PLAIN LOGIN

autocreate_quota: 0
autocreate_post: yes
autocreate_inbox_folders: Drafts | Sent | Archive | Junk | Trash
autocreate_subscribe_folders: Drafts | Sent | Archive | Junk | Trash
xlist-drafts: Drafts
xlist-sent: Sent
xlist-archive: Archive
xlist-junk: Junk
xlist-trash: Trash

httpmodules: jmap
http_jwt_key_dir: $W/jwt
tls_server_cert: $W/tls/server.crt
tls_server_key: $W/tls/server.key
conversations: yes
conversations_db: twoskip
jmap_vacation: no
jmap_max_delayed_send: 1d
jmapsubmission_deleteonsend: no
smtp_backend: host
smtp_host: 127.0.0.1:$SMTP_PORT

search_engine: xapian
defaultsearchtier: t1
t1searchpartition-default: $D/search
sync_log: yes
sync_log_channels: squatter
EOF

C="-C $W/imapd.conf"
cat > "$W/cyrus.conf" <<EOF
START {
  recover cmd="$CYRUS_BIN/ctl_cyrusdb $C -r"
}
SERVICES {
  https cmd="$CYRUS_BIN/httpd $C -s" listen="127.0.0.1:$HTTPS_PORT" prefork=1
  http cmd="$CYRUS_BIN/httpd $C" listen="127.0.0.1:$HTTP_PORT" prefork=0
  imap cmd="$CYRUS_BIN/imapd $C" listen="127.0.0.1:$IMAP_PORT" prefork=0
  lmtp cmd="$CYRUS_BIN/lmtpd $C -a" listen="127.0.0.1:$LMTP_PORT" prefork=0
  lmtpunix cmd="$CYRUS_BIN/lmtpd $C" listen="$D/socket/lmtp" prefork=0
}
EVENTS {
  checkpoint cmd="$CYRUS_BIN/ctl_cyrusdb $C -c" period=30
}
DAEMON {
  idled cmd="$CYRUS_BIN/idled $C"
  calalarmd cmd="$CYRUS_BIN/calalarmd $C"
  squatter cmd="$CYRUS_BIN/squatter $C -R"
}
EOF

printf '%s' "$PASSWORD" | $SUDO /usr/sbin/saslpasswd2 -p -c -f "$D/conf/sasldb2" \
  -u example.com "${USER_ID%@*}"
$SUDO chown -R cyrus:mail "$D"
$SUDO chown cyrus:mail "$W/tls/server.key" "$W/tls/server.crt" "$W/jwt/hmac.pem"
$SUDO chmod 600 "$W/tls/server.key"
chmod 600 "$W/tls/ca.key"

wait_for_file() {  # <file> <what>
  for _ in $(seq 100); do
    [ -s "$1" ] && return 0
    sleep 0.05
  done
  echo "start-cyrus: $2 did not start" >&2
  return 1
}

# Cyrus only logs through syslog. Without a syslog daemon, a listener of ours
# on /dev/log (shared by all instances, see syslog-listener.py) writes its
# lines to this instance's log.
REGISTRY=/tmp/veldrin-syslog
$SUDO mkdir -p "$REGISTRY"
$SUDO touch "$REGISTRY/lock"
echo "$REGISTRY/$HTTPS_PORT" > "$W/run/syslog-registration"
(
  flock 9
  $SUDO ln -sfn "$W/log/cyrus.log" "$REGISTRY/$HTTPS_PORT"
  if [ ! -e /dev/log ]; then
    $SUDO setsid python3 "$here/syslog-listener.py" --socket /dev/log --registry "$REGISTRY" \
      </dev/null >/dev/null 2>&1 9<&- &
    for _ in $(seq 100); do
      [ -S /dev/log ] && break
      sleep 0.05
    done
  fi
) 9<"$REGISTRY/lock"
if [ ! -e /dev/log ]; then
  echo "start-cyrus: the syslog listener did not start" >&2
  exit 1
fi

# The sink must answer before Cyrus builds its first JMAP session: Cyrus asks
# it for its capabilities then, and leaves out maxDelayedSend without them.
setsid python3 "$here/smtp-sink.py" --port "$SMTP_PORT" --lmtp-port "$LMTP_PORT" \
  --spool "$W/sink" --pidfile "$W/run/sink.pid" </dev/null >"$W/log/sink.log" 2>&1 &
wait_for_file "$W/run/sink.pid" "the SMTP sink"

$SUDO "$CYRUS_BIN/master" -C "$W/imapd.conf" -M "$W/cyrus.conf" -p "$W/run/master.pid" -d \
  >"$W/log/master.log" 2>&1

deadline=$(( $(date +%s) + START_TIMEOUT ))
until (exec 3<>"/dev/tcp/127.0.0.1/$IMAP_PORT") 2>/dev/null; do
  if [ "$(date +%s)" -ge "$deadline" ]; then exit 1; fi
  sleep 0.05
done
python3 "$here/seed-mail.py" --port "$IMAP_PORT" --user "$USER_ID" --password "$PASSWORD" \
  >"$W/log/seed.log" 2>&1

if ! wait "$ca_update"; then
  echo "start-cyrus: could not add the test authority to the system store" >&2
  exit 1
fi
SESSION_URL="https://127.0.0.1:$HTTPS_PORT/jmap/"
until curl -sSf --max-time 5 -H "Authorization: Bearer $TOKEN" -o "$W/session.json" \
    "$SESSION_URL" 2>"$W/log/curl.log"; do
  if [ "$(date +%s)" -ge "$deadline" ]; then exit 1; fi
  sleep 0.1
done

cat > "$W/env" <<EOF
export VELDRIN_TEST_SESSION_URL='$SESSION_URL'
export VELDRIN_TEST_TOKEN='$TOKEN'
export VELDRIN_TEST_USER='$USER_ID'
export VELDRIN_TEST_PASSWORD='$PASSWORD'
export VELDRIN_TEST_CA='$W/tls/ca.crt'
export VELDRIN_TEST_HTTPS_PORT='$HTTPS_PORT'
export VELDRIN_TEST_HTTP_PORT='$HTTP_PORT'
export VELDRIN_TEST_IMAP_PORT='$IMAP_PORT'
export VELDRIN_TEST_LMTP_PORT='$LMTP_PORT'
export VELDRIN_TEST_SMTP_PORT='$SMTP_PORT'
export VELDRIN_TEST_SINK_DIR='$W/sink'
export VELDRIN_TEST_DIR='$W'
EOF
ok=1
elapsed=$(python3 -c "import sys; print(f'{float(sys.argv[2]) - float(sys.argv[1]):.1f}')" \
  "$started" "$(date +%s.%N)")
echo "start-cyrus: JMAP at $SESSION_URL (up in ${elapsed}s); environment in $W/env"
