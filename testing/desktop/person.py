"""A person at the display: presses keys, uses the mouse and looks at the screen. Knows nothing of the program's inside.

There is no window manager: the person gives the keyboard to the window that it works in.
"""
import collections
import contextlib
import subprocess
import time

from screen import screen

Window = collections.namedtuple("Window", "id title x y width height")

PATIENCE = 20  # seconds until something that should show is given up


def xdotool(*arguments):
    return subprocess.run(["xdotool", *map(str, arguments)], check=True, capture_output=True, text=True).stdout


def visible_windows():
    """The windows that have a title, the one that came last at the end."""
    found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "."], capture_output=True, text=True)
    windows = []
    for number in found.stdout.split():
        try:
            title = xdotool("getwindowname", number).rstrip("\n")
            lines = xdotool("getwindowgeometry", "--shell", number).splitlines()
        except subprocess.CalledProcessError:
            continue  # gone meanwhile
        geometry = dict(line.split("=") for line in lines)
        windows.append(Window(int(number), title, *(int(geometry[key]) for key in ("X", "Y", "WIDTH", "HEIGHT"))))
    return windows


def wait_for(condition, what, patience=PATIENCE):
    """The condition's first result that counts as true."""
    end = time.monotonic() + patience
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > end:
            raise AssertionError("waited in vain for " + what)
        time.sleep(0.03)


def focus(found):
    xdotool("windowfocus", "--sync", found.id)


def window(title, check=lambda: None, other_than=None):
    """The visible window of that title, with the keyboard; waits for it for as long as the check raises nothing."""
    def find():
        check()
        return next((each for each in reversed(visible_windows())
                     if each.title == title and not (other_than and each.id == other_than.id)), None)

    found = wait_for(find, f"the window '{title}'")
    focus(found)
    return found


def wait_until_gone(found):
    wait_for(lambda: all(each.id != found.id for each in visible_windows()), f"the end of the window '{found.title}'")


def press(*keys):
    """Keys, one after the other, by their names in X; "ctrl+a" for those that are pressed together."""
    xdotool("key", "--clearmodifiers", *keys)


def write(text):
    xdotool("type", "--delay", 4, text)


@contextlib.contextmanager
def holding(key):
    xdotool("keydown", key)
    try:
        yield
    finally:
        xdotool("keyup", key)


def click(x, y, button=1, times=1):
    xdotool("mousemove", x, y, "click", "--repeat", times, "--delay", 40, button)


def look_at(shown):
    """A window's picture."""
    return screen().crop(shown.x, shown.y, shown.width, shown.height)


def look_when_quiet(shown, seconds=0.25):
    """A window's picture when nothing in it has changed for a while."""
    before = look_at(shown)
    since = time.monotonic()
    end = since + PATIENCE
    while time.monotonic() - since < seconds and time.monotonic() < end:
        time.sleep(0.03)
        now = look_at(shown)
        if now != before:
            before = now
            since = time.monotonic()
    return before
