#!/usr/bin/env python3
"""Runs the measurements of ./bench on a private HDFS and prints their table. Started by ./bench, which builds first."""
import argparse
import glob
import os
import re
import shlex
import statistics
import subprocess
import sys
import tempfile
import time

TOP = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
BIN = os.path.join(TOP, "build", "bench", "bin")
LIBRARY = os.path.join(BIN, "libQuorHDFS.so")
PRIVATE_HDFS = os.path.join(TOP, "cluster", "private-hdfs")
sys.path.insert(0, os.path.join(TOP, "cluster"))

from private_hdfs import jars, java  # noqa: E402
from private_hdfs.layout import Layout  # noqa: E402

MIB = 1 << 20


class Cluster:
    """A private HDFS, and the programs that are measured on it."""

    def __init__(self, work):
        say("starting a private HDFS")
        output = subprocess.run([PRIVATE_HDFS, "start", "--owner", str(os.getpid())], check=True, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
        words = (word for line in output.splitlines() for word in shlex.split(line))
        self.values = dict(word.split("=", 1) for word in words if word.startswith("PRIVATE_HDFS_"))
        self.data = self.values["PRIVATE_HDFS_DATA"]
        self.namenode = self.values["PRIVATE_HDFS_NAMENODE"]
        self.environment = {**os.environ, "XDG_CONFIG_HOME": work, "LC_ALL": "C.UTF-8"}
        with open(os.path.join(work, "Quor.ini"), "w", encoding="utf-8") as settings:
            settings.write(f"[General]\nhdfs={self.namenode}|0|{self.values['PRIVATE_HDFS_SUPERUSER']}\nwebhdfs=0\n")
        layout = Layout(self.data)
        class_path = os.pathsep.join([work, layout.configuration("client")] + jars.class_path(jars.folder()))
        subprocess.run(["javac", "-d", work, "-cp", class_path,
                        os.path.join(TOP, "benchmark", "java", "ClientBench.java")], check=True)
        self.client = [java.executable(), "-Xmx2g", "--add-opens=java.base/java.lang=ALL-UNNAMED",
                       "-Djdk.net.hosts.file=" + layout.hosts,
                       "-Dlog4j.configuration=file:" + os.path.join(layout.configuration("client"), "log4j.properties"),
                       "-cp", class_path, "ClientBench", self.namenode]

    def stop(self):
        subprocess.run([PRIVATE_HDFS, "stop", "--data", self.data], check=True, stderr=subprocess.DEVNULL)

    def hdfs(self, *arguments):
        subprocess.run([os.path.join(self.data, "bin", "hdfs"), *arguments], check=True, stderr=subprocess.DEVNULL)

    def host(self, *arguments):
        return self.numbers([os.path.join(BIN, "host_bench"), LIBRARY, *map(str, arguments)])

    def java(self, *arguments):
        return self.numbers([*self.client, *map(str, arguments)])

    def numbers(self, command):
        output = subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                env=self.environment).stdout
        return [[float(word) for word in line.split()] for line in output.splitlines()]

    def replicas(self, name):
        """The files on disk that hold the blocks of an HDFS file, on all DataNodes."""
        output = subprocess.run([os.path.join(self.data, "bin", "hdfs"), "fsck", name, "-files", "-blocks"], check=True,
                                text=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
        blocks = set(re.findall(r"blk_\d+", output))
        found = glob.glob(os.path.join(self.data, "datanode*", "**", "blk_*"), recursive=True)
        return [path for path in found if re.match(r"blk_\d+", os.path.basename(path)).group() in blocks]


class Table:
    def __init__(self):
        self.rows = []

    def add(self, what, value, goal, unit="", at_least=False):
        if goal is None:
            verdict = ""
        else:
            verdict = "yes" if (value >= goal if at_least else value <= goal) else "NO"
        sign = "" if goal is None else (">= " if at_least else "<= ")
        self.rows.append((what, f"{value:.2f}{unit}", "" if goal is None else f"{sign}{goal:g}{unit}", verdict))
        say(f"{what}: {value:.2f}{unit}")

    def print(self):
        rows = [("measured", "value", "goal", "met"), *self.rows]
        widths = [max(len(row[i]) for row in rows) for i in range(4)]
        for row in rows:
            print("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip())


def say(text):
    print("bench: " + text, file=sys.stderr, flush=True)


def median(rows, column):
    return statistics.median(row[column] for row in rows)


def in_turns(rounds, *sides):
    """Each side's rows of several rounds, the sides taking turns within a round."""
    results = [[] for _ in sides]
    for _ in range(rounds):
        for side, result in zip(sides, results):
            result.extend(side())
    return results


def measure_read(cluster, table, quick):
    size = (128 if quick else 1024) * MIB
    block = (32 if quick else 128) * MIB
    with tempfile.NamedTemporaryFile(dir=cluster.data) as original:
        say("writing the large file")
        for _ in range(size // (16 * MIB)):
            original.write(os.urandom(16 * MIB))
        original.flush()
        cluster.hdfs("dfs", "-D", f"dfs.blocksize={block}", "-put", original.name, "/large")
    replicas = cluster.replicas("/large")
    blocks = sorted(path for path in replicas if not path.endswith(".meta"))
    one_copy = list({os.path.basename(path): path for path in blocks}.values())
    keeper = subprocess.Popen([os.path.join(BIN, "keep_in_memory"), *replicas], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, text=True)
    keeper.stdout.readline()
    rounds = 2 if quick else 5
    # The Java client warms up in its first runs of each round, which do not count.
    whole, java_runs, plain, small = in_turns(
        rounds,
        lambda: cluster.host("read", "/large", block, 3)[1:],
        lambda: cluster.java("read", "/large", block, 5)[2:],
        lambda: cluster.numbers([os.path.join(BIN, "plain_receiver"), "3", *one_copy])[1:],
        lambda: cluster.host("read", "/large", MIB, 2)[1:])
    table.add("sequential read, calls of a block: time / Java's", median(whole, 0) / median(java_runs, 0), 1.0)
    table.add("sequential read, calls of a block: CPU / Java's", median(whole, 1) / median(java_runs, 1), 0.65)
    table.add("sequential read, calls of a block: CPU / plain socket's", median(whole, 1) / median(plain, 1), 1.25)
    table.add("sequential read, calls of a block: time / plain socket's", median(whole, 0) / median(plain, 0), None)
    table.add("sequential read, calls of 1 MiB: time / Java's", median(small, 0) / median(java_runs, 0), None)
    table.add("sequential read, calls of 1 MiB: CPU / Java's", median(small, 1) / median(java_runs, 1), None)
    measure_random(cluster, table, quick)
    keeper.stdin.close()
    keeper.wait()


def measure_random(cluster, table, quick):
    count = 200 if quick else 2000
    ours, java_runs = in_turns(2 if quick else 3, lambda: cluster.host("random", "/large", count, 2),
                               lambda: cluster.java("random", "/large", count, 3)[1:])
    table.add(f"{count} random reads of 4 KiB: time / Java's with a fresh stream each",
              median(ours, 0) / median(java_runs, 0), 1.0)
    table.add(f"{count} random reads of 4 KiB: CPU / Java's", median(ours, 1) / median(java_runs, 1), None)
    calls = system_calls(cluster, count)
    if calls is not None:
        table.add("system calls of one read of 4 KiB", calls, None)


def system_calls(cluster, count):
    def counted(reads):
        command = ["strace", "-f", "-c", "-o", "/dev/stdout", os.path.join(BIN, "host_bench"), LIBRARY, "random", "/large",
                   str(reads), "1"]
        output = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                env=cluster.environment).stdout
        return int(re.search(r"^100\.00\s+\S+\s+(?:\S+\s+)?(\d+)\s.*total$", output, re.M).group(1))
    try:
        return (counted(count) - counted(1)) / (count - 1)
    except (OSError, AttributeError):
        say("strace does not work here: system calls are not counted")
        return None


def measure_list(cluster, table, quick):
    count = 5000 if quick else 100000
    say(f"making {count} files")
    cluster.hdfs("dfs", "-mkdir", "/many")
    cluster.java("fill", "/many", count)
    ours, java_runs = in_turns(2 if quick else 3, lambda: cluster.host("list", "/many", 5)[1:],
                               lambda: cluster.java("list", "/many", 15)[5:])
    if any(row[2] != count for row in ours):
        sys.exit(f"bench: a listing of {count} entries has {ours[0][2]:.0f}")
    table.add(f"listing {count} entries: time / Java's best", median(ours, 0) / min(row[0] for row in java_runs), 0.45)
    table.add(f"listing {count} entries: CPU / Java's", median(ours, 1) / median(java_runs, 1), 0.25)
    table.add(f"listing {count} entries: heap / bytes of the records", median(ours, 4) / median(ours, 3), 1.2)


def measure_stat(cluster, table, quick):
    count = 200 if quick else 2000
    cluster.hdfs("dfs", "-touchz", "/one")
    ours, java_runs = in_turns(2 if quick else 5, lambda: cluster.host("stat", "/one", count, 3)[1:],
                               lambda: cluster.java("stat", "/one", count, 5)[2:])
    table.add(f"{count} getFileInfo calls: median / Java's", median(ours, 0) / median(java_runs, 0), 0.8)


def measure_start(cluster, table, quick):
    def run(command):
        start = time.perf_counter()
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=cluster.environment)
        return [[time.perf_counter() - start]]
    ours, theirs = in_turns(3 if quick else 10, lambda: run([os.path.join(BIN, "marrowby"), "ls", "/"]),
                            lambda: run([os.path.join(cluster.data, "bin", "hdfs"), "dfs", "-ls", "/"]))
    table.add("process start to first listing: time / hdfs dfs -ls", median(ours, 0) / median(theirs, 0), 0.05)


def measure_crc(_, table, quick):
    output = subprocess.run([os.path.join(BIN, "checksums_bench"), "--benchmark_format=csv",
                             "--benchmark_repetitions=" + ("3" if quick else "9")], check=True, text=True,
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    speed = {}
    for line in output.splitlines():
        cells = line.split(",")
        name = cells[0].strip('"')
        if name.endswith("_median"):
            speed[name[:-len("_median")]] = float(cells[5])
    for chunk in (512, 1024):
        table.add(f"CRC-32C in chunks of {chunk}: throughput / one chunk after the other",
                  speed[f"severalAtOnce/{chunk}"] / speed[f"oneAfterTheOther/{chunk}"], 2.0, at_least=True)
        table.add(f"CRC-32C in chunks of {chunk}: throughput / one checksum over all",
                  speed[f"severalAtOnce/{chunk}"] / speed["oneOverAll"], None)


def main():
    measurements = {"crc": measure_crc, "read random": measure_read, "list": measure_list, "stat": measure_stat,
                    "start": measure_start}
    parser = argparse.ArgumentParser(prog="./bench")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--only", default="")
    options = parser.parse_args()
    chosen = [work for name, work in measurements.items() if options.only in name]
    if not chosen:
        parser.error(f"no measurement is called {options.only}")
    table = Table()
    with tempfile.TemporaryDirectory() as work:
        cluster = Cluster(work)
        try:
            for measurement in chosen:
                measurement(cluster, table, options.quick)
        finally:
            cluster.stop()
    table.print()


if __name__ == "__main__":
    main()
