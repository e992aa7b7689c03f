"""The private HDFS of ./bench and the programs that are measured on it."""
import contextlib
import glob
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import time

from table import say

TOP = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
PRIVATE_HDFS = os.path.join(TOP, "cluster", "private-hdfs")
sys.path.insert(0, os.path.join(TOP, "cluster"))

from private_hdfs import jars, java  # noqa: E402
from private_hdfs.layout import Layout  # noqa: E402

MIB = 1 << 20
MEMORY = "/dev/shm"
# What the servers' data and the programs take at most, in MiB.
MEMORY_NEEDED = 14000


def program(name):
    return os.path.join(TOP, "build", "bench", "bin", name)


LIBRARY = program("libQuorHDFS.so")


def block_of(path):
    """The name of the block that a replica's file belongs to. The file's place changes when the replica is finished."""
    return re.match(r"blk_\d+", os.path.basename(path)).group()


def block_size(quick):
    return (32 if quick else 128) * MIB


def large_size(quick):
    return (128 if quick else 1024) * MIB


def memory_has_room():
    try:
        with open("/proc/meminfo", encoding="ascii") as lines:
            available = int(re.search(r"MemAvailable:\s+(\d+)", lines.read()).group(1)) // 1024
        return min(available, shutil.disk_usage(MEMORY).free // MIB) >= MEMORY_NEEDED
    except OSError:
        return False


class Cluster:
    """A private HDFS, and the programs that are measured on it.

    `on_disk`: the servers keep their data on disk. Else in memory, when there is room: no side waits for a disk then.
    """

    def __init__(self, work, on_disk):
        if not on_disk and not memory_has_room():
            say("too little memory for the servers' data: they go to disk")
            on_disk = True
        self.data = tempfile.mkdtemp(prefix="quorhdfs-bench-", dir=None if on_disk else MEMORY)
        say("starting a private HDFS")
        try:
            output = subprocess.run([PRIVATE_HDFS, "start", "--owner", str(os.getpid()), "--data", self.data], check=True,
                                    text=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
            self.prepare(work, output)
        except BaseException:
            self.stop()
            raise

    def prepare(self, work, output):
        words = (word for line in output.splitlines() for word in shlex.split(line))
        self.values = dict(word.split("=", 1) for word in words if word.startswith("PRIVATE_HDFS_"))
        self.namenode = self.values["PRIVATE_HDFS_NAMENODE"]
        self.user = self.values["PRIVATE_HDFS_SUPERUSER"]
        self.environment = self.settings(os.path.join(work, "direct"), webhdfs=0)
        self.web_environment = self.settings(os.path.join(work, "web"), webhdfs=1)
        self.large_files = set()
        layout = Layout(self.data)
        class_path = os.pathsep.join([work, layout.configuration("client")] + jars.class_path(jars.folder()))
        subprocess.run(["javac", "-d", work, "-cp", class_path,
                        os.path.join(TOP, "benchmark", "java", "ClientBench.java")], check=True)
        self.client = [java.executable(), "-Xmx2g", "--add-opens=java.base/java.lang=ALL-UNNAMED",
                       "-Djdk.net.hosts.file=" + layout.hosts,
                       "-Dlog4j.configuration=file:" + os.path.join(layout.configuration("client"), "log4j.properties"),
                       "-cp", class_path, "ClientBench", self.namenode]

    def settings(self, folder, webhdfs):
        """The environment of a host whose user has these settings."""
        os.makedirs(folder)
        with open(os.path.join(folder, "Quor.ini"), "w", encoding="utf-8") as settings:
            settings.write(f"[General]\nhdfs={self.namenode}|0|{self.user}\nwebhdfs={webhdfs}\n")
        return {**os.environ, "XDG_CONFIG_HOME": folder, "LC_ALL": "C.UTF-8"}

    def stop(self):
        subprocess.run([PRIVATE_HDFS, "stop", "--data", self.data], check=True, stderr=subprocess.DEVNULL)
        shutil.rmtree(self.data, ignore_errors=True)

    def hdfs(self, *arguments):
        subprocess.run([os.path.join(self.data, "bin", "hdfs"), *arguments], check=True, stderr=subprocess.DEVNULL)

    def host_command(self, *arguments):
        return [program("host_bench"), LIBRARY, *map(str, arguments)]

    def java_command(self, *arguments):
        return [*self.client, *map(str, arguments)]

    def host(self, *arguments):
        return self.numbers(self.host_command(*arguments))

    def web_host(self, *arguments):
        """A host that reads through WebHDFS."""
        return self.numbers(self.host_command(*arguments), self.web_environment)

    def java(self, *arguments):
        return self.numbers(self.java_command(*arguments))

    def numbers(self, command, environment=None):
        output = subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                env=environment or self.environment).stdout
        return [[float(word) for word in line.split()] for line in output.splitlines()]

    def large_file(self, quick, replication):
        """An HDFS file of several blocks, made when it is not there yet."""
        name = f"/large-{replication}"
        if name not in self.large_files:
            say(f"writing a large file with replication {replication}")
            with subprocess.Popen([os.path.join(self.data, "bin", "hdfs"), "dfs", "-D", f"dfs.blocksize={block_size(quick)}",
                                   "-D", f"dfs.replication={replication}", "-put", "-", name], stdin=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL) as put:
                for _ in range(large_size(quick) // (16 * MIB)):
                    put.stdin.write(os.urandom(16 * MIB))
            if put.returncode != 0:
                sys.exit("bench: the large file could not be written")
            self.large_files.add(name)
        return name

    def block_files(self):
        """Every file on disk that holds a replica's bytes or checksums, finished or not, on all DataNodes."""
        return glob.glob(os.path.join(self.data, "datanode*", "**", "blk_*"), recursive=True)

    def blocks_on_disk(self):
        return set(map(block_of, self.block_files()))

    def blocks(self, name):
        """The names of an HDFS file's blocks, in their order."""
        output = subprocess.run([os.path.join(self.data, "bin", "hdfs"), "fsck", name, "-files", "-blocks"], check=True,
                                text=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
        return list(dict.fromkeys(re.findall(r"blk_\d+", output)))

    def replicas(self, name):
        """The files on disk that hold the blocks of an HDFS file, on all DataNodes."""
        blocks = set(self.blocks(name))
        return [path for path in self.block_files() if block_of(path) in blocks]

    @contextlib.contextmanager
    def kept_in_memory(self, name):
        """Holds an HDFS file's replicas in the page cache: a measurement of a read should not measure the disk."""
        with subprocess.Popen([program("keep_in_memory"), *self.replicas(name)], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, text=True) as keeper:
            keeper.stdout.readline()
            yield

    @contextlib.contextmanager
    def runs(self, command):
        """A process that does one run whenever the yielded function is called, which gives that run's rows."""
        there_before = self.blocks_on_disk()
        with tempfile.TemporaryFile("w+") as complaints, \
                subprocess.Popen(command, text=True, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=complaints,
                                 env=self.environment) as process:
            def run():
                process.stdin.write("\n")
                process.stdin.flush()
                line = process.stdout.readline()
                if not line:
                    complaints.seek(0)
                    sys.exit(f"bench: {' '.join(command[-8:])} failed:\n{complaints.read()}")
                self.wait_until_deleted(there_before)
                return [[float(word) for word in line.split()]]
            yield run
            process.stdin.close()

    def wait_until_deleted(self, there_before):
        """DataNodes delete in the background, and that must not disturb the next run."""
        deadline = time.monotonic() + 60
        while not there_before.issuperset(self.blocks_on_disk()):
            if time.monotonic() > deadline:
                # What a DataNode keeps of an attempt that failed does not disturb, but one should know about it.
                left = [path for path in self.block_files() if block_of(path) not in there_before]
                say("DataNodes do not delete " + " ".join(os.path.relpath(path, self.data) for path in left))
                there_before.update(map(block_of, left))
            time.sleep(0.1)
        time.sleep(0.3)
