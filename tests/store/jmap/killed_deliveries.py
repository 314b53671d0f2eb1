"""killed_deliveries.py RUN_WINE DELIVERING_CHILD: a delivered message exists once, whichever process is killed.

Runs with a mail server (tools/mail-server). Kills (-9) the delivering program, or one of the server's HTTP processes,
at random moments during 200 messages, and restarts the program until all are noted. FENDREL_TEST_SEED chooses another
sequence of moments.
"""
import os
import random
import signal
import subprocess
import sys
import tempfile
import time
from collections import Counter

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "support"))
from mail_script import SEED, imap, report

COUNT = 200
FEWEST_KILLS = 10  # of both kinds together; fewer would prove little
MOST_SERVER_KILLS = 4  # Cyrus gives up a service whose processes die more often within ten seconds
MOST_KILLS = 60  # then the program may finish; if starting takes longer than it lives, it would never
LONGEST = 600  # seconds


def subjects(mailbox):
    """The number of copies of each message. A message's subject is its number."""
    connection = imap()
    connection.select(mailbox, readonly=True)
    _, data = connection.fetch("1:*", "(BODY[HEADER.FIELDS (SUBJECT)])")
    connection.logout()
    return Counter(int(item[1].split(b":")[1]) for item in data if isinstance(item, tuple))


def problems(mailbox, log, count):
    there = subjects(mailbox)
    noted = [int(line) for line in open(log).read().split()]
    return ([f"message {number} is there {times} times" for number, times in there.items() if times != 1] +
            [f"message {number} was delivered and is not there" for number in noted if number not in there] +
            ([f"{len(there)} of {count} messages are there"] if len(there) != count else []))


def answering_processes():
    """The server's HTTP processes."""
    master = os.environ["FENDREL_MAIL_MASTER"]
    found = []
    for entry in os.listdir("/proc"):
        try:
            name, rest = open(f"/proc/{entry}/stat").read().split("(", 1)[1].rsplit(")", 1)
        except (OSError, IndexError):
            continue
        if name == "httpd" and rest.split()[1] == master:
            found.append(int(entry))
    return found


class Deliveries:
    def __init__(self, run_wine, program, mailbox, log, count, *more):
        self.command = [run_wine, program, mailbox, str(count), "Z:" + log.replace("/", "\\"), *more]
        connection = imap()
        connection.create(mailbox)
        connection.logout()

    def start(self):
        return subprocess.Popen(self.command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)


def check_that_a_careless_program_is_caught(run_wine, program, work):
    log = os.path.join(work, "careless")
    deliveries = Deliveries(run_wine, program, "Careless", log, 10, "careless")
    codes = [deliveries.start().wait(), deliveries.start().wait()]
    found = problems("Careless", log, 10)
    if codes != [3, 0] or found != ["message 5 is there 2 times"]:
        raise SystemExit(f"The check does not see what a careless program does: exit codes {codes}, {found}")


def kill_at_random(run_wine, program, work):
    moments = random.Random(SEED)
    log = os.path.join(work, "log")
    deliveries = Deliveries(run_wine, program, "Killed", log, COUNT)
    kills = Counter()
    end = time.monotonic() + LONGEST
    child = deliveries.start()
    while (code := child.poll()) != 0:
        if time.monotonic() > end:
            child.kill()
            return kills, [f"not done after {LONGEST} s"]
        if code is not None:  # killed, or gave up after the server was
            child = deliveries.start()
        time.sleep(moments.uniform(0.1, 0.6))
        if child.poll() is not None or sum(kills.values()) >= MOST_KILLS:
            continue
        if moments.random() < 0.8 or kills["server"] == MOST_SERVER_KILLS:
            child.kill()
            child.wait()
            kills["program"] += 1
        else:
            os.kill(moments.choice(answering_processes()), signal.SIGKILL)
            kills["server"] += 1
    return kills, problems("Killed", log, COUNT)


def main():
    run_wine, program = sys.argv[1:]
    with tempfile.TemporaryDirectory() as work:
        check_that_a_careless_program_is_caught(run_wine, program, work)
        kills, found = kill_at_random(run_wine, program, work)
    print(f"{COUNT} messages, program killed {kills['program']} times, server's processes {kills['server']} times")
    if kills["program"] + kills["server"] < FEWEST_KILLS:
        found.append(f"only {sum(kills.values())} kills")
    return report(found)


if __name__ == "__main__":
    sys.exit(main())
