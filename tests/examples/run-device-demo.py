#!/usr/bin/env python3
"""Runs vemlo-device-demo for a few seconds and checks what it left.

usage: run-device-demo.py <demo> [emulator argument...]

Makes a working directory with Vemlo/Conf/default.config, starts the tests' HTTP
server (tests/support/http_peer.py) on 127.0.0.1 and records every POST body, runs the demo (under the emulator,
if one is given), drives it over its Unix-domain socket (one command a line,
answered "ok" or "unknown"), then checks the transitions table, the status
reports and the exit code, and removes everything it made.
"""

import http.server
import os
import shutil
import socket
import sqlite3
import subprocess
import sys
import tempfile
import threading
import time

LIMIT = 60  # seconds for any one wait (qemu is slow)
EXPECTED = [("Idle", "Priming", "start"), ("Priming", "Running", "tick"),
            ("Running", "Fault", "fault"), ("Fault", "Idle", "reset")]
reports = []  # the POST bodies received, as dicts


sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import http_peer  # noqa: E402


def record(line):
    """Takes http_peer's "REQ <head hex> <body hex or ->" lines instead of printing them."""
    body = line.split()[2]
    if line.startswith("REQ ") and body != "-":
        fields = bytes.fromhex(body).decode().split("&")
        reports.append(dict(field.split("=", 1) for field in fields))


http_peer.emit = record


def wait_for(condition, what):
    deadline = time.monotonic() + LIMIT
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError("timed out waiting for " + what)
        time.sleep(0.05)


def command(path, word):
    """Sends one command line and returns the reply line."""
    deadline = time.monotonic() + LIMIT
    while True:  # the socket exists and listens a moment after start-up
        try:
            client = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
            client.settimeout(LIMIT)
            client.connect(path)
            break
        except OSError:
            client.close()
            if time.monotonic() > deadline:
                raise
            time.sleep(0.05)
    with client:
        client.sendall(word.encode() + b"\n")
        reply = b""
        while not reply.endswith(b"\n"):
            chunk = client.recv(64)
            if not chunk:
                break
            reply += chunk
    return reply.decode()


def rows(database):
    if not os.path.exists(database):
        return []
    with sqlite3.connect(database, timeout=LIMIT) as db:
        return db.execute("SELECT from_state, to_state, event, at FROM transitions "
                          "ORDER BY id").fetchall()


def main():
    demo, emulator = sys.argv[1], sys.argv[2:]
    work = tempfile.mkdtemp(prefix="device-demo-")
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), http_peer.Handler)
    server.daemon_threads, server.close_at_once = True, False
    threading.Thread(target=server.serve_forever, daemon=True).start()
    sock, database = work + "/demo.sock", work + "/demo.db"
    output = open(work + "/demo.out", "w+")
    process = None
    try:
        os.makedirs(work + "/Vemlo/Conf")
        with open(work + "/Vemlo/Conf/default.config", "w") as config:
            config.write("<FileProperty><Base><Log><Level>INFO</Level><BackupRange>5</BackupRange>"
                         "</Log><Http><TempPath>%s/http</TempPath></Http></Base><Demo><Socket>"
                         "<Path>%s</Path></Socket><Database><File>%s</File></Database><Status>"
                         "<Url>http://127.0.0.1:%d/body/2</Url></Status><Tick><Milliseconds>100"
                         "</Milliseconds></Tick></Demo></FileProperty>\n"
                         % (work, sock, database, server.server_address[1]))
        process = subprocess.Popen(emulator + [demo], stdout=output, stderr=subprocess.STDOUT,
                                   env=dict(os.environ, VEMLO_WORKING_DIRECTORY=work))
        wait_for(lambda: reports, "the first status report")
        assert command(sock, "pump harder") == "unknown\n"
        # "start" leads to Priming, and the next tick to Running.
        for word, count in (("start", 2), ("fault", 3), ("reset", 4)):
            assert command(sock, word) == "ok\n", word
            wait_for(lambda: len(rows(database)) >= count, "transition %d" % count)
            wait_for(lambda: reports[-1]["transitions"] == str(count), "report %d" % count)
        # The high-water mark of the demo's own memory (under qemu-arm, of
        # the emulator running it). Not ru_maxrss: that keeps the forked
        # Python's size across the exec.
        with open("/proc/%d/status" % process.pid) as status:
            peak = [line.split()[1] for line in status if line.startswith("VmHWM:")][0]
        assert command(sock, "quit") == "ok\n"
        process.wait(LIMIT)
        print("device-demo peak RSS: %s KiB" % peak)
        assert process.returncode == 0, "exit code %d" % process.returncode

        recorded = rows(database)
        assert [row[:3] for row in recorded] == EXPECTED, recorded
        assert all(row[3] for row in recorded), "a transition without its time"
        # Every report is a snapshot: after n transitions the state is that of row n.
        counts = [int(report["transitions"]) for report in reports]
        assert counts == sorted(counts) and {0, 2, 3, 4} <= set(counts), counts
        for report, n in zip(reports, counts):
            assert report["state"] == (EXPECTED[n - 1][1] if n else "Idle"), report
        assert not os.path.exists(sock), "the socket file was left behind"
        print("%d transitions recorded, %d status reports: %s"
              % (len(recorded), len(reports), ", ".join(r["state"] for r in reports)))
    except BaseException:
        output.seek(0)
        sys.stderr.write("demo output:\n" + output.read())
        raise
    finally:
        if process and process.poll() is None:
            process.kill()
            process.wait()
        server.shutdown()
        server.server_close()
        output.close()
        shutil.rmtree(work)


if __name__ == "__main__":
    main()
