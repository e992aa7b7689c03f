"""The file dialog that `marrowby browse` shows, as a person at the display handles it."""
import contextlib
import os
import subprocess
import sys
import tempfile

import person

TITLES = {"--open": "Open", "--save": "Save", "--directory": "Choose a Directory"}
HIGHLIGHT = (48, 140, 198)  # behind what is selected
PALE_RED = (255, 200, 200)

# Where things are in the form with 96 dots per inch.
NEW_FOLDER_BUTTON = -83, 68
HOME_BOOKMARK = 60, 135
HDFS_BOOKMARK = 60, 116
FIRST_FILE = 200, 101
OK_BUTTON = -51, -55
CANCEL_BUTTON = -51, -24
CANCEL_BUTTON_ABOVE_WRITE_OPTIONS = -51, -56
LIST = 156, 88, 874, 300
LOOK_IN = 101, 57, 740, 23


class Dialog:
    """One run of the program; `with` ends it at the latest at the end of the block."""

    def __init__(self, mode, *arguments, options=(), environment=None):
        self.log = tempfile.TemporaryFile()
        self.process = subprocess.Popen(["marrowby", *options, "browse", mode, *arguments], stdin=subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=self.log,
                                        env={**os.environ, **(environment or {})})
        try:
            self.window = person.window(TITLES[mode], self.is_running)
            person.look_when_quiet(self.window)
        except BaseException:
            self.end()
            raise

    def __enter__(self):
        return self

    def __exit__(self, kind, *_):
        if kind:
            path = os.path.join(tempfile.gettempdir(), f"browse-failure-{os.getpid()}.png")
            person.screen().save(path)
            print(f"what the screen showed: {path}; what marrowby said: {self.logged()}", file=sys.stderr)
        self.end()

    def end(self):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()
        self.log.close()

    def is_running(self):
        if self.process.poll() is not None:
            raise AssertionError(f"marrowby ended with {self.process.returncode}: {self.logged()}")

    def logged(self):
        """What marrowby has said on standard error."""
        self.log.seek(0)
        return self.log.read().decode()

    def result(self):
        """Waits for the end; the exit status and standard output."""
        status = self.process.wait(person.PATIENCE)
        return status, self.process.stdout.read().decode()

    def picture(self):
        return person.look_when_quiet(self.window)

    def list_picture(self):
        """The upper part of the list, without what blinks elsewhere."""
        return self.picture().crop(*LIST)

    @contextlib.contextmanager
    def elsewhere(self):
        """What is done in the block leads to another directory; waits until the dialog shows it."""
        before = self.picture().crop(*LOOK_IN)
        yield
        person.wait_for(lambda: self.picture().crop(*LOOK_IN) != before, "another directory")

    def wait_for_pale_red(self, least, most):
        """Waits until that share of the dialog is pale red, from 0 to 1."""
        def is_right():
            picture = self.picture()
            return least <= picture.count(PALE_RED) / (picture.width * picture.height) <= most

        person.wait_for(is_right, f"a share of {least} to {most} that is pale red")

    def wait_for_list(self, condition, what):
        """Waits until the condition holds for the list's picture, which is returned."""
        person.wait_for(lambda: condition(self.list_picture()), what)
        return self.list_picture()

    def highlighted(self):
        """The middle of the selected item, on the screen."""
        box = person.wait_for(lambda: self.picture().box(HIGHLIGHT), "a selected item")
        return self.window.x + box[0] + box[2] // 2, self.window.y + box[1] + box[3] // 2

    def open_menu(self):
        """The menu of the selected item; waits until it shows."""
        place = self.highlighted()
        person.xdotool("mousemove", *place)
        before = self.list_picture()
        person.click(*place, button=3)
        self.wait_for_list(lambda shown: shown != before, "the menu")

    def click(self, place, **options):
        """The mouse on a place of the form, counted from the left or, when negative, from the right and the bottom."""
        x, y = place
        person.click(self.window.x + x % self.window.width, self.window.y + y % self.window.height, **options)

    def box(self, title):
        """The message box of that title that has come up in front, with the keyboard."""
        return person.window(title, self.is_running, other_than=self.window)

    def answer(self, title, *keys, ends=False):
        """Answers a message box; when that does not end the dialog, too, the dialog has the keyboard again."""
        box = self.box(title)
        person.press(*keys)
        person.wait_until_gone(box)
        if not ends:
            person.focus(self.window)

    def go_to_list(self):
        """From the name to the list."""
        person.press("shift+Tab")

    def select(self, name):
        """Selects an item of the list, which must have the keyboard, by typing the beginning of its name."""
        person.write(name)
        self.highlighted()

    def show_details(self):
        """From the name over both lists back to the last button."""
        person.press("shift+Tab", "shift+Tab", "shift+Tab", "space")
