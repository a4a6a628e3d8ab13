#!/usr/bin/env python3
"""Reads a report with readers that are not ours and prints what it holds as JSON.

usage: read_back.py csv|html|xlsx|zip FILE
"""
import base64
import csv
import datetime
import hashlib
import html
import json
import re
import sys
import zipfile
from html.parser import HTMLParser


def read_csv(path):
    csv.field_size_limit(1 << 30)
    with open(path, encoding="utf-8-sig", newline="") as file:
        rows = list(csv.reader(file, strict=True))
    return {"rows": rows[1:]}


class Page(HTMLParser):
    VOID = {"meta", "link", "br", "img", "input"}
    KEPT = {"title", "style", "th", "td", "dt", "dd", "p", "li", "desc", "h1", "h2", "summary"}  # others are parts of their text

    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.header, self.rows, self.groups, self.totals = [], [], [], []
        self.facts, self.figures, self.notices, self.contents, self.top, self.charts = {}, {}, [], [], [], []
        self.elements, self.attributes, self.stack, self.order = {}, set(), [], []
        self.policy = self.style = self.text = self.title = ""
        self.errors, self.ids = [], []

    def inside(self, tag, name=None):
        return any(tag == t and (name is None or name in given.get("class", "").split()) for t, given in self.stack)

    def handle_starttag(self, tag, attrs):
        self.elements[tag] = self.elements.get(tag, 0) + 1
        self.attributes.update(f"{tag}.{name}" for name, _ in attrs)
        given = dict(attrs)
        if "id" in given:
            self.ids.append(given["id"])
        if given.get("http-equiv") == "Content-Security-Policy":
            self.policy = given["content"]
        if tag == "html":
            self.language = given.get("lang")
        if tag not in self.VOID:
            self.stack.append((tag, given))
        if tag == "tbody":
            self.groups.append({"id": given.get("id"), "class": given.get("class", ""), "rows": []})
        elif tag == "tr":
            self.row = []
        elif tag == "div" and given.get("class") == "notice":
            self.notices.append([])
        elif tag == "a":
            self.href = given["href"]
        if tag in ("table", "nav", "figure", "section", "footer") or given.get("class") == "figures":
            self.order.append(tag)
        if tag in self.KEPT:
            self.text = ""

    def handle_endtag(self, tag):
        opened, given = self.stack.pop() if self.stack else (None, {})
        if opened != tag:
            self.errors.append(f"</{tag}> closes nothing")
        if tag in ("td", "th"):
            text = None if "null" in given.get("class", "").split() else self.text
            self.row.append({"tag": tag, "text": text, "class": given.get("class", ""), "span": int(given.get("colspan", 1)),
                             "scope": given.get("scope"), "label": given.get("data-label")})
        elif tag == "tr":
            kind = given.get("class", "")
            texts = [cell["text"] for cell in self.row]
            if self.inside("thead"):
                self.header = texts
            elif self.inside("tfoot"):
                self.totals.append(self.row)
            else:
                self.groups[-1]["rows"].append({"class": kind, "cells": self.row})
                if kind == "":
                    self.rows.append(texts)
        elif tag == "dt":
            self.term = self.text
        elif tag == "dd":
            (self.figures if self.inside("dl", "figures") else self.facts)[self.term] = self.text.strip()
        elif tag == "p" and self.inside("div", "notice"):
            self.notices[-1].append(self.text)
        elif tag == "li" and self.inside("nav"):
            self.contents.append([self.href, self.text])
        elif tag == "li":
            self.top.append(self.text)
        elif tag in ("title", "desc") and self.inside("figure"):
            self.charts.append(self.text)
        elif tag == "title":
            self.title = self.text
        elif tag == "style":
            self.style = self.text

    def handle_data(self, data):
        self.text += data


def read_html(path):
    with open(path, "rb") as file:
        text = file.read().decode("utf-8")
    page = Page()
    page.feed(text)
    page.close()
    digest = base64.b64encode(hashlib.sha256(page.style.encode()).digest()).decode()
    return {
        "header": page.header, "rows": page.rows, "groups": page.groups, "totals": page.totals, "facts": page.facts,
        "figures": page.figures, "notices": page.notices, "contents": page.contents, "top": page.top, "charts": page.charts,
        "order": page.order, "ids": page.ids, "title": page.title, "language": page.language,
        "elements": page.elements, "attributes": sorted(page.attributes), "open": page.stack, "errors": page.errors,
        "doctype": text.startswith("<!doctype html>"), "policyFits": f"style-src 'sha256-{digest}'" in page.policy, "policy": page.policy,
        "style": page.style, "text": re.sub(r"<[^>]*>", " ", text),
    }


def plain(value):
    """A cell's value with its type, and _xHHHH_ as the character that it stands for."""
    if isinstance(value, datetime.datetime):
        return {"datetime": value.isoformat(sep=" ", timespec="milliseconds")}
    if isinstance(value, str):
        return re.sub(r"_x([0-9A-Fa-f]{4})_", lambda code: chr(int(code[1], 16)), value)
    return value


def read_xlsx(path):
    import openpyxl
    with zipfile.ZipFile(path) as archive:
        bad = archive.testzip()
        own = archive.read("docProps/core.xml").decode() + archive.read("docProps/app.xml").decode()
        names = re.findall("<definedName [^>]*>([^<]*)<", archive.read("xl/workbook.xml").decode())
    book = openpyxl.load_workbook(path)
    sheets = []
    for sheet in book.worksheets:
        rows = [[plain(cell.value) for cell in row] for row in sheet.iter_rows()]
        last = list(sheet.iter_rows(min_row=sheet.max_row))[0] if sheet.max_row else []
        sheets.append({
            "name": sheet.title, "rows": rows, "freeze": sheet.freeze_panes, "filter": sheet.auto_filter.ref,
            "formats": [cell.number_format for cell in last],
            "footer": sheet.oddFooter.right.text,
        })
    return {"sheets": sheets, "bad": bad, "title": book.properties.title, "properties": own, "names": [html.unescape(name) for name in names]}


def read_zip(path):
    with zipfile.ZipFile(path) as archive:
        return {"bad": archive.testzip(), "members": {i.filename: {"size": i.file_size, "offset": i.header_offset} for i in archive.infolist()}}


if __name__ == "__main__":
    kind, path = sys.argv[1:]
    result = {"csv": read_csv, "html": read_html, "xlsx": read_xlsx, "zip": read_zip}[kind](path)
    json.dump(result, sys.stdout)
