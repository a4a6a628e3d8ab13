#!/usr/bin/python3
"""Reads a message with Python's e-mail package, prints it as JSON and unpacks its attachments beside it: read_mail.py FILE.eml"""

import email
import email.policy
import json
import sys

path = sys.argv[1]
with open(path, "rb") as file:
    raw = file.read()
message = email.message_from_bytes(raw, policy=email.policy.default)

problems = [str(defect) for part in message.walk() for defect in part.defects]
problems += ["line of %d bytes" % len(line) for line in raw.split(b"\r\n") if len(line) > 998]
problems += ["bare line feed"] if b"\n" in raw.replace(b"\r\n", b"") or b"\r" in raw.replace(b"\r\n", b"") else []

found = {name.lower(): str(message[name]) for name in ("From", "To", "Cc", "Bcc", "Subject", "Date", "Auto-Submitted") if message[name]}
found["messageId"] = str(message["Message-ID"])
found["problems"] = problems
for kind in ("plain", "html"):
    body = message.get_body((kind,))
    if body is not None:
        found["text" if kind == "plain" else "html"] = body.get_content()
found["attachments"] = []
for number, part in enumerate(message.iter_attachments()):
    unpacked = "%s.%d" % (path, number)
    with open(unpacked, "wb") as file:
        file.write(part.get_payload(decode=True))
    found["attachments"].append({"name": part.get_filename(), "type": part.get_content_type(), "file": unpacked})
print(json.dumps(found))
