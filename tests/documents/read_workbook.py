#!/usr/bin/env python3
"""Reads a workbook with openpyxl and checks what no cell shows: parts, relations, formulas against the cells that they are over.

usage: read_workbook.py FILE    prints JSON; "faults" lists what is wrong in any workbook
"""
import datetime
import json
import posixpath
import re
import sys
import xml.dom.minidom
import zipfile

import openpyxl
from openpyxl.utils.datetime import to_excel

TYPES = "{http://schemas.openxmlformats.org/package/2006/content-types}"


def check_parts(archive, faults):
    """Each part is XML, has a type, and is what some relation points to; each relation points to a part."""
    names = set(archive.namelist())
    for name in names:
        try:
            xml.dom.minidom.parseString(archive.read(name))
        except Exception as error:  # noqa: BLE001
            faults.append(f"{name}: {error}")
    types = xml.dom.minidom.parseString(archive.read("[Content_Types].xml")).documentElement
    overrides = {e.getAttribute("PartName")[1:]: e.getAttribute("ContentType") for e in types.getElementsByTagName("Override")}
    faults += [f"a type for {name}, which is not there" for name in overrides if name not in names]
    reached = {"[Content_Types].xml"}
    for name in (n for n in names if n.endswith(".rels")):
        reached.add(name)
        folder = posixpath.dirname(posixpath.dirname(name))
        for relation in xml.dom.minidom.parseString(archive.read(name)).getElementsByTagName("Relationship"):
            target = posixpath.normpath(posixpath.join(folder, relation.getAttribute("Target")))
            kind = relation.getAttribute("Type").rsplit("/", 1)[1]
            reached.add(target)
            if target not in names:
                faults.append(f"{name}: nothing at {target}")
            if kind in ("chart", "drawing") and kind not in overrides.get(target, ""):
                faults.append(f"{target}: type {overrides.get(target)}")
    faults += [f"{name}: no relation leads there" for name in names - reached]


def number(value):
    if isinstance(value, bool):
        return None
    if isinstance(value, (datetime.datetime, datetime.date, datetime.time)):
        return to_excel(value)
    return value if isinstance(value, (int, float)) else None


def subtotal(code, cells):
    """What spreadsheets make of SUBTOTAL; cells: (formula or None, value)."""
    cells = [value for formula, value in cells if formula is None and value is not None]
    numbers = [n for n in map(number, cells) if n is not None]
    if code == 3:
        return len(cells)
    return {1: lambda: sum(numbers) / len(numbers), 2: lambda: len(numbers), 4: lambda: max(numbers), 5: lambda: min(numbers),
            9: lambda: sum(numbers)}[code]()


def plain(value):
    return value.isoformat(sep=" ", timespec="seconds") if isinstance(value, datetime.datetime) else value


def text_of(title):
    if title is None:
        return []
    return ["".join(run.t for run in paragraph.r or []) for paragraph in title.tx.rich.p]


def chart_of(chart, book):
    def cells(reference):
        sheet, area = reference.rsplit("!", 1)
        found = book[sheet.strip("'").replace("''", "'")][area.replace("$", "")]
        return [cell.value for row in (found if isinstance(found, tuple) else ((found,),)) for cell in row]

    series = []
    for one in chart.series:
        cached = one.val.numRef.numCache
        by_index = {point.idx: float(point.v) for point in cached.pt or []}
        series.append({
            "name": cells(one.tx.strRef.f)[0], "categories": cells(one.cat.strRef.f), "values": cells(one.val.numRef.f),
            "cached": [by_index.get(i) for i in range(cached.ptCount)],
            "colour": one.spPr.solidFill.srgbClr if one.spPr and one.spPr.solidFill else None,
        })
    axes = [text_of(axis.title) for axis in (getattr(chart, "x_axis", None), getattr(chart, "y_axis", None)) if axis is not None]
    return {"kind": type(chart).__name__, "grouping": getattr(chart, "grouping", None), "direction": getattr(chart, "barDir", None),
            "title": text_of(chart.title), "axes": axes, "series": series}


def main(path):
    faults = []
    with zipfile.ZipFile(path) as archive:
        check_parts(archive, faults)
        described = [html for name in archive.namelist() if name.startswith("xl/drawings/drawing")
                     for html in re.findall(r'descr="([^"]*)"', archive.read(name).decode())]
    formulas, values = openpyxl.load_workbook(path), openpyxl.load_workbook(path, data_only=True)
    sheets, checked = [], 0
    for sheet in formulas.worksheets:
        shown = values[sheet.title]

        def formula_of(cell):
            return cell.value if cell.data_type == "f" else None

        for row in sheet.iter_rows():
            for cell in row:
                if formula_of(cell) is None:
                    continue
                code, area = re.fullmatch(r"=SUBTOTAL\((\d+),([A-Z]+\d+:[A-Z]+\d+)\)", cell.value).groups()
                over = [(formula_of(one), shown[one.coordinate].value) for line in sheet[area] for one in line]
                real, cached = subtotal(int(code), over), number(shown[cell.coordinate].value)
                checked += 1
                if cached is None or abs(real - cached) > 1e-9 * max(1, abs(real)):
                    faults.append(f"{sheet.title}!{cell.coordinate} {cell.value}: {cached} instead of {real}")
        sheets.append({
            "name": sheet.title, "rows": [[plain(cell.value) for cell in row] for row in shown.iter_rows()],
            "formulas": {cell.coordinate: cell.value for row in sheet.iter_rows() for cell in row if formula_of(cell)},
            "formats": {cell.coordinate: cell.number_format for row in sheet.iter_rows() for cell in row if cell.number_format != "General"},
            "fills": {cell.coordinate: cell.fill.fgColor.rgb[2:] for row in sheet.iter_rows() for cell in row if cell.fill.fill_type},
            "colours": {cell.coordinate: cell.font.color.rgb[2:] for row in sheet.iter_rows() for cell in row if cell.font.b},
            "levels": [sheet.row_dimensions[i].outlineLevel for i in range(1, sheet.max_row + 1)],
            "below": sheet.sheet_properties.outlinePr is None or sheet.sheet_properties.outlinePr.summaryBelow,
            "filter": sheet.auto_filter.ref, "breaks": [b.id for b in sheet.row_breaks.brk],
            "widths": {letter: column.width for letter, column in sheet.column_dimensions.items()},
            "onePageWide": bool(sheet.sheet_properties.pageSetUpPr and sheet.sheet_properties.pageSetUpPr.fitToPage
                                and sheet.page_setup.fitToWidth in (None, 1) and sheet.page_setup.fitToHeight == 0),
            "charts": [chart_of(chart, values) for chart in sheet._charts],
        })
    own = formulas.properties
    json.dump({"faults": faults, "checked": checked, "sheets": sheets, "described": described,
               "properties": {"title": own.title, "subject": own.subject, "creator": own.creator, "keywords": own.keywords,
                              "created": plain(own.created) if own.created else None}}, sys.stdout)


main(sys.argv[1])
