#!/usr/bin/python3
"""A mail server for tests, on loopback, with faults on demand.

    smtp_server.py --out DIR --certificates DIR [--user NAME:PASSWORD]... [--life SECONDS]

prints one line "READY plain=PORT relay=PORT starttls=PORT smtps=PORT othername=PORT small=PORT mute=PORT" and serves until it is killed or
its life is over:

    plain      no TLS; takes a log-in in clear
    relay      offers STARTTLS, demands nothing
    starttls   demands STARTTLS, and a log-in where there are users
    smtps      TLS from the first byte, a log-in where there are users
    othername  as starttls, with a certificate for another name
    small      as plain, announces SIZE 20000
    mute       accepts and never says a word

The certificates folder is what mkca.sh makes. Each message taken is kept as DIR/N.eml, then its envelope as DIR/N.json. The recipient's local
part picks the fault: 550 450 451 551 553 refused at RCPT; once450 refused the first time only; 552 554 refused after the content;
slowN answers RCPT after N seconds, slowNms after milliseconds; drop closes at RCPT; dropmid closes in the middle of the content; dropend closes
after it without an answer; again354 answers the content by asking for it; stall never answers it; slowquit takes 30 seconds to say good-bye.
The sender's local part once451... is refused for now the first time that it is seen.
"""

import argparse
import asyncio
import json
import os
import re
import ssl
import threading

from aiosmtpd.smtp import SMTP, AuthResult, LoginPassword

REFUSALS = {
    "550": "550 5.1.1 No such user here: <%s>",
    "450": "450 4.2.1 Mailbox busy: <%s>",
    "451": "451 4.3.0 Try again later: <%s>",
    "551": "551 5.7.1 Relaying denied: <%s>",
    "553": "553 5.1.3 Bad mailbox name: <%s>",
}


class Server(SMTP):
    slow_quit = False
    drop_content = False

    async def smtp_DATA(self, arg):
        if not self.drop_content:
            return await super().smtp_DATA(arg)
        await self.push("354 go on")
        await self._reader.readline()
        self.transport.abort()

    async def smtp_QUIT(self, arg):
        if self.slow_quit:
            await asyncio.sleep(30)
        await super().smtp_QUIT(arg)


class Handler:
    kept = 0
    seen_once = set()

    def __init__(self, out):
        self.out = out

    async def handle_MAIL(self, server, session, envelope, address, options):
        if address.startswith("once451") and address not in Handler.seen_once:
            Handler.seen_once.add(address)
            return "451 4.7.1 Greylisted: <%s>" % address
        envelope.mail_from = address
        envelope.mail_options.extend(options)
        return "250 OK"

    async def handle_RCPT(self, server, session, envelope, address, options):
        local = address.split("@")[0]
        if local in REFUSALS:
            return REFUSALS[local] % address
        if local == "once450" and session.peer and address not in Handler.seen_once:
            Handler.seen_once.add(address)
            return "450 4.7.1 Greylisted: <%s>" % address
        if local == "drop":
            server.transport.abort()
            return "421 gone"
        if local == "slowquit":
            server.slow_quit = True
        if local == "dropmid":
            server.drop_content = True
        slow = re.fullmatch(r"slow(\d+)(ms)?", local)
        if slow:
            await asyncio.sleep(int(slow[1]) / (1000 if slow[2] else 1))
        envelope.rcpt_tos.append(address)
        return "250 OK"

    async def handle_DATA(self, server, session, envelope):
        locals_ = {address.split("@")[0] for address in envelope.rcpt_tos}
        if "552" in locals_:
            return "552 5.2.2 Mailbox full"
        if "554" in locals_:
            return "554 5.7.1 Message rejected as spam"
        Handler.kept += 1
        stem = os.path.join(self.out, str(Handler.kept))
        with open(stem + ".eml", "wb") as file:
            file.write(envelope.original_content)
        envelope_facts = {
            "tls": bool(session.ssl or server.transport.get_extra_info("ssl_object")),
            "auth": session.auth_data.login.decode() if session.authenticated else None,
            "from": envelope.mail_from,
            "to": envelope.rcpt_tos,
        }
        with open(stem + ".json.part", "w", encoding="utf-8") as file:
            json.dump(envelope_facts, file)
        os.rename(stem + ".json.part", stem + ".json")
        if "dropend" in locals_:
            server.transport.abort()
        if "again354" in locals_:
            return "354 Go on"
        if "stall" in locals_:
            await asyncio.sleep(60)
        return "250 2.0.0 Queued as %d" % Handler.kept


def tls(certificates, name):
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(os.path.join(certificates, name + ".pem"), os.path.join(certificates, name + ".key"))
    return context


async def serve(arguments):
    users = dict(user.split(":", 1) for user in arguments.user)

    def authenticate(server, session, envelope, mechanism, data):
        good = isinstance(data, LoginPassword) and users.get(data.login.decode()) == data.password.decode()
        return AuthResult(success=good, handled=good, auth_data=data if good else None)

    right, other = tls(arguments.certificates, "server"), tls(arguments.certificates, "other")
    demands = {"auth_required": bool(users)}
    listeners = {
        "plain": {"auth_require_tls": False},
        "relay": {"tls_context": right},
        "starttls": {"tls_context": right, "require_starttls": True, **demands},
        "smtps": {"auth_require_tls": False, **demands},
        "othername": {"tls_context": other, "require_starttls": True, **demands},
        "small": {"auth_require_tls": False, "data_size_limit": 20000},
    }
    loop = asyncio.get_running_loop()
    ports = {}

    async def listen(name, factory, **more):
        server = await loop.create_server(factory, "127.0.0.1", 0, **more)
        ports[name] = server.sockets[0].getsockname()[1]

    for name, options in listeners.items():
        common = {"hostname": "localhost", "authenticator": authenticate, "enable_SMTPUTF8": True, "data_size_limit": 32 << 20}
        common.update(options)
        await listen(
            name,
            lambda common=common: Server(Handler(arguments.out), **common),
            **({"ssl": right} if name == "smtps" else {}),
        )
    await listen("mute", asyncio.Protocol)
    print("READY " + " ".join("%s=%d" % item for item in ports.items()), flush=True)
    await asyncio.Event().wait()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--out", required=True)
    parser.add_argument("--certificates", required=True)
    parser.add_argument("--user", action="append", default=[])
    parser.add_argument("--life", type=float, default=120)
    arguments = parser.parse_args()
    os.makedirs(arguments.out, exist_ok=True)
    end = threading.Timer(arguments.life, os._exit, (0,))
    end.daemon = True
    end.start()
    asyncio.run(serve(arguments))


if __name__ == "__main__":
    main()
