#!/usr/bin/env python3
"""What `marrowby get`, `cat`, `put`, `moveFromLocal` and `cp` do while bytes flow: sizes, progress, interruptions, full disks,
closed pipes, dead DataNodes.

    ./run --exec host/marrowby/transfers_test.py [-v] [TEST]...

It needs the environment that ./run prepares, with a private HDFS of its own: DataNodes are paused and killed.
"""
import fcntl
import hashlib
import os
import pty
import re
import select
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import threading
import time
import unittest

FILE = "/transfers/large"
BLOCK = 16 * 1024 * 1024
SIZE = 12 * BLOCK + 4711
ROOM = "/transfers/room"
MIB = 1024 * 1024
PATIENCE = 60  # seconds until something hangs


def content():
    """The large file's bytes, block by block."""
    block = hashlib.shake_128(b"transfers").digest(BLOCK)
    for _ in range(SIZE // BLOCK):
        yield block
    yield block[:SIZE % BLOCK]


def digest(pieces):
    sha = hashlib.sha256()
    for piece in pieces:
        sha.update(piece)
    return sha.hexdigest()


def digest_of(path):
    with open(path, "rb") as file:
        return digest(iter(lambda: file.read(1 << 20), b""))


def node(verb, *names):
    for name in names:
        subprocess.run(["private-hdfs", "node", verb, name], check=True, stdout=subprocess.DEVNULL)


def datanodes():
    return [f"datanode{number + 1}" for number in range(int(os.environ["PRIVATE_HDFS_DATANODES"]))]


def run(*arguments, **options):
    return subprocess.run(["marrowby", *arguments], stdin=subprocess.DEVNULL, capture_output=True, timeout=PATIENCE,
                          **options)


class Transfer(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.expected = digest(content())
        hdfs = subprocess.Popen(["hdfs", "dfs", "-D", f"dfs.blocksize={BLOCK}", "-put", "-f", "-", FILE],
                                stdin=subprocess.PIPE)
        for piece in content():
            hdfs.stdin.write(piece)
        hdfs.stdin.close()
        if hdfs.wait() != 0:
            raise RuntimeError("the file for the transfers cannot be made")

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="transfers-")
        self.addCleanup(shutil.rmtree, self.folder)

    def target(self, name="target"):
        return os.path.join(self.folder, name)

    def revive(self, *names):
        node("restart", *names)
        subprocess.run(["private-hdfs", "wait"], check=True, stdout=subprocess.DEVNULL)

    def start(self, *arguments, **options):
        """A marrowby in the background, which is killed at the latest when the test ends."""
        process = subprocess.Popen(["marrowby", *arguments], stdin=subprocess.DEVNULL, **options)
        self.addCleanup(lambda: (process.kill(), process.wait()))
        return process

    def wait_until(self, condition, what):
        end = time.monotonic() + PATIENCE
        while not condition():
            self.assertLess(time.monotonic(), end, "waited in vain until " + what)
            time.sleep(0.01)

    def on_terminal(self, columns, *arguments, slow=False):
        """What a marrowby writes to standard error when that is a terminal, and its exit status."""
        process, terminal = pty.fork()
        if process == 0:
            os.execvp("marrowby", ["marrowby", *arguments])
        fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        written = b""
        while True:
            if slow:
                os.kill(process, signal.SIGSTOP)
                time.sleep(0.05)
                os.kill(process, signal.SIGCONT)
            if select.select([terminal], [], [], 0.01)[0]:
                try:
                    some = os.read(terminal, 65536)
                except OSError:
                    some = b""
                if not some:
                    break
                written += some
        os.close(terminal)
        return written.decode(), os.waitstatus_to_exitcode(os.waitpid(process, 0)[1])


class WebHdfs(Transfer):
    def test_get_and_cat_give_the_same_bytes(self):
        done = run("--webhdfs", "get", FILE, self.target())
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"", b""))
        self.assertEqual(digest_of(self.target()), self.expected)
        done = run("--webhdfs", "cat", FILE)
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        self.assertEqual(digest([done.stdout]), self.expected)

    def test_files_of_few_bytes_come_whole(self):
        for size in (0, 1, 10, 16, 17, 1000):
            name = f"/transfers/bytes-{size}"
            content = os.urandom(size)
            subprocess.run(["hdfs", "dfs", "-put", "-f", "-", name], input=content, check=True)
            done = run("--webhdfs", "cat", name)
            self.assertEqual((done.returncode, done.stdout, done.stderr), (0, content, b""))


class Progress(Transfer):
    def test_a_terminal_gets_a_line_that_is_gone_in_the_end(self):
        written, status = self.on_terminal(80, "get", FILE, self.target(), slow=True)
        self.assertEqual(status, 0)
        self.assertEqual(digest_of(self.target()), self.expected)
        lines = written.split("\r\033[K")
        self.assertEqual((lines[0], lines[-1]), ("", ""))
        self.assertGreater(len(lines), 2)
        for line in lines[1:-1]:
            self.assertRegex(line, r"^large +\d+%  [\d.]+( [KM])? of 192\.0 M  [\d.]+ [KMG]/s  \d+:\d\d left$")

    def test_a_narrow_terminal_gets_a_short_line(self):
        written, _ = self.on_terminal(30, "get", FILE, self.target(), slow=True)
        lines = written.split("\r\033[K")
        self.assertGreater(len(lines), 2)
        for line in lines:
            self.assertLess(len(line), 30)

    def test_without_a_terminal_there_is_nothing(self):
        done = run("get", FILE, self.target())
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"", b""))


class Interruptions(Transfer):
    def interrupted(self, number):
        process = self.start("get", FILE, self.target())
        self.wait_until(lambda: os.listdir(self.folder) == ["target._COPYING_"], "the transfer had begun")
        process.send_signal(number)
        self.assertEqual(process.wait(PATIENCE), 128 + number)
        self.assertEqual(os.listdir(self.folder), [])

    def test_ctrl_c_leaves_nothing_behind(self):
        self.interrupted(signal.SIGINT)

    def test_a_request_to_end_leaves_nothing_behind(self):
        self.interrupted(signal.SIGTERM)

    def test_an_interrupted_overwriting_leaves_the_old_file(self):
        with open(self.target(), "w") as file:
            file.write("old")
        process = self.start("get", "-f", FILE, self.target())
        self.wait_until(lambda: len(os.listdir(self.folder)) == 2, "the transfer had begun")
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(PATIENCE), 130)
        self.assertEqual(os.listdir(self.folder), ["target"])
        with open(self.target()) as file:
            self.assertEqual(file.read(), "old")

    def test_ctrl_c_ends_a_read_from_servers_that_say_nothing(self):
        node("pause", *datanodes())
        self.addCleanup(node, "continue", *datanodes())
        process = self.start("get", FILE, self.target())
        time.sleep(1)
        self.assertIsNone(process.poll())
        process.send_signal(signal.SIGINT)
        # The plug-in waits for the servers without end, so the process cannot but be ended by the signal.
        self.assertEqual(process.wait(10), -signal.SIGINT)
        self.assertEqual(os.listdir(self.folder), [])

    def test_settings_of_one_run_do_not_stay_behind(self):
        environment = {**os.environ, "TMPDIR": self.folder}
        process = self.start("--user", "alice", "cat", FILE, stdout=subprocess.PIPE, env=environment)
        process.stdout.read(1)
        self.assertEqual(os.listdir(self.folder), [])
        process.send_signal(signal.SIGINT)
        process.stdout.close()
        self.assertIn(process.wait(PATIENCE), (130, 141))
        self.assertEqual(os.listdir(self.folder), [])


class Outputs(Transfer):
    def test_a_reader_that_has_enough_ends_it_quietly(self):
        process = self.start("cat", FILE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        process.stdout.read(10)
        process.stdout.close()
        self.assertEqual(process.wait(PATIENCE), 141)
        self.assertEqual(process.stderr.read(), b"")
        process.stderr.close()

    def test_a_full_disk_is_reported(self):
        with open("/dev/full", "w") as full:
            done = subprocess.run(["marrowby", "cat", FILE], stdout=full, stderr=subprocess.PIPE)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr, b"cat: cannot write to standard output: No space left on device\n")

    def test_a_full_disk_leaves_no_half_file(self):
        done = subprocess.run(["bash", "-c", 'ulimit -f 1024; trap "" XFSZ; exec marrowby get "$@"', "-", FILE,
                               self.target()], capture_output=True)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr.decode(), f"get: `{self.target()}': File too large\n")
        self.assertEqual(os.listdir(self.folder), [])

    def test_a_pipe_is_a_target_and_stays_one(self):
        os.mkfifo(self.target())
        process = self.start("get", "-f", FILE, self.target())
        self.assertEqual(digest_of(self.target()), self.expected)
        self.assertEqual(process.wait(PATIENCE), 0)
        self.assertEqual(os.listdir(self.folder), ["target"])


class Writing(Transfer):
    """Every test has a new directory of HDFS to itself, where anybody may write."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        subprocess.run(["hdfs", "dfs", "-mkdir", "-p", ROOM], check=True)

    def setUp(self):
        super().setUp()
        self.room = ROOM + "/" + self.id().rpartition(".")[2]
        self.done("mkdir", self.room)
        self.done("chmod", "777", self.room)
        self.addCleanup(run, "rm", "-r", self.room)

    def done(self, *arguments, **options):
        """One command that must succeed without a word on standard error; its standard output."""
        result = run(*arguments, **options)
        self.assertEqual((result.returncode, result.stderr), (0, b""), arguments)
        return result.stdout

    def refused(self, message, *arguments, **options):
        """One command that must fail with this and nothing else."""
        result = run(*arguments, **options)
        self.assertEqual((result.returncode, result.stderr.decode()), (1, message + "\n"))

    def paths(self):
        """All that is in the test's directory, without it."""
        lines = self.done("ls", "-C", "-R", self.room).decode().splitlines()
        return sorted(line.removeprefix(self.room + "/") for line in lines if line.startswith(self.room + "/"))

    def make(self, name, size):
        """A local file of that many bytes, which are not the same in any two places; its path."""
        path = self.target(name)
        with open(path, "wb") as file:
            file.write(hashlib.shake_128(name.encode()).digest(size))
        return path

    def fetched(self, path):
        """A file's or a directory's local copy, made and checked by the cluster's own client."""
        copy = tempfile.mkdtemp(dir=self.folder)
        subprocess.run(["hdfs", "dfs", "-get", path, copy], check=True)
        return os.path.join(copy, os.path.basename(path))

    def assert_healthy(self, path):
        report = subprocess.run(["hdfs", "fsck", path], check=True, capture_output=True, text=True).stdout
        self.assertIn(f"The filesystem under path '{path}' is HEALTHY", report)
        self.assertIn("Under-replicated blocks:\t0", report)

    def put_from_pipe(self, *arguments, **options):
        """A put of standard input, which the test feeds."""
        process = subprocess.Popen(["marrowby", *arguments], stdin=subprocess.PIPE, bufsize=0, **options)
        self.addCleanup(lambda: (process.kill(), process.wait(), process.stdin.close()))
        return process


class Putting(Writing):
    SIZES = [0, 1, 1023, 1024, 1025, MIB - 1, MIB, MIB + 1, 2 * MIB, 5 * MIB + 4711]

    def test_files_of_all_sizes_come_whole(self):
        files = [self.make(f"file-{size}", size) for size in self.SIZES]
        for options in ["-D", "dfs.blocksize=1m"], ["-D", "dfs.blocksize=64k", "-D", "dfs.bytes-per-checksum=512"], []:
            with self.subTest(options):
                self.assertEqual(self.done("put", "-f", *options, *files, self.room), b"")
                copy = self.fetched(self.room)
                self.assertEqual(sorted(os.listdir(copy)), sorted(os.path.basename(file) for file in files))
                for file in files:
                    self.assertEqual(digest_of(os.path.join(copy, os.path.basename(file))), digest_of(file))
                self.assert_healthy(self.room)

    def test_a_new_file_has_the_attributes_that_were_asked_for(self):
        file = self.make("file", 10)
        for options, expected in ([], b"134217728 3 rw-r--r-- 10\n"), \
                (["-D", "dfs.blocksize=3m", "-Ddfs.replication=2"], b"3145728 2 rw-r--r-- 10\n"):
            self.done("put", "-f", *options, file, self.room)
            self.assertEqual(self.done("stat", "%o %r %A %b", self.room + "/file"), expected)
            self.done(*options, "put", "-f", file, self.room)
            self.assertEqual(self.done("stat", "%o %r %A %b", self.room + "/file"), expected)

    def test_a_tree_comes_with_empty_directories_and_any_name(self):
        tree = self.target("tree")
        os.makedirs(tree + "/inner/hollow")
        os.mkdir(tree + "/größe")
        expected = {"empty": b"", "inner/one": b"1", "größe/ü [a]*{b}\\ c": b"name", "inner/blocks": os.urandom(3 * MIB + 1)}
        for name, data in expected.items():
            with open(os.path.join(tree, name), "wb") as file:
                file.write(data)
        self.done("put", "-D", "dfs.blocksize=1m", tree, self.room)
        self.assertEqual(self.done("stat", "%A", self.room + "/tree/inner/hollow"), b"rwxr-xr-x\n")
        copy = self.fetched(self.room + "/tree")
        found = {}
        for folder, _, names in os.walk(copy):
            for name in names:
                with open(os.path.join(folder, name), "rb") as file:
                    found[os.path.relpath(os.path.join(folder, name), copy)] = file.read()
        self.assertEqual(found, expected)
        self.assertEqual(os.listdir(copy + "/inner/hollow"), [])
        self.assert_healthy(self.room)

    def test_standard_input_is_a_file_in_bounded_memory(self):
        process = self.put_from_pipe("put", "-D", "dfs.blocksize=16m", "-", self.room + "/large")
        piece = hashlib.shake_128(b"input").digest(3 * MIB + 1)
        for _ in range(100):
            process.stdin.write(piece)
        with open(f"/proc/{process.pid}/status") as status:
            peak = re.search(r"VmHWM:\s+(\d+) kB", status.read()).group(1)
        process.stdin.close()
        self.assertEqual(process.wait(PATIENCE), 0)
        self.assertLess(int(peak), 64 * 1024)
        self.assertEqual(digest_of(self.fetched(self.room + "/large")), digest([piece] * 100))
        self.assertEqual(self.paths(), ["large"])

    def test_what_is_there_stays_without_f(self):
        file = self.make("file", 10)
        subprocess.run(["marrowby", "put", "-", self.room + "/file"], input=b"old", check=True)
        self.refused(f"put: `{self.room}/file': File exists", "put", file, self.room)
        self.assertEqual(self.done("cat", self.room + "/file"), b"old")
        self.done("put", "-f", file, self.room)
        self.assertEqual(digest([self.done("cat", self.room + "/file")]), digest_of(file))
        self.assertEqual(self.paths(), ["file"])

    def test_without_permission_nothing_is_left(self):
        self.done("chmod", "755", self.room)
        for size in 0, 10, 3 * MIB:
            self.refused(f'put: Permission denied: user=alice, access=WRITE, inode="{self.room}":'
                         f'{os.environ["PRIVATE_HDFS_SUPERUSER"]}:supergroup:drwxr-xr-x',
                         "--user", "alice", "-D", "dfs.blocksize=1m", "put", self.make("file", size), self.room)
        self.assertEqual(self.paths(), [])

    def test_an_old_file_that_may_not_be_deleted_stays(self):
        self.done("chmod", "1777", self.room)
        subprocess.run(["marrowby", "put", "-", self.room + "/file"], input=b"old", check=True)
        result = run("--user", "alice", "put", "-f", self.make("file", 10), self.room)
        self.assertEqual(result.returncode, 1)
        self.assertIn(b"put: Permission denied by sticky bit: user=alice", result.stderr)
        self.assertEqual(self.paths(), ["file"])
        self.assertEqual(self.done("cat", self.room + "/file"), b"old")

    def test_a_missing_source_does_not_keep_the_others_from_their_turn(self):
        self.refused("put: `nope': No such file or directory", "put", self.make("a", 10), "nope", self.make("b", 10),
                     self.room)
        self.assertEqual(self.paths(), ["a", "b"])

    def test_an_unreadable_source_is_reported(self):
        file = self.make("file", 10)
        os.chmod(file, 0)
        rights = "-dac_override,-dac_read_search"  # with these root may read everything
        command = ["setpriv", "--bounding-set=" + rights, "--inh-caps=" + rights] if os.geteuid() == 0 else []
        result = subprocess.run([*command, "marrowby", "put", file, self.room], capture_output=True)
        self.assertEqual((result.returncode, result.stderr.decode()), (1, f"put: {file} (Permission denied)\n"))
        self.assertEqual(self.paths(), [])

    def test_a_missing_directory_is_not_made(self):
        self.refused(f"put: `{self.room}/nope/x': No such file or directory: "
                     f"`hdfs://{os.environ['PRIVATE_HDFS_NAMENODE']}{self.room}/nope/x'",
                     "put", self.make("file", 10), self.room + "/nope/x")
        self.assertEqual(self.paths(), [])

    def test_moving_deletes_here_what_is_there(self):
        os.makedirs(self.target("tree/inner"))
        for name in "tree/a", "tree/inner/b", "c", "d":
            self.make(name, 100)
        expected = {name: digest_of(self.target(name)) for name in ("tree/a", "tree/inner/b", "c")}
        self.done("touchz", self.room + "/d")
        self.refused(f"moveFromLocal: `{self.room}/d': File exists", "moveFromLocal", self.target("tree"),
                     self.target("c"), self.target("d"), self.room)
        self.assertEqual(os.listdir(self.folder), ["d"])
        copy = self.fetched(self.room)
        self.assertEqual({name: digest_of(os.path.join(copy, name)) for name in expected}, expected)

    def test_a_terminal_gets_a_line_that_is_gone_in_the_end(self):
        file = self.make("large", 150 * MIB)
        node("pause", *datanodes())
        slowness = threading.Timer(1.5, node, ["continue", *datanodes()])
        slowness.start()
        written, status = self.on_terminal(80, "put", "-D", "dfs.blocksize=8m", file, self.room)
        slowness.join()
        self.assertEqual(status, 0)
        lines = written.split("\r\033[K")
        self.assertEqual((lines[0], lines[-1]), ("", ""))
        self.assertGreater(len(lines), 2)
        for line in lines[1:-1]:
            self.assertRegex(line, r"^large +\d+%  [\d.]+( [KM])? of 150 M  [\d.]+ [KMG]/s  \d+:\d\d left$")


class StoppedWrites(Writing):
    def stopped_again_and_again(self, *arguments):
        """Ctrl-Z and fg, many times over."""
        process = self.start(*arguments, stderr=subprocess.PIPE, process_group=0)
        self.addCleanup(process.stderr.close)
        stops = 0
        while process.poll() is None:
            process.send_signal(signal.SIGTSTP)
            time.sleep(0.05)
            with open(f"/proc/{process.pid}/stat") as stat:
                stops += stat.read().rpartition(")")[2].split()[0] == "T"
            process.send_signal(signal.SIGCONT)
            time.sleep(0.01)
        self.assertEqual((process.wait(), process.stderr.read()), (0, b""))
        self.assertGreater(stops, 0)

    def test_a_put_that_is_stopped_goes_on(self):
        file = self.make("file", 150 * MIB)
        self.stopped_again_and_again("put", "-D", "dfs.blocksize=8m", file, self.room)
        self.assertEqual(digest_of(self.fetched(self.room + "/file")), digest_of(file))

    def test_a_copy_that_is_stopped_goes_on(self):
        self.stopped_again_and_again("cp", FILE, self.room)
        self.assertEqual(digest_of(self.fetched(self.room + "/large")), self.expected)


class InterruptedPuts(Writing):
    def fed(self, size, *options):
        """A put with blocks of 1 MiB that has got so much and waits for more."""
        process = self.put_from_pipe("put", "-D", "dfs.blocksize=1m", *options, "-", self.room + "/file",
                                     stderr=subprocess.PIPE)
        self.addCleanup(process.stderr.close)
        process.stdin.write(b"x" * size)
        if size >= MIB:
            self.wait_until(lambda: "file._COPYING_" in self.paths(), "the file had come into being")
        else:
            time.sleep(1)
        self.assertIsNone(process.poll())
        return process

    def interrupted(self, process, number=signal.SIGINT):
        process.send_signal(number)
        self.assertEqual(process.wait(PATIENCE), 128 + number)
        self.assertEqual(process.stderr.read(), b"")

    def test_ctrl_c_before_the_first_block_leaves_nothing(self):
        self.interrupted(self.fed(1000))
        self.assertEqual(self.paths(), [])

    def test_ctrl_c_in_the_middle_leaves_nothing(self):
        self.interrupted(self.fed(3 * MIB + 1000))
        self.assertEqual(self.paths(), [])

    def test_a_request_to_end_leaves_nothing(self):
        self.interrupted(self.fed(3 * MIB), signal.SIGTERM)
        self.assertEqual(self.paths(), [])

    def test_an_interrupted_overwriting_leaves_the_old_file(self):
        subprocess.run(["marrowby", "put", "-", self.room + "/file"], input=b"old", check=True)
        self.interrupted(self.fed(3 * MIB, "-f"))
        self.assertEqual(self.paths(), ["file"])
        self.assertEqual(self.done("cat", self.room + "/file"), b"old")

    def test_ctrl_c_while_datanodes_say_nothing_leaves_nothing(self):
        process = self.fed(2 * MIB)
        node("pause", *datanodes())
        self.addCleanup(node, "continue", *datanodes())
        process.stdin.write(b"x" * MIB)
        time.sleep(1)
        process.send_signal(signal.SIGINT)
        # The plug-in waits for the DataNodes without end, so the process cannot but be ended by the signal.
        self.assertEqual(process.wait(10), -signal.SIGINT)
        self.assertEqual(self.paths(), [])

    def test_a_moved_file_stays_here_when_it_is_interrupted(self):
        node("pause", *datanodes())
        self.addCleanup(node, "continue", *datanodes())
        file = self.make("file", 3 * MIB)
        process = self.start("moveFromLocal", "-D", "dfs.blocksize=1m", file, self.room)
        self.wait_until(lambda: self.paths() == ["file._COPYING_"], "the file had come into being")
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(10), -signal.SIGINT)
        self.assertEqual(self.paths(), [])
        self.assertEqual(os.listdir(self.folder), ["file"])


class PutsWithDeadDataNodes(Writing):
    def test_blocks_that_are_given_back_go_to_other_datanodes(self):
        node("kill", "datanode1")
        self.addCleanup(self.revive, "datanode1")
        file = self.make("file", 2 * MIB)
        self.done("--abandon-block", "put", "-D", "dfs.blocksize=64k", file, self.room)
        self.assertEqual(digest_of(self.fetched(self.room + "/file")), digest_of(file))

    def test_without_datanodes_it_gives_up_with_a_reason_and_leaves_nothing(self):
        node("kill", *datanodes())
        self.addCleanup(self.revive, *datanodes())
        for options in [], ["--abandon-block"]:
            done = run(*options, "put", self.make("file", 10), self.room)
            self.assertEqual(done.returncode, 1)
            self.assertRegex(done.stderr.decode(), r"\Aput: .+\n\Z")
            self.assertEqual(self.paths(), [])

    def test_a_moved_file_stays_here_when_it_cannot_be_written(self):
        node("kill", *datanodes())
        self.addCleanup(self.revive, *datanodes())
        self.assertEqual(run("moveFromLocal", self.make("file", 10), self.room).returncode, 1)
        self.assertEqual(os.listdir(self.folder), ["file"])
        self.assertEqual(self.paths(), [])


class Copying(Writing):
    def test_a_copy_is_whole_and_a_new_file(self):
        self.done("-D", "dfs.blocksize=1m", "-D", "dfs.replication=1", "put", self.make("file", 3 * MIB + 1), self.room)
        self.done("chmod", "600", self.room + "/file")
        for options, replication in ([], 3), (["-D", "dfs.replication=2"], 2):
            self.done("cp", "-f", *options, self.room + "/file", self.room + "/copy")
            self.assertEqual(digest_of(self.fetched(self.room + "/copy")), digest_of(self.target("file")))
            self.assertEqual(self.done("stat", "%o %r %A %b", self.room + "/copy"),
                             b"1048576 %d rw-r--r-- 3145729\n" % replication)
        self.assertEqual(self.paths(), ["copy", "file"])

    def test_a_file_is_never_copied_over_itself(self):
        file = self.room + "/file"
        subprocess.run(["marrowby", "put", "-", file], input=b"precious", check=True)
        self.refused(f"cp: `{file}': File exists", "cp", file, file)
        self.done("cp", "-f", file, file)
        self.done("mv", file, file + "._COPYING_")
        self.refused(f"cp: `{file}._COPYING_': is what a copy to `{file}' is called until it is complete",
                     "cp", file + "._COPYING_", file)
        self.assertEqual(self.paths(), ["file._COPYING_"])
        self.assertEqual(self.done("cat", file + "._COPYING_"), b"precious")

    def test_without_permission_nothing_is_left(self):
        self.done("put", self.make("file", 10), self.room)
        self.done("chmod", "755", self.room)
        self.refused(f'cp: Permission denied: user=alice, access=WRITE, inode="{self.room}":'
                     f'{os.environ["PRIVATE_HDFS_SUPERUSER"]}:supergroup:drwxr-xr-x',
                     "--user", "alice", "cp", self.room + "/file", self.room + "/copy")
        self.assertEqual(self.paths(), ["file"])

    def test_ctrl_c_leaves_nothing(self):
        process = self.start("cp", FILE, self.room + "/copy")
        self.wait_until(lambda: self.paths() == ["copy._COPYING_"], "the copy had come into being")
        process.send_signal(signal.SIGINT)
        # The plug-in copies a file in one call; when that takes longer, the process is ended by the signal.
        self.assertIn(process.wait(10), (-signal.SIGINT, 130))
        self.assertEqual(self.paths(), [])


class DeadDataNodes(Transfer):
    def test_one_dead_datanode_changes_nothing(self):
        node("kill", "datanode1")
        self.addCleanup(self.revive, "datanode1")
        done = run("get", FILE, self.target())
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        self.assertEqual(digest_of(self.target()), self.expected)

    def test_two_dead_datanodes_of_three_change_nothing(self):
        node("kill", "datanode1", "datanode3")
        self.addCleanup(self.revive, "datanode1", "datanode3")
        done = run("get", FILE, self.target())
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        self.assertEqual(digest_of(self.target()), self.expected)

    def test_without_datanodes_it_gives_up_with_a_reason(self):
        node("kill", *datanodes())
        self.addCleanup(self.revive, *datanodes())
        done = run("get", FILE, self.target())
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr.decode(), rf"\Aget: Could not obtain block: `{FILE}' from byte 0 on: .+\n\Z")
        self.assertEqual(os.listdir(self.folder), [])

    def test_a_datanode_that_comes_back_is_tried_again(self):
        node("kill", *datanodes())
        self.addCleanup(self.revive, *datanodes())
        process = self.start("--verbose", "get", FILE, self.target(), stderr=subprocess.PIPE)
        self.assertIn(b"are down", process.stderr.readline())
        time.sleep(1)
        process.send_signal(signal.SIGSTOP)  # in a pause between attempts, until the DataNode is there
        node("restart", "datanode2")
        process.send_signal(signal.SIGCONT)
        said = process.stderr.read().decode()
        process.stderr.close()
        self.assertEqual(process.wait(PATIENCE), 0, said)
        self.assertEqual(digest_of(self.target()), self.expected)


if __name__ == "__main__":
    missing = [name for name in ("hdfs", "marrowby", "private-hdfs") if not shutil.which(name)]
    if missing or "PRIVATE_HDFS_DATA" not in os.environ:
        sys.exit("this needs the environment that ./run --exec prepares" + "".join(f"; no {name}" for name in missing))
    unittest.main()
