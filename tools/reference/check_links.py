"""Checks that what the pages of a site link to is there: pages, places within them, pictures.

usage: check_links.py FOLDER

MkDocs looks for pages only. Links to other sites are not looked at.
"""

import html.parser
import pathlib
import sys
import urllib.parse


class Page(html.parser.HTMLParser):
    """The places of a page that can be led to, and what it leads to."""

    def __init__(self, path):
        super().__init__()
        self.places, self.links = set(), []
        self.feed(path.read_text())

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name in ("id", "name"):
                self.places.add(value)
            elif name in ("href", "src") and value:
                self.links.append(value)


def broken_links(folder):
    pages = {path.resolve(): Page(path) for path in sorted(folder.rglob("*.html"))}
    for path, page in pages.items():
        for link in page.links:
            parts = urllib.parse.urlsplit(link)
            if parts.scheme or parts.netloc or path.name == "404.html":  # the latter's links are those of a server
                continue
            target = (path.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else path
            place = urllib.parse.unquote(parts.fragment)
            if not target.exists() or (place and target in pages and place not in pages[target].places):
                yield f"{path.relative_to(folder.resolve())}: {link}"


def main():
    broken = sorted(set(broken_links(pathlib.Path(sys.argv[1]))))
    if broken:
        sys.exit("These links lead nowhere:\n" + "\n".join(broken))


if __name__ == "__main__":
    main()
