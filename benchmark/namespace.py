"""Questions to the NameNode, beside the Java client's."""
import os
import subprocess
import sys
import time

from table import in_turns, median, say
from testbed import program


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
    ours, theirs = in_turns(3 if quick else 10, lambda: run([program("marrowby"), "ls", "/"]),
                            lambda: run([os.path.join(cluster.data, "bin", "hdfs"), "dfs", "-ls", "/"]))
    table.add("process start to first listing: time / hdfs dfs -ls", median(ours, 0) / median(theirs, 0), 0.05)
