"""other_mail_programs.py RUN_WINE MAIL_SAMPLES: our messages read by other programs, and theirs by us.

Runs with a mail server (tools/mail-server). Python's imaplib and email package read what mail_samples has posted;
mail_samples lists what imaplib has appended, valid and broken messages.
"""
import datetime
import email
import email.policy
import imaplib
import json
import os
import subprocess
import sys
import tempfile
from email.message import EmailMessage

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "support"))
from mail_script import imap

failures = []


def expect(is_true, what):
    if not is_true:
        failures.append(what)
        print("FAILED:", what[:600])


def expect_equal(found, wanted, what):
    expect(found == wanted, f"{what}: {str(found)[:300]!r} instead of {str(wanted)[:300]!r}")


def content(size):
    """The same as in mail_samples.cpp."""
    return bytes((at * 7 + at // 256) & 255 for at in range(size))


def samples(run_wine, program, *arguments):
    # Through a file: background processes of Wine would keep a pipe open.
    with tempfile.TemporaryFile() as out:
        done = subprocess.run([run_wine, program, *arguments], stdout=out, stdin=subprocess.DEVNULL)
        out.seek(0)
        text = out.read().decode()
    if done.returncode != 0:
        raise SystemExit(f"mail_samples {arguments}: exit code {done.returncode}")
    return json.loads(text)


def check_ours(mail, posted, what):
    expect_equal([d for part in mail.walk() for d in part.defects], [], what + " defects")
    expect_equal(mail["subject"], posted["subject"], what + " subject")
    sender = mail["from"].addresses[0]
    expect_equal(sender.display_name, posted["sender"], what + " sender")
    expect_equal(int(mail["date"].datetime.timestamp()), posted["seconds"], what + " date")
    expect_equal(mail["x-message-class"], "IPM.DOCUMENT.*X", what + " class")
    body = mail.get_body(("plain", "html"))
    expect_equal(body.get_content_type(), "text/plain", what + " shown form")
    expect_equal(body.get_payload(decode=True).decode(), posted["text"], what + " text")
    files = [(part.get_filename(), part.get_payload(decode=True)) for part in mail.iter_attachments()]
    expect_equal([name for name, _ in files], [file["name"] for file in posted["files"]], what + " names")
    for (name, data), file in zip(files, posted["files"]):
        expect(data == content(file["size"]), f"{what} bytes of {name}")


def read_ours(connection, posted):
    expect_equal(connection.select("Samples")[0], "OK", "the mailbox")
    _, data = connection.fetch("1:*", "(RFC822)")
    raw = [item[1] for item in data if isinstance(item, tuple)]
    expect_equal(len(raw), len(posted), "messages")
    for number, (bytes_, message) in enumerate(zip(raw, posted)):
        check_ours(email.message_from_bytes(bytes_, policy=email.policy.default), message, f"message {number + 1}")


def simple(subject, **headers):
    mail = EmailMessage(policy=email.policy.SMTP)
    mail["Subject"] = subject
    mail["From"] = "Jürgen Groß <jg@mail.example>"
    mail["Date"] = "Sat, 05 Apr 2031 16:07:08 +0200"
    mail["Message-ID"] = f"<{subject.replace(' ', '-')}@mail.example>"
    return mail


def theirs():
    """Yields (bytes, expected values); what has no key is not checked."""
    sent = datetime.datetime(2031, 4, 5, 14, 7, 8, tzinfo=datetime.timezone.utc)
    known = {"sender": "Jürgen Groß", "address": "jg@mail.example", "seconds": int(sent.timestamp())}

    plain = simple("plain")
    plain.set_content("Grüße\n", charset="iso-8859-1", cte="8bit")
    yield plain.as_bytes(), dict(known, text="Grüße\r\n", files=[])

    both = simple("both forms")
    both.set_content("the text\n")
    both.add_alternative("<p>the <b>text</b></p>\n", subtype="html")
    yield both.as_bytes(), dict(known, text="the text\r\n", html="<p>the <b>text</b></p>\r\n", files=[])

    html = simple("html alone")
    html.set_content("<p>only this</p>\n", subtype="html")
    yield html.as_bytes(), dict(known, text="", html="<p>only this</p>\r\n", files=[])

    nested = simple("nested")
    nested.set_content("outside\n")
    nested.add_alternative("<p>outside</p><img src='cid:i1'>\n", subtype="html")
    nested.get_payload()[1].add_related(b"\x89PNG", "image", "png", cid="<i1>", filename="i.png")
    nested.add_attachment(b"%PDF", maintype="application", subtype="pdf", filename="売上" * 100 + ".pdf")
    inner = simple("inside")
    inner.set_content("inside\n")
    inner.add_attachment(b"deep", maintype="application", subtype="octet-stream", filename="deep.bin")
    nested.add_attachment(inner)
    yield nested.as_bytes(), dict(known, text="outside\r\n", files={
        "i.png": b"\x89PNG", "売上" * 100 + ".pdf": b"%PDF", "part 3.eml": None})

    yield (b"Subject: =?utf-8?Q?broken_=3D?= raw \xe4\r\nMIME-Version: 1.0\r\n"
           b"Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/plain; charset=no-such\r\n\r\n"
           b"some text\r\n--b\r\nContent-Type: application/pdf; name=broken.pdf\r\nContent-Transfer-Encoding: base64\r\n"
           b"Content-Disposition: attachment\r\n\r\n!!!!QUJD\r\n"), {"files": {"broken.pdf": None}, "seconds": None}
    yield b"Subject: no body\r\n", {"subject": "no body", "text": "", "files": []}
    yield b"\r\nno header\r\n", {"subject": "", "text": "no header\r\n", "files": []}
    yield (b"Subject: no end\r\nContent-Type: multipart/alternative; boundary=x\r\n\r\n"
           b"--x\r\nContent-Type: text/plain\r\n\r\nhalf\r\n"), {"text": "half\r\n", "files": []}


def check_theirs(listed, wanted, what):
    for key in ("subject", "sender", "address", "text", "html", "seconds"):
        if key in wanted:
            expect_equal(listed[key], wanted[key], f"{what} {key}")
    names = [file["name"] for file in listed["files"]]
    expect_equal(names, list(wanted["files"]), what + " names")
    for file in listed["files"]:
        data = wanted["files"][file["name"]] if file["name"] in names and wanted["files"] else None
        expect_equal(len(file["hex"]) // 2, file["size"], f"{what} size of {file['name']}")
        if data is not None:
            expect_equal(bytes.fromhex(file["hex"]), data, f"{what} bytes of {file['name']}")


def read_theirs(connection, run_wine, program):
    connection.create("Theirs")
    mails = list(theirs())
    for number, (data, _) in enumerate(mails):
        when = imaplib.Time2Internaldate(1_900_000_000 + number)
        expect_equal(connection.append("Theirs", None, when, data)[0], "OK", f"append of {data[:60]}")
    listed = samples(run_wine, program, "list", "Theirs")
    expect_equal(len(listed), len(mails), "listed messages")
    for number, (mail, (_, wanted)) in enumerate(zip(listed, mails)):
        check_theirs(mail, wanted, f"their message {number + 1}")


def main():
    run_wine, program = sys.argv[1:]
    connection = imap()
    read_ours(connection, samples(run_wine, program, "post", "Samples"))
    read_theirs(connection, run_wine, program)
    connection.logout()
    print(f"{len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
