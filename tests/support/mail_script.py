"""What the scripts share that run with a mail server (tools/mail-server)."""
import imaplib
import os

SEED = int(os.environ.get("FENDREL_TEST_SEED", "1"))  # of the random moments


def imap(user="alice"):
    connection = imaplib.IMAP4("127.0.0.1", int(os.environ["FENDREL_MAIL_IMAP"]))
    connection.login(user, os.environ["FENDREL_MAIL_PASSWORD"])
    return connection


def report(found):
    """Prints the problems; the script's exit code."""
    for problem in found:
        print(f"FAILED (FENDREL_TEST_SEED={SEED}):", problem)
    print(f"{len(found)} failures")
    return 1 if found else 0
