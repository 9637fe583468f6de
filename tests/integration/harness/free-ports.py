#!/usr/bin/env python3
"""Prints N loopback TCP ports that are free right now, one per line.

Ports come from a fixed range above the usual ephemeral one (so the kernel is
unlikely to hand them to an outgoing connection meanwhile) and start at a random
offset, so that two instances starting together rarely pick the same ones.
"""
import random
import socket
import sys

LOW, HIGH = 20000, 29999


def is_free(port):
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as s:
        s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        try:
            s.bind(("127.0.0.1", port))
        except OSError:
            return False
    return True


def main():
    wanted = int(sys.argv[1]) if len(sys.argv) > 1 else 1
    span = HIGH - LOW + 1
    start = random.randrange(span)
    found = []
    for i in range(span):
        port = LOW + (start + i) % span
        if is_free(port):
            found.append(port)
            if len(found) == wanted:
                print("\n".join(map(str, found)))
                return 0
    print(f"only {len(found)} free ports in {LOW}-{HIGH}", file=sys.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main())
