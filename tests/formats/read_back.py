"""read_back.py messages|large|killed RUN_WINE BUILD MSGCONVERT: reads files saved by fendrel with other programs.

Python's email package reads the .eml files and msgconvert's conversions of the .msg files; compound_file.py reads
the .msg files themselves. Every message's subject, sender, times, text, file names and bytes are compared with
the messages in the store.
"""
import datetime
import email
import email.policy
import json
import os
import re
import signal
import struct
import subprocess
import sys
import tempfile
import time
import zlib

from compound_file import CompoundFile

FOLDER = "Public Folders@Formats"
failures = []


def expect(equal, what):
    if not equal:
        failures.append(what)
        print("FAILED:", what[:600])


def expect_equal(found, wanted, what):
    expect(found == wanted, f"{what}: {str(found)[:200]!r} instead of {str(wanted)[:200]!r}")


def content(size):
    """Like byteOf in make_messages.cpp; from one block of 65536 to the next each byte grows by one."""
    block = bytes((p * 7 + p // 256) & 255 for p in range(65536))
    blocks = [block.translate(bytes((b + number) & 255 for b in range(256))) for number in range(256)]
    return b"".join(blocks[number % 256] for number in range(size // 65536 + 1))[:size]


class Run:
    def __init__(self, run_wine, build, work):
        self.run_wine, self.build, self.work = run_wine, build, work
        self.environment = dict(os.environ, FENDREL_STORE=self.windows("store.db"), FENDREL_SHELL="unix", DISPLAY="")
        self.environment.pop("FENDREL_PASSWORD", None)

    def windows(self, name):
        return "Z:" + os.path.join(self.work, name).replace("/", "\\")

    def __call__(self, program, *arguments, wanted=0):
        # Through files: Wine's background processes would keep a pipe open.
        with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
            child = self.start(program, *arguments, out=out, err=err)
            _, status, usage = os.wait4(child.pid, 0)
            code = child.returncode = os.waitstatus_to_exitcode(status)
            self.peak = usage.ru_maxrss  # KiB
            out.seek(0)
            err.seek(0)
            text = out.read().decode()
            self.errors = err.read().decode()
            err.seek(0)
            if code != wanted:
                raise SystemExit(f"{program} {arguments}: exit code {code}\n{text}{err.read().decode()}")
            return text

    def start(self, program, *arguments, out=subprocess.DEVNULL, err=subprocess.DEVNULL):
        return subprocess.Popen([self.run_wine, os.path.join(self.build, program), *arguments], cwd=self.work,
                                env=self.environment, stdin=subprocess.DEVNULL, stdout=out, stderr=err)

    def fendrel(self, *arguments, wanted=0):
        return self("bin/fendrel.exe", *arguments, wanted=wanted)

    def path(self, *names):
        return os.path.join(self.work, *names)


def time_of(text):
    return datetime.datetime.fromisoformat(text.replace("Z", "+00:00")).replace(microsecond=0)


def files_of(mail):
    return [(part.get_filename(), part.get_payload(decode=True)) for part in mail.iter_attachments()]


def check_files(found, message, what):
    wanted = [(file["name"], file["size"]) for file in message["files"]]
    expect_equal([(name, len(data)) for name, data in found], wanted, what + " attachments")
    for (name, data), file in zip(found, message["files"]):
        expect(data == content(file["size"]), f"{what} bytes of {name}")


def check_eml(data, message, what):
    lines = data.split(b"\r\n")
    expect(b"\n" not in b"".join(lines), what + " has line ends that are not CR LF")
    expect(max(map(len, lines)) <= 78, what + " has long lines")
    mail = email.message_from_bytes(data, policy=email.policy.default)
    expect_equal([d for part in mail.walk() for d in part.defects], [], what + " defects")
    expect_equal(mail["subject"], message["subject"], what + " subject")
    expect_equal(len(mail["from"].addresses), 1, what + " senders")
    sender = mail["from"].addresses[0]
    expect_equal(sender.display_name, message["sender"], what + " sender")
    expect(sender.domain.endswith(".invalid"), what + " address can be written to")
    expect_equal(mail["date"].datetime, time_of(message["submitted"]), what + " date")
    delivered = email.utils.parsedate_to_datetime(mail.get("delivery-date", mail["date"]))
    expect_equal(delivered, time_of(message["delivered"]), what + " delivery")
    expect_equal(mail["x-message-class"], message["class"], what + " class")
    expect_equal(mail["importance"], ["low", "normal", "high"][message["importance"]], what + " importance")
    expect_equal(mail["sensitivity"], [None, "Personal", "Private", "Company-Confidential"][message["sensitivity"]],
                 what + " sensitivity")
    expect(re.fullmatch("<[0-9A-F]{32}@fendrel.invalid>", mail["message-id"]), what + " has no Message-ID")
    body = mail.get_body(("plain",))
    expect_equal(body.get_payload(decode=True).decode(), message["body"], what + " body")
    check_files(files_of(mail), message, what)
    for part, file in zip(mail.iter_attachments(), message["files"]):  # for readers without RFC 2231
        name = str(email.header.make_header(email.header.decode_header(part.get_param("name"))))
        expect_equal(name, file["name"], what + " name in the content type")


def properties_of(stream, header):
    found = {}
    for at in range(header, len(stream), 16):
        tag, flags, value = struct.unpack_from("<IIQ", stream, at)
        found[tag] = value
        expect(flags & 2, f"property {tag:08X} cannot be read")
    return found


def text_of(storage, identifier):
    return storage.get(f"__substg1.0_{identifier:04X}001F", b"").decode("utf-16-le")


def check_lengths(storage, properties, what):
    for tag, value in properties.items():
        name = f"__substg1.0_{tag:08X}"
        if tag & 0xFFFF in (0x1F, 0x0102):
            expect(name in storage, f"{what} lacks {name}")
            expect_equal(value & 0xFFFFFFFF, len(storage.get(name, b"")) + (2 if tag & 0xFFFF == 0x1F else 0),
                         f"{what} length of {name}")
    listed = {f"__substg1.0_{tag:08X}" for tag in properties}
    streams = [name for name in storage if name.startswith("__substg1.0_") and name not in listed]
    expect_equal(streams, [], what + " unlisted streams")


def filetime(text):
    return int((time_of(text) - datetime.datetime(1601, 1, 1, tzinfo=datetime.timezone.utc)).total_seconds()) * 10**7


def names_of(storage, what):
    """The list of names: (set, name), by their number in the file."""
    sets, entries, texts = (storage[f"__substg1.0_000{n}0102"] for n in (2, 3, 4))
    known = {1: "2803020000000000c000000000000046", 2: "2903020000000000c000000000000046"}
    known.update({3 + i: sets[16 * i:16 * i + 16].hex() for i in range(len(sets) // 16)})
    names, sorted_entries = [], []
    for at in range(0, len(entries), 8):
        value, set_and_kind, number = struct.unpack_from("<IHH", entries, at)
        expect_equal(number, at // 8, what + " number of a name")
        name = struct.unpack("<i", struct.pack("<I", value))[0]
        key = value
        if set_and_kind & 1:
            size, = struct.unpack_from("<I", texts, value)
            raw = texts[value + 4:value + 4 + size]
            name, key = raw.decode("utf-16-le"), zlib.crc32(raw, 0xFFFFFFFF) ^ 0xFFFFFFFF
        names.append((known[set_and_kind >> 1], name))
        bucket = 0x1000 + (key ^ set_and_kind) % 0x1F
        sorted_entries.append((bucket, struct.pack("<IHH", key, set_and_kind, number)))
    expect_equal({name: storage[name] for name in storage if name.startswith("__substg1.0_1")},
                 {f"__substg1.0_{bucket:04X}0102": b"".join(e for b, e in sorted_entries if b == bucket)
                  for bucket, _ in sorted_entries}, what + " sorted names")
    return names


def check_names(root, properties, named, what):
    names = names_of(root["__nameid_version1.0"], what)
    found = {key: text_of(root, 0x8000 + number) for number, key in enumerate(names)}
    expect_equal(found, {(one["set"].lower(), one["name"]): one["value"] for one in named}, what + " named values")
    expect_equal(sorted(tag >> 16 for tag in properties if tag >> 16 >= 0x8000),
                 list(range(0x8000, 0x8000 + len(names))), what + " identifiers of named properties")


def check_msg(data, message, what):
    root = CompoundFile(data).root
    expect_equal(root.class_id.hex(), "0b0d020000000000c000000000000046", what + " class")
    stream = root["__properties_version1.0"]
    count = len(message["files"])
    expect_equal(struct.unpack_from("<8s6I", stream), (b"\0" * 8, 0, count, 0, count, 0, 0), what + " header")
    properties = properties_of(stream, 32)
    check_lengths(root, properties, what)
    expect_equal(text_of(root, 0x37), message["subject"], what + " subject")
    expect_equal(text_of(root, 0x0C1A), message["sender"], what + " sender")
    expect_equal(text_of(root, 0x1000), message["body"], what + " body")
    expect_equal(text_of(root, 0x1A), message["class"], what + " message class")
    expect_equal(properties.get(0x00390040), filetime(message["submitted"]), what + " submitted")
    expect_equal(properties.get(0x0E060040), filetime(message["delivered"]), what + " delivered")
    expect_equal(properties.get(0x00170003), message["importance"], what + " importance")
    expect_equal(properties.get(0x00360003), message["sensitivity"], what + " sensitivity")
    expect(properties.get(0x340D0003, 0) & 0x40000, what + " is not marked as wide")
    expect(not properties.get(0x0E070003, 0) & 8, what + " is marked as unsent")
    check_names(root, properties, message["named"], what)
    found = []
    for number in range(count):
        part = root[f"__attach_version1.0_#{number:08X}"]
        own = properties_of(part["__properties_version1.0"], 8)
        check_lengths(part, own, f"{what} attachment {number}")
        expect_equal(own.get(0x37050003), 1, what + " attach method")
        expect_equal(own.get(0x0E210003), number, what + " attach number")
        found.append((text_of(part, 0x3707), part["__substg1.0_37010102"]))
    check_files(found, message, what)


def raw_header(data, name):
    """msgconvert writes unencoded text into headers, in Latin-1 if possible."""
    found = re.search(rb"^" + name + rb": ?(.*(?:\n[ \t].*)*)", data.replace(b"\r\n", b"\n"), re.MULTILINE)
    raw = found.group(1).replace(b"\n", b"") if found else b""
    try:
        return raw.decode()
    except UnicodeDecodeError:
        return raw.decode("latin-1")


def converted_name(part):
    """msgconvert writes a long name twice: shortened, and complete in sections, which come last here."""
    names = [value for key, value in part.get_params([], header="content-disposition") if key == "filename"]
    return re.sub("[\r\n]", "", email.utils.collapse_rfc2231_value(names[-1])) if names else None


def check_converted(msgconvert, path, message, what):
    what += " by msgconvert"
    out = path + ".converted"
    done = subprocess.run([msgconvert, "--outfile", out, path], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    expect_equal(done.returncode, 0, f"{what} ({done.stderr.decode()})")
    with open(out, "rb") as file:
        data = file.read()
    mail = email.message_from_bytes(data)
    expect_equal(raw_header(data, b"Subject"), message["subject"], what + " subject")
    unquoted = str.maketrans("", "", '"\\')
    expect_equal(raw_header(data, b"From").translate(unquoted), message["sender"].translate(unquoted), what + " sender")
    expect_equal(email.utils.parsedate_to_datetime(mail["date"]), time_of(message["submitted"]), what + " date")
    parts = [part for part in mail.walk() if part.get_content_disposition() == "attachment"]
    check_files([(converted_name(part), part.get_payload(decode=True)) for part in parts], message, what)


def messages(run, msgconvert):
    made = json.loads(run("tests/make_messages.exe", "jane"))["messages"]
    with open(run.path("posted.csv"), "wb") as file:
        file.write(content(70_000))
    run.fendrel("post", "--to", FOLDER, "posted.csv")
    listed = json.loads(run.fendrel("list", FOLDER, "--json"))["messages"]
    expect_equal(len(listed), len(made) + 1, "messages")
    for form in ("eml", "msg"):
        for row in listed:
            name = f"{row['number']}.{form}"
            run.fendrel("save", FOLDER, str(row["number"]), "--as", form, f"one/{name}")
            with open(run.path("one", name), "rb") as file:
                data = file.read()
            known = [m for m in made if m["subject"] == row["subject"]]
            message = known[0] if known else {
                "subject": "posted.csv", "sender": "Jane Doe", "submitted": row["submitted"], "body": "",
                "delivered": row["delivered"], "class": row["class"], "importance": 1, "sensitivity": 0,
                "files": [{"name": "posted.csv", "size": 70_000}], "reference": ""}
            what = f"{name} ({row['subject'][:20]!r})"
            left_out = f"Attachment '{message['reference']}' is not a file and was left out." if message["reference"] else ""
            expect_equal("is not a file" in run.errors, bool(left_out), what + " leaves an attachment out")
            expect(left_out in run.errors, what + " names the attachment that is not a file")
            if form == "eml":
                check_eml(data, message, what)
            else:
                if known:  # the posted one's time has fractions of a second
                    check_msg(data, message, what)
                check_converted(msgconvert, run.path("one", name), message, what)
            run.fendrel("save", FOLDER, str(row["number"]), "--as", form, "named by the subject")
            if form == "eml" and message["files"]:
                answer = run.fendrel("save", FOLDER, str(row["number"]), "--json", f"files/{name}")
                expect(left_out in run.errors, what + " saved names the attachment that is not a file")
                paths = [saved["file"] for saved in json.loads(answer)["saved"]]
                check_files([(file["name"], open(run.path(path), "rb").read())
                             for file, path in zip(message["files"], paths)], message, what + " saved")
        run.fendrel("export", "Public Folders", "all", "--as", form)
        kept = [n for n in os.listdir(run.path("all", "Formats")) if n.endswith("." + form)]
        expect_equal(len(kept), len(listed), "exported " + form)
        saved = sorted(open(run.path("one", n), "rb").read() for n in os.listdir(run.path("one")) if n.endswith(form))
        if form == "eml":
            exported = sorted(open(run.path("all", "Formats", n), "rb").read() for n in kept)
            expect(saved == exported, "export and save write different files")


def check_large(form, path, message):
    with open(path, "rb") as file:
        data = file.read()
    if form == "eml":
        check_eml(data, message, path)
    elif form == "msg":
        check_msg(data, message, path)
        sector_shift, = struct.unpack_from("<H", data, 30)
        expect_equal(1 << sector_shift, 4096 if len(data) > 256 << 20 else 512, "size of a sector of " + path)
    else:
        expect(data == content(message["files"][0]["size"]), "bytes of " + path)


def large(run, msgconvert):
    mib = int(os.environ.get("FENDREL_LARGE_MIB", "32"))
    bound = 40 << 10  # KiB; the program and Wine take 24 MiB, so the attachment does not fit
    made = json.loads(run("tests/make_messages.exe", "jane", str(mib << 20)))["messages"]
    # A child's peak starts with this process's memory, so nothing is read before the last child has started.
    for form in ("eml", "msg", "file"):
        began = time.monotonic()
        run.fendrel("save", FOLDER, "1", "--as", form, form)
        print(f"{mib} MiB as {form}: {time.monotonic() - began:.1f} s, peak working set {run.peak} KiB")
        expect(run.peak <= bound, f"{form}: {run.peak} KiB of memory, {bound} at most")
    for form in ("eml", "msg", "file"):
        check_large(form, run.path(form, os.listdir(run.path(form))[0]), made[0])


def wait_for_file(child, folder):
    """Waits until the program has begun a new file, or has ended."""
    def names():
        return set(os.listdir(folder)) if os.path.isdir(folder) else set()
    before = names()
    while child.poll() is None and names() <= before:
        time.sleep(0.001)


def killed(run, msgconvert):
    """A killed export leaves nothing that looks complete, a cancelled one leaves nothing, and
    the next one does the rest."""
    made = json.loads(run("tests/make_messages.exe", "jane", str(32 << 20)))["messages"]
    for form in ("eml", "msg", "file"):
        folder = run.path(form, "Formats")
        for delay in (0.0, 0.02, 0.05, 0.1):
            child = run.start("bin/fendrel.exe", "export", "Public Folders", form, "--as", form)
            wait_for_file(child, folder)
            time.sleep(delay)
            child.kill()
            child.wait()
            for name in os.listdir(folder):
                whole = not re.fullmatch(r"fendrel-\d+-\d+\.part", name)
                print(f"{form}, killed {delay} s after the file was begun: {'whole' if whole else 'begun'}")
                if whole:
                    check_large(form, run.path(form, "Formats", name), made[0])
        with open(run.path("words"), "w+b") as words:
            child = run.start("bin/fendrel.exe", "export", "Public Folders", form, "--as", form, err=words)
            wait_for_file(child, folder)
            child.send_signal(signal.SIGINT)
            code = child.wait()
            words.seek(0)
            said = words.read().decode()
        print(f"{form}, Ctrl+C: exit code {code}, {said}")
        if code == 8:  # else the file was complete before
            expect("no partial file was left. Exported so far: 0 of 1 message." in said, "words at Ctrl+C: " + said)
            expect_equal(os.listdir(folder), [], "files after Ctrl+C")
        else:
            expect_equal(code, 0, "exit code after Ctrl+C")
        run.fendrel("export", "Public Folders", form, "--as", form)
        names = os.listdir(folder)
        expect_equal(len(names), 1, "files " + str(names))
        check_large(form, run.path(form, "Formats", names[0]), made[0])


def main():
    part, run_wine, build, msgconvert = sys.argv[1:]
    with tempfile.TemporaryDirectory(prefix="fendrel-formats-") as work:
        run = Run(run_wine, build, work)
        run.fendrel("profile", "add", "jane", "--user", "Jane Doe")
        {"messages": messages, "large": large, "killed": killed}[part](run, msgconvert)
    print(f"{len(failures)} failures")
    sys.exit(1 if failures else 0)


main()
