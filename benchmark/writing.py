"""Writes and copies through pipelines of DataNodes, beside the Java client's and what they cost at least."""
import contextlib

from table import in_turns, median
from testbed import MIB, block_size, large_size, program

# Runs before those that count: of a JVM that has to warm up, and of everybody else.
JAVA_WARM_UP = 2
WARM_UP = 1


def warmed_up(run, rounds):
    for _ in range(rounds):
        run()
    return run


def measure_write(cluster, table, quick):
    for replication in (1, 3):
        measure_calls(cluster, table, quick, replication, MIB)
        measure_calls(cluster, table, quick, replication, block_size(quick))


def measure_calls(cluster, table, quick, replication, call):
    size = large_size(quick)
    arguments = ("write", "/written", size, replication, block_size(quick), call)
    in_pieces = call < block_size(quick)
    with contextlib.ExitStack() as stack:
        ours, java, plain = (stack.enter_context(cluster.runs(command)) for command in (
            cluster.host_command(*arguments), cluster.java_command(*arguments), [program("plain_sender"), str(size)]))
        our_rows, java_rows, plain_rows = in_turns(2 if quick else 4 if in_pieces else 3, warmed_up(ours, WARM_UP),
                                                   warmed_up(java, JAVA_WARM_UP), warmed_up(plain, WARM_UP))
    least = median(plain_rows, 1) + median(plain_rows, 2) + (median(plain_rows, 3) if in_pieces else 0)
    sort = f"write, replication {replication}, calls of " + ("1 MiB" if in_pieces else "a block")
    table.add(f"{sort}: time / Java's", median(our_rows, 0) / median(java_rows, 0), 1.0 if in_pieces else None)
    table.add(f"{sort}: CPU / Java's", median(our_rows, 1) / median(java_rows, 1), 0.45 if in_pieces else None)
    table.add(f"{sort}: CPU / plain socket's + checksums'" + (" + a copy's" if in_pieces else ""),
              median(our_rows, 1) / least, 1.5 if in_pieces else None)


def measure_small(cluster, table, quick):
    count = 200 if quick else 2000
    # The Java client may pause for 400 ms before it asks a second time whether a file is complete: fewer files will do.
    java_count = count // 20
    with cluster.runs(cluster.host_command("small", "/small", count)) as ours, \
            cluster.runs(cluster.java_command("small", "/small-java", java_count)) as java:
        our_rows, java_rows = in_turns(2 if quick else 3, warmed_up(ours, WARM_UP), warmed_up(java, JAVA_WARM_UP))
    def per_file(column):
        return median(our_rows, column) / count / (median(java_rows, column) / java_count)
    table.add(f"{count} files of 4 KiB: files per second / Java's", 1 / per_file(0), 2.0, at_least=True)
    table.add(f"{count} files of 4 KiB: CPU per file / Java's", per_file(1), None)


def measure_copy(cluster, table, quick):
    block = block_size(quick)
    for replication in (1, 3):
        large = cluster.large_file(quick, replication)
        with cluster.kept_in_memory(large), \
                cluster.runs(cluster.host_command("copy", large, "/copied")) as copy, \
                cluster.runs(cluster.host_command("write", "/written", large_size(quick), replication, block,
                                                  block)) as write:
            copies, writes, reads = in_turns(2 if quick else 3, warmed_up(copy, WARM_UP), warmed_up(write, WARM_UP),
                                             lambda: cluster.host("read", large, block, 2)[1:])
        table.add(f"copy, replication {replication}: time / our read + our write of the same",
                  median(copies, 0) / (median(reads, 0) + median(writes, 0)), 1.0)


def measure_memory(cluster, table, quick):
    block = block_size(quick)
    large = cluster.large_file(quick, replication=1)
    # The kernel counts resident pages to a fraction of a MiB, so that a single figure may even be a little too small.
    written, copied = in_turns(3, lambda: cluster.host("write-memory", "/written", large_size(quick), 1, block, MIB),
                               lambda: cluster.host("copy-memory", large, "/copied"))
    table.add("memory of a write in calls of 1 MiB beyond a block", (median(written, 0) - block) / MIB, 1.0, " MiB")
    table.add("memory of a copy beyond a block", (median(copied, 0) - block) / MIB, block / MIB + 1.0, " MiB")
