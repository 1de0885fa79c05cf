#!/usr/bin/env python3
"""Runs brisavane-cli analyze CARD --report and checks that report.html parses as
HTML with balanced elements, that each inline SVG parses as XML, and that the
page fetches nothing: every src and href is embedded data or a local reference.

    check_report_page.py BRISAVANE_CLI CARD
"""
import html.parser
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ET
from pathlib import Path

VOID = {"meta", "img", "br", "hr", "link", "input"}


class Balance(html.parser.HTMLParser):
    def __init__(self):
        super().__init__()
        self.open, self.links = [], []

    def handle_starttag(self, tag, attrs):
        self.links += [v for k, v in attrs if k in ("src", "href")]
        if tag == "script":
            raise SystemExit("the page runs a script")
        if tag not in VOID:
            self.open.append(tag)

    def handle_startendtag(self, tag, attrs):
        self.links += [v for k, v in attrs if k in ("src", "href")]

    def handle_endtag(self, tag):
        if not self.open or self.open.pop() != tag:
            raise SystemExit(f"</{tag}> closes nothing open")


with tempfile.TemporaryDirectory() as out:
    subprocess.run([sys.argv[1], "analyze", sys.argv[2], "--report", out], check=True,
                   stdout=subprocess.DEVNULL)
    page = (Path(out) / "report.html").read_text(encoding="utf-8")
parser = Balance()
parser.feed(page)
parser.close()
if parser.open:
    raise SystemExit(f"left open: {parser.open}")
if any(not link.startswith(("data:", "#")) for link in parser.links):
    raise SystemExit("the page links outside itself")
svgs = re.findall(r"<svg.*?</svg>", page, re.S)
for svg in svgs:
    ET.fromstring(svg)
print(f"{len(svgs)} SVG pictures and the page parse")
