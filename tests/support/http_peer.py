#!/usr/bin/env python3
"""An HTTP server for the tests of libVemlo's HTTP client.

Built on Python's http.server (so the request is parsed by code we did not
write). Listens on 127.0.0.1 at a port the system picks and prints
"PORT <n>" as its first line. For every request it prints one line
"REQ <head> <body>", both hex-encoded: <head> is the request line and the
header lines exactly as received, through the blank line; <body> is what
Content-Length announced. The reply is chosen by the request path:

  /body/N        200 with an N-byte body (byte i is 'a' + i % 26)
  /total/N       the same, sized so that the whole reply is exactly N bytes
  /binary/N      an N-byte body whose byte i is (i + 1) % 256 (a NUL at 255)
  /status/C/N    status C with an N-byte body
  /lf/N          header lines ending in a bare "\\n"
  /split         headers with a bare "\\n\\n" inside, then "\\r\\n\\r\\n"
  /empty         headers only: the reply ends right after the blank line
  /endless       a body that never ends (about 64 KB every 10 ms) until the
                 client goes or the server is killed
  /silent        reads the request, never answers, keeps the connection
  /close         reads the request head only, then closes without a reply

With --close-at-once every connection is closed as soon as it is accepted,
before anything is read. The server runs until it is killed.
"""

import http.server
import sys
import threading
import time

OUT_LOCK = threading.Lock()


def emit(line):
    with OUT_LOCK:
        sys.stdout.write(line + "\n")
        sys.stdout.flush()


def pattern(n):
    return (b"abcdefghijklmnopqrstuvwxyz" * (n // 26 + 1))[:n]


def binary(n):
    """Byte i is (i + 1) % 256: every value, the first NUL at index 255."""
    return ((bytes(range(1, 256)) + b"\0") * (n // 256 + 1))[:n]


class Tee:
    """Reads through to the socket file and keeps a copy of the lines read."""

    def __init__(self, inner):
        self.inner = inner
        self.data = bytearray()

    def readline(self, *args):
        line = self.inner.readline(*args)
        self.data += line
        return line

    def read(self, *args):
        return self.inner.read(*args)

    def __getattr__(self, name):
        return getattr(self.inner, name)


def head_for(status, length, line_end=b"\r\n", width=0):
    lines = [
        b"HTTP/1.1 %d Test" % status,
        b"Content-Type: text/plain",
        b"Connection: close",
        b"Content-Length: %0*d" % (width, length),
    ]
    return line_end.join(lines) + line_end + line_end


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, *args):
        pass  # stdout is the test's channel; stderr stays quiet

    def setup(self):
        super().setup()
        self.rfile = Tee(self.rfile)

    def handle(self):
        if self.server.close_at_once:
            return
        self.close_connection = True
        self.handle_one_request()

    def do_request(self):
        head = bytes(self.rfile.data)
        if self.path == "/close":
            emit("REQ %s -" % head.hex())
            return
        length = int(self.headers.get("Content-Length") or 0)
        body = self.rfile.inner.read(length) if length > 0 else b""
        emit("REQ %s %s" % (head.hex(), body.hex() or "-"))
        parts = self.path.strip("/").split("/")
        out = self.wfile
        try:
            if parts[0] == "body":
                n = int(parts[1])
                out.write(head_for(200, n) + pattern(n))
            elif parts[0] == "total":
                # A fixed-width length keeps the head's size independent of n.
                total = int(parts[1])
                n = max(total - len(head_for(200, 0, width=10)), 0)
                out.write((head_for(200, n, width=10) + pattern(n))[:total])
            elif parts[0] == "binary":
                n = int(parts[1])
                out.write(head_for(200, n) + binary(n))
            elif parts[0] == "status":
                n = int(parts[2])
                out.write(head_for(int(parts[1]), n) + pattern(n))
            elif parts[0] == "lf":
                n = int(parts[1])
                out.write(head_for(200, n, b"\n") + pattern(n))
            elif parts[0] == "split":
                out.write(b"HTTP/1.1 200 OK\r\nX-First: 1\n\nX-Second: 2\r\n\r\nbody")
            elif parts[0] == "empty":
                out.write(head_for(204, 0))
            elif parts[0] == "endless":
                out.write(b"HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n")
                chunk = pattern(26 * 2520)  # whole alphabets: the stream stays one pattern
                while True:
                    out.write(chunk)
                    out.flush()
                    time.sleep(0.01)
            elif parts[0] == "silent":
                while True:
                    time.sleep(1)
            else:
                out.write(head_for(404, 9) + b"not found")
            out.flush()
        except (BrokenPipeError, ConnectionResetError):
            pass

    do_POST = do_request
    do_GET = do_request
    do_PUT = do_request


class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True
    close_at_once = False


def main():
    server = Server(("127.0.0.1", 0), Handler)
    server.close_at_once = "--close-at-once" in sys.argv[1:]
    emit("PORT %d" % server.server_address[1])
    server.serve_forever()


if __name__ == "__main__":
    main()
