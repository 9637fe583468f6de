#!/usr/bin/env python3
"""A stand-in for syslog on machines without one, shared by all test servers.

Cyrus only logs through syslog, and without a daemon on /dev/log its messages
vanish, which makes a server that fails to start impossible to diagnose.

Each running test server registers itself in the registry directory as a
symbolic link named after its port, pointing at its log file, and logs with
the prefix "veldrin-cyrus-<port>/". This listener appends each message to the
file of the server it names. When no server is registered any more it removes
/dev/log and exits. Registering and deciding to exit both happen under the
registry's lock, so a server that registers while the listener winds down
sees /dev/log gone and starts a new listener.
"""
import argparse
import fcntl
import os
import re
import signal
import socket
import stat
import sys
import time

PREFIX = re.compile(rb"veldrin-cyrus-(\d+)/")


def registered(registry):
    """The registered ports, forgetting servers whose log file is gone."""
    ports = []
    for name in os.listdir(registry):
        if not name.isdigit():
            continue
        path = os.path.join(registry, name)
        if os.path.exists(path):
            ports.append(name)
        else:
            try:
                os.unlink(path)
            except FileNotFoundError:
                pass
    return ports


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--socket", required=True)
    parser.add_argument("--registry", required=True)
    args = parser.parse_args()

    # Bind under a temporary name and rename, so /dev/log never exists without
    # being writable for the cyrus user.
    temporary = f"{args.socket}.veldrin-{os.getpid()}"
    sock = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    sock.bind(temporary)
    os.chmod(temporary, 0o666)
    os.rename(temporary, args.socket)
    inode = os.stat(args.socket).st_ino
    sock.settimeout(0.5)

    def remove_socket():
        # Only if it is still ours, not one a real syslog daemon made since.
        try:
            st = os.stat(args.socket)
            if stat.S_ISSOCK(st.st_mode) and st.st_ino == inode:
                os.unlink(args.socket)
        except FileNotFoundError:
            pass

    def stop(*_):
        remove_socket()
        raise SystemExit(0)

    signal.signal(signal.SIGTERM, stop)
    signal.signal(signal.SIGINT, stop)

    lock = open(os.path.join(args.registry, "lock"), "rb")
    last_check = time.monotonic()
    while True:
        try:
            data = sock.recv(65536)
            match = PREFIX.search(data)
            if match:
                path = os.path.join(args.registry, match.group(1).decode())
                try:
                    with open(path, "ab") as out:
                        out.write(data.rstrip(b"\0\n") + b"\n")
                except OSError:
                    pass
        except socket.timeout:
            pass
        if time.monotonic() - last_check < 1:
            continue
        last_check = time.monotonic()
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            continue
        if not registered(args.registry):
            remove_socket()
            return 0  # the lock goes with the process
        fcntl.flock(lock, fcntl.LOCK_UN)


if __name__ == "__main__":
    sys.exit(main())
