"""A little of SQL Server's dialect on top of SQLite: enough for a client's tests, not a proof of the dialect."""

import datetime as dt
import re
import sqlite3

from tds_values import SqlError, col_for, infer, parse_dt, txt


def map_sqlite(e):
    s = str(e)
    for rx, num, msg in (
        ("no such table: (?:\\w+\\.)?(.*)", 208, "Invalid object name '{}'."),
        ("no such column: (.*)", 207, "Invalid column name '{}'."),
        ('near "(.*?)": syntax error', 102, "Incorrect syntax near '{}'."),
        ("no such function: (.*)", 195, "'{}' is not a recognized built-in function name."),
        ("ambiguous column name: (.*)", 209, "Ambiguous column name '{}'."),
        ("UNIQUE constraint failed: (.*)", 2627, "Violation of UNIQUE KEY constraint '{}'."),
        ("NOT NULL constraint failed: (.*)", 515, "Cannot insert the value NULL into column '{}'."),
        ("incomplete input", 102, "Incorrect syntax near the end of the batch."),
        ("table (.*) already exists", 2714, "There is already an object named '{}' in the database."),
    ):
        m = re.search(rx, s)
        if m:
            return SqlError(num, msg.format(*m.groups()))
    return SqlError(50000, s)


TOK = re.compile(
    "(?P<str>[Nn]?'(?:[^']|'')*')|(?P<id>\\[[^\\]]*\\]|\\\"(?:[^\\\"]|\\\"\\\")*\\\")|(?P<com>--[^\\n]*|/\\*.*?\\*/)|(?P<at>@@?\\w+)|(?P<w>\\w+)|(?P<o>\\s+|.)",
    re.S,
)


def split(sql):
    """statements of a batch: at ';' and before SET/USE/EXEC/WAITFOR/INSERT... that begin a line"""
    out, cur = ([], "")
    for m in TOK.finditer(sql):
        t = m.group()
        if m.lastgroup == "com":
            continue
        if t == ";":
            out.append(cur)
            cur = ""
            continue
        if (
            m.lastgroup == "w"
            and t.upper()
            in ("SET", "USE", "EXEC", "EXECUTE", "WAITFOR", "DECLARE", "SELECT", "IF", "PRINT", "RAISERROR")
            and re.match("\\s*(set|use|waitfor|declare|print|raiserror)\\b", cur, re.I)
            and (not re.match("\\s*(if)\\b", cur, re.I))
            and (not (t.upper() == "SET" and re.match("\\s*update", cur, re.I)))
        ):
            out.append(cur)
            cur = ""
        cur += t
    out.append(cur)
    return [s.strip() for s in out if s.strip()]


def at_line(error, stmt):
    """SQLite does not tell the line; the name that the message quotes stands in it."""
    quoted = re.search(r"'([^']*)'", str(error))
    at = stmt.find(quoted[1]) if quoted else -1
    error.line = stmt.count("\n", 0, at) + 1 if at >= 0 else 1
    return error


class Dialect:
    def open(self, db):
        if self.eng:
            self.eng.close()
        e = sqlite3.connect(":memory:", isolation_level=None, check_same_thread=False)
        e.execute("attach ? as dbo", (self.srv.dbs[db],))
        e.execute("attach ':memory:' as INFORMATION_SCHEMA")
        e.execute("attach ':memory:' as sys")
        e.execute(
            "create table INFORMATION_SCHEMA.TABLES(TABLE_CATALOG nvarchar(128),TABLE_SCHEMA nvarchar(128),TABLE_NAME nvarchar(128),TABLE_TYPE nvarchar(10))"
        )
        e.execute(
            "create table INFORMATION_SCHEMA.COLUMNS(TABLE_CATALOG nvarchar(128),TABLE_SCHEMA nvarchar(128),TABLE_NAME nvarchar(128),COLUMN_NAME nvarchar(128),ORDINAL_POSITION int,DATA_TYPE nvarchar(128),IS_NULLABLE nvarchar(3))"
        )
        e.execute("create table sys.tables(name nvarchar(128),object_id int)")
        e.execute("create table sys.databases(name nvarchar(128),database_id int)")
        for i, n in enumerate(sorted(self.srv.dbs)):
            e.execute("insert into sys.databases values(?,?)", (n, i + 5))
        for i, (n, t) in enumerate(
            e.execute(
                "select name,type from dbo.sqlite_master where type in('table','view') and name not like 'sqlite_%'"
            ).fetchall()
        ):
            e.execute(
                "insert into INFORMATION_SCHEMA.TABLES values(?,?,?,?)",
                (db, "dbo", n, "BASE TABLE" if t == "table" else "VIEW"),
            )
            e.execute("insert into sys.tables values(?,?)", (n, i + 1000))
            for c in e.execute('pragma dbo.table_info("%s")' % n.replace('"', '""')).fetchall():
                e.execute(
                    "insert into INFORMATION_SCHEMA.COLUMNS values(?,?,?,?,?,?,?)",
                    (db, "dbo", n, c[1], c[0] + 1, c[2].lower(), "NO" if c[3] else "YES"),
                )
        f = e.create_function
        f("getdate", 0, lambda: dt.datetime.now().isoformat(" ", "milliseconds"))
        f("len", 1, lambda s: None if s is None else len(txt(s).rstrip()))
        f("isnull", 2, lambda a, b: b if a is None else a)
        f("db_name", 0, lambda: db)
        f("suser_sname", 0, lambda: self.user)
        f("host_name", 0, lambda: self.host)
        for i, n in enumerate(("year", "month", "day")):
            f(n, 1, lambda s, i=i: None if s is None else (lambda d: (d.year, d.month, d.day)[i])(parse_dt(s)))
        self.eng, self.db = (e, db)

    def tsql(self, sql):
        out, top, toks = ("", None, list(TOK.finditer(sql)))
        i = 0
        while i < len(toks):
            m = toks[i]
            t, k = (m.group(), m.lastgroup)
            if k == "com":
                t = " "
            elif k == "str" and t[0] in "Nn":
                t = t[1:]
            elif k == "at" and t.startswith("@@"):
                t = {
                    "@@version": "'Microsoft SQL Server 2022 (test server) - 16.0.1000.0'",
                    "@@spid": str(self.spid),
                    "@@servername": "'%s'" % self.srv.name,
                    "@@rowcount": str(self.rowcount),
                    "@@trancount": str(self.tran),
                    "@@language": "'us_english'",
                    "@@error": "0",
                }.get(t.lower(), t)
            elif k == "w" and t.lower() == "top" and (top is None):
                rest = sql[m.end() :]
                mm = re.match("\\s*\\(?\\s*(\\d+)\\s*\\)?", rest)
                if mm:
                    top = mm.group(1)
                    end = m.end() + mm.end()
                    i = next((j for j in range(i, len(toks) + 1) if j == len(toks) or toks[j].start() >= end))
                    continue
            elif (
                k == "w" and t.lower() == "with" and (mm := re.match("\\s*\\(\\s*nolock\\s*\\)", sql[m.end() :], re.I))
            ):
                end = m.end() + mm.end()
                i = next((j for j in range(i, len(toks) + 1) if j == len(toks) or toks[j].start() >= end))
                continue
            elif (
                k in ("w", "id")
                and t.strip('[]"').lower() == self.db.lower()
                and (mm := re.match("\\s*\\.\\s*(?=\\[?dbo\\]?\\s*\\.)|\\s*\\.\\s*(?=\\.)", sql[m.end() :], re.I))
            ):
                end = m.end() + mm.end()
                i = next((j for j in range(i, len(toks) + 1) if j == len(toks) or toks[j].start() >= end))
                continue
            out += t
            i += 1
        return out + (" limit " + top if top else "")

    def query(self, stmt, params=None):
        """-> ('rows', cols, iterator) or ('count', n)"""
        sql = self.tsql(stmt)
        params = {k.lstrip("@"): v for k, v in (params or {}).items()}
        try:
            cur = self.eng.cursor()
            cur.execute(sql, params)
            if cur.description is None:
                return ("count", max(cur.rowcount, 0))
            names = [d[0] for d in cur.description]
            decl = [""] * len(names)
            lit = (
                lambda m: (
                    lambda v: "NULL"
                    if v is None
                    else repr(v)
                    if isinstance(v, (int, float))
                    else "x'%s'" % v.hex()
                    if isinstance(v, bytes)
                    else "'" + str(v).replace("'", "''") + "'"
                )(params[m.group()[1:]])
                if m.lastgroup == "at" and m.group()[1:] in params
                else m.group()
            )
            try:
                self.eng.execute("drop view if exists temp.__v")
                self.eng.execute("create temp view __v as " + "".join((lit(m) for m in TOK.finditer(sql))))
                decl = [r[2] for r in self.eng.execute("pragma temp.table_info(__v)")]
            except sqlite3.Error:
                pass
            first = cur.fetchmany(2000)
            cols = []
            for i, n in enumerate(names):
                d = decl[i] if i < len(decl) else ""
                c = (col_for(d, self.tds) if d not in ("", "INT", "NUM", "TEXT", "REAL", "BLOB") else None) or infer(
                    [r[i] for r in first], self.tds
                )
                c.name = "" if re.search("[()+*/\\']|^\\d+$", n) else n
                cols.append(c)

            def rows():
                yield from first
                while True:
                    part = cur.fetchmany(2000)
                    if not part:
                        return
                    yield from part

            return ("rows", cols, rows())
        except sqlite3.Error as e:
            if self.cancel.is_set():
                raise SqlError(3617, "The query was cancelled.", 11)
            raise at_line(map_sqlite(e), stmt)
