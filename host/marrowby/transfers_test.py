#!/usr/bin/env python3
"""What `marrowby get` and `cat` do while bytes flow: progress, interruptions, full disks, closed pipes, dead DataNodes.

    ./run --exec host/marrowby/transfers_test.py [-v] [TEST]...

It needs the environment that ./run prepares, with a private HDFS of its own: DataNodes are paused and killed.
"""
import fcntl
import hashlib
import os
import pty
import select
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest

FILE = "/transfers/large"
BLOCK = 16 * 1024 * 1024
SIZE = 12 * BLOCK + 4711
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


class DeadDataNodes(Transfer):
    def revive(self, *names):
        node("restart", *names)
        subprocess.run(["private-hdfs", "wait"], check=True, stdout=subprocess.DEVNULL)

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
