#!/usr/bin/env python3
"""Holds the include direction: a file under src/ includes only folders that its folder's CMake link list names, rooms inside a folder
include only rooms that stand before them in SUBDIRS (the folder itself counts as first), and no file includes itself over others."""
import pathlib
import re
import subprocess
import sys

top = pathlib.Path(__file__).resolve().parent.parent
faults = []

links, rooms = {}, {}
for listing in (top / "src").glob("*/CMakeLists.txt"):
    folder, text = listing.parent.name, listing.read_text()
    links[folder] = set()
    for body in re.findall(r"qm_add_module\(\s*\w+([^)]*)\)", text):
        words = body.split()
        subdirs = words[words.index("SUBDIRS") + 1 : words.index("LINK")] if "SUBDIRS" in words else []
        rooms[folder] = [""] + subdirs
        links[folder] |= {word[3:] for word in words if word.startswith("qm_")}

names = subprocess.check_output(["git", "ls-files", "src/*.h", "src/*.cpp"], cwd=top, text=True).split()
included = {}
for name in names:
    path = pathlib.PurePosixPath(name).relative_to("src")
    lines = (top / name).read_text().splitlines() if (top / name).exists() else []
    included[str(path)] = [(number, match[1]) for number, line in enumerate(lines, 1) if (match := re.match(r'#include "([^"]+)"', line))]


def room_of(folder, path):
    return path.parts[1] if len(path.parts) > 2 else ""


for name, targets in included.items():
    path = pathlib.PurePosixPath(name)
    folder = path.parts[0]
    for number, target in targets:
        other = pathlib.PurePosixPath(target)
        where = f"src/{name}:{number}: includes {target}"
        if target not in included:
            if not target.startswith(("ui_", "moc_")) and not target.endswith(".moc"):
                faults.append(f"{where}, which is not under src/")
        elif other.parts[0] != folder:
            if other.parts[0] not in links[folder]:
                faults.append(f"{where}, but src/{folder}/CMakeLists.txt does not link qm_{other.parts[0]}")
        else:
            order = rooms[folder]
            mine, theirs = room_of(folder, path), room_of(folder, other)
            # A folder's own files may be its lowest room or its front: front files are not included by rooms.
            if theirs in order and mine in order and mine and order.index(theirs) > order.index(mine):
                faults.append(f"{where}, a room that stands after its own in SUBDIRS")

state = {}


def visit(name, road):
    state[name] = 1
    for _, target in included[name]:
        if target in included:
            if state.get(target) == 1:
                faults.append("circle of includes: " + " -> ".join(road[road.index(target) :] + [target]))
            elif target not in state:
                visit(target, road + [target])
    state[name] = 2


for name in included:
    if name not in state:
        visit(name, [name])

# Rooms of one folder: no circle between them, the folder's own files included.
edges = {}
for name, targets in included.items():
    path = pathlib.PurePosixPath(name)
    for number, target in targets:
        other = pathlib.PurePosixPath(target)
        if target in included and other.parts[0] == path.parts[0]:
            mine, theirs = (path.parts[0], room_of("", path)), (path.parts[0], room_of("", other))
            if mine != theirs:
                edges.setdefault((mine, theirs), f"src/{name}:{number} includes {target}")
for (mine, theirs), where in edges.items():
    if (theirs, mine) in edges and mine < theirs:
        faults.append(f"rooms include each other: {where}; {edges[(theirs, mine)]}")

for fault in faults:
    print(f"check: {fault}", file=sys.stderr)
sys.exit(1 if faults else 0)
