#!/usr/bin/env python3
"""Checks that includes run downwards only: each room may use the rooms named for it here."""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

PUBLIC = {"include"}
# Room -> the rooms whose headers it may include, besides its own.
MAY_USE = {
    "include": set(),
    "src/seam": set(),
    "src/base": {"src/seam"},
    "src/trace": {"src/seam"},
    "src/usb": {"src/seam", "src/trace"},
    "src/algorithm": PUBLIC,
    "src/state": {"src/seam", "src/algorithm"} | PUBLIC,
    "src/link": {"src/seam", "src/base", "src/usb", "src/state"},
    "src/controls": {"src/seam", "src/base", "src/algorithm", "src/state"} | PUBLIC,
    "src/capture": {"src/seam", "src/base", "src/usb", "src/algorithm", "src/state", "src/link",
                    "src/controls"} | PUBLIC,
    "src/delivery": {"src/base", "src/algorithm", "src/state", "src/link", "src/controls",
                     "src/capture"} | PUBLIC,
    "src/settings": {"src/base", "src/state", "src/controls"} | PUBLIC,
}
# Rooms above the parts of a camera: each may use all rooms before it.
ABOVE = ["src/camera", "src/cooler", "src/firmware", "src/models", "src/classes", "src/api"]
PARTS = {room for room in MAY_USE if room.startswith("src/") and room != "src/trace"} | PUBLIC
for n, room in enumerate(ABOVE):
    MAY_USE[room] = PARTS | set(ABOVE[:n])
MAY_USE["src/cooler"] -= {"src/capture", "src/delivery", "src/settings", "src/controls"}
MAY_USE["src/firmware"] -= {"src/cooler", "src/controls", "src/settings"}
MAY_USE["src/api"] -= {"src/classes"}
MAY_USE |= {
    "fuzz": {"src/trace", "src/usb", "src/algorithm", "src/delivery", "src/settings", "src/link",
             "src/firmware", "src/models", "integrations/server/http",
             "integrations/server/alpaca", "integrations/server/live",
             "integrations/server/page", "imaging"} | PUBLIC,
    "sim": {"src/seam"} | PUBLIC,
    "imaging": PUBLIC,
    "tools/orvikctl/terminal": {"imaging"},
    "tools/orvikctl": {"imaging", "tools/orvikctl/terminal"} | PUBLIC,
    "integrations/gstreamer": PUBLIC,
    "tools/simcam": {"src/seam", "sim"},
    "tools/manual": {"tools/orvikctl", "tools/simcam", "integrations/server", "src/controls",
                     "src/state"} | PUBLIC,
    "vm": PUBLIC,
    "examples": PUBLIC,
    "integrations/indi": PUBLIC | {"imaging"},
    "integrations/python": PUBLIC | {"imaging"},
    # The rooms of the server, from the bottom up.
    "integrations/server/http": set(),
    "integrations/server/camera": PUBLIC | {"imaging"},
    "integrations/server/alpaca": PUBLIC | {"imaging", "integrations/server/http",
                                            "integrations/server/camera"},
    "integrations/server/capture": PUBLIC | {"imaging", "integrations/server/camera"},
    "integrations/server/live": PUBLIC | {"imaging", "integrations/server/camera"},
    "integrations/server/page": PUBLIC | {"imaging", "integrations/server/http",
                                          "integrations/server/camera", "integrations/server/live",
                                          "integrations/server/capture"},
    "integrations/server": PUBLIC | {"imaging", "integrations/server/http",
                                     "integrations/server/camera", "integrations/server/alpaca",
                                     "integrations/server/live", "integrations/server/capture",
                                     "integrations/server/page"},
}
# Headers of another library that stay inside a room or two.
KEPT_INSIDE = {"libusb": ("src/usb",), "libusb-1.0": ("src/usb",), "png": ("imaging",),
               "fitsio": ("imaging",), "hwy": ("src/algorithm",),
               "boost": ("integrations/server/http", "integrations/server/alpaca"),
               "turbojpeg": ("integrations/server/live",),
               "chafa": ("tools/orvikctl/terminal",), "glib": ("tools/orvikctl/terminal",)}

INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]')


def sources():
    listed = subprocess.run(["scripts/sources.sh"], cwd=ROOT, check=True, capture_output=True,
                            text=True)
    return [Path(line) for line in listed.stdout.splitlines()]


def room_of(path):
    text = str(path)
    rooms = [room for room in MAY_USE if text.startswith(room + "/")]
    return max(rooms, key=len) if rooms else None


def target_of(path, name):
    """The file in the tree that an include names, or None."""
    for base in (path.parent, Path("src"), Path("include"), Path(".")):
        candidate = base / name
        if (ROOT / candidate).is_file():
            return Path(candidate)
    return None


def main():
    faults = []
    for path in sources():
        room = room_of(path)
        for number, line in enumerate((ROOT / path).read_text().splitlines(), 1):
            match = INCLUDE.match(line)
            if not match:
                continue
            quoted, name = match.group(1) == '"', match.group(2)
            keepers = KEPT_INSIDE.get(re.split(r"[/.]h?$|[/.]", name)[0])
            if keepers and not quoted and not str(path).startswith((*keepers, "tests", "bench")):
                faults.append(f"{path}:{number}: <{name}> belongs to {' and '.join(keepers)} only")
            if not quoted or room is None:
                continue
            target = target_of(path, name)
            if target is None:
                faults.append(f"{path}:{number}: no such file: {name}")
                continue
            other = room_of(target)
            if other != room and other not in MAY_USE[room]:
                faults.append(f"{path}:{number}: {room} may not use {other or target}")
    print("\n".join(faults), file=sys.stderr, end="\n" if faults else "")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
