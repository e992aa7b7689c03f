"""Reads through DataNodes, beside the Java client's and a plain socket's."""
import os
import re
import subprocess

from table import in_turns, median, say
from testbed import LIBRARY, MIB, block_size, program


def measure_read(cluster, table, quick):
    large = cluster.large_file(quick, replication=3)
    with cluster.kept_in_memory(large):
        measure_sequential(cluster, table, quick, large)
        measure_random(cluster, table, quick, large)


def measure_sequential(cluster, table, quick, large):
    blocks = sorted(path for path in cluster.replicas(large) if not path.endswith(".meta"))
    one_copy = list({os.path.basename(path): path for path in blocks}.values())
    block = block_size(quick)
    rounds = 2 if quick else 5
    # The Java client warms up in its first runs of each round, which do not count.
    whole, java_runs, plain, small = in_turns(
        rounds,
        lambda: cluster.host("read", large, block, 3)[1:],
        lambda: cluster.java("read", large, block, 5)[2:],
        lambda: cluster.numbers([program("plain_receiver"), "3", *one_copy])[1:],
        lambda: cluster.host("read", large, MIB, 2)[1:])
    table.add("sequential read, calls of a block: time / Java's", median(whole, 0) / median(java_runs, 0), 1.0)
    table.add("sequential read, calls of a block: CPU / Java's", median(whole, 1) / median(java_runs, 1), 0.65)
    table.add("sequential read, calls of a block: CPU / plain socket's", median(whole, 1) / median(plain, 1), 1.25)
    table.add("sequential read, calls of a block: time / plain socket's", median(whole, 0) / median(plain, 0), None)
    table.add("sequential read, calls of 1 MiB: time / Java's", median(small, 0) / median(java_runs, 0), None)
    table.add("sequential read, calls of 1 MiB: CPU / Java's", median(small, 1) / median(java_runs, 1), None)


def measure_random(cluster, table, quick, large):
    count = 200 if quick else 2000
    ours, java_runs = in_turns(2 if quick else 3, lambda: cluster.host("random", large, count, 2),
                               lambda: cluster.java("random", large, count, 3)[1:])
    table.add(f"{count} random reads of 4 KiB: time / Java's with a fresh stream each",
              median(ours, 0) / median(java_runs, 0), 1.0)
    table.add(f"{count} random reads of 4 KiB: CPU / Java's", median(ours, 1) / median(java_runs, 1), None)
    calls = system_calls(cluster, large, count)
    if calls is not None:
        table.add("system calls of one read of 4 KiB", calls, None)


def system_calls(cluster, path, count):
    def counted(reads):
        command = ["strace", "-f", "-c", "-o", "/dev/stdout", program("host_bench"), LIBRARY, "random", path, str(reads),
                   "1"]
        output = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                env=cluster.environment).stdout
        return int(re.search(r"^100\.00\s+\S+\s+(?:\S+\s+)?(\d+)\s.*total$", output, re.M).group(1))
    try:
        return (counted(count) - counted(1)) / (count - 1)
    except (OSError, AttributeError):
        say("strace does not work here: system calls are not counted")
        return None
