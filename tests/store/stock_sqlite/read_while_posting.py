"""Posts under Wine, one process after the other, and reads the store meanwhile with the stock sqlite3 program; then
lets that program write, by a checkpoint and by rebuilding the database, and checks that nothing is damaged.

read_while_posting.py SQLITE3 RUN_WINE FENDREL_EXE DOCUMENT

The statements are those in the document's blocks that begin with the command below. Every read must succeed, none may
see fewer messages than the one before it or half a message, and some must happen between the posts.
"""
import os
import re
import subprocess
import sys
import tempfile

ROUNDS = 4
FILES = 12

COUNT = "SELECT count(*) FROM message"
# Rows that belong to a message are written with it or not at all.
HALVES = """SELECT count(*) FROM message m
  WHERE attachment_count <> (SELECT count(*) FROM attachment a WHERE a.message = m.id)
     OR size <> (SELECT sum(size) FROM message_property p WHERE p.message = m.id)
     OR (SELECT count(*) FROM message_property p WHERE p.message = m.id AND part = 0 AND id = 0x0037) <> 1"""


def statements_of(document):
    text = open(document, encoding="utf-8").read()
    found = re.findall(re.escape("sqlite3 -readonly -cmd '.timeout 5000' store.db ") + '"(.*?)"', text, re.S)
    if not found:
        sys.exit("the document shows no statement")
    return found


def main():
    sqlite3, run_wine, fendrel, document = sys.argv[1:]
    statements = statements_of(document)
    with tempfile.TemporaryDirectory(prefix="fendrel-stock-sqlite-") as folder:
        store = os.path.join(folder, "store.db")
        environment = dict(os.environ, FENDREL_STORE="Z:" + store.replace("/", "\\"), FENDREL_SHELL="unix",
                           FENDREL_TERMINAL="no")

        def start(*arguments):
            return subprocess.Popen([run_wine, fendrel, *arguments], env=environment, stdin=subprocess.DEVNULL,
                                    stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)

        def finish(process):
            errors = process.communicate()[1]
            if process.returncode != 0:
                sys.exit(f"fendrel ended with {process.returncode}: {errors}")

        def read(statement):
            run = subprocess.run([sqlite3, "-readonly", "-cmd", ".timeout 5000", store, statement], capture_output=True,
                                 text=True, timeout=60)
            if run.returncode != 0 or run.stderr:
                sys.exit(f"sqlite3 ended with {run.returncode}: {run.stderr}\n{statement}")
            return run.stdout

        finish(start("profile", "add", "jane", "--user", "Jane Doe"))
        files = []
        for number in range(FILES):
            files.append(os.path.join(folder, f"report {number}.bin"))
            with open(files[-1], "wb") as file:
                file.write(bytes(range(256)) * (40 * (number + 1)))
        reads, latest, between = 0, 0, 0
        for _ in range(ROUNDS):
            process = start("post", "--to", "Public Folders@Reports@Daily", "--create", *files)
            while process.poll() is None:
                count = int(read(COUNT))
                if count < latest:
                    sys.exit(f"{count} messages after {latest}")
                latest = count
                between += 0 < count < ROUNDS * FILES
                if int(read(HALVES)) != 0:
                    sys.exit("half a message was seen")
                for statement in statements:
                    read(statement)
                reads += 2 + len(statements)
            finish(process)
        if int(read(COUNT)) != ROUNDS * FILES:
            sys.exit(f"{read(COUNT)} messages instead of {ROUNDS * FILES}")
        for statement in statements:
            if not read(statement).strip():
                sys.exit(f"nothing came of: {statement}")
        if read("PRAGMA integrity_check").strip() != "ok":
            sys.exit("the store is damaged")
        if between == 0:
            sys.exit("no read fell between the posts")

        # Opened as any program opens it, which carries the log over when it closes; also after one of ours was killed.
        for statement in (COUNT, "PRAGMA wal_checkpoint(TRUNCATE)", "VACUUM"):
            before = int(read(COUNT))
            process = start("post", "--to", "Public Folders@Reports@Daily", *files)
            while int(read(COUNT)) == before and process.poll() is None:
                pass
            process.kill()
            process.communicate()
            run = subprocess.run([sqlite3, "-cmd", ".timeout 5000", store, statement], capture_output=True, text=True,
                                 timeout=60)
            if run.returncode != 0 or run.stderr:
                sys.exit(f"sqlite3 ended with {run.returncode}: {run.stderr}\n{statement}")
            finish(start("store", "check"))
            finish(start("list", "Public Folders@Reports@Daily"))
            if int(read(COUNT)) <= before:
                sys.exit(f"messages are missing after: {statement}")
        print(f"{reads} reads, {between} rounds of them between posts, {ROUNDS * FILES} messages at the end")


main()
