#!/usr/bin/env python3
"""Fills the test account with a mailbox as a busy reader keeps it, for the end-to-end
benchmark: long threads, short ones, HTML newsletters with images, attachments, one 5 MB
newsletter, and at the top of the inbox a conversation of 10 messages whose last 3 are unread.

  seed-bench.py --port P --user U --password W [--conversations N]

N is the number of conversations in the inbox (at least about 400); everything above the
standard mix is added as short conversations, so that a large mailbox keeps the same top.
"""

import argparse
import base64
import imaplib
import random
from datetime import datetime, timedelta, timezone
from email.utils import format_datetime

PEOPLE = [
    ("Anna Berg", "anna@example.org"), ("Bo Lind", "bo@example.net"),
    ("Chris Moreau", "chris@example.org"), ("Dana Whit", "dana@example.net"),
    ("Eli Novak", "eli@example.org"), ("Fay Okoro", "fay@example.net"),
    ("Gus Laine", "gus@example.org"), ("Hana Sato", "hana@example.net"),
]
TOPICS = [
    "Quarterly planning", "Release checklist", "Office move", "Budget review",
    "Hiring loop", "Design critique", "Conference travel", "Customer escalation",
    "Roadmap draft", "Team offsite", "Security audit", "Database migration",
]
WORDS = ("the plan looks good and we should move on with the next step before Friday "
         "so that everyone has time to read it and comment where something is missing").split()
PNG = base64.b64decode(
    "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNkYPhfDwAChwGA60e6kgAAAABJRU5ErkJggg==")

rng = random.Random(7)


def sentence(n=14):
    words = [rng.choice(WORDS) for _ in range(n)]
    return " ".join(words).capitalize() + "."


def crlf(text):
    return text.replace("\r\n", "\n").replace("\n", "\r\n").encode()


def headers(when, sender, subject, msgid, reply_to=None, refs=()):
    name, address = sender
    lines = [
        f"From: {name} <{address}>",
        "To: Test User <test@example.com>",
        f"Subject: {subject}",
        f"Date: {format_datetime(when)}",
        f"Message-ID: <{msgid}>",
        "MIME-Version: 1.0",
    ]
    if reply_to:
        lines.append(f"In-Reply-To: <{reply_to}>")
        lines.append("References: " + " ".join(f"<{r}>" for r in refs))
    return "\n".join(lines) + "\n"


def plain(when, sender, subject, msgid, reply_to=None, refs=(), quote=""):
    body = "\n\n".join(sentence() for _ in range(rng.randint(2, 6)))
    if quote:
        body += "\n\n" + "\n".join("> " + line for line in quote.splitlines())
    return crlf(headers(when, sender, subject, msgid, reply_to, refs)
                + "Content-Type: text/plain; charset=utf-8\n\n" + body + "\n"), body


def html(when, sender, subject, msgid, reply_to=None, refs=()):
    paragraphs = "".join(f"<p style='margin:0 0 12px'>{sentence()}</p>"
                         for _ in range(rng.randint(2, 5)))
    text = (headers(when, sender, subject, msgid, reply_to, refs)
            + "Content-Type: text/html; charset=utf-8\n\n"
            + f"<div style='font-family:sans-serif'>{paragraphs}</div>\n")
    return crlf(text)


def newsletter(when, index, size=40_000):
    """An HTML newsletter of about `size` bytes: a styled table layout, remote images, a
    tracking pixel and an inline logo."""
    sections = []
    total = 0
    n = 0
    while total < size:
        n += 1
        block = (
            f"<tr><td style='padding:16px;border-bottom:1px solid #e5e5e5'>"
            f"<img src='https://images.example.com/news/{index}/{n}.jpg' width='560' height='220' "
            f"alt='Story {n}' style='display:block;width:100%;height:auto'>"
            f"<h2 style='font:600 20px/1.3 Georgia,serif;color:#1a1a1a'>Story {n}: "
            f"{rng.choice(TOPICS)}</h2>"
            + "".join(f"<p style='font:15px/1.6 Helvetica,Arial,sans-serif;color:#333'>"
                      f"{sentence(30)}</p>" for _ in range(3))
            + f"<a href='https://news.example.com/r/{index}/{n}' style='color:#0a66c2'>"
              f"Read more</a></td></tr>")
        sections.append(block)
        total += len(block)
    html_body = (
        "<html><body style='margin:0;background:#f4f4f4'>"
        "<table width='600' align='center' cellpadding='0' cellspacing='0' "
        "style='background:#fff'><tr><td><img src='cid:logo@news' width='120' height='40' "
        "alt='Logo'></td></tr>" + "".join(sections)
        + "</table><img src='https://track.example.com/open.gif' width='1' height='1'>"
        "</body></html>")
    logo = base64.encodebytes(PNG).decode()
    text = (headers(when, ("The Weekly Digest", "digest@news.example.com"),
                    f"The Weekly Digest #{index}", f"digest-{index}@news.example.com")
            + "List-Unsubscribe: <https://news.example.com/unsubscribe/42>\n"
            + 'Content-Type: multipart/related; boundary="rel"\n\n'
            + "--rel\nContent-Type: text/html; charset=utf-8\n\n" + html_body + "\n"
            + "--rel\nContent-Type: image/png\nContent-ID: <logo@news>\n"
            + "Content-Disposition: inline\nContent-Transfer-Encoding: base64\n\n"
            + logo + "--rel--\n")
    return crlf(text)


def with_attachment(when, sender, subject, msgid):
    data = bytes(rng.randrange(256) for _ in range(60_000))
    encoded = base64.encodebytes(data).decode()
    text = (headers(when, sender, subject, msgid)
            + 'Content-Type: multipart/mixed; boundary="mix"\n\n'
            + "--mix\nContent-Type: text/plain; charset=utf-8\n\n"
            + sentence() + "\n\n"
            + "--mix\nContent-Type: application/pdf; name=\"report.pdf\"\n"
            + "Content-Disposition: attachment; filename=\"report.pdf\"\n"
            + "Content-Transfer-Encoding: base64\n\n" + encoded + "--mix--\n")
    return crlf(text)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--port", type=int, required=True)
    parser.add_argument("--user", required=True)
    parser.add_argument("--password", required=True)
    parser.add_argument("--conversations", type=int, default=420)
    parser.add_argument("--extra-only", action="store_true",
                        help="add only the conversations above the standard mix")
    args = parser.parse_args()

    imap = imaplib.IMAP4("127.0.0.1", args.port)
    imap.login(args.user, args.password)
    now = datetime.now(timezone.utc).replace(microsecond=0)
    counts = {"messages": 0, "conversations": 0}

    def append(when, raw, seen=True):
        status, data = imap.append("INBOX", r"(\Seen)" if seen else "()",
                                   imaplib.Time2Internaldate(when.timestamp()), raw)
        if status != "OK":
            raise SystemExit(f"seed-bench: APPEND failed: {data}")
        counts["messages"] += 1

    def thread(key, start, count, unread=0, step=timedelta(hours=3)):
        subject = f"{rng.choice(TOPICS)} ({key})"
        ids = []
        quote = ""
        for i in range(count):
            when = start + step * i
            msgid = f"{key}-{i}@mail.example.org"
            sender = PEOPLE[(i + len(key)) % len(PEOPLE)]
            if i % 3 == 2:
                raw = html(when, sender, "Re: " + subject, msgid,
                           ids[-1] if ids else None, ids)
            else:
                raw, quote = plain(when, sender, ("Re: " if i else "") + subject, msgid,
                                   ids[-1] if ids else None, ids, quote[:400])
            append(when, raw, seen=i < count - unread)
            ids.append(msgid)
        counts["conversations"] += 1

    # Oldest first, so that the server's order matches the dates.
    extra = max(0, args.conversations - 420)
    for i in range(extra):
        when = now - timedelta(days=200) + timedelta(minutes=20 * i)
        raw, _ = plain(when, PEOPLE[i % len(PEOPLE)], f"Note {i}: {rng.choice(TOPICS)}",
                       f"note-{i}@mail.example.org")
        append(when, raw)
        counts["conversations"] += 1

    if args.extra_only:
        imap.logout()
        print(f"seed-bench: {counts['conversations']} conversations added")
        return

    start = now - timedelta(days=120)
    kinds = ([("long", 12)] * 40 + [("mid", 7)] * 120 + [("short", 4)] * 150
             + [("news", 1)] * 60 + [("file", 1)] * 40)
    rng.shuffle(kinds)
    for i, (kind, count) in enumerate(kinds):
        when = start + timedelta(hours=6 * i)
        if kind == "news":
            append(when, newsletter(when, i), seen=rng.random() < 0.5)
            counts["conversations"] += 1
        elif kind == "file":
            append(when, with_attachment(when, PEOPLE[i % len(PEOPLE)],
                                         f"Report {i} attached", f"file-{i}@mail.example.org"))
            counts["conversations"] += 1
        else:
            thread(f"{kind}{i}", when, count, unread=1 if rng.random() < 0.2 else 0,
                   step=timedelta(minutes=25))

    # The 5 MB newsletter among older mail (found by search), and at the top of the inbox the
    # conversation of 10 messages.
    big = now - timedelta(days=60)
    append(big, newsletter(big, 999, size=5 * 1024 * 1024), seen=False)
    counts["conversations"] += 1
    thread("focus", now - timedelta(minutes=20), 10, unread=3, step=timedelta(minutes=1))

    imap.logout()
    print(f"seed-bench: {counts['conversations']} conversations, "
          f"{counts['messages']} messages")


if __name__ == "__main__":
    main()
