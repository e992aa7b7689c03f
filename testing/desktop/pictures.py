#!/usr/bin/env python3
"""Takes the pictures of the file dialog. tools/pictures starts it, on a display of its own and with a private HDFS.

    pictures.py DIRECTORY          all pictures
    pictures.py DIRECTORY NAME...  these only
"""
import contextlib
import os
import subprocess
import sys

import person
from browse import Dialog

PLACE = "/projects/harvest"

# How a screen with twice the usual number of dots per inch reaches a program: Qt multiplies everything, or only texts
# are larger, as with Qt 4.
RESOLUTIONS = {"": {}, "@2x": {"QT_SCALE_FACTOR": "2"}, "-192dpi": {"QT_FONT_DPI": "192"}}


def marrowby(*arguments, content=b""):
    subprocess.run(["marrowby", *arguments], input=content, check=True)


def fill():
    folders = ["archive", "north field", "south field", "drafts (old)", "Übersicht"]
    marrowby("mkdir", "-p", *(f"{PLACE}/{name}" for name in folders), "/projects/payroll", "/projects/weather")
    files = {"README": 812, "harvest.csv": 3_400_000, "harvest-2.csv": 18_211, "harvest-10.csv": 91_002,
             "harvest-summary-of-all-fields-and-years-for-the-board.xlsx": 48_120, "map.png": 702_311,
             "notes.txt": 1_804, "pipeline.py": 9_207, "readings.parquet": 6_200_000, "empty.log": 0, "letter.pdf": 120_400}
    for name, size in files.items():
        marrowby("put", "-f", "-", f"{PLACE}/{name}", content=b"x" * size)
    marrowby("chown", "-R", "alice:staff", PLACE)
    marrowby("chown", "bob:bob", f"{PLACE}/letter.pdf", f"{PLACE}/archive", "/projects/payroll")
    marrowby("chmod", "600", f"{PLACE}/letter.pdf")
    marrowby("chmod", "700", f"{PLACE}/archive", "/projects/payroll")


@contextlib.contextmanager
def dialog(resolution, *arguments):
    """The dialog as alice sees it, with the pointer out of the way; it is cancelled at the end."""
    environment = {**RESOLUTIONS[resolution], "HOME": "/home"}  # the same bookmarks for everybody
    with Dialog(*arguments, options=["--user", "alice"], environment=environment) as shown:
        person.xdotool("mousemove", 0, 0)
        yield shown
        person.press("Escape")
        shown.result()


def list_page(resolution, save):
    with dialog(resolution, "--open", "hdfs:" + PLACE) as shown:
        save(shown)


def context_menu(resolution, save):
    with dialog(resolution, "--open", "hdfs:" + PLACE) as shown:
        shown.go_to_list()
        person.write("notes")
        shown.open_menu()
        save(shown)
        person.press("Escape")


def details(resolution, save):
    with dialog(resolution, "--open", "hdfs:" + PLACE) as shown:
        shown.show_details()
        save(shown)


def places(resolution, save):
    with dialog(resolution, "--open", "hdfs:" + PLACE) as shown:
        person.press(*["shift+Tab"] * 7, "alt+Down")
        save(shown)
        person.press("Escape")


def saving(resolution, save):
    with dialog(resolution, "--save", "--filter", "Tables (*.csv);;All Files (*.*)",
                f"hdfs:{PLACE}/harvest-2027.csv|2|128") as shown:
        save(shown)


def computer(resolution, save):
    with dialog(resolution, "--open", "") as shown:
        shown.show_details()
        save(shown)


def refused(resolution, save):
    with dialog(resolution, "--open", "hdfs:/projects/payroll") as shown:
        save(shown)


def directory_mode(resolution, save):
    with dialog(resolution, "--directory", "hdfs:/projects") as shown:
        save(shown)


PICTURES = {"list": list_page, "details": details, "save": saving, "computer": computer, "refused": refused,
            "places": places, "context-menu": context_menu, "directory": directory_mode}


def main():
    directory = sys.argv[1]
    names = sys.argv[2:] or PICTURES
    fill()
    for resolution in RESOLUTIONS if len(sys.argv) == 2 else [""]:
        for name in names:
            path = os.path.join(directory, f"{name}{resolution}.png")
            PICTURES[name](resolution, lambda shown: shown.picture().save(path))


if __name__ == "__main__":
    main()
