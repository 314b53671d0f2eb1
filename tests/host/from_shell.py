#!/usr/bin/env python3
"""`fendrel` started from a Unix shell: pipes, devices, odd names, long command lines, signals, a terminal.

from_shell.py SCRIPT: SCRIPT is the start script beside the build. Prints why a case fails; the exit code counts them.
"""
import json
import os
import pty
import select
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import traceback

script = sys.argv[1]
DAILY = "Public Folders@Reports@Daily"


class Place:
    """A directory with a new store."""

    def __init__(self, directory):
        self.directory = directory
        self.environment = dict(os.environ, FENDREL_STORE=os.path.join(directory, "store.db"))
        self.environment.pop("FENDREL_PASSWORD", None)
        self.environment.setdefault("LC_ALL", "C.UTF-8")
        self.run("profile", "add", "jane", "--user", "Jane Doe")

    def run(self, *arguments, code=0, input=b""):
        done = subprocess.run([script, *arguments], cwd=self.directory, env=self.environment, input=input,
                              capture_output=True, timeout=120)
        out, err = done.stdout.decode(), done.stderr.decode()
        assert done.returncode == code, f"{arguments[:4]}: exit code {done.returncode}, not {code}\n{out}{err}"
        return out, err

    def post(self, *arguments, code=0, **more):
        return self.run("post", "--to", DAILY, "--create", *arguments, code=code, **more)

    def file(self, name, content="content"):
        with open(os.path.join(self.directory, name), "w") as stream:
            stream.write(content)
        return name

    def subjects(self):
        out, _ = self.run("list", DAILY, "--json")
        return sorted(message["subject"] for message in json.loads(out)["messages"])


def holds(text, *words):
    for word in words:
        assert word in text, f"no '{word}' in:\n{text}"


def fifo_is_refused(place):
    os.mkfifo(os.path.join(place.directory, "pipe"))
    _, err = place.post("pipe", code=1)
    holds(err, "it is a pipe, not a file")


def device_without_an_end_is_refused(place):
    _, err = place.post("/dev/zero", code=1)
    holds(err, "it is a device, not a file")


def file_whose_name_holds_a_star_is_posted(place):
    place.file("a*b.csv", "starred")
    place.file("axb.csv", "other")
    place.post("a*b.csv")
    assert place.subjects() == ["a*b.csv"], place.subjects()
    place.run("save", DAILY, "1", "saved")
    saved = os.listdir(os.path.join(place.directory, "saved"))
    with open(os.path.join(place.directory, "saved", saved[0])) as stream:
        assert stream.read() == "starred"
    place.post("--skip-existing", "a*b.csv")
    assert len(place.subjects()) == 1


def more_arguments_than_wine_takes_end_with_words(place):
    names = [f"a-rather-long-name-of-a-report-number-{number}.csv" for number in range(1200)]
    _, err = place.post(*names, code=2)
    holds(err, "--files-from")
    for name in names[:30]:
        place.file(name)
    place.post("--files-from", "-", input="\n".join(names[:30]).encode())
    assert len(place.subjects()) == 30


def paths_are_shown_as_they_are_written(place):
    out, _ = place.run("store", "info", "--json")
    assert json.loads(out)["store"] == os.path.join(place.directory, "store.db"), out
    out, _ = place.run("store", "backup", f"{place.directory}/copy.db")
    holds(out, f"copied to {place.directory}/copy.db")


def standard_input_is_posted(place):
    place.post("-", "--name", "piped.csv", input=b"from a pipe")
    assert place.subjects() == ["piped.csv"]


def password_command_is_for_the_shell(place):
    place.file("secret", "sesame\n")
    place.run("profile", "password", "jane", "--new-file", "secret")
    place.run("folders", code=4)
    place.run("folders", "--password-command", f"cat '{place.directory}/secret'")


def interrupt_ends_a_watch_cleanly(place):
    place.file("nightly.toml", f"folder = '{DAILY}'\ncreate = true\nfiles = '*.csv'\nsettle = 0\nlog-file = 'log'\n")
    watch = subprocess.Popen([script, "run", "--watch", "nightly.toml"], cwd=place.directory, env=place.environment,
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE, stdin=subprocess.DEVNULL)
    place.file("a.csv")
    log = os.path.join(place.directory, "log")
    end = time.time() + 30
    while time.time() < end and not (os.path.exists(log) and "\tposted\t" in open(log).read()):
        time.sleep(0.1)
    watch.send_signal(signal.SIGINT)
    out, err = watch.communicate(timeout=30)
    assert watch.returncode == 0, f"exit code {watch.returncode}\n{out.decode()}{err.decode()}"
    holds(out.decode(), "a.csv -> ", "Stopped watching")


def start_posting(place, *arguments):
    """Starts a post of large files and waits until the first has begun."""
    post = subprocess.Popen([script, "post", "--to", DAILY, "--create", "-v", *arguments], cwd=place.directory,
                            env=place.environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                            stdin=subprocess.DEVNULL, bufsize=0)
    for line in post.stdout:
        if b"is being posted" in line:
            return post
    raise AssertionError(post.stderr.read().decode())


def large_file(place, name, mebibytes):
    with open(os.path.join(place.directory, name), "wb") as stream:
        stream.truncate(mebibytes << 20)
    return name


def first_interrupt_is_answered_at_once_and_ends_after_the_file(place):
    names = [large_file(place, f"large{number}.bin", 100) for number in range(4)]
    post = start_posting(place, *names)
    post.send_signal(signal.SIGINT)
    sent = time.time()
    answer = os.read(post.stderr.fileno(), 200).decode()
    holds(answer, "stopping after this file; Ctrl+C again stops now")
    assert time.time() - sent < 2, f"answered after {time.time() - sent:.1f} s"
    out, _ = post.communicate(timeout=60)
    assert post.returncode == 8, post.returncode
    holds(out.decode(), "large0.bin -> ", "3 not tried")
    assert place.subjects() == ["large0.bin"]


def second_interrupt_ends_in_the_middle_of_a_large_file(place):
    name = large_file(place, "large.bin", 1500)
    post = start_posting(place, name)
    post.send_signal(signal.SIGINT)
    holds(os.read(post.stderr.fileno(), 200).decode(), "Ctrl+C again stops now")
    post.send_signal(signal.SIGINT)
    sent = time.time()
    _, err = post.communicate(timeout=60)
    assert time.time() - sent < 2, f"ended after {time.time() - sent:.1f} s"
    assert post.returncode == 8, post.returncode
    holds(err.decode(), "Stopped.")
    assert place.subjects() == []
    place.run("store", "check")


class SilentServer:
    """A mail server that answers requests containing one of these texts and does not answer any other."""

    def __init__(self, answers):
        self.answers = answers
        self.socket = socket.create_server(("127.0.0.1", 0))
        self.url = f"http://localhost:{self.socket.getsockname()[1]}"
        self.waits = threading.Event()  # a client waits for an answer that never comes
        self.open = []
        threading.Thread(target=self._serve, daemon=True).start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()
        for connection in self.open:
            connection.close()

    def _serve(self):
        while True:
            try:
                connection, _ = self.socket.accept()
            except OSError:
                return
            self.open.append(connection)
            self._answer(connection)

    def _answer(self, connection):
        request = b""
        while b"\r\n\r\n" not in request:
            request += connection.recv(65536)
        head, _, body = request.partition(b"\r\n\r\n")
        length = [int(line.split(b":")[1]) for line in head.split(b"\r\n") if line.lower().startswith(b"content-length")]
        while length and len(body) < length[0]:
            body += connection.recv(65536)
        for text, answer in self.answers.items():
            if text.encode() in head + body:
                text = json.dumps(answer).encode()
                connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: %d\r\n\r\n"
                                   % len(text) + text)
                connection.close()
                return
        self.waits.set()


MAIL = "urn:ietf:params:jmap:mail"
SESSION = {"capabilities": {"urn:ietf:params:jmap:core": {}, MAIL: {}}, "username": "jane",
           "accounts": {"jane": {"name": "jane", "isPersonal": True, "accountCapabilities": {MAIL: {}}}},
           "primaryAccounts": {MAIL: "jane"}, "apiUrl": "/api", "uploadUrl": "/upload/{accountId}",
           "downloadUrl": "/download/{accountId}/{blobId}/{name}?type={type}"}
RIGHTS = dict.fromkeys(["mayReadItems", "mayAddItems", "mayCreateChild"], True)
MAILBOXES = {"methodResponses": [["Mailbox/get", {"list": [{"id": "m1", "name": "Reports", "myRights": RIGHTS}]}, "0"]]}
MESSAGES = {"methodResponses": [["Email/query", {"ids": [], "position": 0, "total": 0}, "0"]]}
ON_SERVER = "Mailbox - jane@Reports"


def interrupt_ends_within_two_seconds(place, answers, *arguments):
    with SilentServer(answers) as server:
        place.file("secret", "sesame")
        place.run("profile", "add", "far", "--server", server.url, "--user", "jane", "--password-file", "secret")
        waiting = subprocess.Popen([script, *arguments, "--profile", "far"], cwd=place.directory, env=place.environment,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, stdin=subprocess.DEVNULL)
        assert server.waits.wait(30), "the server was not asked"
        waiting.send_signal(signal.SIGINT)
        sent = time.time()
        out, err = waiting.communicate(timeout=90)
        seconds = time.time() - sent
    assert waiting.returncode == 8, f"exit code {waiting.returncode}\n{out.decode()}{err.decode()}"
    assert seconds < 2, f"ended after {seconds:.1f} s\n{out.decode()}{err.decode()}"


def interrupt_ends_a_logon_that_a_server_does_not_answer(place):
    interrupt_ends_within_two_seconds(place, {}, "list", ON_SERVER)


def interrupt_ends_a_list_that_a_server_does_not_answer(place):
    interrupt_ends_within_two_seconds(place, {"GET": SESSION, "Mailbox/get": MAILBOXES}, "list", ON_SERVER)


def interrupt_ends_a_post_that_a_server_does_not_take(place):
    answers = {"GET": SESSION, "Mailbox/get": MAILBOXES, "Email/query": MESSAGES}
    interrupt_ends_within_two_seconds(place, answers, "post", "--to", ON_SERVER, place.file("a.csv"), place.file("b.csv"))


def choose_without_a_display_says_so(place):
    place.environment.pop("DISPLAY", None)
    _, err = place.run("choose", code=1)
    holds(err, "there is no display")


def reader_that_ends_early_makes_a_failure(place):
    place.file("a.csv")
    place.post("a.csv")
    read, write = os.pipe()
    os.close(read)
    listing = subprocess.run([script, "list", DAILY], cwd=place.directory, env=place.environment, stdout=write,
                             stderr=subprocess.PIPE, timeout=60)
    os.close(write)
    assert listing.returncode == 1, listing.returncode
    holds(listing.stderr.decode(), "output could be written")


def cron_line_of_the_documentation_runs(place):
    place.file("nightly.toml", f"folder = '{DAILY}'\ncreate = true\nfiles = '*.csv'\narchive = 'posted'\n")
    place.file("a.csv")
    # As cron starts it: another directory, hardly any environment, no terminal.
    environment = {name: place.environment[name] for name in ("HOME", "FENDREL_STORE") if name in place.environment}
    for name in ("FENDREL_WINEPREFIX",):
        if name in os.environ:
            environment[name] = os.environ[name]
    environment["PATH"] = "/usr/bin:/bin"
    command = f"{script} run {place.directory}/nightly.toml --quiet"
    done = subprocess.run(["/bin/sh", "-c", command], cwd="/", env=environment, stdin=subprocess.DEVNULL,
                          capture_output=True, timeout=120)
    assert done.returncode == 0, done.stderr.decode()
    assert done.stdout == b"" and done.stderr == b"", done.stdout + done.stderr
    assert os.listdir(os.path.join(place.directory, "posted")) == ["a.csv"]
    assert place.subjects() == ["a.csv"]


def on_terminal(place, arguments, answers, columns=100):
    """Runs it on a terminal and types each answer after its question; returns the output and the exit code."""
    child, terminal = pty.fork()
    if child == 0:
        os.chdir(place.directory)
        os.environ.update(place.environment)
        os.environ["TERM"] = "xterm"
        os.execv(script, [script, *arguments])
    import fcntl
    import struct
    import termios
    fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 40, columns, 0, 0))
    shown, waiting, end = b"", list(answers), time.time() + 40
    while time.time() < end:
        ready, _, _ = select.select([terminal], [], [], 0.5)
        if ready:
            try:
                data = os.read(terminal, 4096)
            except OSError:
                break
            if not data:
                break
            shown += data
        if waiting and waiting[0][0].encode() in shown:
            time.sleep(1)  # Wine takes the terminal only when the program begins to read
            os.write(terminal, waiting.pop(0)[1].encode() + b"\r")
    else:
        os.kill(child, signal.SIGKILL)
        raise AssertionError(f"no end; shown was:\n{shown!r}")
    _, status = os.waitpid(child, 0)
    return shown.decode(errors="replace"), os.waitstatus_to_exitcode(status)


def person_is_asked_for_the_password(place):
    place.file("secret", "sesame\n")
    place.run("profile", "password", "jane", "--new-file", "secret")
    shown, code = on_terminal(place, ["folders"], [("Password of profile", "sesame")])
    assert code == 0, shown
    holds(shown, "Public Folders")
    assert "sesame" not in shown, shown


def person_is_asked_before_what_matches_is_deleted(place):
    for name in ("a.csv", "b.csv", "c.txt"):
        place.post(place.file(name))
    shown, code = on_terminal(place, ["delete", DAILY, "--subject", "*.csv"], [("permanently?", "n")])
    assert code == 8, shown
    assert len(place.subjects()) == 3
    shown, code = on_terminal(place, ["delete", DAILY, "--subject", "*.csv"], [("permanently?", "y")])
    assert code == 0, shown
    assert place.subjects() == ["c.txt"]


def names_of_every_script_are_right_on_a_terminal(place):
    name = "日本語\U0001f4ca.csv"
    shown, code = on_terminal(place, ["post", "--to", DAILY, "--create", place.file(name)], [])
    assert code == 0, shown
    holds(shown, name + " -> ")
    shown, code = on_terminal(place, ["list", DAILY], [])
    assert code == 0, shown
    holds(shown, f"  1  {name}  IPM.")
    shown, code = on_terminal(place, ["list", DAILY, "9999"], [])
    assert code != 0, shown


cases = [fifo_is_refused, device_without_an_end_is_refused, file_whose_name_holds_a_star_is_posted,
         more_arguments_than_wine_takes_end_with_words,
         paths_are_shown_as_they_are_written, standard_input_is_posted, password_command_is_for_the_shell,
         interrupt_ends_a_watch_cleanly, first_interrupt_is_answered_at_once_and_ends_after_the_file,
         second_interrupt_ends_in_the_middle_of_a_large_file, interrupt_ends_a_logon_that_a_server_does_not_answer,
         interrupt_ends_a_list_that_a_server_does_not_answer, interrupt_ends_a_post_that_a_server_does_not_take,
         choose_without_a_display_says_so, reader_that_ends_early_makes_a_failure,
         cron_line_of_the_documentation_runs, person_is_asked_for_the_password,
         person_is_asked_before_what_matches_is_deleted, names_of_every_script_are_right_on_a_terminal]
wanted = sys.argv[2:]
failed = 0
for case in cases:
    if wanted and case.__name__ not in wanted:
        continue
    with tempfile.TemporaryDirectory() as directory:
        try:
            case(Place(directory))
            print(f"ok      {case.__name__}")
        except Exception:
            failed += 1
            print(f"FAILED  {case.__name__}")
            traceback.print_exc(file=sys.stdout)
sys.exit(1 if failed else 0)
