#!/usr/bin/env python3
"""Fails when a page of the site links to what is not there, or shows a table as its source."""
import html.parser
import pathlib
import sys
import urllib.parse


class Page(html.parser.HTMLParser):
    """The links of a page, and the places in it that a link can name."""

    def __init__(self, path):
        super().__init__()
        self.links, self.places, self.shows_source = [], set(), False
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        values = dict(attrs)
        self.places.update(v for k, v in values.items() if k in ("id", "name") and v)
        for key in ("href", "src"):
            if values.get(key):
                self.links.append(values[key])

    def handle_data(self, data):
        self.shows_source = self.shows_source or "markdownTableBody" in data


def main(folder):
    pages = {path: Page(path) for path in sorted(pathlib.Path(folder).rglob("*.html"))}
    broken = 0
    for path, page in pages.items():
        if page.shows_source:
            print(f"{path.name}: a table is shown as its source")
            broken += 1
        for link in page.links:
            parts = urllib.parse.urlsplit(link)
            if parts.scheme or parts.netloc or link.startswith("javascript:"):
                continue
            target = path.parent / urllib.parse.unquote(parts.path) if parts.path else path
            place = urllib.parse.unquote(parts.fragment)
            known = pages.get(target)
            if not target.exists() or (known and place and place not in known.places):
                print(f"{path.name}: {link} leads nowhere")
                broken += 1
    print(f"{len(pages)} pages, {broken} mistakes", flush=True)
    return 1 if broken or not pages else 0


sys.exit(main(sys.argv[1]))
