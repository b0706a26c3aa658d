"""documents.py FOLDER: makes a page of each document below FOLDER, in the place of its Markdown file, since Windows
opens no Markdown. documents.html, beside README.html, tells who reads which.

A link leads to the page of the document that it names. A link to a file that is not below FOLDER becomes plain text,
and a link to nothing is a mistake.
"""

import html
import os
import pathlib
import re
import sys

from markdown_it import MarkdownIt
from mdit_py_plugins.anchors import anchors_plugin

SOURCE = pathlib.Path(__file__).resolve().parents[1]
# The table of README.md that documents.html is made of.
READERS = re.compile(r"^## Where to read on$(.*?)(?=^## |\Z)", re.M | re.S)
PAGE = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>{title}</title>
<style>
body {{ max-width: 52rem; margin: 1.5rem auto; padding: 0 1rem; color: #222; font: 1rem/1.5 "Segoe UI", sans-serif; }}
h1, h2 {{ border-bottom: 1px solid #d1d9e0; padding-bottom: .3rem; }}
code, pre {{ font: .9em Consolas, monospace; background: #f3f5f7; }}
pre {{ padding: .7rem; overflow-x: auto; }}
table {{ border-collapse: collapse; display: block; overflow-x: auto; }}
td, th {{ border: 1px solid #d1d9e0; padding: .3rem .6rem; text-align: left; vertical-align: top; }}
</style>
</head>
<body>
{top}{body}</body>
</html>
"""


class Document:
    """A Markdown file below the folder, or a part of one that gets a page of its own and lists others."""

    parser = MarkdownIt("commonmark").enable("table").use(anchors_plugin, max_level=4)

    def __init__(self, path, text, page=None):
        self.path = path
        self.page = page or path.with_suffix(".html")
        self.lists = page is not None
        self.tokens = self.parser.parse(text)
        self.anchors = {token.attrs["id"] for token in self.tokens if token.type == "heading_open"}
        self.title = next(self.tokens[at + 1].content for at, token in enumerate(self.tokens)
                          if token.type == "heading_open")

    def links(self):
        """Each link's tokens: its begin, its text and its end."""
        for token in self.tokens:
            children = token.children or []
            for at, child in enumerate(children):
                if child.type == "link_open":
                    yield children[at], children[at + 1], next(end for end in children[at:] if end.type == "link_close")

    def write(self, top):
        body = self.parser.renderer.render(self.tokens, self.parser.options, {})
        self.page.write_text(PAGE.format(title=html.escape(self.title), top=top, body=body), encoding="utf-8")


def lead(document, documents, folder, begin, text, end):
    """Lets a link lead to a page. A file's name is not what the reader sees. Returns a mistake, or nothing."""
    target, _, anchor = begin.attrs["href"].partition("#")
    if re.match(r"[a-z]+:", target):
        return None
    path = pathlib.Path(os.path.normpath(document.path.parent / target)) if target else document.path
    if path in documents:
        begin.attrs["href"] = os.path.relpath(documents[path].page, document.page.parent) if target else ""
        begin.attrs["href"] += "#" + anchor if anchor else ""
        if text.content.endswith(".md"):
            text.content = documents[path].title if document.lists else text.content.removesuffix(".md")
        return None if not anchor or anchor in documents[path].anchors else f"{path.name} has no section {anchor}"
    if not path.exists():
        if not (SOURCE / path.relative_to(folder)).exists():
            return f"there is no {target}"
        begin.type = end.type = "text"
    return None


def main(folder):
    documents = {path: Document(path, path.read_text(encoding="utf-8")) for path in sorted(folder.rglob("*.md"))}
    readme = folder / "README.md"
    table = READERS.search(readme.read_text(encoding="utf-8"))[1]
    index = Document(readme, f"# Quinmark Replication\n{table}", folder / "documents.html")
    mistakes = []
    for document in [*documents.values(), index]:
        for link in document.links():
            mistake = lead(document, documents, folder, *link)
            mistakes += [f"{document.path}: {mistake}"] if mistake else []
    if mistakes:
        sys.exit("\n".join(dict.fromkeys(mistakes)))
    index.write("")
    for path, document in documents.items():
        back = os.path.relpath(index.page, document.page.parent)
        document.write(f'<p><a href="{back}">Documents</a></p>\n')
        path.unlink()


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]).resolve())
