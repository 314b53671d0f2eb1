"""The start script of a build: the place of the store that it chooses.

shell_command_test.py TEMPLATE COMMAND

TEMPLATE is tools/fendrel.in. It runs with a fake Wine that prints its arguments, then the built
COMMAND once, which must create the store there.
"""
import os
import subprocess
import sys
import tempfile

failures = 0


def expect(what, got, wanted):
    global failures
    if got != wanted:
        failures += 1
        print(f"{what}: got {got!r} instead of {wanted!r}")


def touch(path):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    open(path, "w").close()


def main():
    template, command = sys.argv[1:]
    with tempfile.TemporaryDirectory(prefix="fendrel-shell-command-") as folder:
        home, prefix, data = (os.path.join(folder, name) for name in ("home", "prefix", "data"))
        os.makedirs(home)
        base = {name: value for name, value in os.environ.items()
                if name not in ("XDG_DATA_HOME", "FENDREL_STORE", "FENDREL_WINEPREFIX")}
        base["HOME"] = home

        touch(os.path.join(folder, "tools", "run-wine"))
        with open(os.path.join(folder, "tools", "run-wine"), "w", encoding="utf-8") as file:
            file.write('#!/bin/sh\nshift\nprintf "%s|" "${FENDREL_STORE:-}" "$@"\n')
        with open(template, encoding="utf-8") as file:
            text = file.read().replace("@PROJECT_SOURCE_DIR@", folder)
        stand_in = os.path.join(folder, "fendrel")
        with open(stand_in, "w", encoding="utf-8") as file:
            file.write(text)
        for program in (stand_in, os.path.join(folder, "tools", "run-wine")):
            os.chmod(program, 0o755)

        def place(**variables):
            run = subprocess.run([stand_in, "list", "a b"], env=dict(base, FENDREL_WINEPREFIX=prefix, **variables),
                                 capture_output=True, text=True, timeout=60)
            expect("errors", run.stderr, "")
            store, *arguments = run.stdout.split("|")
            expect("arguments", arguments, ["list", "a b", ""])
            return store

        at_home = f"Z:{home}/.local/share/fendrel/store.db"
        expect("without a variable", place(), at_home)
        expect("XDG_DATA_HOME", place(XDG_DATA_HOME=data), f"Z:{data}/fendrel/store.db")
        expect("a relative XDG_DATA_HOME", place(XDG_DATA_HOME="data"), at_home)
        expect("an empty XDG_DATA_HOME", place(XDG_DATA_HOME=""), at_home)
        expect("a Linux path in FENDREL_STORE", place(FENDREL_STORE="/a/b.db"), "Z:/a/b.db")
        expect("a Windows path in FENDREL_STORE", place(FENDREL_STORE="C:\\b.db"), "C:\\b.db")

        touch(f"{prefix}/drive_c/users/jane/AppData/Roaming/Fendrel/store.db")
        expect("a store of an earlier version in the prefix", place(), "")
        touch(f"{home}/.local/share/fendrel/store.db")
        expect("stores in both places", place(), at_home)
        os.remove(f"{home}/.local/share/fendrel/store.db")

        # The built one, with a place whose folder does not exist yet.
        environment = dict(base, FENDREL_STORE=f"{data}/fendrel/store.db")
        if "FENDREL_WINEPREFIX" in os.environ:
            environment["FENDREL_WINEPREFIX"] = os.environ["FENDREL_WINEPREFIX"]
        run = subprocess.run([command, "profile", "add", "jane", "--user", "Jane Doe"], env=environment,
                             stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=120)
        expect("exit code of the built command", (run.returncode, run.stderr), (0, ""))
        expect("a store is made", os.path.exists(f"{data}/fendrel/store.db"), True)
    sys.exit(f"{failures} failures" if failures else 0)


main()
