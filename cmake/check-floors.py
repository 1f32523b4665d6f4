#!/usr/bin/env python3
"""Holds the house to its floors: a folder of src/ includes what its library links, and nothing above.

check-floors.py LINKS.dot    the links as CMake's --graphviz writes them
The README's picture must say the same links. Ends with 1 and a line for each thing that does not hold.
"""
import re
import sys
from pathlib import Path

root = Path(__file__).resolve().parent.parent
direct = {}
for below, above in re.findall(r"// wayfar_(\w+) -> wayfar_(\w+)", Path(sys.argv[1]).read_text()):
    if all((root / "src" / folder).is_dir() for folder in (below, above)):
        direct.setdefault(below, []).append(above)
direct = {folder: [below for below in links if below != folder] for folder, links in direct.items()}


def reachable(folder):
    found = set()
    for below in direct.get(folder, []):
        found |= {below} | reachable(below)
    return found


complaints = []
# What only the folder of the operating system may use. The starter replaces itself by another program.
system = re.compile(
    r"#include <(QProcess|Q\w*Socket|Q\w*Server|QNetwork\w+|QDesktopServices|QDBus\w+|cerrno|csignal|\w+\.h|sys/.*|curl/.*)>"
    r"|\berrno\b|\bstd::system\(|\bpopen\(|::exec\w+\(")
for file in sorted((root / "src").rglob("*.[ch]*")):
    folder = file.relative_to(root / "src").parts[0]
    if folder == "starter":
        allowed = reachable("places") | {"places"}
    else:
        allowed = reachable(folder) | {folder}
    for number, line in enumerate(file.read_text().splitlines(), 1):
        place = f"{file.relative_to(root)}:{number}"
        included = re.match(r'#include "(\w+)/', line)
        if included and included[1] not in allowed:
            complaints.append(f"{place}: {folder} does not link {included[1]}")
        if folder not in ("platform", "starter") and system.match(line):
            complaints.append(f"{place}: only platform may: {line}")

shown = {}
for folder, links in direct.items():
    shown[folder] = [link for link in links if not any(link in reachable(other) for other in links)]
readme = (root / "README.md").read_text()
drawn = {row[0]: row[1].split() for row in re.findall(r"^ {4}(\w+) +-> +(.+)$", readme, re.M)}
if drawn != shown:
    complaints.append(f"README.md: the picture reads {drawn}, the links are {shown}")

# Every page and source that is spoken of is there.
for file in [*root.glob("*.md"), *root.glob("docs/*.md"), *(root / "src").rglob("*.[ch]*")]:
    for path in re.findall(r"\b((?:docs|src|tests|packaging)/[\w./-]+\.\w+)", file.read_text()):
        if not (root / path).exists():
            complaints.append(f"{file.relative_to(root)}: there is no {path}")

# So is every test that holds what is kept on purpose, and every source of it.
functions = {name for file in (root / "tests").rglob("*.cpp") for name in re.findall(r"(Test\w+::\w+)\(\)", file.read_text())}
kept = (root / "docs/kept-on-purpose.md").read_text()
for test in re.findall(r"`(Test\w+::\w+)`", kept):
    if test not in functions:
        complaints.append(f"docs/kept-on-purpose.md: there is no {test}")
for path in re.findall(r"`(\w+/\w+\.\w+)`", kept):
    if not (root / "src" / path).exists():
        complaints.append(f"docs/kept-on-purpose.md: there is no src/{path}")

print("\n".join(complaints) or f"The floors hold: {len(direct) + 1} folders.")
sys.exit(bool(complaints))
