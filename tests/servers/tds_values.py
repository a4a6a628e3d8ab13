"""Column types and values of the TDS protocol, versions 7.1 to 7.4, as the test server sends and reads them."""

import datetime as dt
import decimal
import re
import struct
import uuid

D = decimal.Decimal
WIDE = decimal.Context(prec=40)

MASK = (1 << 64) - 1

COLL = bytes([9, 4, 208, 0, 52])


class SqlError(Exception):
    def __init__(self, num, msg, cls=16, state=1, line=1):
        super().__init__(msg)
        self.num, self.cls, self.state, self.line = (num, cls, state, line)


def bvar(s):
    return bytes([len(s.encode("utf-16le")) // 2]) + s.encode("utf-16le")


def usvar(s):
    return struct.pack("<H", len(s.encode("utf-16le")) // 2) + s.encode("utf-16le")


class Col:
    """type info + encoder of one value"""

    def __init__(self, info, enc, name=""):
        self.info, self.enc, self.name = (info, enc, name)


def enc_int(n):
    null, st = (b"\x00", struct.Struct("<B" + {1: "B", 2: "h", 4: "i", 8: "q"}[n]).pack)
    return lambda v: null if v is None else st(n, int(v))


def enc_flt(v, st=struct.Struct("<Bd").pack):
    return b"\x00" if v is None else st(8, float(v))


def enc_bit(v):
    return b"\x00" if v is None else b"\x01\x01" if v else b"\x01\x00"


def enc_num(p, s):
    n = 4 if p <= 9 else 8 if p <= 19 else 12 if p <= 28 else 16
    q = D(1).scaleb(-s)

    def e(v):
        if v is None:
            return b"\x00"
        d = D(txt(v)).quantize(q, rounding=decimal.ROUND_HALF_UP, context=WIDE)
        i = int(d.scaleb(s, context=WIDE))
        return bytes([n + 1, 1 if i >= 0 else 0]) + abs(i).to_bytes(n, "little")

    return e


def enc_money(v):
    if v is None:
        return b"\x00"
    i = int((D(str(v)) * 10000).to_integral_value()) & MASK
    return struct.pack("<BII", 8, i >> 32, i & 4294967295)


D1900, D0001 = (dt.datetime(1900, 1, 1), dt.date(1, 1, 1))


def parse_dt(v):
    if isinstance(v, (dt.datetime,)):
        return v
    v = str(v).strip().replace("T", " ")
    if re.fullmatch("\\d{8}", v):
        v = v[:4] + "-" + v[4:6] + "-" + v[6:]
    try:
        return dt.datetime.fromisoformat(v)
    except ValueError:
        raise SqlError(241, "Conversion failed when converting date and/or time from character string.")


def enc_datetime(v):
    if v is None:
        return b"\x00"
    d = parse_dt(v) - D1900
    t = round((d.seconds * 1000000 + d.microseconds) * 300 / 1000000)
    return struct.pack("<BiI", 8, d.days + (t == 25920000), 0 if t == 25920000 else t)


def enc_date(v):
    return b"\x00" if v is None else b"\x03" + (parse_dt(v).date() - D0001).days.to_bytes(3, "little")


def enc_dt2(v):
    if v is None:
        return b"\x00"
    p = parse_dt(v)
    us = ((p.hour * 60 + p.minute) * 60 + p.second) * 1000000 + p.microsecond
    return b"\x08" + (us * 10).to_bytes(5, "little") + (p.date() - D0001).days.to_bytes(3, "little")


def enc_guid(v):
    return b"\x00" if v is None else b"\x10" + uuid.UUID(str(v)).bytes_le


def txt(v):
    return (
        v
        if isinstance(v, str)
        else v.decode("utf-8", "replace")
        if isinstance(v, bytes)
        else "%.15g" % v
        if isinstance(v, float)
        else str(v)
    )


def enc_nvar(v, st=struct.Struct("<H").pack):
    if v is None:
        return b"\xff\xff"
    b = txt(v).encode("utf-16le")
    return st(len(b)) + b


def enc_var(v, st=struct.Struct("<H").pack):
    if v is None:
        return b"\xff\xff"
    b = txt(v).encode("cp1252", "replace")
    return st(len(b)) + b


def enc_bin(v, st=struct.Struct("<H").pack):
    if v is None:
        return b"\xff\xff"
    b = v if isinstance(v, bytes) else txt(v).encode()
    return st(len(b)) + b


def enc_plp(conv):
    def e(v):
        if v is None:
            return b"\xff" * 8
        b = conv(v)
        return struct.pack("<Q", len(b)) + (struct.pack("<I", len(b)) + b if b else b"") + b"\x00\x00\x00\x00"

    return e


def col_for(decl, tds):
    d = (decl or "").strip().lower()
    m = re.match("([a-z0-9_ ]+?)\\s*(?:\\(\\s*(\\d+|max)\\s*(?:,\\s*(\\d+)\\s*)?\\))?$", d)
    base, a, b = (m.group(1).strip(), m.group(2), m.group(3)) if m else (d, None, None)
    if base in ("int", "integer", "int identity"):
        return Col(b"&\x04", enc_int(4))
    if base == "bigint":
        return Col(b"&\x08", enc_int(8))
    if base == "smallint":
        return Col(b"&\x02", enc_int(2))
    if base == "tinyint":
        return Col(b"&\x01", enc_int(1))
    if base in ("bit", "boolean"):
        return Col(b"h\x01", enc_bit)
    if base in ("float", "real", "double"):
        return Col(b"m\x08", enc_flt)
    if base in ("decimal", "numeric"):
        p, s = (int(a or 18), int(b or 0))
        n = 5 if p <= 9 else 9 if p <= 19 else 13 if p <= 28 else 17
        return Col(bytes([108, n, p, s]), enc_num(p, s))
    if base in ("money", "smallmoney"):
        return Col(b"n\x08", enc_money)
    if base == "date":
        return Col(b"(", enc_date) if tds >= 0x73 else Col(b"o\x08", enc_datetime)
    if base in ("datetime", "smalldatetime", "timestamp"):
        return Col(b"o\x08", enc_datetime)
    if base == "datetime2":
        return Col(b"*\x07", enc_dt2) if tds >= 0x73 else Col(b"o\x08", enc_datetime)
    if base == "uniqueidentifier":
        return Col(b"$\x10", enc_guid)
    if base in ("nvarchar", "nchar") and a and (a != "max"):
        return Col(b"\xe7" + struct.pack("<H", min(int(a), 4000) * 2) + COLL, enc_nvar)
    if base in ("varchar", "char") and a and (a != "max"):
        return Col(b"\xa7" + struct.pack("<H", min(int(a), 8000)) + COLL, enc_var)
    if base in ("varbinary", "binary") and a and (a != "max"):
        return Col(b"\xa5" + struct.pack("<H", min(int(a), 8000)), enc_bin)
    if base in ("varbinary", "image", "blob"):
        return (
            Col(b"\xa5\xff\xff", enc_plp(lambda v: v if isinstance(v, bytes) else txt(v).encode()))
            if tds >= 0x72
            else Col(b"\xa5@\x1f", enc_bin)
        )
    if base in ("ntext", "text", "nvarchar", "varchar", "xml"):
        return (
            Col(b"\xe7\xff\xff" + COLL, enc_plp(lambda v: txt(v).encode("utf-16le")))
            if tds >= 0x72
            else Col(b"\xe7@\x1f" + COLL, enc_nvar)
        )
    return None


def infer(vals, tds):
    seen = {type(v) for v in vals if v is not None}
    if seen == {int}:
        return col_for("bigint" if any((v is not None and abs(v) > 2**31 - 1 for v in vals)) else "int", tds)
    if seen and seen <= {int, float}:
        return col_for("float", tds)
    if seen == {bytes}:
        return col_for("varbinary(max)", tds)
    long = max((len(txt(v)) for v in vals if v is not None), default=0)
    if not seen:
        return col_for("int", tds)
    return col_for("nvarchar(4000)" if long <= 4000 else "nvarchar(max)", tds)


class Rd:
    def __init__(self, b):
        self.b, self.p = (b, 0)

    def n(self, n):
        v = self.b[self.p : self.p + n]
        self.p += n
        return v

    def u8(self):
        return self.n(1)[0]

    def u16(self):
        return struct.unpack("<H", self.n(2))[0]

    def i32(self):
        return struct.unpack("<i", self.n(4))[0]

    def u32(self):
        return struct.unpack("<I", self.n(4))[0]

    def u64(self):
        return struct.unpack("<Q", self.n(8))[0]

    def bvar(self):
        return self.n(self.u8() * 2).decode("utf-16le")

    def end(self):
        return self.p >= len(self.b)


def read_value(r, tds):
    t = r.u8()
    if t == 31:
        return None
    if t in (48, 50):
        return r.u8()
    if t == 52:
        return struct.unpack("<h", r.n(2))[0]
    if t == 56:
        return r.i32()
    if t == 127:
        return struct.unpack("<q", r.n(8))[0]
    if t == 62:
        return struct.unpack("<d", r.n(8))[0]
    if t == 59:
        return struct.unpack("<f", r.n(4))[0]
    if t in (38, 104, 109, 110, 111, 36):
        r.u8()
        n = r.u8()
        v = r.n(n)
        if n == 0:
            return None
        if t == 38:
            return int.from_bytes(v, "little", signed=n > 1)
        if t == 104:
            return v[0]
        if t == 109:
            return struct.unpack("<f" if n == 4 else "<d", v)[0]
        if t == 36:
            return str(uuid.UUID(bytes_le=v))
        if t == 110:
            i = (
                struct.unpack("<i", v)[0]
                if n == 4
                else struct.unpack("<i", v[:4])[0] << 32 | struct.unpack("<I", v[4:])[0]
            )
            return str(D(i) / 10000)
        if n == 4:
            days, mins = struct.unpack("<HH", v)
            x = D1900 + dt.timedelta(days=days, minutes=mins)
        else:
            days, t3 = struct.unpack("<iI", v)
            x = D1900 + dt.timedelta(days=days, milliseconds=round(t3 * 10 / 3))
        return x.isoformat(" ", "milliseconds").replace(".000", "")
    if t in (106, 108):
        r.u8()
        r.u8()
        s = r.u8()
        n = r.u8()
        v = r.n(n)
        if n == 0:
            return None
        i = int.from_bytes(v[1:], "little")
        x = D(i if v[0] else -i).scaleb(-s)
        return float(x) if s else int(x)
    if t == 40:
        n = r.u8()
        v = r.n(n)
        return None if not n else (D0001 + dt.timedelta(days=int.from_bytes(v, "little"))).isoformat()
    if t in (41, 42, 43):
        s = r.u8()
        n = r.u8()
        v = r.n(n)
        if not n:
            return None
        off = v[-2:] if t == 43 else b""
        v = v[:-2] if off else v
        date = v[-3:] if t != 41 else b""
        tm = v[:-3] if t != 41 else v
        us = int.from_bytes(tm, "little") * 10 ** (6 - s) if s <= 6 else int.from_bytes(tm, "little") // 10
        base = dt.datetime(1, 1, 1) + dt.timedelta(days=int.from_bytes(date, "little") if date else 0, microseconds=us)
        if off:
            base += dt.timedelta(minutes=struct.unpack("<h", off)[0])
        return base.time().isoformat() if t == 41 else base.isoformat(" ")
    if t in (231, 239, 167, 175, 165, 173):
        mx = r.u16()
        coll = r.n(5) if t not in (165, 173) else b""
        if mx == 65535 and tds >= 0x72:
            tot = r.u64()
            if tot == MASK:
                return None
            out = b""
            while True:
                k = r.u32()
                if not k:
                    break
                out += r.n(k)
        else:
            n = r.u16()
            if n == 65535:
                return None
            out = r.n(n)
        return (
            out.decode("utf-16le") if t in (231, 239) else out.decode("cp1252", "replace") if t in (167, 175) else out
        )
    if t in (35, 99, 34):
        r.u32()
        r.n(5) if t != 34 else None
        n = r.i32()
        if n < 0:
            return None
        v = r.n(n)
        return v.decode("utf-16le") if t == 99 else v.decode("cp1252") if t == 35 else v
    raise SqlError(
        8009,
        "The incoming tabular data stream (TDS) remote procedure call (RPC) protocol stream is incorrect: type 0x%02X"
        % t,
    )
