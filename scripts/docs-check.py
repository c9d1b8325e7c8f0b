#!/usr/bin/env python3
"""Holds the site of scripts/docs.sh against the headers and itself.

reference DIRECTORY HEADER...   the pages made of the headers, in their XML form, describe everything
                                that is declared
links DIRECTORY                 every link of a page in it leads to a file there, and to an anchor in
                                that; no page shows its own markup
"""
import argparse
import pathlib
import re
import sys
import urllib.parse
from html.parser import HTMLParser
from xml.etree import ElementTree

from library_headers import declared

# Of the C++ face.
TYPE = re.compile(r"^(?:class|struct|using) (\w+)(?! *;)", re.M)
# What the class says already: how it is made, destroyed, called.
SPECIAL = re.compile(r"~|operator")
# A heading that is nothing but code comes out of Doxygen with its markup to be read.
MARKUP = re.compile(r"</?(?:tt|code)>")


def described(compound):
    """(name, whether it has a description) of a file or type, and of what it declares."""
    kind, name = compound.get("kind"), compound.findtext("compoundname")
    if "@" in name or name.endswith(".md") or kind not in ("file", "struct", "class", "union", "namespace"):
        return
    own = name.split("::")[-1]
    members = compound.iter("memberdef") if kind in ("file", "namespace", "class") or "::" in name else []
    for entity in [compound, *members]:
        member = entity.findtext("name")
        if entity is not compound and (entity.get("prot") != "public" or member == own or SPECIAL.match(member)
                                       or entity.get("kind") == "variable" and kind == "struct"):
            continue
        texts = [entity.find("briefdescription"), entity.find("detaileddescription")]
        yield member or own, any("".join(text.itertext()).strip() for text in texts)


def reference(folder, headers):
    """Functions, data, types and macros; the members of records may speak for themselves."""
    found = {}
    for file in folder.glob("*.xml"):
        for compound in ElementTree.parse(file).iter("compounddef"):
            for name, described_here in described(compound):
                found[name] = found.get(name, True) and described_here
    wanted = declared(headers) | {pathlib.Path(header).name for header in headers}
    for header in headers:
        if header.endswith(".hpp"):
            wanted.update(TYPE.findall(pathlib.Path(header).read_text()))
    return [f"{name}: not described" for name in sorted(wanted | set(found)) if not found.get(name)]


class Page(HTMLParser):
    """What a page refers to, its anchors, and whether it shows its own markup."""

    def __init__(self, file):
        super().__init__()
        self.links, self.anchors, self.markup = set(), {""}, False
        self.feed(file.read_text())

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        self.links |= {attributes[name] for name in ("href", "src") if attributes.get(name)}
        self.anchors |= {attributes[name] for name in ("id", "name") if attributes.get(name)}

    def handle_data(self, data):
        self.markup = self.markup or MARKUP.search(data) is not None


def links(folder, _):
    folder = folder.resolve()
    pages = {file: Page(file) for file in folder.glob("*.html")}
    faults = [] if len(pages) > 1 else ["no pages"]
    for file, page in pages.items():
        if page.markup:
            faults.append(f"{file.name}: shows its own markup")
        for link in page.links:
            url = urllib.parse.urlsplit(link)
            if url.scheme or url.netloc:
                continue
            target = (folder / urllib.parse.unquote(url.path)).resolve() if url.path else file
            anchors = pages[target].anchors if target in pages else {url.fragment}
            inside = target.exists() and target.is_relative_to(folder)
            if not inside or urllib.parse.unquote(url.fragment) not in anchors:
                faults.append(f"{file.name}: {link} leads nowhere")
    return sorted(faults)


parser = argparse.ArgumentParser(usage=__doc__)
parser.add_argument("check", choices=["reference", "links"])
parser.add_argument("folder", type=pathlib.Path)
parser.add_argument("headers", nargs="*")
arguments = parser.parse_args()
problems = globals()[arguments.check](arguments.folder, arguments.headers)
for problem in problems:
    print(problem)
sys.exit(bool(problems))
