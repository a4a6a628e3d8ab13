#!/usr/bin/python3
"""A small server for SQL Server's wire protocol (TDS 7.1 to 7.4), on loopback, with SQLite as its engine and faults on demand.

    tds_server.py --db NAME=FILE... --user NAME:PASSWORD... [--deny USER:DATABASE]... [--port N] [--life SECONDS]
                  [--login-delay SECONDS] [--drop-after ROWS] [--stall-after ROWS]

prints one line "READY port=PORT" and serves until it is killed or its life is over. A column has the type that SQLite's table declares.
"""

import argparse
import decimal
import os
import queue
import re
import signal
import socket
import sqlite3
import struct
import threading
import time

from tds_sql import Dialect, TOK, split
from tds_values import COLL, Rd, SqlError, bvar, col_for, read_value, txt, usvar

BATCH, RPC, REPLY, ATTN, TM, LOGIN7, PRELOGIN = (1, 3, 4, 6, 14, 16, 18)
ARGS = None


class Conn(Dialect):
    def __init__(self, srv, sock, spid):
        self.srv, self.s, self.spid = (srv, sock, spid)
        self.tds, self.psize, self.db, self.user = (116, 4096, "", "")
        self.q, self.cancel, self.eng = (queue.Queue(), threading.Event(), None)
        self.prep, self.nexth, self.rowcount, self.pid, self.tran = ({}, 1, 0, 0, 0)

    def rx(self, n):
        b = b""
        while len(b) < n:
            k = self.s.recv(n - len(b))
            if not k:
                raise ConnectionError("closed")
            b += k
        return b

    def message(self):
        body = b""
        while True:
            t, st, ln, _, _, _ = struct.unpack(">BBHHBB", self.rx(8))
            body += self.rx(ln - 8)
            if st & 1:
                return (t, body)

    def reader(self):
        try:
            while True:
                t, b = self.message()
                if t == ATTN:
                    self.cancel.set()
                    if self.eng:
                        self.eng.interrupt()
                self.q.put((t, b))
        except (OSError, struct.error):
            self.cancel.set()
            self.q.put((None, b""))

    def begin(self):
        self.buf, self.pid = (bytearray(), 0)

    def put(self, b):
        self.buf += b
        room = self.psize - 8
        if len(self.buf) > room * 8:
            self.flush(False)

    def flush(self, last):
        room, out, pos = (self.psize - 8, bytearray(), 0)
        n = len(self.buf)
        while n - pos > room or (last and pos <= n):
            take = min(room, n - pos)
            fin = last and pos + take >= n
            self.pid = self.pid + 1 & 255
            out += (
                struct.pack(">BBHHBB", REPLY, 1 if fin else 0, take + 8, self.spid, self.pid, 0)
                + self.buf[pos : pos + take]
            )
            pos += take
            if fin:
                break
        del self.buf[:pos]
        if out:
            self.s.sendall(out)

    def eed(self, tok, num, msg, cls, state=1, proc="", line=1):
        b = (
            struct.pack("<iBB", num, state, cls)
            + usvar(msg)
            + bvar(self.srv.name)
            + bvar(proc)
            + struct.pack("<I" if self.tds >= 0x72 else "<H", line)
        )
        return bytes([tok]) + struct.pack("<H", len(b)) + b

    def error(self, num, msg, cls=16, state=1, line=1):
        return self.eed(170, num, msg, cls, state, line=line)

    def info(self, num, msg, cls=0, state=1):
        return self.eed(171, num, msg, cls, state)

    def env(self, t, new, old):
        b = bytes([t]) + bvar(new) + bvar(old)
        return b"\xe3" + struct.pack("<H", len(b)) + b

    def envb(self, t, new, old):
        b = bytes([t, len(new)]) + new + bytes([len(old)]) + old
        return b"\xe3" + struct.pack("<H", len(b)) + b

    def done(self, tok=253, st=0, rows=0, cmd=0):
        return bytes([tok]) + struct.pack("<HHQ" if self.tds >= 0x72 else "<HHI", st, cmd, rows)

    def meta(self, cols):
        b = b"\x81" + struct.pack("<H", len(cols))
        for c in cols:
            b += (b"\x00\x00\x00\x00" if self.tds >= 0x72 else b"\x00\x00") + b"\t\x00" + c.info + bvar(c.name)
        return b

    def retval(self, i, name, v):
        return (
            b"\xac"
            + struct.pack("<H", i)
            + bvar(name)
            + b"\x01"
            + (b"\x00\x00\x00\x00" if self.tds >= 0x72 else b"\x00\x00")
            + b"\x00\x00&\x04"
            + (b"\x00" if v is None else struct.pack("<Bi", 4, v))
        )

    def serve(self):
        try:
            self.s.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            t, b = self.message()
            if t == PRELOGIN:
                self.begin()
                v = bytes([16, 0, 3, 232, 0, 0])
                self.put(bytes([0, 0, 11, 0, 6, 1, 0, 17, 0, 1, 255]) + v + b"\x02")
                self.flush(True)
                t, b = self.message()
            if t != LOGIN7:
                return
            if ARGS.login_delay:
                time.sleep(ARGS.login_delay)
            if not self.login(b):
                return
            threading.Thread(target=self.reader, daemon=True).start()
            while True:
                t, b = self.q.get()
                if t is None:
                    return
                self.begin()
                if t == ATTN:
                    self.cancel.clear()
                    self.put(self.done(st=32))
                else:
                    try:
                        {BATCH: self.batch, RPC: self.rpc, TM: self.tm}[t](b)
                    except SqlError as e:
                        self.put(self.error(e.num, str(e), e.cls, e.state, e.line) + self.done(st=2))
                    except KeyError:
                        self.put(
                            self.error(4002, "The incoming tabular data stream (TDS) protocol stream is incorrect.")
                            + self.done(st=2)
                        )
                self.flush(True)
        except (OSError, struct.error):
            pass
        finally:
            try:
                self.s.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
            self.s.close()
            if self.eng:
                try:
                    self.eng.close()
                except sqlite3.Error:
                    pass

    def login(self, b):
        ver = struct.unpack("<I", b[4:8])[0]
        self.tds = {112: 112, 113: 113, 114: 114, 115: 115, 116: 116}.get(ver >> 24, 116)
        want = struct.unpack("<I", b[8:12])[0]

        def fld(i):
            o, n = struct.unpack("<HH", b[36 + 4 * i : 40 + 4 * i])
            return b[o : o + 2 * n]

        host, user, app, server, lang, db = (fld(i).decode("utf-16le") for i in (0, 1, 3, 4, 7, 8))
        pw = bytes(((c ^ 165) << 4 & 240 | (c ^ 165) >> 4 for c in fld(2))).decode("utf-16le")
        self.begin()
        if b[25] & 128:
            self.put(
                self.error(
                    18452,
                    "Login failed. The login is from an untrusted domain and cannot be used with Integrated authentication.",
                    14,
                )
                + self.done(st=2)
            )
            self.flush(True)
            return False
        fail = self.error(18456, "Login failed for user '%s'." % user, 14)
        if self.srv.users.get(user) != pw:
            self.put(fail + self.done(st=2))
            self.flush(True)
            return False
        db = db or self.srv.default
        if db not in self.srv.dbs or (user, db) in self.srv.deny:
            self.put(
                self.error(4060, 'Cannot open database "%s" requested by the login. The login failed.' % db, 11)
                + fail
                + self.done(st=2)
            )
            self.flush(True)
            return False
        self.user, self.host = (user, host)
        self.open(db)
        self.put(self.env(1, db, "master") + self.info(5701, "Changed database context to '%s'." % db, 0, 2))
        self.put(
            self.envb(7, COLL, b"")
            + self.env(2, "us_english", "")
            + self.info(5703, "Changed language setting to us_english.")
        )
        tv = {
            112: b"\x07\x00\x00\x00",
            113: b"q\x00\x00\x01",
            114: b"r\t\x00\x02",
            115: b"s\x0b\x00\x03",
            116: b"t\x00\x00\x04",
        }[self.tds]
        a = b"\x01" + tv + bvar("Microsoft SQL Server") + bytes([16, 0, 3, 232])
        self.put(b"\xad" + struct.pack("<H", len(a)) + a)
        new = want if 512 <= want <= 32767 else 4096
        self.put(self.env(4, str(new), "4096") + self.done())
        self.flush(True)
        self.psize = new
        return True

    def wait(self, s):
        m = re.match("waitfor\\s+delay\\s+'(\\d+):(\\d+):(\\d+(?:\\.\\d+)?)'", s, re.I)
        if not m:
            raise SqlError(102, "Incorrect syntax near 'WAITFOR'.")
        self.cancel.wait(int(m[1]) * 3600 + int(m[2]) * 60 + float(m[3]))

    def emit(self, stmt, done, params=None, last=True):
        more = 0 if last else 1
        r = self.query(stmt, params)
        if r[0] == "count":
            self.rowcount = r[1]
            self.put(self.done(done, more | (16 if re.match("\\s*(insert|update|delete)", stmt, re.I) else 0), r[1]))
            return
        n = self.rowset(r[1], r[2])
        self.rowcount = n
        self.put(self.done(done, (2 if n < 0 else 16) | more, max(n, 0), 193))

    def rowset(self, cols, rows):
        self.put(self.meta(cols))
        encs = [c.enc for c in cols]
        n = 0
        put = self.put
        chunk = []
        cancel = self.cancel.is_set
        try:
            for r in rows:
                chunk.append(b"\xd1" + b"".join([e(v) for e, v in zip(encs, r)]))
                n += 1
                if n % 256 == 0:
                    put(b"".join(chunk))
                    chunk.clear()
                    if cancel():
                        return n
                    if ARGS.drop_after and n >= ARGS.drop_after:
                        self.flush(False)
                        raise ConnectionError("told to drop")
                    if ARGS.stall_after and n >= ARGS.stall_after:
                        self.flush(False)
                        time.sleep(ARGS.life)
        except sqlite3.Error as e:
            put(b"".join(chunk))
            raise map_sqlite(e)
        except SqlError:
            put(b"".join(chunk))
            raise
        except (ValueError, OverflowError, decimal.DecimalException) as e:
            put(b"".join(chunk))
            raise SqlError(8115, "Arithmetic overflow error converting expression to data type: %s" % e)
        put(b"".join(chunk))
        return n

    def heads(self, b):
        return b[struct.unpack("<I", b[:4])[0] :] if self.tds >= 0x72 else b

    def batch(self, b):
        sql = self.heads(b).decode("utf-16le")
        st = split(sql)
        if not st:
            self.put(self.done())
            return
        for i, s in enumerate(st):
            last = i == len(st) - 1
            if self.cancel.is_set():
                self.put(self.done(st=2))
                return
            try:
                if re.match("set\\b", s, re.I):
                    self.put(self.done(st=0 if last else 1))
                    continue
                if re.match("waitfor\\b", s, re.I):
                    self.wait(s)
                    self.put(self.done(st=0 if last else 1))
                    continue
                if m := re.match('use\\s+\\[?"?([^\\]"]+)', s, re.I):
                    n = m[1].strip()
                    if n not in self.srv.dbs:
                        raise SqlError(
                            911, "Database '%s' does not exist. Make sure that the name is entered correctly." % n
                        )
                    old = self.db
                    self.open(n)
                    self.put(
                        self.env(1, n, old)
                        + self.info(5701, "Changed database context to '%s'." % n, 0, 2)
                        + self.done(st=0 if last else 1)
                    )
                    continue
                if m := re.match("print\\s+(.*)", s, re.I | re.S):
                    v = self.eng.execute("select " + self.tsql(m[1])).fetchone()[0]
                    self.put(self.info(0, txt(v)) + self.done(st=0 if last else 1))
                    continue
                if m := re.match("raiserror\\s*\\(\\s*(N?'(?:[^']|'')*')\\s*,\\s*(\\d+)\\s*,\\s*(\\d+)", s, re.I):
                    raise SqlError(50000, m[1].lstrip("N")[1:-1].replace("''", "'"), int(m[2]), int(m[3]))
                if re.match("(begin|commit|rollback|if)\\b", s, re.I):
                    k = s.split()[0].lower()
                    if k == "begin" and (not self.eng.in_transaction):
                        self.eng.execute("begin")
                        self.tran = 1
                    if k in ("commit", "rollback") and self.eng.in_transaction:
                        self.eng.execute(k)
                        self.tran = 0
                    self.put(self.done(st=0 if last else 1))
                    continue
                if m := re.match(r"exec(?:ute)?\s+(\S+)", s, re.I):
                    if m[1] == "counts_first":
                        self.put(self.done(255, 1 | 16, 3))
                        self.emit("select id from types order by id", 255, None, False)
                        self.put(self.done(254))
                        continue
                    if m[1] == "fails_late":
                        self.emit("select id from types order by id", 255, None, False)
                        raise SqlError(50000, "The check behind the rows failed.", 16, 1)
                    raise SqlError(2812, "Could not find stored procedure '%s'." % m[1])
                self.emit(s, 253, None, last)
            except SqlError as e:
                self.put(self.error(e.num, str(e), e.cls, e.state, e.line) + self.done(st=2))
                return

    def tm(self, b):
        r = self.heads(b)
        k = struct.unpack("<H", r[:2])[0]
        if k == 5:
            if not self.eng.in_transaction:
                self.eng.execute("begin")
            self.tran = 1
            self.put(self.envb(8, struct.pack("<Q", 1), b"") + self.done())
        elif k in (7, 8):
            self.eng.execute("commit" if k == 7 else "rollback") if self.eng.in_transaction else None
            self.tran = 0
            self.put(self.envb(9 if k == 7 else 10, b"", struct.pack("<Q", 1)) + self.done())
        else:
            self.put(self.done(st=2))

    def rpc(self, b):
        r = Rd(self.heads(b))
        n = r.u16()
        pid = (
            r.u16()
            if n == 65535
            else {
                "sp_executesql": 10,
                "sp_prepare": 11,
                "sp_execute": 12,
                "sp_prepexec": 13,
                "sp_unprepare": 15,
            }.get((nm := r.n(2 * n).decode("utf-16le")).lower(), nm)
        )
        r.u16()
        ps = []
        while not r.end():
            name = r.bvar()
            st = r.u8()
            ps.append((name, st, read_value(r, self.tds)))
        v = [p[2] for p in ps]
        names = lambda decl: re.findall("(@\\w+)\\s+\\w", decl or "")

        def bind(decl, args):
            nm = names(decl)
            return {a[0] or nm[i]: a[2] for i, a in enumerate(args)}

        fin = lambda outs=b"": self.put(b"y\x00\x00\x00\x00" + outs + self.done(254))
        if pid == 10:
            self.emit(v[0], 255, bind(v[1] if len(v) > 1 else "", ps[2:]), False)
            fin()
        elif pid in (11, 13):
            h = self.nexth
            self.nexth += 1
            self.prep[h] = (v[2], v[1])
            if pid == 13:
                self.emit(v[2], 255, bind(v[1], ps[3:]), False)
            elif re.match("\\s*(select|with)\\b", v[2], re.I):
                q = self.query(v[2], {k: None for k in names(v[1])})
                self.put(self.meta(q[1]) + self.done(255, 1))
            fin(self.retval(0, "", h))
        elif pid == 12:
            if v[0] not in self.prep:
                raise SqlError(8179, "Could not find prepared statement with handle %s." % v[0])
            sql, decl = self.prep[v[0]]
            self.emit(sql, 255, bind(decl, ps[1:]), False)
            fin()
        elif pid == 15:
            self.prep.pop(v[0], None)
            fin()
        else:
            raise SqlError(2812, "Could not find stored procedure '%s'." % pid)


class Server:
    def __init__(self, a):
        self.name = "TDSTEST"
        self.dbs = dict((x.split("=", 1) for x in a.db))
        self.dbs.setdefault("master", ":memory:")
        self.default = a.db[0].split("=")[0]
        self.users = dict((x.split(":", 1) for x in a.user))
        self.deny = {tuple(x.split(":", 1)) for x in a.deny}

    def run(self, port):
        s = socket.socket()
        s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        s.bind(("127.0.0.1", port))
        s.listen(32)
        print("READY port=%d" % s.getsockname()[1], flush=True)
        spid = 50
        while True:
            c, _ = s.accept()
            spid = spid + 1 if spid < 30000 else 51
            threading.Thread(target=Conn(self, c, spid).serve, daemon=True).start()


def main():
    global ARGS
    p = argparse.ArgumentParser()
    p.add_argument("--db", action="append", required=True)
    p.add_argument("--user", action="append", required=True)
    p.add_argument("--deny", action="append", default=[])
    p.add_argument("--port", type=int, default=0)
    p.add_argument("--life", type=int, default=600)
    p.add_argument("--login-delay", type=float, default=0)
    p.add_argument("--drop-after", type=int, default=0)
    p.add_argument("--stall-after", type=int, default=0)
    ARGS = p.parse_args()
    signal.signal(signal.SIGTERM, lambda *_: os._exit(0))
    signal.signal(signal.SIGALRM, lambda *_: os._exit(1))
    signal.alarm(ARGS.life)
    Server(ARGS).run(ARGS.port)


if __name__ == "__main__":
    main()
