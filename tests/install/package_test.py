"""Packs this build, installs it silently into a new Wine prefix, posts from there, and removes it; then does the same
with the .zip.

package_test.py CPACK BUILD RUN_WINE
"""
import json
import os
import subprocess
import sys
import tempfile
import zipfile

FOLDER = "Public Folders@Reports"


def run(*command, **options):
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=300, **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(command)}\nended with {done.returncode}:\n{done.stdout}\n{done.stderr}")
    return done.stdout


def expect(what, got, wanted):
    if got != wanted:
        sys.exit(f"{what}: got {got!r} instead of {wanted!r}")


def main():
    cpack, build, run_wine = sys.argv[1:]
    with tempfile.TemporaryDirectory(prefix="fendrel-package-") as folder:
        made = []
        for name in ("one", "two"):
            out = os.path.join(folder, name)
            run(cpack, "--config", os.path.join(build, "CPackConfig.cmake"), "-B", out,
                env=dict(os.environ, SOURCE_DATE_EPOCH="1700000000"))
            files = {file: os.path.join(out, file) for file in os.listdir(out) if file.endswith((".exe", ".zip"))}
            made.append({file: open(path, "rb").read() for file, path in files.items()})
        expect("packages", sorted(name.rpartition(".")[2] for name in files), ["exe", "zip"])
        for name in files:
            if made[0].get(name) != made[1][name]:
                sys.exit(f"{name} differs when it is made twice")
        installer, archive = sorted(files.values())

        prefix = os.path.join(folder, "prefix")
        environment = dict(os.environ, FENDREL_WINEPREFIX=prefix, WINEPREFIX=prefix)
        environment.pop("FENDREL_STORE", None)

        def wine(*command):
            return run(run_wine, *command, env=environment)

        def client():
            """The machine's default mail client."""
            listed = run(run_wine, "reg", "query", "HKLM\\Software\\Clients\\Mail", "/ve", env=environment)
            value = [line for line in listed.splitlines() if "REG_SZ" in line]
            return value[0].partition("REG_SZ")[2].strip() if value else ""

        def wait():
            # Wine's services end after the last program; until then the prefix is in use.
            subprocess.run(["sh", "-c", "wineserver -w || /usr/lib/wine/wineserver -w"], env=environment,
                           capture_output=True, timeout=120)

        def posts_from(programs, expected):
            fendrel = os.path.join(programs, "fendrel.exe")
            report = os.path.join(folder, "sales.csv")
            with open(report, "w", encoding="utf-8") as file:
                file.write("north,1\n")
            wine(fendrel, "post", "--to", FOLDER, "--create", "Z:" + report.replace("/", "\\"))
            listed = json.loads(wine(fendrel, "list", FOLDER, "--json"))
            expect("messages", len(listed["messages"]), expected)

        try:
            os.makedirs(prefix)
            wine("wineboot", "-i")
            place = os.path.join(prefix, "drive_c", "Program Files", "Fendrel")
            menu = os.path.join(prefix, "drive_c/ProgramData/Microsoft/Windows/Start Menu/Programs/Fendrel")
            wine(installer, "/S")
            programs = os.path.join(place, "bin")
            fendrel = os.path.join(programs, "fendrel.exe")
            wine(fendrel, "profile", "add", "nightly", "--user", "Night Shift")
            posts_from(programs, 1)
            doctor = json.loads(wine(fendrel, "doctor", "--to", FOLDER, "--json"))
            expect("findings of doctor", [each for each in doctor["findings"] if not each["good"]], [])
            before = client()
            wine(fendrel, "mapi", "register", "--for", "machine", "--force")
            expect("mail client", client(), "Fendrel")
            expect("start menu", os.path.exists(os.path.join(menu, "Uninstall.lnk")), True)

            # It copies itself elsewhere and goes on there, unless told where it is.
            wine(os.path.join(place, "Uninstall.exe"), "/S", "_?=C:\\Program Files\\Fendrel")
            expect("what is left of the programs", os.path.exists(programs), False)
            expect("mail client after the removal", client(), before)
            expect("what is left of the start menu", os.path.exists(menu), False)

            unpacked = os.path.join(folder, "unpacked")
            with zipfile.ZipFile(archive) as file:
                file.extractall(unpacked)
            top, = os.listdir(unpacked)
            # Into the store that uninstalling kept.
            posts_from(os.path.join(unpacked, top, "bin"), 2)
        finally:
            wait()


main()
