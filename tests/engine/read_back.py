"""Reads the same report in four formats with independent readers and compares them: read_back.py PATH-WITHOUT-SUFFIX"""
import csv
import html.parser
import re
import subprocess
import sys

base = sys.argv[1]
csv.field_size_limit(10**9)
with open(base + '.csv', encoding='utf-8', newline='') as file:
    table = list(csv.reader(file))
header, rows = table[0], table[1:]
assert rows, 'no rows'
assert all(len(row) == len(header) for row in rows), 'ragged rows'


class Cells(html.parser.HTMLParser):
    """The text of each td, row by row."""

    def __init__(self):
        super().__init__()
        self.rows, self.cell, self.depth = [], None, 0

    def handle_starttag(self, tag, attributes):
        if tag == 'tr':
            self.rows.append([])
        elif tag == 'td':
            self.cell = []
        elif tag == 'br' and self.cell is not None:
            self.cell.append('\n')

    def handle_endtag(self, tag):
        if tag == 'td' and self.cell is not None:
            self.rows[-1].append(''.join(self.cell))
            self.cell = None

    def handle_data(self, data):
        if self.cell is not None:
            self.cell.append(data)


def words(text):
    """Only what any format must keep: letters and digits in their order."""
    return ''.join(c for c in re.sub(r'\[U\+[0-9A-F]{4}\]', '', text) if c.isalnum())


parser = Cells()
with open(base + '.html', encoding='utf-8') as file:
    parser.feed(file.read())
shown = [row for row in parser.rows if len(row) == len(header)]
assert len(shown) == len(rows), f'html has {len(shown)} rows, csv {len(rows)}'
for wanted, got in zip(rows, shown):
    for a, b in zip(wanted[1:], got[1:]):
        assert words(a) == words(b), f'html: {b[:80]!r} instead of {a[:80]!r}'
told = ['csv', 'html']

try:
    import openpyxl
except ImportError:
    print('openpyxl is missing: the workbook was not read')
else:
    book = openpyxl.load_workbook(base + '.xlsx', read_only=True)
    sheet = book.worksheets[0]
    cells = [[str(cell) for cell in row if cell is not None] for row in sheet.iter_rows(values_only=True)]
    marks = [words(row[-1])[:200] for row in rows]
    found = [words(row[-1])[:200] for row in cells if row]
    assert sum(1 for text in found if text in set(marks)) >= len(rows), 'xlsx lacks rows'
    told.append('xlsx')

try:
    checked = subprocess.run(['qpdf', '--check', base + '.pdf'], capture_output=True)
    text = subprocess.run(['pdftotext', '-layout', base + '.pdf', '-'], capture_output=True).stdout.decode()
except FileNotFoundError as missing:
    print(f'{missing.filename} is missing: the pdf was not read')
else:
    assert checked.returncode == 0, checked.stdout + checked.stderr
    for row in rows:
        assert row[0][:10] in text, f'pdf lacks {row[0]}'
        assert row[2] in text, f'pdf lacks {row[2]}'
    told.append('pdf')
print(f'{len(rows)} rows read back from', ', '.join(told))
