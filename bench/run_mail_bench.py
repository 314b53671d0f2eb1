"""Times posting to a mail server through the plug-in, and IMAP APPEND of the same bytes to the same server, in turn.
tools/bench --server runs it with a server (tools/mail-server)."""

import argparse
import imaplib
import itertools
import json
import os
import re
import shutil
import socket
import socketserver
import statistics
import subprocess
import tempfile
import threading
import time
from pathlib import Path

KIB, MIB = 1024, 1024 * 1024
# Label, files of an export, bytes of a file, runs, and the longest time of posting as a multiple of APPEND's.
CASES = [("4 KiB", 100, 4 * KIB, 5, 8), ("64 KiB", 50, 64 * KIB, 5, None), ("1 MiB", 20, MIB, 5, 4),
         ("256 MiB", 1, 256 * MIB, 3, 2.5)]
MOST_MEMORY = 64  # MiB
LISTED, MOST_REQUESTS = 10_000, 40
WORK = Path("build/bench/mail").absolute()
URL = "http://localhost:" + os.environ["FENDREL_MAIL_HTTP"]


def output_of(*command: str, store: Path) -> str:
    # Through a file: background processes of Wine would keep a pipe open.
    with tempfile.TemporaryFile() as out:
        subprocess.run(command, stdin=subprocess.DEVNULL, stdout=out, check=True,
                       env=dict(os.environ, FENDREL_STORE=str(store / "bench.db")))
        out.seek(0)
        return out.read().decode()


def folder_with_profile(name: str, url: str = URL) -> Path:
    """A folder with a store and a profile of the server. alice's own mail is its "Public Folders"."""
    folder = WORK / name
    folder.mkdir(parents=True)
    (folder / "secret").write_text(os.environ["FENDREL_MAIL_PASSWORD"])
    output_of("build/release/fendrel", "profile", "add", "Bench", "--server", url, "--user", "alice", "--public",
              "alice", "--password-file", str(folder / "secret"), store=folder)
    return folder


def export(folder: Path, count: int, size: int) -> list[str]:
    windows = "Z:" + str(folder).replace("/", "\\")
    return ["tools/run-wine", "build/release/bench/post_bench.exe", "plugin", windows, str(count), str(size)]


def imap() -> imaplib.IMAP4:
    connection = imaplib.IMAP4("127.0.0.1", int(os.environ["FENDREL_MAIL_IMAP"]))
    # imaplib sends a message and its line end apart, and the second would wait for the first one's acknowledgement.
    connection.sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    connection.login("alice", os.environ["FENDREL_MAIL_PASSWORD"])
    return connection


def count_in(mailbox: str) -> int:
    connection = imap()
    there = int(connection.select(mailbox, readonly=True)[1][0])
    connection.logout()
    return there


def a_message_of(mailbox: str) -> bytes:
    connection = imap()
    connection.select(mailbox, readonly=True)
    message = connection.fetch("1", "(BODY.PEEK[])")[1][0][1]
    connection.logout()
    return message


# Each message has its own identifier, as posts have: Cyrus accepts only a few identical ones.
identifiers = itertools.count()


def append_seconds(message: bytes, mailbox: str, count: int) -> float:
    def with_identifier() -> bytes:
        return re.sub(rb"(?im)^Message-ID: <[^@]*", b"Message-ID: <%032d" % next(identifiers), message, count=1)

    messages = [with_identifier() for _ in range(count)]
    connection = imap()
    start = time.perf_counter()
    for one in messages:
        answer = connection.append(mailbox, None, None, one)
        if answer[0] != "OK":
            raise SystemExit(f"The server refused a message: {answer[1]}")
    seconds = time.perf_counter() - start
    connection.logout()
    return seconds


def empty(mailbox: str) -> None:
    connection = imap()
    connection.delete(mailbox)
    time.sleep(1.1)  # Cyrus keeps deleted mailboxes under their name and the second
    connection.create(mailbox)
    connection.logout()


def show(what: str, figure: str, goal: str, is_met: bool) -> None:
    print(f"{what:<34} {figure:>10}   goal: {goal:<16} {'met' if is_met else 'MISSED'}", flush=True)


def compare(quick: bool) -> None:
    folder = folder_with_profile("compare")
    memory, reached = 0.0, []
    for label, count, size, runs, most in CASES:
        times: dict[str, list[float]] = {"post": [], "append": []}
        message = b""
        for turn in range(1 if quick else runs):
            # The first turn posts first, because there is nothing to append yet; then they alternate.
            for way in sorted(times, reverse=turn % 2 == 0):
                empty("Bench")
                if way == "append":
                    times[way].append(append_seconds(message, "Bench", count))
                    continue
                seconds, peak = map(float, output_of(*export(folder, count, size), store=folder).split())
                if count_in("Bench") != count:
                    raise SystemExit(f"{count_in('Bench')} of {count} messages are there")
                times[way].append(seconds)
                memory = max(memory, peak)
                message = message or a_message_of("Bench")
        medians = {way: statistics.median(values) / count * 1000 for way, values in times.items()}
        spread = ", ".join(f"{way} {min(values) / count * 1000:.1f}-{max(values) / count * 1000:.1f}"
                           for way, values in times.items())
        print(f"{count:>3} x {label:>7}: posted in {medians['post']:.1f} ms each, appended in"
              f" {medians['append']:.1f} ms ({spread})", flush=True)
        if most:
            reached.append((f"{label}, to IMAP APPEND", medians["post"] / medians["append"], most))
    print()
    for what, multiple, most in reached:
        show(what, f"{multiple:.1f}x", f"at most {most}x", multiple <= most)
    show("memory, MiB", f"{memory:.1f}", f"at most {MOST_MEMORY}", memory <= MOST_MEMORY)


def four_at_once() -> None:
    empty("Bench")
    folders = [folder_with_profile(f"four{number}") for number in range(4)]
    count, start = 25, time.perf_counter()
    children = [subprocess.Popen(export(folder, count, 64 * KIB), stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
                for folder in folders]
    codes = [child.wait() for child in children]
    seconds, there = time.perf_counter() - start, count_in("Bench")
    print(f"four processes at once, 64 KiB: {4 * count / seconds:.1f} messages/s, their starts included")
    show("messages of four processes", str(there), f"{4 * count}", there == 4 * count and codes == [0] * 4)


class CountingProxy(socketserver.ThreadingTCPServer):
    """Forwards requests to the server, one a connection, and counts them."""

    def __init__(self):
        self.count = 0
        super().__init__(("127.0.0.1", 0), self.Connection)
        threading.Thread(target=self.serve_forever, daemon=True).start()

    class Connection(socketserver.StreamRequestHandler):
        def handle(self):
            self.server.count += 1
            head, length = b"", 0
            for line in iter(self.rfile.readline, b"\r\n"):
                head += line
                if line.lower().startswith(b"content-length:"):
                    length = int(line.split(b":")[1])
            with socket.create_connection(("127.0.0.1", int(os.environ["FENDREL_MAIL_HTTP"]))) as server:
                server.sendall(head + b"\r\n" + self.rfile.read(length))
                while piece := server.recv(65536):
                    self.wfile.write(piece)


def listing(count: int) -> None:
    connection = imap()
    connection.create("Long")
    body = b"From: a@fendrel.invalid\r\nSubject: report %d\r\nX-Message-Class: IPM.Document.pdf\r\n\r\nHello\r\n"
    for number in range(count):
        connection.append("Long", None, None, body % number)
    connection.logout()
    with CountingProxy() as proxy:
        folder = folder_with_profile("list", f"http://localhost:{proxy.server_address[1]}/jmap/")
        start = time.perf_counter()
        listed = json.loads(output_of("build/release/fendrel", "list", "Public Folders@Long", "--brief", "--json",
                                      store=folder))
        seconds = time.perf_counter() - start
        proxy.shutdown()
    print(f"{len(listed['messages'])} messages listed by fendrel in {seconds:.2f} s, its start included")
    show(f"requests for {count} messages", str(proxy.count), f"at most {MOST_REQUESTS}",
         len(listed["messages"]) == count and proxy.count <= MOST_REQUESTS)


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("--quick", action="store_true", help="one run of each, 1,000 messages listed")
    arguments = parser.parse_args()
    shutil.rmtree(WORK, ignore_errors=True)
    compare(arguments.quick)
    four_at_once()
    listing(1000 if arguments.quick else LISTED)
    shutil.rmtree(WORK, ignore_errors=True)


if __name__ == "__main__":
    main()
