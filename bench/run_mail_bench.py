"""Times what delivers messages to a mail server beside IMAP APPEND of the same bytes to the same server, turn by turn;
called by tools/bench --server, beside a server (tools/mail-server)."""

import argparse
import imaplib
import itertools
import os
import statistics
import subprocess
import tempfile
import time
from pathlib import Path

KIB, MIB = 1024, 1024 * 1024
# Messages and bytes of a run, the runs, and the most that delivering may take as a multiple of APPEND.
CASES = [("4 KiB", 40, 4 * KIB, 5, 8), ("64 KiB", 20, 64 * KIB, 5, None), ("1 MiB", 10, MIB, 5, 4),
         ("256 MiB", 1, 256 * MIB, 3, 2.5)]
MOST_MEMORY = 64  # MiB
LISTED, MOST_REQUESTS = 10_000, 40
PROGRAM = "build/release/bench/mail_bench.exe"


def bench(*arguments: str) -> list[str]:
    # Through a file: what Wine starts in the background would keep a pipe open.
    with tempfile.TemporaryFile() as out:
        subprocess.run(["tools/run-wine", PROGRAM, *arguments], stdin=subprocess.DEVNULL, stdout=out, check=True)
        out.seek(0)
        return out.read().decode().split()


def imap() -> imaplib.IMAP4:
    connection = imaplib.IMAP4("127.0.0.1", int(os.environ["FENDREL_MAIL_IMAP"]))
    connection.login("alice", os.environ["FENDREL_MAIL_PASSWORD"])
    return connection


def message_of(size: int, folder: Path) -> bytes:
    path = folder / "message"
    bench("write", "Z:" + str(path).replace("/", "\\"), str(size))
    return path.read_bytes()


# Each message has an identifier of its own, as those that are delivered have: Cyrus takes few identical ones.
identifiers = itertools.count()


def append_seconds(message: bytes, mailbox: str, count: int) -> float:
    messages = [message.replace(b"<bench-1-", b"<%07d-" % next(identifiers), 1) for _ in range(count)]
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
    time.sleep(1.1)  # Cyrus keeps what was deleted under its name and the second
    connection.create(mailbox)
    connection.logout()


def show(what: str, figure: str, goal: str, is_reached: bool) -> None:
    print(f"{what:<34} {figure:>10}   {goal:<16} {'reached' if is_reached else 'NOT REACHED'}", flush=True)


def compare(folder: Path, quick: bool) -> None:
    memory = 0.0
    for label, count, size, runs, most in CASES:
        message = message_of(size, folder)
        times: dict[str, list[float]] = {"deliver": [], "append": []}
        for turn in range(3 if quick else runs):
            for way in sorted(times, reverse=turn % 2 == 1):
                empty("Bench")
                if way == "append":
                    times[way].append(append_seconds(message, "Bench", count))
                else:
                    seconds, peak = map(float, bench("post", "Bench", str(count), str(size)))
                    times[way].append(seconds)
                    memory = max(memory, peak)
        medians = {way: statistics.median(values) / count * 1000 for way, values in times.items()}
        multiple = medians["deliver"] / medians["append"]
        print(f"{count:>3} x {label:>7}: delivered in {medians['deliver']:.1f} ms each, appended in"
              f" {medians['append']:.1f} ms", flush=True)
        if most:
            show(f"{label}, to IMAP APPEND", f"{multiple:.1f}x", f"at most {most}x", multiple <= most)
    show("memory, MiB", f"{memory:.1f}", f"at most {MOST_MEMORY}", memory <= MOST_MEMORY)


def four_at_once() -> None:
    connection = imap()
    connection.create("Four")
    connection.logout()
    count, start = 25, time.perf_counter()
    children = [subprocess.Popen(["tools/run-wine", PROGRAM, "post", "Four", str(count), str(64 * KIB)],
                                 stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL) for _ in range(4)]
    codes = [child.wait() for child in children]
    seconds = time.perf_counter() - start
    connection = imap()
    there = int(connection.select("Four", readonly=True)[1][0])
    wanted = 4 * (count + 1)
    print(f"four processes at once, 64 KiB: {4 * count / seconds:.1f} messages/s, their starts included")
    show("messages of four processes", str(there), f"{wanted}", there == wanted and codes == [0] * 4)


def listing(count: int) -> None:
    connection = imap()
    connection.create("Long")
    body = b"From: a@fendrel.invalid\r\nSubject: report %d\r\nX-Message-Class: IPM.Document.pdf\r\n\r\nHello\r\n"
    for number in range(count):
        connection.append("Long", None, None, body % number)
    connection.logout()
    rows, requests, seconds = bench("list", "Long")
    print(f"{rows} messages listed in {float(seconds):.2f} s")
    show(f"requests for {count} messages", requests, f"at most {MOST_REQUESTS}",
         int(rows) == count and int(requests) <= MOST_REQUESTS)


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("--quick", action="store_true", help="fewer runs, 1,000 messages listed")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        compare(Path(folder), arguments.quick)
    four_at_once()
    listing(1000 if arguments.quick else LISTED)


if __name__ == "__main__":
    main()
