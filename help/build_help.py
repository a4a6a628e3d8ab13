#!/usr/bin/env python3
"""Builds the help file: build_help.py HELP_FOLDER OUTPUT.chm CHMCMD CHMLS

HELP_FOLDER/book.toml names title, first page and pages in reading order, each with its context numbers. From the pages come the contents
tree (title, then every second-level heading with an id) and the index (the "keywords" of a page, the "data-index" of a heading; entries
are separated by ";"). The same input gives the same bytes, whenever and wherever it is built.
"""
import html
import html.parser
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import tomllib

SITEMAP_HEAD = '<!DOCTYPE HTML PUBLIC "-//IETF//DTD HTML//EN">\n<HTML><HEAD></HEAD><BODY>\n'
SITEMAP_TAIL = "</BODY></HTML>\n"


class Page(html.parser.HTMLParser):
    """Title, headings with an id, and index entries of one page."""

    def __init__(self, folder, name):
        super().__init__()
        self.name = name
        self.title = ""
        self.headings = []  # (id, text)
        self.index = []  # (keyword, target)
        self._into = None
        with open(os.path.join(folder, name), encoding="utf-8") as file:
            self.feed(file.read())
        if not self.title:
            sys.exit(f"build_help: {name} has no title")

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        if tag == "title":
            self._into = "title"
        elif tag == "meta" and values.get("name") == "keywords":
            self.add_keywords(values["content"], self.name)
        elif tag == "h2" and "id" in values:
            self._into = "h2"
            self.headings.append([values["id"], ""])
            self.add_keywords(values.get("data-index", ""), f"{self.name}#{values['id']}")

    def handle_endtag(self, tag):
        if tag == self._into:
            self._into = None

    def handle_data(self, data):
        if self._into == "title":
            self.title += data
        elif self._into == "h2":
            self.headings[-1][1] += data

    def add_keywords(self, text, target):
        self.index += [(word.strip(), target) for word in text.split(";") if word.strip()]


def entry(names, local):
    params = "".join(f'<param name="Name" value="{html.escape(name)}">' for name in names)
    return f'<LI><OBJECT type="text/sitemap">{params}<param name="Local" value="{html.escape(local)}"></OBJECT>\n'


def contents(pages):
    lines = [SITEMAP_HEAD, "<UL>\n"]
    for page in pages:
        lines.append(entry([page.title], page.name))
        if page.headings:
            lines.append("<UL>\n")
            lines += [entry([text], f"{page.name}#{anchor}") for anchor, text in page.headings]
            lines.append("</UL>\n")
    return "".join(lines + ["</UL>\n", SITEMAP_TAIL])


def index(pages):
    entries = sorted((word.casefold(), word, page.title, target) for page in pages for word, target in page.index)
    return "".join([SITEMAP_HEAD, "<UL>\n", *(entry([word, title], target) for _, word, title, target in entries), "</UL>\n", SITEMAP_TAIL])


def contexts(book):
    return {number: page["file"] for page in book["page"] for number in page.get("contexts", [])}


def window(book, name, page):
    """A window definition: three panes, remembered place, and the buttons hide, back, forward, home, print and options."""
    return f'{name}="{book["title"]}","contents.hhc","index.hhk","{page}","{book["home"]}",,,,,0x63520,,0x387e,,,,,,,,0'


def project(book, files):
    # The compiler writes the names of context pages with its working folder before them. So the context map is written here, as the
    # object "#IVB", and one window definition for each of its pages puts the bare name among the strings that the map refers to.
    windows = [window(book, "main", book["home"])] + [window(book, f"context{number}", page) for number, page in contexts(book).items()]
    lines = ["[OPTIONS]", "Compatibility=1.1 or later", "Compiled file=book.chm", "Contents file=contents.hhc", "Index file=index.hhk",
             f"Default topic={book['home']}", "Default Window=main", f"Title={book['title']}", "Full-text search=Yes",
             "Language=0x409 English (United States)", "Binary TOC=No", "Binary Index=No", "Auto Index=No", "", "[WINDOWS]", *windows,
             "", "[FILES]", *files, "#IVB"]
    return "\r\n".join(lines) + "\r\n"


def context_map(book, strings):
    """Length, then pairs of context number and the offset of the page's name; all 32-bit, little-endian."""
    pairs = b""
    for number, page in sorted(contexts(book).items()):
        offset = strings.find(b"\0" + page.encode() + b"\0") + 1 if strings else 0
        if strings and offset == 0:
            sys.exit(f"build_help: the compiler kept no name of {page}")
        pairs += struct.pack("<II", number, offset)
    return struct.pack("<I", len(pairs)) + pairs


def normalised(data):
    """The file without the time of its making, and with the header that strict readers want."""
    data = bytearray(data)
    # The format's second identifier ends the header; the compiler writes the first one there again.
    data[40:56] = bytes.fromhex("11fd017caa7bd0119e0c00a0c922e6ec")
    data[16:20] = bytes(4)  # in the file's header
    # "#SYSTEM" begins with its version 3 and the record 10, four bytes long, which is the time.
    stamp = data.find(struct.pack("<IHH", 3, 10, 4))
    if stamp < 0:
        sys.exit("build_help: the compiler wrote no #SYSTEM object as expected")
    data[stamp + 8:stamp + 12] = bytes(4)
    return bytes(data)


def run(work, *command):
    ended = subprocess.run(command, cwd=work, capture_output=True, text=True, check=False)
    said = ended.stdout + ended.stderr
    if ended.returncode != 0 or re.search(r"not found|corrupt|does not exist|failed|can't", said, re.IGNORECASE):
        sys.exit(f"build_help: {' '.join(command)} failed:\n{said}")


def main(folder, output, compiler, lister):
    with open(os.path.join(folder, "book.toml"), "rb") as file:
        book = tomllib.load(file)
    pages = [Page(folder, page["file"]) for page in book["page"]]
    files = [page.name for page in pages] + book["other"]
    with tempfile.TemporaryDirectory(prefix="quillmark-help-") as work:
        def write(name, data):
            with open(os.path.join(work, name), "wb") as out:
                out.write(data)

        def read(name):
            with open(os.path.join(work, name), "rb") as file:
                return file.read()

        for name in files:
            shutil.copy(os.path.join(folder, name), work)
        for name, text in (("contents.hhc", contents(pages)), ("index.hhk", index(pages)), ("book.hhp", project(book, files))):
            write(name, text.encode())
        # Once to learn where the names are, once with the map that refers to them.
        strings = b""
        for _ in range(2):
            write("#IVB", context_map(book, strings))
            run(work, compiler, "book.hhp")
            run(work, lister, "extract", "book.chm", "/#STRINGS", "strings")
            strings = read("strings")
        data = normalised(read("book.chm"))
    with open(output + ".part", "wb") as file:
        file.write(data)
    os.replace(output + ".part", output)


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    main(*sys.argv[1:])
