#!/usr/bin/python3
"""A server that never says a word, on loopback.

    silent_server.py [--browser] [--tell] [--life SECONDS]

prints "READY port=PORT" and accepts connections there until it is killed or its life is over. --tell prints "connected" for each. --browser besides plays the SQL Server Browser
of 127.0.0.2 (UDP port 1434): each question is printed in hexadecimal digits; the first gets no answer, the others are told that the instance
"payroll" listens on port 1, where nobody does.
"""

import argparse
import socket
import threading

parser = argparse.ArgumentParser()
parser.add_argument("--browser", action="store_true")
parser.add_argument("--tell", action="store_true")
parser.add_argument("--life", type=float, default=300)
options = parser.parse_args()

listener = socket.socket()
listener.bind(("127.0.0.1", 0))
listener.listen()  # its backlog accepts


def browse(browser):
    asked = 0
    while True:
        question, sender = browser.recvfrom(4096)
        print(question.hex(), flush=True)
        asked += 1
        if asked > 1:
            text = b"ServerName;X;InstanceName;payroll;IsClustered;No;Version;16.0;tcp;1;;"
            browser.sendto(b"\x05" + len(text).to_bytes(2, "little") + text, sender)


def tell(accepted):
    while True:
        accepted.append(listener.accept())
        print("connected", flush=True)


if options.browser:
    browser = socket.socket(type=socket.SOCK_DGRAM)
    browser.bind(("127.0.0.2", 1434))
    threading.Thread(target=browse, args=(browser,), daemon=True).start()
print(f"READY port={listener.getsockname()[1]}", flush=True)
if options.tell:
    threading.Thread(target=tell, args=([],), daemon=True).start()
threading.Event().wait(options.life)
