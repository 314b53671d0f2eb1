"""show_mail.py MAILBOX: the messages of alice's mailbox over IMAP, beside a server of tools/mail-server. For the demo."""
import imaplib
import os
import sys
from email import message_from_bytes, policy

connection = imaplib.IMAP4("127.0.0.1", int(os.environ["FENDREL_MAIL_IMAP"]))
connection.login("alice", os.environ["FENDREL_MAIL_PASSWORD"])
answer, count = connection.select(f'"{sys.argv[1]}"', readonly=True)
if answer != "OK":
    raise SystemExit(f"{sys.argv[1]}: {count[0].decode()}")
for number in range(1, int(count[0]) + 1):
    mail = message_from_bytes(connection.fetch(str(number), "(BODY.PEEK[])")[1][0][1], policy=policy.default)
    print(f"{number}  From: {mail['From']}  Date: {mail['Date']}\n   Subject: {mail['Subject']}")
    for part in mail.iter_attachments():
        print(f"   {part.get_filename()}, {part.get_content_type()}, {len(part.get_payload(decode=True))} bytes")
connection.logout()
