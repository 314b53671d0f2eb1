"""A new Dovecot server for each run, with a maildir and default settings, and messages appended to it by IMAP."""

import getpass
import os
import pwd
import random
import shutil
import socket
import stat
import subprocess
import tempfile
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


def _everyone_may_enter(folder: Path) -> bool:
    return all(part.stat().st_mode & stat.S_IXOTH for part in (folder, *folder.parents))


# Root's mail belongs to the user nobody, who may have no access to the benchmark's folder. Then the mail is kept as
# close as possible, on the same disk: another disk would have another speed.
def _place(wanted: Path) -> Path:
    if os.getuid() != 0 or _everyone_may_enter(wanted):
        return wanted
    for place in (*wanted.parents, Path("/var/tmp"), Path("/tmp")):
        if place.stat().st_dev == wanted.stat().st_dev and _everyone_may_enter(place) and os.access(place, os.W_OK):
            return place
    raise SystemExit(f"Dovecot's mail belongs to nobody, who may enter no folder of the disk that {wanted} is on")


class ImapServer:
    """Runs inside a `with` block. For root, whom Dovecot refuses, the mail belongs to the user nobody."""

    def __init__(self, folder: Path):
        self.folder = Path(tempfile.mkdtemp(prefix="fendrel-bench-", dir=_place(folder)))
        self.folder.chmod(0o755)
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
        log = self._log()
        self.__exit__()
        raise SystemExit("Dovecot did not start:\n" + log)

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()
        shutil.rmtree(self.folder, ignore_errors=True)

    def _log(self) -> str:
        log = self.folder / "log"
        return log.read_text() if log.exists() else ""

    def _refused(self, answer: bytes):
        raise SystemExit(f"Dovecot refused a message: {answer.decode(errors='replace').strip()}\n{self._log()}")

    def append_seconds(self, count: int, size: int) -> float:
        """Appends `count` messages of `size` bytes, header included, and returns the time."""
        message = _message(size)
        with socket.create_connection(("127.0.0.1", self.port)) as connection:
            answers = connection.makefile("rb")
            answers.readline()
            self._command(connection, answers, b"a LOGIN bench bench\r\n")
            start = time.perf_counter()
            for _ in range(count):
                connection.sendall(b"a APPEND INBOX {%d}\r\n" % len(message))
                if not (answer := answers.readline()).startswith(b"+"):
                    self._refused(answer)
                connection.sendall(message)
                self._command(connection, answers, b"\r\n")
            return time.perf_counter() - start

    def _command(self, connection: socket.socket, answers, command: bytes) -> None:
        connection.sendall(command)
        while not (line := answers.readline()).startswith(b"a "):
            if not line:
                raise SystemExit(f"Dovecot closed the connection\n{self._log()}")
        if not line.startswith(b"a OK"):
            self._refused(line)


def _message(size: int) -> bytes:
    header = b"From: bench@localhost\r\nSubject: report\r\nContent-Type: text/plain\r\n\r\n"
    rest = size - len(header)
    line = random.Random(size).randbytes(38).hex().encode() + b"\r\n"
    return header + (line * (rest // len(line) + 1))[:rest - 2] + b"\r\n"
