#!/usr/bin/python3
"""A loopback HTTPS proxy in front of the test server that adds what it lacks: a live push
stream. The session it hands out points the event source at itself; every other request goes
through to the server unchanged, so the server's own log still sees each one.

  push-proxy.py --port P --upstream https://127.0.0.1:Q --cert C --key K --ca CA

The stream sends a ping at the interval the client asks for and nothing else, as a quiet
account's push stream does.
"""

import argparse
import http.client
import json
import ssl
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from urllib.parse import parse_qs, urlparse

# Bodies pass as they are: the proxy reads the session, so nothing is compressed on the way.
HOP_HEADERS = {"connection", "keep-alive", "transfer-encoding", "content-length", "host",
               "accept-encoding"}


def handler_for(upstream, context):
    target = urlparse(upstream)

    class Handler(BaseHTTPRequestHandler):
        protocol_version = "HTTP/1.1"

        def log_message(self, *args):
            pass

        def forward(self):
            length = int(self.headers.get("Content-Length") or 0)
            body = self.rfile.read(length) if length else None
            connection = http.client.HTTPSConnection(target.hostname, target.port,
                                                     context=context, timeout=60)
            headers = {k: v for k, v in self.headers.items() if k.lower() not in HOP_HEADERS}
            connection.request(self.command, self.path, body=body, headers=headers)
            response = connection.getresponse()
            data = response.read()
            if self.path.rstrip("/") == "/jmap" and self.command == "GET" and response.status == 200:
                session = json.loads(data)
                session["eventSourceUrl"] = "/push?types={types}&closeafter={closeafter}&ping={ping}"
                data = json.dumps(session).encode()
            self.send_response(response.status)
            for key, value in response.getheaders():
                if key.lower() not in HOP_HEADERS:
                    self.send_header(key, value)
            self.send_header("Content-Length", str(len(data)))
            self.end_headers()
            self.wfile.write(data)
            connection.close()

        def stream(self):
            query = parse_qs(urlparse(self.path).query)
            ping = max(1, int((query.get("ping") or ["30"])[0] or 30))
            self.send_response(200)
            self.send_header("Content-Type", "text/event-stream")
            self.send_header("Cache-Control", "no-cache")
            self.send_header("Connection", "close")
            self.end_headers()
            self.close_connection = True
            print(f"push-proxy: stream opened, ping every {ping} s", flush=True)
            try:
                while True:
                    self.wfile.write(b"event: ping\ndata: {}\n\n")
                    self.wfile.flush()
                    time.sleep(ping)
            except OSError:
                pass

        def do_GET(self):
            if self.path.startswith("/push"):
                self.stream()
            else:
                self.forward()

        def do_POST(self):
            self.forward()

    return Handler


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--port", type=int, required=True)
    parser.add_argument("--upstream", required=True)
    parser.add_argument("--cert", required=True)
    parser.add_argument("--key", required=True)
    parser.add_argument("--ca", required=True)
    args = parser.parse_args()
    upstream_context = ssl.create_default_context(cafile=args.ca)
    server = ThreadingHTTPServer(("127.0.0.1", args.port), handler_for(args.upstream,
                                                                       upstream_context))
    server.daemon_threads = True
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(args.cert, args.key)
    server.socket = context.wrap_socket(server.socket, server_side=True)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    print(f"push-proxy: https://127.0.0.1:{args.port}/jmap/", flush=True)
    try:
        while True:
            time.sleep(3600)
    except KeyboardInterrupt:
        pass


if __name__ == "__main__":
    main()
