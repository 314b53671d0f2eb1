"""Installs this build into an empty folder, builds the examples against it, and posts with them.

install_test.py CMAKE BUILD TOOLCHAIN RUN_WINE
"""
import glob
import json
import os
import shutil
import subprocess
import sys
import tempfile

PLACES = """
bin/FENDREL.DLL
bin/fendrel.exe
bin/store/MAPI32.DLL
include/fendrel/fendrel.h
lib/cmake/Fendrel/FendrelConfig.cmake
lib/cmake/Fendrel/FendrelConfigVersion.cmake
lib/libfendrel.dll.a
share/doc/fendrel/README.md
share/doc/fendrel/docs/hosts.md
""".split()
FOLDER = "Public Folders@Reports"


def run(*command, **options):
    done = subprocess.run(command, capture_output=True, text=True, timeout=240, **options)
    return done.returncode, done.stdout, done.stderr


def must(*command, **options):
    code, out, errors = run(*command, **options)
    if code != 0:
        sys.exit(f"{' '.join(command)}\nended with {code}:\n{out}\n{errors}")
    return out


def expect(what, got, wanted):
    if got != wanted:
        sys.exit(f"{what}: got {got!r} instead of {wanted!r}")


def main():
    cmake, build, toolchain, run_wine = sys.argv[1:]
    with tempfile.TemporaryDirectory(prefix="fendrel-install-") as folder:
        prefix, examples = os.path.join(folder, "a prefix"), os.path.join(folder, "examples")
        must(cmake, "--install", build, "--prefix", prefix)
        for place in PLACES:
            expect(place, os.path.isfile(os.path.join(prefix, place)), True)
        binaries = [*glob.glob(f"{prefix}/bin/*.exe"), *glob.glob(f"{prefix}/bin/*.[dD][lL][lL]"),
                    f"{prefix}/bin/store/MAPI32.DLL"]
        for path in binaries:
            with open(path, "rb") as file:
                named = ("OriginalFilename\0" + os.path.basename(path)).encode("utf-16le")
                expect(f"version information of {path}", named in file.read(), True)
        expect("binaries", len(binaries) >= 8, True)

        must(cmake, "-S", os.path.join(prefix, "share/doc/fendrel/examples"), "-B", examples, "-G", "Ninja",
             f"-DCMAKE_TOOLCHAIN_FILE={toolchain}", f"-DFendrel_DIR={prefix}/lib/cmake/Fendrel")
        must(cmake, "--build", examples)
        # One is beside the plug-in and its store folder, the other has plug-in and MAPI32.DLL in its own folder.
        programs, together = os.path.join(prefix, "bin"), os.path.join(folder, "together")
        shutil.copy(os.path.join(examples, "host.exe"), programs)
        os.mkdir(together)
        for file in (f"{examples}/host_dynamic.exe", f"{programs}/FENDREL.DLL", f"{programs}/store/MAPI32.DLL"):
            shutil.copy(file, together)

        report = os.path.join(folder, "sales.csv")
        with open(report, "wb") as file:
            file.write(b"north,1\r\nsouth,2\r\n")
        environment = dict(os.environ, FENDREL_STORE="Z:" + folder.replace("/", "\\") + "\\store.db")
        windows_report = "Z:" + report.replace("/", "\\")

        def program(place, name, *arguments):
            return run(run_wine, os.path.join(place, name), *arguments, env=environment)

        def fendrel(*arguments):
            return must(run_wine, os.path.join(programs, "fendrel.exe"), *arguments, env=environment)

        fendrel("profile", "add", "nightly", "--user", "Night Shift")
        fendrel("folder", "create", FOLDER)
        expect("host", program(programs, "host.exe", "nightly", FOLDER, windows_report), (0, "", ""))
        expect("host_dynamic", program(together, "host_dynamic.exe", windows_report, "nightly", FOLDER), (0, "", ""))
        listed = json.loads(fendrel("list", FOLDER, "--json"))
        expect("messages", [message["subject"] for message in listed["messages"]], ["sales.csv", "sales.csv"])
        fendrel("save", FOLDER, "1", "Z:" + folder.replace("/", "\\") + "\\saved")
        with open(os.path.join(folder, "saved", "sales.csv"), "rb") as file:
            expect("attachment", file.read(), b"north,1\r\nsouth,2\r\n")

        code, out, errors = program(programs, "host.exe", "nightly", "Public Folders@No such folder", windows_report)
        expect("host and a folder that is not there", (code, out), (1, ""))
        if "code 4294967295. " not in errors:
            sys.exit(f"host does not hand the plug-in's words on: {errors}")
        code, out, errors = program(programs, "host.exe", "nobody", FOLDER, windows_report)
        expect("host and a profile that is not there", (code, out), (1, ""))


main()
