#!/usr/bin/env python3
"""What a person does with the file dialog of `marrowby browse`, with keys and mouse on a display and a real HDFS.

    ./run --exec testing/with-display host/marrowby/browse_test.py [-v] [TEST]...

It needs the environment that ./run prepares, with a private HDFS of its own: the NameNode is killed. What became of
HDFS is told by `hdfs dfs`, never by the dialog.
"""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "testing", "desktop"))

import person
from browse import (CANCEL_BUTTON, CANCEL_BUTTON_ABOVE_WRITE_OPTIONS, FIRST_FILE, HDFS_BOOKMARK, HOME_BOOKMARK,
                    NEW_FOLDER_BUTTON, OK_BUTTON, Dialog)


def marrowby(*arguments):
    return subprocess.run(["marrowby", *arguments], check=True, capture_output=True, text=True,
                          stdin=subprocess.DEVNULL).stdout


def node(verb, *arguments):
    subprocess.run(["private-hdfs", *verb.split(), *arguments], check=True, stdout=subprocess.DEVNULL)


class Browsing(unittest.TestCase):
    """Every test has a new directory of HDFS, and one here that is the person's home."""

    def setUp(self):
        self.room = "/browsing/" + self.id().rpartition(".")[2]
        marrowby("mkdir", "-p", self.room)
        self.home = tempfile.mkdtemp(prefix="browsing-")
        self.addCleanup(shutil.rmtree, self.home)

    def make(self, *names):
        """Empty files and, where the name ends with a slash, directories."""
        paths = {kind: [f"{self.room}/{name}" for name in names if name.endswith("/") == (kind == "mkdir -p")]
                 for kind in ("mkdir -p", "touchz")}
        for command, of_kind in paths.items():
            if of_kind:
                marrowby(*command.split(), *of_kind)

    def names(self, directory=""):
        """What is in the test's directory or one in it, as the cluster's own client sees it."""
        listed = subprocess.run(["hdfs", "dfs", "-ls", "-C", f"{self.room}/{directory}"], check=True,
                                capture_output=True, text=True).stdout
        return sorted(os.path.basename(path) for path in listed.splitlines())

    def assert_names(self, expected, directory=""):
        """Waits until that is what is there."""
        def are_right():
            self.found = self.names(directory)
            return self.found == expected

        try:
            person.wait_for(are_right, "the right names")
        except AssertionError:
            self.assertEqual(self.found, expected)

    def dialog(self, mode, start=None, *arguments, environment=None):
        return Dialog(mode, *arguments, f"hdfs:{self.room}" if start is None else start,
                      environment={"HOME": self.home, **(environment or {})})

    def assert_chooses(self, dialog, path):
        self.assertEqual(dialog.result(), (0, path + "\n"))

    def assert_cancelled(self, dialog):
        self.assertEqual(dialog.result(), (1, ""))


class Choosing(Browsing):
    def test_a_file_is_opened_by_its_name(self):
        self.make("data.csv")
        with self.dialog("--open") as dialog:
            person.write("data.csv")
            person.press("Return")
            self.assert_chooses(dialog, f"hdfs:{self.room}/data.csv")

    def test_a_file_is_opened_with_the_mouse_alone(self):
        self.make("inner/")
        self.make("inner/data.csv")
        with self.dialog("--open") as dialog:
            with dialog.elsewhere():
                dialog.click(FIRST_FILE, times=2)
            dialog.click(FIRST_FILE, times=2)
            self.assert_chooses(dialog, f"hdfs:{self.room}/inner/data.csv")

    def test_only_files_of_the_chosen_type_show(self):
        self.make("data.csv", "data.txt")
        with self.dialog("--open", None, "--filter", "Texts (*.txt);;Tables (*.csv)") as dialog:
            person.press("Tab", "Down", "shift+Tab")
            dialog.go_to_list()
            person.press("Home", "Return")
            self.assert_chooses(dialog, f"hdfs:{self.room}/data.csv")

    def test_a_directory_is_chosen(self):
        self.make("inner/innermost/")
        with self.dialog("--directory") as dialog:
            dialog.go_to_list()
            dialog.select("inner")
            with dialog.elsewhere():
                person.press("Return")
            dialog.click(OK_BUTTON)
            self.assert_chooses(dialog, f"hdfs:{self.room}/inner")

    def test_the_way_back_and_up_is_on_the_keyboard(self):
        self.make("inner/innermost/")
        with self.dialog("--directory") as dialog:
            dialog.go_to_list()
            for name in "inner", "innermost":
                dialog.select(name)
                with dialog.elsewhere():
                    person.press("Return")
            for key in "BackSpace", "alt+Up", "alt+Left", "alt+Left", "alt+Left", "alt+Right":
                with dialog.elsewhere():
                    person.press(key)
            dialog.click(OK_BUTTON)
            self.assert_chooses(dialog, f"hdfs:{self.room}/inner/innermost")

    def test_a_selected_directory_is_forgotten_where_there_is_none_of_its_name(self):
        self.make("inner/innermost/")
        with self.dialog("--directory", f"hdfs:{self.room}/inner") as dialog:
            dialog.go_to_list()
            dialog.select("innermost")
            with dialog.elsewhere():
                person.press("alt+Up")
            dialog.click(OK_BUTTON)
            self.assert_chooses(dialog, f"hdfs:{self.room}")

    def test_who_cancels_chooses_nothing(self):
        self.make("data.csv")
        with self.dialog("--open") as dialog:
            person.press("Escape")
            self.assert_cancelled(dialog)
        with self.dialog("--directory") as dialog:
            dialog.click(CANCEL_BUTTON)
            self.assert_cancelled(dialog)
        with self.dialog("--save") as dialog:
            person.write("data.csv")
            dialog.picture()
            dialog.click(CANCEL_BUTTON_ABOVE_WRITE_OPTIONS)
            self.assert_cancelled(dialog)
        self.assert_names(["data.csv"])

    def test_a_missing_file_is_for_those_who_hold_ctrl(self):
        with self.dialog("--open") as dialog:
            person.write("missing.csv")
            person.press("Return")
            dialog.answer("Open", "Return")
            self.assertIsNone(dialog.process.poll())
            with person.holding("ctrl"):
                dialog.click(OK_BUTTON)
                dialog.box("Open")
            dialog.answer("Open", "Return", ends=True)
            self.assert_chooses(dialog, f"hdfs:{self.room}/missing.csv")


class LargeDirectories(Browsing):
    PLACE = "/browsing/many"
    NAMES = [f"entry-{number}.txt" for number in range(1500)]  # more than the NameNode tells at once

    @classmethod
    def setUpClass(cls):
        marrowby("mkdir", "-p", cls.PLACE)
        marrowby("touchz", *(f"{cls.PLACE}/{name}" for name in cls.NAMES))

    def test_every_file_is_there(self):
        for keys, name in (["Down", "Home"], self.NAMES[0]), (["End"], self.NAMES[-1]), ([], self.NAMES[1234]):
            with self.subTest(name), self.dialog("--open", "hdfs:" + self.PLACE) as dialog:
                dialog.go_to_list()
                if keys:
                    person.press(*keys)
                else:
                    person.write(name)
                dialog.highlighted()
                person.press("Return")
                self.assert_chooses(dialog, f"hdfs:{self.PLACE}/{name}")

    def test_pages_are_turned_in_both_views(self):
        def turn_pages(dialog):
            person.press("Down", "Home")
            first = before = dialog.list_picture()
            for _ in range(4):
                person.press("Next")
                before = dialog.wait_for_list(lambda shown: shown != before, "another page")
            person.press("Home")
            dialog.wait_for_list(lambda shown: shown == first, "the first page")

        with self.dialog("--open", "hdfs:" + self.PLACE) as dialog:
            dialog.go_to_list()
            turn_pages(dialog)
            person.press("shift+Tab", "shift+Tab", "space", "Tab", "Tab")
            turn_pages(dialog)


class Saving(Browsing):
    def test_write_options_come_with_the_path(self):
        for replication, block_size, expected in (("2", "128", "|2|128"), ("2", "64", "|2"), ("1", "128", "||128"),
                                                  ("1", "64", "")):
            with self.subTest(expected), self.dialog("--save") as dialog:
                person.write("new.csv")
                person.press("Tab", "Tab", "ctrl+a")
                person.write(replication)
                person.press("Tab", "ctrl+a")
                person.write(block_size)
                person.press("Return")
                self.assert_chooses(dialog, f"hdfs:{self.room}/new.csv{expected}")
        self.assert_names([])

    def test_an_existing_file_is_replaced_on_request_only(self):
        self.make("old.csv")
        with self.dialog("--save") as dialog:
            person.write("old.csv")
            person.press("Return")
            dialog.answer("Save", "Return")
            self.assertIsNone(dialog.process.poll())
            person.press("Return")
            dialog.answer("Save", "alt+y", ends=True)
            self.assert_chooses(dialog, f"hdfs:{self.room}/old.csv")
        self.assert_names(["old.csv"])

    def test_a_local_file_has_no_write_options(self):
        with self.dialog("--save") as dialog:
            with dialog.elsewhere():
                dialog.click(HOME_BOOKMARK)
            person.press("Tab", "Tab")
            person.write("new.csv")
            person.press("Return")
            self.assert_chooses(dialog, f"{self.home}/new.csv")


class Changing(Browsing):
    def test_a_new_folder_gets_the_name_that_is_typed(self):
        with self.dialog("--directory") as dialog:
            dialog.click(NEW_FOLDER_BUTTON)
            dialog.picture()
            self.assert_names(["New Folder"])
            person.write("harvest")
            person.press("Return")
            dialog.picture()
            self.assert_names(["harvest"])
            with dialog.elsewhere():
                person.press("Return")
            dialog.click(OK_BUTTON)
            self.assert_chooses(dialog, f"hdfs:{self.room}/harvest")

    def test_f2_renames(self):
        self.make("before.csv", "folder/", "other.csv")
        with self.dialog("--open") as dialog:
            dialog.go_to_list()
            for before, after in ("before.csv", "after.csv"), ("folder", "directory"):
                dialog.select(before)
                person.press("F2", "ctrl+a")
                person.write(after)
                person.press("Return")
                dialog.picture()
            self.assert_names(["after.csv", "directory", "other.csv"])
            person.press("Escape")
            self.assert_cancelled(dialog)

    def test_a_name_that_is_taken_is_refused(self):
        self.make("before.csv", "folder/", "other.csv")
        with self.dialog("--open") as dialog:
            dialog.go_to_list()
            dialog.select("before")
            before = dialog.list_picture()
            for refusals, taken in (1, "other.csv"), (2, "folder"):
                person.press("F2", "ctrl+a")
                person.write(taken)
                person.press("Return")
                person.wait_for(lambda: dialog.logged().count("Cannot rename") == refusals, "the log entry")
                dialog.wait_for_list(lambda shown: shown == before, "the old name")
        self.assert_names(["before.csv", "folder", "other.csv"])
        self.assert_names([], "folder")

    def test_the_delete_key_deletes_what_is_empty_and_was_said_yes_to(self):
        self.make("empty/", "full/", "full/file.txt", "kept/", "note.txt")
        with self.dialog("--open") as dialog:
            dialog.go_to_list()
            for name, answer in ("kept", "Return"), ("empty", "alt+y"), ("full", "alt+y"), ("note", "alt+y"):
                dialog.select(name)
                person.press("Delete")
                dialog.answer("Delete", answer)
                dialog.picture()
            self.assert_names(["full", "kept"])
            self.assert_names(["file.txt"], "full")
            said = [line for line in dialog.logged().splitlines() if "Cannot delete" in line]
            self.assertEqual(len(said), 1, said)
            self.assertIn("Cannot delete 'full'", said[0])
            person.press("Escape")
            self.assert_cancelled(dialog)

    def test_the_context_menu_renames_and_deletes(self):
        self.make("before.csv", "other.csv")
        with self.dialog("--open") as dialog:
            dialog.go_to_list()
            dialog.select("before")
            dialog.open_menu()
            person.press("Down", "Return", "ctrl+a")
            person.write("after.csv")
            person.press("Return")
            dialog.picture()
            self.assert_names(["after.csv", "other.csv"])
            dialog.select("other")
            dialog.open_menu()
            person.press("Down", "Down", "Return")
            dialog.answer("Delete", "alt+y")
            dialog.picture()
            self.assert_names(["after.csv"])

    def test_f5_shows_what_others_have_done(self):
        with self.dialog("--open") as dialog:
            before = dialog.list_picture()
            self.make("data.csv")
            self.assertEqual(dialog.list_picture(), before)
            person.press("F5")
            dialog.go_to_list()
            dialog.select("data")
            person.press("Return")
            self.assert_chooses(dialog, f"hdfs:{self.room}/data.csv")


class Densities(Browsing):
    def test_the_form_is_large_enough_for_large_texts(self):
        with self.dialog("--open") as dialog:
            self.assertEqual((dialog.window.width, dialog.window.height), (1042, 512))
        with self.dialog("--open", environment={"QT_FONT_DPI": "144"}) as dialog:
            self.assertEqual((dialog.window.width, dialog.window.height), (1280 * 9 // 10, 768))


class Refusals(Browsing):
    def test_what_is_closed_to_the_user_is_pale_red(self):
        self.make("open/", "closed/")
        with self.dialog("--open") as dialog:
            dialog.wait_for_pale_red(0, 0)
            marrowby("chown", "alice:alice", self.room + "/closed")
            marrowby("chmod", "700", self.room + "/closed")
            person.press("F5")
            dialog.wait_for_pale_red(0.001, 0.1)

    def test_a_listing_that_is_refused_is_pale_red_all_over(self):
        self.make("closed/")
        marrowby("chown", "alice:alice", self.room + "/closed")
        marrowby("chmod", "700", self.room + "/closed")
        with Dialog("--open", f"hdfs:{self.room}/closed", options=["--user", "bob"]) as dialog:
            dialog.wait_for_pale_red(0.5, 1)
            person.press("alt+Up")
            dialog.wait_for_pale_red(0.001, 0.1)

    def test_without_a_namenode_there_are_still_the_local_disks(self):
        self.make("data.csv")
        with open(os.path.join(self.home, "local.txt"), "w"):
            pass
        with self.dialog("--open") as dialog:
            dialog.wait_for_pale_red(0, 0)
            node("node kill", "namenode")
            self.addCleanup(node, "wait")
            self.addCleanup(node, "node restart", "namenode")
            person.press("F5")
            dialog.wait_for_pale_red(0.5, 1)
            dialog.click(HOME_BOOKMARK)
            dialog.wait_for_pale_red(0, 0)
            person.press("Tab")
            dialog.select("local")
            person.press("alt+Left")
            dialog.wait_for_pale_red(0.5, 1)
            self.doCleanups()
            person.press("F5")
            dialog.wait_for_pale_red(0, 0)
            dialog.select("data")
            person.press("Return")
            self.assert_chooses(dialog, f"hdfs:{self.room}/data.csv")

    def test_without_any_settings_there_are_still_the_local_disks(self):
        with open(os.path.join(self.home, "local.txt"), "w"):
            pass
        settings = tempfile.mkdtemp(prefix="browsing-")
        self.addCleanup(shutil.rmtree, settings)
        with self.dialog("--open", environment={"XDG_CONFIG_HOME": settings}) as dialog:
            dialog.click(HDFS_BOOKMARK)
            dialog.wait_for_pale_red(0.5, 1)
            dialog.click(HOME_BOOKMARK)
            dialog.wait_for_pale_red(0, 0)
            person.press("Tab")
            dialog.select("local")
            person.press("Return")
            self.assert_chooses(dialog, f"{self.home}/local.txt")


if __name__ == "__main__":
    missing = [name for name in ("hdfs", "marrowby", "private-hdfs", "xdotool") if not shutil.which(name)]
    if missing or "PRIVATE_HDFS_DATA" not in os.environ or "DISPLAY_CONTENTS" not in os.environ:
        sys.exit("this needs the environment that ./run --exec testing/with-display prepares" +
                 "".join(f"; no {name}" for name in missing))
    unittest.main()
