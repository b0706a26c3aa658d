"""The documents of the package are pages whose links lead somewhere, and a link to nothing ends the packing."""

import html.parser
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest
import urllib.parse

ROOT = pathlib.Path(__file__).resolve().parents[2]
PACKAGE = next((pathlib.Path(os.environ["QUINMARK_BINARIES"]) / "package").glob("QuinmarkRepDLL-*/"))


class Page(html.parser.HTMLParser):
    """The links and the anchors of a page."""

    def __init__(self, path):
        super().__init__()
        self.links, self.anchors = [], set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        self.anchors.add(attributes.get("id"))
        if tag == "a":
            self.links.append(attributes["href"])


def dead_links(folder):
    pages = {path: Page(path) for path in folder.rglob("*.html")}
    for path, page in pages.items():
        for link in page.links:
            target = urllib.parse.urlsplit(link)
            led = (path.parent / target.path).resolve() if target.path else path
            anchors = pages[led].anchors if led in pages else {""}
            if not target.scheme and (not led.exists() or (target.fragment and target.fragment not in anchors)):
                yield f"{path.name}: {link}"


class Pages(unittest.TestCase):
    def make(self, readme, other=""):
        """What making pages of a folder with two documents says, and the folder."""
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())).resolve()
        (folder / "README.md").write_text(f"# One\n\n## Where to read on\n\n{readme}\n\n## More\n", encoding="utf-8")
        (folder / "other.md").write_text(f"# Other\n\n{other}\n\n## A part\n", encoding="utf-8")
        made = subprocess.run([sys.executable, ROOT / "packaging/documents.py", folder], stderr=subprocess.PIPE,
                              text=True, check=False)
        return made.stderr.replace(f"{folder}/", ""), folder

    def test_every_document_is_a_page_and_its_links_lead_somewhere(self):
        self.assertEqual([], list(PACKAGE.rglob("*.md")))
        wanted = {path.relative_to(ROOT).with_suffix(".html") for path in (ROOT / "docs").glob("*.md")}
        self.assertEqual(set(), wanted - {path.relative_to(PACKAGE) for path in PACKAGE.rglob("*.html")})
        self.assertEqual([], list(dead_links(PACKAGE)))

    def test_links_name_what_they_lead_to(self):
        said, folder = self.make("| Read | [other.md](other.md) |\n|---|---|\n| [it](other.md#a-part) | |",
                                 "[README.md](README.md) [code](tests/CMakeLists.txt)")
        self.assertEqual("", said)
        table = (folder / "documents.html").read_text(encoding="utf-8")
        self.assertIn('<th><a href="other.html">Other</a></th>', table)
        self.assertIn('<a href="other.html#a-part">it</a>', table)
        other = (folder / "other.html").read_text(encoding="utf-8")
        self.assertIn('<p><a href="README.html">README</a> code</p>', other)
        self.assertIn('<h2 id="a-part">A part</h2>', other)

    def test_link_to_nothing_ends_the_packing(self):
        for link, said in [("missing.md", "README.md: there is no missing.md\n"),
                           ("other.md#no-part", "README.md: other.md has no section no-part\n")]:
            with self.subTest(link):
                self.assertEqual(said, self.make(f"[x]({link})")[0])


if __name__ == "__main__":
    unittest.main()
