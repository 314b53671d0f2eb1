#!/usr/bin/env python3
"""count_cases.py RESULTS.xml: prints the cases of all programs in ctest's JUnit file in one line.

A GoogleTest program counts with its cases, a script as one. A program that ended without GoogleTest's closing lines
(a crash, a time-out) counts as one failed case in addition to those that it had reported.
"""
import re
import sys
import xml.etree.ElementTree


def cases_of(test):
    output = test.findtext("system-out") or ""
    failed_as_a_whole = test.get("status") != "run"
    if "Running main() from" not in output and "[==========]" not in output and "[  FAILED  ]" not in output:
        return (0, 1, 0) if failed_as_a_whole else (1, 0, 0)

    def closing(word):
        # "[  PASSED  ] 3 tests.", "[  FAILED  ] 1 test, listed below:"
        found = re.findall(rf"^\[ *{word} *\] (\d+) tests?\b[.,]", output, re.MULTILINE)
        return int(found[-1]) if found else 0

    if re.search(r"^\[==========\] \d+ tests? .*ran\.", output, re.MULTILINE):
        failed = closing("FAILED")
        return closing("PASSED"), failed or int(failed_as_a_whole), closing("SKIPPED")
    return 0, 1 + len(set(re.findall(r"^\[  FAILED  \] (\S+)", output, re.MULTILINE))), 0


def main():
    try:
        tests = xml.etree.ElementTree.parse(sys.argv[1]).getroot().findall("testcase")
    except OSError:
        sys.exit(f"count_cases: ctest left no results in {sys.argv[1]}")
    counts = [cases_of(test) for test in tests if test.get("status") not in ("disabled", "notrun")]
    passed, failed, skipped = (sum(column) for column in zip(*counts)) if counts else (0, 0, 0)
    not_run = sum(test.get("status") == "notrun" for test in tests)
    if not_run:
        print(f"{not_run} programs did not run")
    print(f"{passed} passed, {failed + not_run} failed" + (f", {skipped} skipped" if skipped else ""))
    return 1 if failed or not_run or passed == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
