#!/usr/bin/env python3
"""Fills the test account with a small, realistic mailbox over IMAP.

The first login also makes Cyrus create the account and its role folders
(Drafts, Sent, Archive, Junk, Trash).

What the account holds afterwards (tests rely on this):
  INBOX            "Quarterly planning" (read) and "Re: Quarterly planning"
                   (unread, a reply to it: one thread of two), "Lunch on
                   Friday?" (unread), "Photos from the trip" (read, flagged,
                   with a PNG attachment)
  Archive          "Your invoice #1042" (read)
  Sent             "Re: Lunch on Friday?" from the account itself (read)
  Projects         "Kick-off notes" (read)
  Projects/Veldrin "Build is green" (unread)
"""
import argparse
import base64
import imaplib
import re
import sys
from email.utils import format_datetime
from datetime import datetime, timedelta, timezone

# A 1x1 transparent PNG.
PNG = base64.b64decode(
    "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNkYPhfDwAChwGA60e6kgAAAABJRU5ErkJggg=="
)


def crlf(text):
    return text.strip("\n").replace("\n", "\r\n").encode() + b"\r\n"


def message(when, sender, to, subject, body, msgid, extra=""):
    headers = (
        f"From: {sender}\n"
        f"To: {to}\n"
        f"Subject: {subject}\n"
        f"Date: {format_datetime(when)}\n"
        f"Message-ID: <{msgid}>\n"
        f"{extra}"
        "MIME-Version: 1.0\n"
        "Content-Type: text/plain; charset=utf-8\n"
        "Content-Transfer-Encoding: 8bit\n"
    )
    return crlf(headers + "\n" + body)


def with_attachment(when, sender, to, subject, body, msgid):
    png = base64.encodebytes(PNG).decode()
    text = f"""From: {sender}
To: {to}
Subject: {subject}
Date: {format_datetime(when)}
Message-ID: <{msgid}>
MIME-Version: 1.0
Content-Type: multipart/mixed; boundary="b1_veldrin"

--b1_veldrin
Content-Type: text/plain; charset=utf-8
Content-Transfer-Encoding: 7bit

{body}

--b1_veldrin
Content-Type: image/png; name="dot.png"
Content-Disposition: attachment; filename="dot.png"
Content-Transfer-Encoding: base64

{png}
--b1_veldrin--
"""
    return crlf(text)


def check(result, what):
    status, data = result
    if status != "OK":
        raise SystemExit(f"seed: {what} failed: {data}")
    return data


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--port", type=int, required=True)
    parser.add_argument("--user", required=True)
    parser.add_argument("--password", required=True)
    args = parser.parse_args()

    me = f"Test User <{args.user}>"
    now = datetime.now(timezone.utc).replace(microsecond=0)

    imap = imaplib.IMAP4("127.0.0.1", args.port)
    check(imap.login(args.user, args.password), "login")

    listing = check(imap.list('""', '""'), "LIST delimiter")
    match = re.search(rb'\(.*?\) "(.)"', listing[0] or b"")
    sep = match.group(1).decode() if match else "/"

    # The role folders appear during the first login; make sure they did.
    names = [re.sub(rb'^\(.*?\) ".*?" ', b"", line).decode().strip('"')
             for line in check(imap.list(), "LIST")]
    missing = {"Drafts", "Sent", "Archive", "Junk", "Trash"} - set(names)
    if missing:
        raise SystemExit(f"seed: role folders missing after login: {sorted(missing)}")

    projects, veldrin = "Projects", f"Projects{sep}Veldrin"
    for name in (projects, veldrin):
        check(imap.create(name), f"CREATE {name}")
        check(imap.subscribe(name), f"SUBSCRIBE {name}")

    def append(folder, flags, when, raw):
        check(imap.append(folder, flags, imaplib.Time2Internaldate(when.timestamp()), raw),
              f"APPEND to {folder}")

    planning = "planning-1@mail.example.org"
    t = now - timedelta(days=3)
    append("INBOX", r"(\Seen)", t, message(
        t, "Alice Martin <alice@example.org>", me, "Quarterly planning",
        "Hi,\n\nCould we meet on Thursday to go through the plan for next quarter?\n"
        "I have booked the small meeting room from 10 to 11.\n\nAlice", planning))
    t = now - timedelta(days=2, hours=20)
    append("INBOX", "()", t, message(
        t, "Bob Keller <bob@example.net>", f"{me}, Alice Martin <alice@example.org>",
        "Re: Quarterly planning",
        "Thursday works for me. I will bring the numbers from last quarter.\n\n"
        "> Could we meet on Thursday to go through the plan for next quarter?\n\nBob",
        "planning-2@mail.example.net",
        f"In-Reply-To: <{planning}>\nReferences: <{planning}>\n"))
    t = now - timedelta(hours=5)
    append("INBOX", "()", t, message(
        t, "Carol Diaz <carol@example.org>", me, "Lunch on Friday?",
        "Are you free for lunch on Friday? The new place on the corner is open.\n\nCarol",
        "lunch-1@mail.example.org"))
    t = now - timedelta(hours=2)
    append("INBOX", r"(\Seen \Flagged)", t, with_attachment(
        t, "Dan Okafor <dan@example.com>", me, "Photos from the trip",
        "Here is the first picture from the weekend, more to follow.\n\nDan",
        "photos-1@mail.example.com"))
    t = now - timedelta(days=30)
    append("Archive", r"(\Seen)", t, message(
        t, "Billing <billing@example.org>", me, "Your invoice #1042",
        "Your invoice #1042 for 12.00 EUR is now available.\nThank you for your business.",
        "invoice-1042@billing.example.org"))
    t = now - timedelta(hours=4)
    append("Sent", r"(\Seen)", t, message(
        t, me, "Carol Diaz <carol@example.org>", "Re: Lunch on Friday?",
        "Yes, gladly. See you at noon.\n\n> Are you free for lunch on Friday?",
        "lunch-2@example.com",
        "In-Reply-To: <lunch-1@mail.example.org>\nReferences: <lunch-1@mail.example.org>\n"))
    t = now - timedelta(days=7)
    append(projects, r"(\Seen)", t, message(
        t, "Eve Laurent <eve@example.org>", me, "Kick-off notes",
        "Notes from today's kick-off:\n- scope agreed\n- first review in two weeks\n\nEve",
        "kickoff-1@mail.example.org"))
    t = now - timedelta(days=1)
    append(veldrin, "()", t, message(
        t, "CI <ci@example.org>", me, "Build is green",
        "All checks passed on main.", "build-1@ci.example.org"))

    imap.logout()
    print(f"seeded 8 messages; hierarchy separator {sep!r}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
