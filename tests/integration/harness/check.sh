#!/usr/bin/env bash
# Checks that the harness works on this machine: starts Cyrus, fetches the
# JMAP session over HTTPS with the system's trust store (no certificate
# switches), lists mailboxes, identities and the inbox, checks the seeded
# account, and round-trips a secret through a private Secret Service.
#
#   check.sh          prints what the server answers and "check: OK" at the end
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"

if [ "${1:-}" = "--against-cyrus" ]; then
  out="$(mktemp -d)"
  trap 'rm -rf "$out"' EXIT
  auth="Authorization: Bearer $VELDRIN_TEST_TOKEN"

  curl -sSf -H "$auth" -o "$out/session.json" "$VELDRIN_TEST_SESSION_URL"
  # The session gives apiUrl relative to itself.
  api_url="$(python3 -c 'import json, sys, urllib.parse
print(urllib.parse.urljoin(sys.argv[1], json.load(open(sys.argv[2]))["apiUrl"]))' \
    "$VELDRIN_TEST_SESSION_URL" "$out/session.json")"

  call() {  # <name> <methodCalls JSON>
    curl -sSf -H "$auth" -H "Content-Type: application/json" -o "$out/$1.json" \
      --data-binary "{\"using\": [\"urn:ietf:params:jmap:core\", \"urn:ietf:params:jmap:mail\",
        \"urn:ietf:params:jmap:submission\"], \"methodCalls\": $2}" "$api_url"
  }
  account="$VELDRIN_TEST_USER"
  call mailboxes "[
    [\"Mailbox/get\", {\"accountId\": \"$account\",
      \"properties\": [\"name\", \"parentId\", \"role\", \"sortOrder\", \"totalEmails\",
                     \"unreadEmails\", \"totalThreads\", \"unreadThreads\",
                     \"isSubscribed\"]}, \"m\"],
    [\"Identity/get\", {\"accountId\": \"$account\"}, \"i\"]]"
  inbox_id="$(python3 -c 'import json, sys
boxes = json.load(open(sys.argv[1]))["methodResponses"][0][1]["list"]
print(next(b["id"] for b in boxes if b["role"] == "inbox"))' "$out/mailboxes.json")"
  call inbox "[
    [\"Email/query\", {\"accountId\": \"$account\", \"filter\": {\"inMailbox\": \"$inbox_id\"},
      \"sort\": [{\"property\": \"receivedAt\", \"isAscending\": false}],
      \"collapseThreads\": false, \"calculateTotal\": true}, \"q\"],
    [\"Email/get\", {\"accountId\": \"$account\",
      \"#ids\": {\"resultOf\": \"q\", \"name\": \"Email/query\", \"path\": \"/ids\"},
      \"properties\": [\"threadId\", \"subject\", \"from\", \"keywords\", \"hasAttachment\",
                     \"mailboxIds\", \"receivedAt\", \"preview\"]}, \"g\"]]"

  python3 - "$out" <<'EOF'
import json
import os
import sys

out = sys.argv[1]
load = lambda name: json.load(open(os.path.join(out, name + ".json")))
failures = []

def expect(condition, what):
    if not condition:
        failures.append(what)

session = load("session")
print("== session")
print(json.dumps(session, indent=2))
submission = session["accounts"][os.environ["VELDRIN_TEST_USER"]]["accountCapabilities"].get(
    "urn:ietf:params:jmap:submission", {})
expect(submission.get("maxDelayedSend") == 86400, "maxDelayedSend is one day")

(_, boxes, _), (_, identities, _) = load("mailboxes")["methodResponses"]
print("== Mailbox/get")
print(json.dumps(boxes["list"], indent=2))
print("== Identity/get")
print(json.dumps(identities["list"], indent=2))
roles = {b["role"]: b for b in boxes["list"] if b["role"]}
expect(set(roles) == {"inbox", "drafts", "sent", "archive", "junk", "trash"},
       f"six roles, got {sorted(roles)}")
by_name = {b["name"]: b for b in boxes["list"]}
expect("Projects" in by_name and by_name["Projects"]["parentId"] is None, "Projects at top level")
expect("Veldrin" in by_name and "Projects" in by_name
       and by_name["Veldrin"]["parentId"] == by_name["Projects"]["id"],
       "Veldrin nested under Projects")
expect(roles.get("archive", {}).get("totalEmails") == 1, "one message in Archive")
expect([i["email"] for i in identities["list"]] == [os.environ["VELDRIN_TEST_USER"]],
       "one identity with the account's address")

(_, query, _), (_, emails, _) = load("inbox")["methodResponses"]
print("== Email/query + Email/get of the inbox")
print(json.dumps({"total": query.get("total"), "list": emails["list"]}, indent=2))
subjects = [e["subject"] for e in emails["list"]]
expect(query.get("total") == 4, f"four messages in the inbox, got {query.get('total')}")
expect(subjects[0] == "Photos from the trip", "newest first")
thread = [e["threadId"] for e in emails["list"] if e["subject"].endswith("Quarterly planning")]
expect(len(thread) == 2 and thread[0] == thread[1], "the planning messages share a thread")
unread = sorted(e["subject"] for e in emails["list"] if "$seen" not in e["keywords"])
expect(unread == ["Lunch on Friday?", "Re: Quarterly planning"], f"unread: {unread}")
expect([e["subject"] for e in emails["list"] if e["hasAttachment"]] == ["Photos from the trip"],
       "one message with an attachment")

if failures:
    print("check: FAILED:\n  " + "\n  ".join(failures), file=sys.stderr)
    sys.exit(1)
EOF
  exit 0
fi

if [ "${1:-}" = "--with-keyring" ]; then
  value="veldrin-check-$$"
  printf '%s' "$value" | secret-tool store --label="Veldrin harness check" \
    service veldrin-harness-check account check
  got="$(secret-tool lookup service veldrin-harness-check account check)"
  if [ "$got" != "$value" ]; then
    echo "check: FAILED: the keyring gave back '$got' instead of '$value'" >&2
    exit 1
  fi
  echo "== Secret Service: a secret stored and looked up again"
  exit 0
fi

"$here/with-cyrus.sh" "$0" --against-cyrus
"$here/with-keyring.sh" "$0" --with-keyring
echo "check: OK"
