#!/usr/bin/env python3
"""Takes the pictures of the file dialog. tools/pictures starts it, on a display of its own and with a private HDFS."""
import contextlib
import os
import subprocess
import sys

import person

PLACE = "/projects/harvest"
HIGHLIGHT = (48, 140, 198)

# How a screen with twice the usual number of points per inch reaches a program: Qt multiplies everything, or only the
# text is larger, as with Qt 4.
RESOLUTIONS = {"": {}, "@2x": {"QT_SCALE_FACTOR": "2"}, "-192dpi": {"QT_FONT_DPI": "192"}}


def marrowby(*arguments, content=b""):
    subprocess.run(["marrowby", *arguments], input=content, check=True)


def fill():
    folders = ["archive", "north field", "south field", "drafts (old)", "Übersicht"]
    marrowby("mkdir", "-p", *(f"{PLACE}/{name}" for name in folders), "/projects/payroll", "/projects/weather")
    files = {"README": 812, "harvest.csv": 3_400_000, "harvest-2.csv": 18_211, "harvest-10.csv": 91_002,
             "harvest-summary-of-all-fields-and-years-for-the-board.xlsx": 48_120, "map.png": 702_311, "notes.txt": 1_804,
             "pipeline.py": 9_207, "readings.parquet": 6_200_000, "empty.log": 0, "letter.pdf": 120_400}
    for name, size in files.items():
        marrowby("put", "-", f"{PLACE}/{name}", content=b"x" * size)
    marrowby("chown", "-R", "alice:staff", PLACE)
    marrowby("chown", "bob:bob", f"{PLACE}/letter.pdf", f"{PLACE}/archive", "/projects/payroll")
    marrowby("chmod", "600", f"{PLACE}/letter.pdf")
    marrowby("chmod", "700", f"{PLACE}/archive", "/projects/payroll")


@contextlib.contextmanager
def dialog(resolution, title, *arguments):
    """The dialog as alice sees it; it is cancelled at the end."""
    process = subprocess.Popen(["marrowby", "--user", "alice", "browse", *arguments], stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, env={**os.environ, **RESOLUTIONS[resolution]})
    try:
        shown = person.window(title)
        person.xdotool("mousemove", shown.x + shown.width // 2, max(shown.y - 20, 0))
        person.look_when_quiet(shown)
        yield shown
        person.press("Escape")
        process.wait(person.PATIENCE)
    finally:
        process.kill()
        process.wait()


def show_details():
    person.press(*["shift+Tab"] * 3, "space")  # from the name over both lists back to the last button


def pictures(directory, resolution):
    def save(shown, name):
        person.look_when_quiet(shown).save(os.path.join(directory, f"{name}{resolution}.png"))

    with dialog(resolution, "Open", "hdfs:" + PLACE) as shown:
        save(shown, "list")
        person.press("shift+Tab")
        person.write("notes")
        save(shown, "list-selected")
        box = person.look_when_quiet(shown).box(HIGHLIGHT)
        person.click(shown.x + box[0] + box[2] // 2, shown.y + box[1] + box[3] // 2, button=3)
        save(shown, "context-menu")
        person.press("Escape")
    with dialog(resolution, "Open", "hdfs:" + PLACE) as shown:
        show_details()
        save(shown, "details")
    with dialog(resolution, "Open", "hdfs:" + PLACE) as shown:
        person.press(*["shift+Tab"] * 7, "alt+Down")
        save(shown, "places")
    with dialog(resolution, "Save", "--save", "--filter", "Tables (*.csv);;All Files (*.*)",
                f"hdfs:{PLACE}/harvest-2027.csv|2|128") as shown:
        save(shown, "save")
    with dialog(resolution, "Open", "My Computer") as shown:
        show_details()
        save(shown, "computer")
    with dialog(resolution, "Open", "hdfs:/projects/payroll") as shown:
        save(shown, "refused")
    with dialog(resolution, "Choose a Directory", "--directory", "hdfs:/projects") as shown:
        save(shown, "directory")


def main():
    directory = sys.argv[1]
    os.makedirs(directory, exist_ok=True)
    fill()
    for resolution in RESOLUTIONS:
        pictures(directory, resolution)


if __name__ == "__main__":
    main()
