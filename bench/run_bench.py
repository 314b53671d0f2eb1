"""Runs the posting benchmark and prints its table; called by tools/bench from the repository's root."""

import argparse
import os
import random
import shutil
import sqlite3
import statistics
import subprocess
import time
from pathlib import Path

from imap_server import ImapServer

KIB, MIB = 1024, 1024 * 1024
CASES = [("4 KiB", 1000, 4 * KIB), ("64 KiB", 200, 64 * KIB), ("1 MiB", 50, MIB), ("256 MiB", 1, 256 * MIB)]
# Smaller exports, so that both ways run close in time, and the number of rounds.
SHARES = [("4 KiB", 200, 4 * KIB, 40), ("64 KiB", 50, 64 * KIB, 60), ("1 MiB", 10, MIB, 40),
          ("256 MiB", 1, 256 * MIB, 9)]
# The goals of posting through the plug-in: throughput as a multiple of another way's.
GOALS = [("4 KiB", "Dovecot", 5), ("64 KiB", "Dovecot", 2), ("1 MiB", "Dovecot", 1.7), ("256 MiB", "Dovecot", 2),
         ("4 KiB", "native", 0.9), ("64 KiB", "native", 0.7), ("1 MiB", "native", 0.9), ("256 MiB", "native", 0.9),
         ("256 MiB", "dd", 1.5)]
MOST_MEMORY, LONGEST_OPENING = 48, 1.2  # MiB for 1 GiB; 100,000 messages as a multiple of an empty store
WORK = Path("build/bench/work").absolute()


# An empty folder, after the disk has finished earlier work.
def fresh_folder() -> Path:
    shutil.rmtree(WORK, ignore_errors=True)
    WORK.mkdir(parents=True)
    os.sync()
    return WORK


# Writes as much as a run will write, in large and in small pieces, and deletes it, directly before timing; post_bench
# and native_write do the same, each with its own kind of pieces last. The host of a virtual machine takes idle memory
# away and returns it page by page, at a cost of up to some milliseconds per MiB, and the previous way would determine
# which way pays for it.
def touch_memory(size: int) -> None:
    scratches = []
    for piece in (128 * KIB, 4 * KIB):
        scratches.append(WORK / f"scratch{piece}")
        with scratches[-1].open("wb", buffering=0) as file:
            for _ in range((size + 64 * MIB) // piece):
                file.write(bytes(piece))
    for scratch in scratches:
        scratch.unlink()


def output_of(command: list[str]) -> str:
    result = subprocess.run(command, capture_output=True, text=True)
    if result.returncode != 0:
        raise SystemExit(f"{' '.join(command)}\nfailed with exit code {result.returncode}: {result.stderr}")
    return result.stdout


def windows(path: Path) -> str:
    return "Z:" + str(path).replace("/", "\\")


def native(count: int, size: int) -> float:
    return float(output_of(["build/bench/native_write", str(fresh_folder()), str(count), str(size)]))


def by_dd(size: int) -> float:
    source, target = fresh_folder() / "source", WORK / "target"
    with source.open("wb") as file:
        for _ in range(size // MIB):
            file.write(os.urandom(MIB))
        file.flush()
        os.fsync(file.fileno())
    touch_memory(size)
    start = time.perf_counter()
    output_of(["dd", f"if={source}", f"of={target}", "bs=4k", "conv=fsync"])
    return time.perf_counter() - start


# The time of only a database, natively: one row per post, with the store's page size and durability.
def by_sqlite(count: int, size: int) -> float:
    database = sqlite3.connect(fresh_folder() / "plain.db", isolation_level=None)
    database.executescript("PRAGMA page_size = 8192; PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;"
                           "CREATE TABLE report (id INTEGER PRIMARY KEY, data BLOB)")
    report = os.urandom(size)
    touch_memory(count * size)
    start = time.perf_counter()
    for _ in range(count):
        database.execute("INSERT INTO report (data) VALUES (?)", (report,))
    seconds = time.perf_counter() - start
    database.close()
    return seconds


def by_imap(count: int, size: int) -> float:
    with ImapServer(fresh_folder()) as server:
        touch_memory(count * size)
        return server.append_seconds(count, size)


# Seconds, and the process's peak memory in MiB.
def posted(way: str, count: int, size: int) -> tuple[float, float]:
    seconds, memory = output_of(["tools/run-wine", "build/release/bench/post_bench.exe", way,
                                 windows(fresh_folder()), str(count), str(size)]).split()
    return float(seconds), float(memory)


# The time of an export through the plug-in as a multiple of the same MAPI calls made directly.
def share(count: int, size: int, rounds: int) -> float:
    return float(output_of(["tools/run-wine", "build/release/bench/post_bench.exe", "share", windows(fresh_folder()),
                            str(count), str(size), str(rounds)]))


def spread(values: list[float]) -> str:
    return f"{min(values):.3f}-{max(values):.3f}"


def show(what: str, found: float, goal: str, is_met: bool) -> None:
    print(f"{what:<26} {found:>7.2f}   goal: {goal:<14} {'met' if is_met else 'MISSED'}")


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("--quick", action="store_true", help="one round instead of five")
    parser.add_argument("--rounds", type=int, default=5)
    arguments = parser.parse_args()
    rounds = 1 if arguments.quick else arguments.rounds

    ways = {"plug-in": lambda c, s: posted("plugin", c, s)[0], "direct MAPI": lambda c, s: posted("direct", c, s)[0],
            "native": native, "Dovecot": by_imap}
    print(f"Medians of {rounds} rounds; seconds from the fastest to the slowest round.\n")
    print(f"{'files':>14}  {'way':<12} {'seconds':>8} {'spread':>15} {'files/s':>9} {'MiB/s':>8} {'to native':>10}"
          f" {'to Dovecot':>11}")
    reached = {}
    for label, count, size in CASES:
        compared = dict(ways)
        if count == 1:
            compared["dd"] = lambda _, s: by_dd(s)
        else:
            compared["SQLite"] = by_sqlite
            compared["SQLite, Wine"] = lambda c, s: posted("table", c, s)[0]
        times = {way: [] for way in compared}
        for turn in range(rounds):
            # In a different order each time, so that the after-effects of one way do not always affect the same one.
            order = list(compared)
            random.Random(turn).shuffle(order)
            for way in order:
                times[way].append(compared[way](count, size))
        medians = {way: statistics.median(values) for way, values in times.items()}
        reached |= {(label, way): median / medians["plug-in"] for way, median in medians.items()}
        for way, median in medians.items():
            print(f"{count:>4} x {label:>7}  {way:<12} {median:>8.3f} {spread(times[way]):>15} {count / median:>9.1f}"
                  f" {count * size / MIB / median:>8.1f} {medians['native'] / median:>9.2f}x"
                  f" {medians['Dovecot'] / median:>10.2f}x", flush=True)
    print("\n\"to\": throughput as a multiple of the other's.\n")

    for label, count, size, most in SHARES:
        turns = 3 if arguments.quick else most
        print(f"{count:>4} x {label:>7}  plug-in and direct MAPI {turns} times in turn: the plug-in takes"
              f" {share(count, size, turns):.3f}x the time", flush=True)
    print()

    seconds, memory = posted("plugin", 1, 1024 * MIB)
    print(f"1 x 1 GiB through the plug-in: {seconds:.3f} s, at most {memory:.1f} MiB of memory in the whole process.\n")
    large = output_of(["tools/run-wine", "build/release/bench/large_store.exe", windows(fresh_folder())])
    print(large)
    opening = float(large.split()[-1].rstrip("x"))
    for label, way, goal in GOALS:
        show(f"{label}, to {way}", reached[label, way], f"at least {goal}x", reached[label, way] >= goal)
    show("memory of 1 GiB, MiB", memory, f"at most {MOST_MEMORY}", memory <= MOST_MEMORY)
    show("opening 100,000 messages", opening, f"at most {LONGEST_OPENING}x", opening <= LONGEST_OPENING)
    shutil.rmtree(WORK, ignore_errors=True)


if __name__ == "__main__":
    main()
