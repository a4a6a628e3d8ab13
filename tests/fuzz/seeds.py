"""Writes the fuzzer's seeds: seeds.py PROJECT HELPFILE FOLDER makes FOLDER/<target>/<seed>. Inputs that found a fault stay here."""
import pathlib
import re
import sys

project, help_file, folder = (pathlib.Path(word) for word in sys.argv[1:])


def put(target, *seeds):
    (folder / target).mkdir(parents=True, exist_ok=True)
    for seed in seeds:
        data = seed if isinstance(seed, bytes) else seed.encode()
        (folder / target / f"seed-{len(list((folder / target).glob('seed-*')))}").write_bytes(data)


for old in folder.glob("*/seed-*"):
    old.unlink()

# Configuration: the examples of the documentation, and the shipped queries and layouts.
examples = re.findall(r"```toml\n(.*?)```", (project / "docs/file-formats.md").read_text(), re.S)
for target, example in zip(("jobs", "email", "data-source", "query", "layout"), examples, strict=False):
    put(target, example)
for path in sorted((project / "samples").rglob("*.rqn")):
    put("query", path.read_bytes())
    put("sql", *re.findall(r"sql = '''(.*?)'''", path.read_text(), re.S))
for path in sorted((project / "samples").rglob("*.rpt")):
    put("layout", path.read_bytes())
put("query", 'format = 1\ndescription = "a"\nsql = "select 1"\n[output]\ntype = "file"\nformat = "csv"\n[sql_for]\noracle = "select 1 from dual"\n')
put("data-source", 'class = "QMMDSOracle"\nserver = "x"\nuser = "u"\npassword = "p"\n')
put("packages", "[Package.1]\r\nName=\"x\"\r\nInstallPath=..\\a\\\r\nInterface=I\r\nQueryAccess=Q\r\nDatabase=e.db\r\n[Package.2]\nName=y\nInstallPath=/b\n")
put("registry", b"/srv/x/\0[SOFTWARE\\Tarrowind\\Quillmark\\Report Framework\\8.50.000]\nInstallPath=/srv/q/\n; c\n[Framework]\nVersion='8'\n")
put("help", help_file.read_bytes())

# Logs
put("csv",
    'id,time_generated,level,type,message\r\n1,2026-11-20T10:00:00.123Z,Error,Error,"two ""quoted"" words,\r\nand more"\n',
    "time,event,sender,recipient\n2026-11-20,FAIL,a@b.c,d@e.f\n", "time,server,operation,result,path\n2026-11-20,S,READ,OK,C:\\a\\b.txt\n",
    b"\xfe\xff" + "time_generated,level,type\n2026-11-20,Error,Ünï\n".encode("utf-16-be"))
put("syslog",
    '<34>1 2026-11-20T08:15:00.003Z mail.example.org su 231 ID47 [meta@1 seq="1" x="\\"\\]"] text\n<34>Nov 20 08:15:00 mail su[231]: text\n'
    "Feb 29 08:15:00 mail su[231]: text\n cont\n2026-11-20T08:15:00.123456+01:00 mail su[231]: text\n<34>1 2026-11-20T08:15:00Z - - - - -\n")
put("journald",
    '{"__REALTIME_TIMESTAMP":"1795000000000000","_HOSTNAME":"h","MESSAGE":"m","PRIORITY":"6","SYSLOG_IDENTIFIER":"x","_PID":"1"}\n'
    '{"__REALTIME_TIMESTAMP":"1795000000000001","MESSAGE":[104,105],"_HOSTNAME":["a","b"],"PRIORITY":null}\n')
put("evtxml",
    '<Events><Event xmlns="http://schemas.microsoft.com/win/2004/08/events/event"><System><Provider Name="P"/><EventID Qualifiers="1">4625</EventID>'
    '<Level>0</Level><Task>1</Task><Keywords>0x8010000000000000</Keywords><TimeCreated SystemTime="2026-11-20T08:15:00.123456700Z"/>'
    '<EventRecordID>7</EventRecordID><Channel>Security</Channel><Computer>c</Computer><Security UserID="S-1-5-18"/></System><EventData>'
    '<Data Name="TargetUserName">u</Data><Data Name="IpAddress">-</Data></EventData><RenderingInfo Culture="en"><Message>m</Message></RenderingInfo>'
    "</Event></Events>",
    '<?xml version="1.0" encoding="utf-16"?><!DOCTYPE x [<!ENTITY a "b">]><Events><Event><System><EventID>1</EventID>'
    '<TimeCreated SystemTime="2026-11-20T08:15:00Z"/></System><UserData><X><Y>1</Y></X></UserData></Event></Events>')
put("event-time", "2026-11-20T08:15:00.003Z", "2026-11-20 08:15:00 +02:00", "0001-01-01", "9999-12-31T23:59:59.9999-23:59", "2026-02-29")

# The engine
put("sql",
    "select :a, @b, $c, [x:y], `q:z`, 'it''s :no', -- :no\n /* :no /* */ :d", "select q'[it's :x]', $tag$ :x $tag$, E'\\':x', a::text, @@v",
    "select a, :a, @b, $c, 1 as [x:y], 2 as `q:z`, 'it''s :no' -- :no\n /* :no /* */ from t where b = :d",
    "select 1; select 2", "select $a::b(c), #x, ?, ?1, x'00', :a1", "with x as (select 1) select * from x;;;")
put("parameters", "\0abc", "\0015", "\2-1.5e3", "\3today", "\4 12:30:00", "\5yes", "\6a", "\3-7", "\3 2026-02-30")
put("period", "today", "last 5 hours", "last week", "previous quarter", "this year", "all time", "last 999999999 months", "last 2147483648 days")
put("connection",
    "Driver={PostgreSQL Unicode};Server=a;UID=b;PWD={p;w}}x};", "Provider=SQLOLEDB;Data Source=tcp:h\\i,1433;Password='a;b''c';",
    "PWD=secret123;Password={x y z w};")
put("driver-values", "123.4500", "-0.000000000000000000001", "12:30:00.500000", "99999999999999999999.9", b"\xea\x07\x0b\0\x15\0\x08\0\x0f\0\0\0\0\xca\x9a\x3b")
put("naming", "{description} {date}\nA/B", "sub/{description}\n../../etc", "../x\nq", "CON\nNUL", "{x\ny", "a.\n. ", "{counter}\nx")
put("mail", "a@example.org", "Ünä <ü@exämple.org>", '"a, \\"b" <x@y.z>', "a@[192.0.2.1]", "a\r\nBcc: x@y.z", "=?utf-8?q?x?= <a@b.c>")
put("smtp",
    "220 hi\n>EHLO x\n250-a\n250-SIZE 1000\n250-SMTPUTF8\n250 STARTTLS\n>STARTTLS\n220 go\n>EHLO x\n250 ok\n>MAIL FROM:<a>\n250 ok\n>RCPT TO:<b>\n"
    "550 5.1.1 no\n>RCPT TO:<c>\n250 ok\n>DATA\n354 go\n250 2.0.0 queued\n>QUIT\n221 bye\n")
# Drawn from the end backwards for numbers and from the front for texts; any bytes make some report.
put("reports", *(bytes((7 * i * i + 31 * n) % 256 for i in range(40 + 300 * n)) for n in range(8)),
    *(("<b>Ünï</b> =1+1 \u202eabc\\\\" * 20).encode() + bytes(range(n, 256, 3)) for n in range(4)))
