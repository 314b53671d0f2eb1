#!/usr/bin/env python3
"""killed_posts.py SCRIPT: posts to a mail server that are killed (-9) at random moments and repeated: nothing that was
told as posted is lost, and nothing is there twice.

Runs beside a mail server (tools/mail-server); SCRIPT is the start script beside the build. FENDREL_TEST_SEED is another
sequence of moments.
"""
import json
import os
import random
import subprocess
import sys
import tempfile
import time
from collections import Counter
from email import message_from_bytes, policy

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "support"))
from mail_script import SEED, imap, report

COUNT = 200
FEWEST_KILLS = 8  # in the middle; fewer would say nothing
LONGEST = 800  # seconds
FOLDER = "Public Folders@Reports@Killed"
MAILBOX = '"Other Users/public/Reports/Killed"'

script = sys.argv[1]


def start(directory, out, *arguments):
    return subprocess.Popen([script, *arguments], cwd=directory, stdin=subprocess.DEVNULL, stdout=out,
                            stderr=subprocess.STDOUT)


def run(directory, *arguments):
    with tempfile.TemporaryFile() as out:
        code = start(directory, out, *arguments).wait(timeout=120)
        out.seek(0)
        return code, out.read().decode()


def messages():
    """Of each name, the attachments that are there."""
    connection = imap()
    connection.select(MAILBOX, readonly=True)
    _, data = connection.fetch("1:*", "(BODY.PEEK[])")
    connection.logout()
    found = {}
    for item in data:
        if isinstance(item, tuple):
            mail = message_from_bytes(item[1], policy=policy.default)
            attached = [part.get_payload(decode=True) for part in mail.iter_attachments()]
            found.setdefault(str(mail["Subject"]), []).append(attached)
    return found


def told_as_posted(log):
    names = set()
    for line in open(log, encoding="utf-8", errors="replace"):
        try:
            event = json.loads(line)
        except ValueError:
            continue  # cut by a kill
        if event.get("event") == "posted":
            names.add(event["name"])
    return names


def post_until_done(directory, moments):
    """Kills, the names that were told as posted, and what went wrong."""
    command = ["post", "--to", FOLDER, "--create", "--skip-existing", "--json-lines", "report*.csv"]
    kills, told, end = 0, set(), time.monotonic() + LONGEST
    while time.monotonic() < end:
        log = os.path.join(directory, "log")
        with open(log, "wb") as out:
            post = start(directory, out, *command)
            last = moments.randint(1, 12)  # by count, not by time: a faster machine is killed as often
            while post.poll() is None and time.monotonic() < end and len(told_as_posted(log)) < last:
                time.sleep(0.01)
            time.sleep(moments.uniform(0, 0.1))
            if post.poll() is None:
                post.kill()
                kills += 1
            code = post.wait()
        told |= told_as_posted(log)
        if code == 0:
            return kills, told, []
        if code != -9:
            return kills, told, [f"exit code {code}: {open(log, errors='replace').read()[-2000:]}"]
    return kills, told, [f"not done after {LONGEST} s"]


def lost_right_is_told(directory):
    """The right to post goes while the folder is used."""
    admin = imap("admin")
    assert admin.setacl("user/public/Reports/Killed", "alice", "lrs")[0] == "OK"
    with open(os.path.join(directory, "late.csv"), "w") as file:
        file.write("late")
    code, words = run(directory, "post", "--to", FOLDER, "late.csv")
    admin.logout()
    return [] if code == 5 and "MAPI_E_NO_ACCESS" in words else [f"a lost right: exit code {code}, {words}"]


def main():
    moments = random.Random(SEED)
    with tempfile.TemporaryDirectory() as directory:
        os.environ["FENDREL_STORE"] = os.path.join(directory, "store.db")
        with open(os.path.join(directory, "secret"), "w") as file:
            file.write(os.environ["FENDREL_MAIL_PASSWORD"])
        code, words = run(directory, "profile", "add", "team", "--server",
                          "http://localhost:" + os.environ["FENDREL_MAIL_HTTP"], "--user", "alice", "--public",
                          "public", "--password-file", "secret")
        assert code == 0, words
        contents = {}
        for number in range(COUNT):
            name = f"report{number}.csv"
            contents[name] = bytes(moments.randrange(256) for _ in range(60_000 if number % 10 == 0 else 400))
            with open(os.path.join(directory, name), "wb") as file:
                file.write(contents[name])
        kills, told, found = post_until_done(directory, moments)
        there = messages()
        times = Counter({name: len(copies) for name, copies in there.items()})
        found += [f"{name} is there {times[name]} times" for name in contents if times[name] != 1]
        found += [f"{name} was told as posted and is not there" for name in told if times[name] == 0]
        found += [f"{name} came back changed" for name, copies in there.items() if copies[0] != [contents.get(name)]]
        found = found[:10] + ([f"and {len(found) - 10} more"] if len(found) > 10 else [])
        if kills < FEWEST_KILLS:
            found.append(f"only {kills} kills")
        found += lost_right_is_told(directory)
    print(f"{COUNT} posts, killed {kills} times; {len(told)} were told as posted")
    return report(found)


if __name__ == "__main__":
    sys.exit(main())
