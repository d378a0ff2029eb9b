#!/usr/bin/env python3
# An HTTP server (Python's http.server) for the tests of libVemlo's HTTP client.
# Prints "PORT <n>", then "REQ <head hex> <body hex or ->" per request. Every
# head it sends is 94 bytes. Replies by path: /body/N (byte i is 'a' + i % 26),
# /binary/N (byte i is (i + 1) % 256), /split (a bare "\n\n" inside the
# headers), /endless (never ends), /close (closes after the head), else no
# reply.

import http.server
import os
import signal
import sys
import threading
import time

LOCK = threading.Lock()


def emit(line):
    with LOCK:
        sys.stdout.write(line + "\n")
        sys.stdout.flush()


def pattern(n):
    return (b"abcdefghijklmnopqrstuvwxyz" * (n // 26 + 1))[:n]


def head(status, length):
    return (b"HTTP/1.1 %d Test\r\nContent-Type: text/plain\r\nConnection: close\r\n"
            b"Content-Length: %010d\r\n\r\n" % (status, length))


class Tee:
    def __init__(self, inner):
        self.inner, self.data = inner, bytearray()

    def readline(self, *args):
        line = self.inner.readline(*args)
        self.data += line
        return line

    def __getattr__(self, name):
        return getattr(self.inner, name)


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, *args):
        pass

    def setup(self):
        super().setup()
        self.rfile = Tee(self.rfile)

    def handle(self):
        self.close_connection = True
        self.handle_one_request()

    def do_POST(self):
        length = int(self.headers.get("Content-Length") or 0)
        body = self.rfile.inner.read(length) if length > 0 and self.path != "/close" else b""
        emit("REQ %s %s" % (bytes(self.rfile.data).hex(), body.hex() or "-"))
        kind, _, arg = self.path.strip("/").partition("/")
        try:
            if kind == "body":
                self.wfile.write(head(200, int(arg)) + pattern(int(arg)))
            elif kind == "binary":
                n = int(arg)
                self.wfile.write(head(200, n) + ((bytes(range(1, 256)) + b"\0") * (n // 256 + 1))[:n])
            elif kind == "split":
                self.wfile.write(b"HTTP/1.1 200 OK\r\nX-First: 1\n\nX-Second: 2\r\n\r\nbody")
            elif kind == "endless":
                self.wfile.write(b"HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n")
                while True:  # whole alphabets: the stream stays one pattern
                    self.wfile.write(pattern(26 * 2520))
                    self.wfile.flush()
                    time.sleep(0.01)
            self.wfile.flush()
        except (BrokenPipeError, ConnectionResetError):
            pass

    do_PUT = do_POST


def die_with_parent():
    """A test program that crashes must not leave its server behind: the
    kernel kills this process when its parent ends (PR_SET_PDEATHSIG)."""
    parent = os.getppid()
    try:
        import ctypes
        ctypes.CDLL(None, use_errno=True).prctl(1, signal.SIGKILL, 0, 0, 0)
    except (ImportError, OSError, AttributeError):
        return  # no ctypes here: the test's own clean-up still ends the server
    if os.getppid() != parent:  # the parent ended before the request took
        os._exit(1)


if __name__ == "__main__":
    die_with_parent()
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    server.daemon_threads = True
    emit("PORT %d" % server.server_address[1])
    server.serve_forever()
