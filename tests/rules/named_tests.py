"""Every test that a document names must exist.

named_tests.py DOCUMENT TESTS: prints the names in DOCUMENT (`Suite.Name`) without a test in the folder TESTS.
"""
import pathlib
import re
import sys

document, tests = map(pathlib.Path, sys.argv[1:])
defined = set()
for source in tests.rglob("*.cpp"):
    defined.update(re.findall(r"^TEST(?:_[FP])?\((\w+), (\w+)\)", source.read_text(encoding="utf-8"), re.MULTILINE))
named = set(re.findall(r"`(\w+)\.([A-Z]\w+)`", document.read_text(encoding="utf-8"))) - {("FENDREL", "DLL")}
missing = sorted(named - defined)
for suite, name in missing:
    print(f"{document.name} names {suite}.{name}, which is not a test")
print(f"{len(named)} tests are named")
sys.exit(1 if missing or not named else 0)
