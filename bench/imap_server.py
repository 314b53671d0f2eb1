"""A Dovecot server of this run's own with a maildir and its default settings, and messages appended to it by IMAP."""

import getpass
import os
import pwd
import random
import socket
import subprocess
import time
from pathlib import Path

SETTINGS = """
base_dir = {folder}/run
state_dir = {folder}/run
log_path = {folder}/log
protocols = imap
listen = 127.0.0.1
ssl = no
disable_plaintext_auth = no
default_login_user = {service_user}
default_internal_user = {service_user}
mail_location = maildir:{folder}/mail
passdb {{
  driver = static
  args = nopassword=y
}}
userdb {{
  driver = static
  args = uid={uid} gid={gid} home={folder}/home
}}
service imap-login {{
  chroot =
  inet_listener imap {{
    port = {port}
  }}
  inet_listener imaps {{
    port = 0
  }}
}}
service anvil {{
  chroot =
}}
"""


def _free_port() -> int:
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class ImapServer:
    """Runs while it is used with `with`. The mail belongs to nobody when the run is root's, whom Dovecot refuses."""

    def __init__(self, folder: Path):
        self.folder = folder
        self.port = _free_port()

    def __enter__(self):
        owner = pwd.getpwnam("nobody" if os.getuid() == 0 else getpass.getuser())
        for name in ("run", "home", "mail"):
            (self.folder / name).mkdir(parents=True)
            if os.getuid() == 0:
                os.chown(self.folder / name, owner.pw_uid, owner.pw_gid)
        service_user = "dovecot" if os.getuid() == 0 else owner.pw_name
        settings = self.folder / "dovecot.conf"
        settings.write_text(SETTINGS.format(folder=self.folder, service_user=service_user, uid=owner.pw_uid,
                                            gid=owner.pw_gid, port=self.port))
        self.process = subprocess.Popen(["dovecot", "-F", "-c", str(settings)], stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        for _ in range(100):
            try:
                with socket.create_connection(("127.0.0.1", self.port)):
                    return self
            except OSError:
                time.sleep(0.1)
        self.__exit__()
        raise SystemExit("Dovecot did not start:\n" + (self.folder / "log").read_text())

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()

    def append_seconds(self, count: int, size: int) -> float:
        """Appends `count` messages of `size` bytes, header included, and returns how long that took."""
        message = _message(size)
        with socket.create_connection(("127.0.0.1", self.port)) as connection:
            answers = connection.makefile("rb")
            answers.readline()
            _command(connection, answers, b"a LOGIN bench bench\r\n")
            start = time.perf_counter()
            for _ in range(count):
                connection.sendall(b"a APPEND INBOX {%d}\r\n" % len(message))
                if not answers.readline().startswith(b"+"):
                    raise SystemExit("Dovecot refused a message")
                connection.sendall(message)
                _command(connection, answers, b"\r\n")
            return time.perf_counter() - start


def _command(connection: socket.socket, answers, command: bytes) -> None:
    connection.sendall(command)
    while not (line := answers.readline()).startswith(b"a "):
        if not line:
            raise SystemExit("Dovecot closed the connection")
    if not line.startswith(b"a OK"):
        raise SystemExit(f"Dovecot answered {line!r}")


def _message(size: int) -> bytes:
    header = b"From: bench@localhost\r\nSubject: report\r\nContent-Type: text/plain\r\n\r\n"
    rest = size - len(header)
    line = random.Random(size).randbytes(38).hex().encode() + b"\r\n"
    return header + (line * (rest // len(line) + 1))[:rest - 2] + b"\r\n"
