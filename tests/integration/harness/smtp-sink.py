#!/usr/bin/env python3
"""A minimal SMTP server that accepts every message for the test server.

Each accepted message is written to the spool directory (NNNN.eml with the raw
message and NNNN.json with its envelope), so a test can check what was sent.
Messages with recipients in the local domain are then handed to Cyrus's LMTP
port, so that mail sent to the test account arrives in its inbox.

Delivery happens on a worker thread after the 250 reply: Cyrus holds a lock on
the sender's mailbox while it talks to us, and delivering to that same user
before answering makes lmtpd wait for that lock.
"""
import argparse
import json
import os
import queue
import smtplib
import socket
import socketserver
import sys
import threading
import time

CAPABILITIES = ["PIPELINING", "SIZE 104857600", "8BITMIME", "ENHANCEDSTATUSCODES"]


def log(*parts):
    print(time.strftime("%H:%M:%S"), *parts, flush=True)


class Sink:
    def __init__(self, spool, lmtp_port, domain):
        self.spool = spool
        self.lmtp_port = lmtp_port
        self.domain = domain.lower()
        self.counter = 0
        self.counter_lock = threading.Lock()
        self.deliveries = queue.Queue()
        threading.Thread(target=self._deliver_loop, daemon=True).start()

    def accept(self, sender, recipients, data):
        with self.counter_lock:
            self.counter += 1
            number = self.counter
        base = os.path.join(self.spool, f"{number:04d}")
        # Write the envelope last and atomically: a test polling the spool
        # sees a message only once both files are complete.
        with open(base + ".eml", "wb") as f:
            f.write(data)
        with open(base + ".json.tmp", "w") as f:
            json.dump({"from": sender, "to": recipients}, f)
        os.rename(base + ".json.tmp", base + ".json")
        log(f"accepted {number:04d} from <{sender}> to {recipients}")
        local = [r for r in recipients if r.lower().endswith("@" + self.domain)]
        if local:
            self.deliveries.put((number, sender, local, data))

    def _deliver_loop(self):
        while True:
            number, sender, recipients, data = self.deliveries.get()
            for attempt in range(5):
                try:
                    with smtplib.LMTP("127.0.0.1", self.lmtp_port) as lmtp:
                        refused = lmtp.sendmail(sender, recipients, data)
                    log(f"delivered {number:04d} to {recipients}, refused {refused}")
                    break
                except smtplib.SMTPRecipientsRefused as e:
                    log(f"delivery of {number:04d} refused: {e.recipients}")
                    break
                except (OSError, smtplib.SMTPException) as e:
                    log(f"delivery of {number:04d} failed ({e}), retrying")
                    time.sleep(1)


def strip_path(argument):
    """'FROM:<a@b> SIZE=1' -> 'a@b'"""
    value = argument.split(":", 1)[1].strip() if ":" in argument else argument
    if value.startswith("<"):
        value = value[1:value.find(">")] if ">" in value else value[1:]
    else:
        value = value.split(" ", 1)[0]
    return value


class Handler(socketserver.StreamRequestHandler):
    def reply(self, text):
        self.wfile.write(text.encode() + b"\r\n")
        self.wfile.flush()

    def handle(self):
        sink = self.server.sink
        sender, recipients = None, []
        self.reply("220 127.0.0.1 ESMTP test sink")
        while True:
            line = self.rfile.readline()
            if not line:
                return
            line = line.decode("utf-8", "replace").rstrip("\r\n")
            verb, _, argument = line.partition(" ")
            verb = verb.upper()
            if verb == "EHLO":
                lines = ["127.0.0.1"] + CAPABILITIES
                for text in lines[:-1]:
                    self.wfile.write(f"250-{text}\r\n".encode())
                self.reply(f"250 {lines[-1]}")
            elif verb == "HELO":
                self.reply("250 127.0.0.1")
            elif verb == "MAIL":
                sender, recipients = strip_path(argument), []
                self.reply("250 2.1.0 OK")
            elif verb == "RCPT":
                if sender is None:
                    self.reply("503 5.5.1 MAIL first")
                else:
                    recipients.append(strip_path(argument))
                    self.reply("250 2.1.5 OK")
            elif verb == "DATA":
                if not recipients:
                    self.reply("503 5.5.1 RCPT first")
                    continue
                self.reply("354 End data with <CR><LF>.<CR><LF>")
                chunks = []
                while True:
                    raw = self.rfile.readline()
                    if not raw:
                        return
                    if raw in (b".\r\n", b".\n"):
                        break
                    if raw.startswith(b"."):
                        raw = raw[1:]
                    chunks.append(raw)
                sink.accept(sender, recipients, b"".join(chunks))
                sender, recipients = None, []
                self.reply("250 2.0.0 OK queued")
            elif verb == "RSET":
                sender, recipients = None, []
                self.reply("250 2.0.0 OK")
            elif verb == "NOOP":
                self.reply("250 2.0.0 OK")
            elif verb == "QUIT":
                self.reply("221 2.0.0 Bye")
                return
            else:
                self.reply("502 5.5.2 Command not implemented")


class Server(socketserver.ThreadingTCPServer):
    daemon_threads = True
    allow_reuse_address = True


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--port", type=int, required=True)
    parser.add_argument("--lmtp-port", type=int, required=True)
    parser.add_argument("--domain", default="example.com")
    parser.add_argument("--spool", required=True)
    parser.add_argument("--pidfile", required=True)
    args = parser.parse_args()

    os.makedirs(args.spool, exist_ok=True)
    server = Server(("127.0.0.1", args.port), Handler)
    server.sink = Sink(args.spool, args.lmtp_port, args.domain)
    # The pid file doubles as the signal that the port is open.
    with open(args.pidfile, "w") as f:
        f.write(f"{os.getpid()}\n")
    log(f"listening on 127.0.0.1:{args.port}")
    try:
        server.serve_forever()
    except KeyboardInterrupt:
        pass
    return 0


if __name__ == "__main__":
    sys.exit(main())
