"""System functions with text are called only through the character-set layer.

text_functions.py SOURCE_FOLDER HEADER_FOLDER: finds the functions with an ANSI and a wide form in the toolchain's
headers, searches the sources outside the layer for calls of them, and prints every one that is not listed below.
"""
import pathlib
import re
import sys

HEADERS = ["winbase.h", "winuser.h", "wingdi.h", "winreg.h", "winnls.h", "shellapi.h", "commdlg.h", "winver.h", "fileapi.h",
           "libloaderapi.h", "processenv.h", "errhandlingapi.h", "sysinfoapi.h", "prsht.h"]
RUNTIME = ["fopen", "_wfopen", "freopen", "_wfreopen", "_stat", "_wstat", "_stat64", "_wstat64", "_access", "_waccess",
           "_getdcwd", "_wgetdcwd", "_wopen", "_open"]

# Exceptions that may be called directly, and why.
ALLOWED = {
    # The wide function on every system, on purpose.
    "platform/file_helpers.cpp": {"MoveFile", "GetFileAttributes"},
    "platform/file_search.cpp": {"FindFirstFile", "FindNextFile", "LoadLibrary"},
    # Old systems have the wide form as well.
    "ui/information_box.cpp": {"MessageBox"},
    "ui/mapi_container_dlg.cpp": {"MessageBox"},
    # The order of names in memory is the wide one.
    "mapi/node.cpp": {"lstrcmpi"},
    # Its name is an integer, never text.
    "platform/wait_cursor.h": {"LoadCursor"},
}


def paired_functions(headers):
    names = set(RUNTIME)
    for header in HEADERS:
        path = headers / header
        if path.exists():
            names.update(re.findall(r"^\s*#define\s+(\w+)\s+__MINGW_NAME_AW\(", path.read_text(errors="replace"), re.M))
    return names - {"MAKEINTRESOURCE"}


def without_comments_and_texts(source):
    pattern = r'//[^\n]*|/\*.*?\*/|L?"(?:\\.|[^"\\\n])*"'
    return re.sub(pattern, lambda match: re.sub(r"[^\n]", " ", match.group()), source, flags=re.S)


def direct_calls(source, functions):
    for match in re.finditer(r"(?<![\w:.>])(?:::)?(\w+)\s*\(", without_comments_and_texts(source)):
        name = match.group(1)
        plain = name[:-1] if name[-1:] in "AW" and name[:-1] in functions else name
        if plain in functions:
            yield source.count("\n", 0, match.start()) + 1, plain


def main(sources, headers):
    functions = paired_functions(headers)
    if not {"CreateFile", "SetWindowText", "RegOpenKeyEx", "CreateFont"} <= functions:
        sys.exit(f"the headers in {headers} do not name the functions that exist in two forms")
    if list(direct_calls('HANDLE f() { return CreateFileW(L"LoadString(", 0); }', functions)) != [(1, "CreateFile")]:
        sys.exit("a direct call is not found")
    found = 0
    for path in sorted(sources.rglob("*")):
        if path.suffix not in (".h", ".cpp") or path.name.startswith("charset_"):
            continue
        relative = path.relative_to(sources).as_posix()
        for line, name in direct_calls(path.read_text(), functions):
            if name not in ALLOWED.get(relative, ()):
                print(f"{relative}:{line}: {name} is called without the character-set layer")
                found += 1
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]))
