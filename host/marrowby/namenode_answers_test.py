#!/usr/bin/env python3
"""What `marrowby` does when a NameNode answers what a real one would not, and with requests that reach none.

    namenode_answers_test.py [-v] [TEST]...

It needs a `marrowby` on the PATH and its plug-in beside it, but no HDFS.
"""
import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

from scripted_namenode import DIRECTORY, FILE, NameNode, block_locations, datanode, file_info, listing

PATIENCE = 20  # seconds until something hangs
UNUSED_PORT = 1


class Answers(unittest.TestCase):
    def setUp(self):
        self.folder = os.path.realpath(tempfile.mkdtemp(prefix="answers-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def serve(self, answers):
        self.namenode = NameNode(answers)
        self.addCleanup(self.namenode.stop)

    def serve_directory(self, *names):
        """/d is a directory that holds files of these names."""
        self.serve(lambda method, request: {
            "getFileInfo": file_info(DIRECTORY if request.get(1) == b"/d" else FILE, 0),
            "getListing": listing(*names),
            "getBlockLocations": block_locations(0)}.get(method, b""))

    def serve_file(self, locations):
        """Every path is a file of 10 bytes."""
        self.serve(lambda method, request: {"getFileInfo": file_info(FILE, 10)}.get(method, locations))

    def run_marrowby(self, *arguments, cwd=None, redirections="", environment=None):
        where = [] if environment else ["--namenode", self.namenode.address, "--user", "u"]
        return subprocess.run(["bash", "-c", f'exec marrowby "$@" {redirections}', "-", *where, *arguments],
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=PATIENCE,
                              cwd=cwd or self.folder, env={**os.environ, **(environment or {})})

    def refused(self, message, *arguments, **options):
        """One command that must fail with this and nothing else."""
        done = self.run_marrowby(*arguments, **options)
        self.assertEqual((done.returncode, done.stdout, done.stderr.decode()), (1, b"", message + "\n"))

    def files(self):
        return sorted(os.path.relpath(os.path.join(folder, name), self.folder)
                      for folder, _, names in os.walk(self.folder) for name in names)


class Names(Answers):
    IMPOSSIBLE = {"../escaped": "../escaped", "../../x": "../../x", "/tmp/x": "/tmp/x", "a/b": "a/b", "..": "..",
                  ".": ".", "": "", "a\0b": "a\\0b"}

    def test_get_writes_nothing_outside_its_target(self):
        work = os.path.join(self.folder, "outer/work")
        os.makedirs(work)
        for name, shown in self.IMPOSSIBLE.items():
            for source in "/d", "/d/*":
                with self.subTest(name=name, source=source):
                    self.serve_directory("good", name)
                    self.refused(f"get: `/d': the NameNode lists `{shown}' in it, which is not a name",
                                 "get", source, ".", cwd=work)
                    self.assertEqual(self.files(), [])
                    shutil.rmtree(work)
                    os.makedirs(work)

    def test_nothing_is_changed_that_is_not_in_the_directory(self):
        self.serve_directory("good", "../escaped")
        for command in (["rm", "-r", "/d/*"], ["cp", "/d/*", "/d"], ["mv", "/d/*", "/d"], ["setrep", "1", "/d"],
                        ["ls", "-R", "/d"]):
            with self.subTest(command):
                self.refused(f"{command[0]}: `/d': the NameNode lists `../escaped' in it, which is not a name", *command)
        self.assertEqual(set(self.namenode.calls), {"getFileInfo", "getListing"})

    def test_a_recursive_change_stops_at_the_directory(self):
        self.serve_directory("../escaped")
        self.refused("chmod: `/d': the NameNode lists `../escaped' in it, which is not a name",
                     "chmod", "-R", "777", "/d")
        self.assertEqual(self.namenode.calls.count("setPermission"), 1)

    def test_names_with_dots_are_names(self):
        self.serve_directory("...", "..a", ".b", "c..")
        done = self.run_marrowby("get", "/d", ".")
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        self.assertEqual(self.files(), ["d/...", "d/..a", "d/.b", "d/c.."])

    def test_a_file_that_took_the_directorys_place_lists_nothing(self):
        self.serve_directory("")
        done = self.run_marrowby("ls", "-d", "/d/*")
        self.assertEqual(done.stderr, b"ls: `/d/*': No such file or directory\n")


class LongPaths(Answers):
    def test_a_path_of_very_many_names_is_refused(self):
        self.serve_directory()
        self.refused("ls: a path of 60000 bytes is too long: HDFS takes at most 8000", "ls", "/a" * 30000)
        self.refused("ls: a path of 60000 bytes is too long: HDFS takes at most 8000", "ls", "/*" * 30000)
        self.assertEqual(self.namenode.calls, [])

    def test_a_path_that_does_not_fit_into_a_request_is_named(self):
        self.serve(lambda method, request: b"" if request.get(1, b"").startswith(b"/new") else
                   file_info(DIRECTORY if request.get(1) == b"/" else FILE))
        for size in 600, 7000:
            path = "/" + "x" * size
            self.refused(f"cat: `{path}': the path is too long", "cat", path)
            path = "/new" + "x" * size
            self.refused(f"mv: `{path}': the path is too long", "mv", "/a", path)
        self.assertNotIn("rename", self.namenode.calls)

    def test_a_file_that_could_not_get_its_name_is_not_begun(self):
        self.serve(lambda method, request: file_info(DIRECTORY if request.get(1) == b"/" else FILE, 0))
        path = "/" + "x" * 242
        for command in ["put", "-f", "-", path], ["cp", "-f", "/file", path]:
            self.refused(f"{command[0]}: `{path}': the path is too long", *command)
        self.assertEqual(set(self.namenode.calls), {"getFileInfo"})

    def test_braces_without_end_are_refused_in_no_time(self):
        self.serve_directory()
        begin = time.monotonic()
        for pattern in "/d/" + "{a,b}" * 22, "/d/" + "{a,b/c}" * 22:
            self.refused("ls: Illegal file pattern: {} stand for more than 1000 texts", "ls", pattern)
        self.assertLess(time.monotonic() - begin, 5)


class Reads(Answers):
    def failed_at_once(self, reason, locations):
        self.serve_file(locations)
        self.refused(f"cat: Could not obtain block: `/f' from byte 0 on: {reason}", "cat", "/f")
        self.assertEqual(self.namenode.calls.count("getBlockLocations"), 2)

    def test_a_block_without_datanodes_is_asked_for_once_more(self):
        self.failed_at_once("ERROR HDFS: No data node that contains block 7", block_locations(10))

    def test_a_request_that_is_too_long_for_a_datanode_is_not_tried_again_and_again(self):
        self.failed_at_once("ERROR HDFS: Encoding failed: stream full",
                            block_locations(10, datanode(UNUSED_PORT), token=b"t" * 2000))


class ClosedDescriptors(Answers):
    def test_what_is_printed_never_reaches_the_namenode(self):
        self.serve_directory("a")
        for redirections in "<&- >&- 2>&-", ">&- 2>&-", ">&-", "2>&-", "<&-":
            with self.subTest(redirections):
                done = self.run_marrowby("ls", "/d", "other://file/system", redirections=redirections)
                self.assertEqual(done.returncode, 1)
        self.namenode.stop()
        self.assertEqual(self.namenode.unreadable, [])

    def test_output_that_nobody_gets_is_a_failure(self):
        self.serve_directory("a")
        self.refused("ls: cannot write to standard output: Bad file descriptor", "ls", "/d", redirections=">&-")

    def test_input_that_is_not_there_is_no_empty_file(self):
        self.serve(lambda method, request: file_info(DIRECTORY) if request.get(1) in (b"/", b"/d") else b"")
        self.refused("put: standard input (Bad file descriptor)", "put", "-", "/d/x", redirections="<&-")
        self.assertNotIn("create", self.namenode.calls)


class Targets(Answers):
    def test_a_directory_may_be_called_anything(self):
        self.serve_file(block_locations(0))
        directory = os.fsencode(self.folder) + b"/\xff\xfe"
        os.mkdir(directory)
        done = self.run_marrowby("get", "/f", directory)
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        self.assertEqual(os.listdir(directory), [b"f"])
        self.refused(f"get: `nope/f': No such file or directory: `file:{self.folder}/nope/f'", "get", "/f", "nope/f")


class Configuration(Answers):
    def test_addresses_without_a_first_one_are_none(self):
        for stored in ",host:8020", ":8020", ",":
            with self.subTest(stored):
                with open(os.path.join(self.folder, "Quor.ini"), "w") as file:
                    file.write(f"[General]\nhdfs={stored}\n")
                done = self.run_marrowby("ls", "/", environment={"XDG_CONFIG_HOME": self.folder})
                self.assertEqual(done.returncode, 1)
                self.assertTrue(done.stderr.startswith(b"ls: no NameNode is configured.\n"), done.stderr)


if __name__ == "__main__":
    if not shutil.which("marrowby"):
        sys.exit("this needs a marrowby on the PATH")
    unittest.main()
