"""What the public headers declare, as scripts/library-check.py and scripts/docs-check.py need it."""
import pathlib
import re
import sys

# Functions have lower-case letters in their names, macros and types have none.
FUNCTION = re.compile(r"\b((?:QOR|HOST)_\w*[a-z]\w*|\w+_s)\s*\(")
DATA = re.compile(r"\bextern\b[^;()]*?(\w+)\[")


def declared(headers):
    """The names of functions and data."""
    names = set()
    for header in headers:
        text = re.sub(r"/\*.*?\*/|^#.*?$", "", pathlib.Path(header).read_text(), flags=re.S | re.M)
        names.update(FUNCTION.findall(text), DATA.findall(text))
    if not names:
        sys.exit("no declaration found")
    return names
