"""Runs the posting benchmark and prints its table; called by tools/bench from the repository's root."""

import argparse
import shutil
import statistics
import subprocess
from pathlib import Path

KIB, MIB = 1024, 1024 * 1024
CASES = [("4 KiB", 1000, 4 * KIB), ("64 KiB", 200, 64 * KIB), ("1 MiB", 50, MIB), ("256 MiB", 1, 256 * MIB)]
WORK = Path("build/bench/work").absolute()


def fresh_folder() -> Path:
    shutil.rmtree(WORK, ignore_errors=True)
    WORK.mkdir(parents=True)
    return WORK


def seconds_of(command: list[str]) -> float:
    result = subprocess.run(command, capture_output=True, text=True)
    if result.returncode != 0:
        raise SystemExit(f"{' '.join(command)}\nfailed with exit code {result.returncode}: {result.stderr}")
    return float(result.stdout)


def native(count: int, size: int) -> float:
    return seconds_of(["build/bench/native_write", str(fresh_folder()), str(count), str(size)])


def posted(way: str, count: int, size: int) -> float:
    windows_path = "Z:" + str(fresh_folder()).replace("/", "\\")
    return seconds_of(["tools/run-wine", "build/release/bench/post_bench.exe", way, windows_path, str(count), str(size)])


def spread(values: list[float]) -> str:
    return f"{min(values):.3f}-{max(values):.3f}"


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("--quick", action="store_true", help="one round instead of five")
    parser.add_argument("--rounds", type=int, default=5)
    arguments = parser.parse_args()
    rounds = 1 if arguments.quick else arguments.rounds

    ways = {"plug-in": lambda c, s: posted("plugin", c, s), "direct MAPI": lambda c, s: posted("direct", c, s),
            "native": native}
    print(f"Medians of {rounds} rounds; seconds from the fastest to the slowest round.\n")
    print(f"{'files':>14}  {'way':<12} {'seconds':>8} {'spread':>15} {'files/s':>9} {'MiB/s':>8} {'to native':>10}"
          f" {'to direct':>10}")
    for label, count, size in CASES:
        times = {way: [] for way in ways}
        for _ in range(rounds):
            for way, run in ways.items():
                times[way].append(run(count, size))
        medians = {way: statistics.median(values) for way, values in times.items()}
        # A ratio compares the two ways round by round, so that a slow moment of the disk counts for both.
        share = statistics.median(p / d for p, d in zip(times["plug-in"], times["direct MAPI"]))
        for way, median in medians.items():
            to_direct = f"{share:.3f}x" if way == "plug-in" else ""
            print(f"{count:>4} x {label:>7}  {way:<12} {median:>8.3f} {spread(times[way]):>15} {count / median:>9.1f}"
                  f" {count * size / MIB / median:>8.1f} {medians['native'] / median:>9.2f}x {to_direct:>10}",
                  flush=True)
    shutil.rmtree(WORK, ignore_errors=True)
    print("\n\"to native\": throughput as a multiple of the native one; \"to direct\": time as a multiple of that"
          " without the plug-in (median of the rounds' ratios).")


if __name__ == "__main__":
    main()
