"""The file dialog, beside Qt's own and beside an empty one."""
import os
import tempfile

from table import in_turns, median, say
from testbed import TOP, program

ENTERED, SORTED, SCROLLED = 0, 1, 2


def measure_dialog(cluster, table, quick):
    count = 5000 if quick else 100000
    rounds = 2 if quick else 3
    say(f"making {count} files in HDFS and on this machine")
    cluster.hdfs("dfs", "-mkdir", "-p", "/many-rows", "/few-rows")
    cluster.java("fill", "/many-rows", count)
    with tempfile.TemporaryDirectory(dir=os.path.dirname(cluster.data)) as folder:
        few, many = os.path.join(folder, "few"), os.path.join(folder, "many")
        os.mkdir(few)
        os.mkdir(many)
        for number in range(count):
            with open(os.path.join(many, f"file-{number:06d}.dat"), "wb"):
                pass

        def run(*arguments):
            return cluster.numbers([os.path.join(TOP, "testing", "with-display"), program("dialog_bench"),
                                    *map(str, arguments)])

        for view in "list", "detail":
            ours, qt = in_turns(rounds, lambda: run("own", view, "hdfs:/few-rows", "hdfs:/many-rows", count, 2)[1:],
                                lambda: run("qt", view, few, many, count, 2)[1:])
            table.add(f"dialog, {view} of {count} in HDFS, sorted and painted: time / QFileDialog's, local",
                      median(ours, ENTERED) / median(qt, ENTERED), 2)
            if view == "detail":
                table.add("... another sort column: time / QFileDialog's", median(ours, SORTED) / median(qt, SORTED), 2)
            table.add("... to the last row: time / QFileDialog's", median(ours, SCROLLED) / median(qt, SCROLLED), 2)
        rows = run("rows", "hdfs:/many-rows", count, 3)
        table.add(f"model and proxy with {count} rows: heap / bytes of the records", median(rows, 0) / median(rows, 1), 1.5)
        ours, empty = in_turns(rounds, lambda: run("open", "own", "hdfs:/few-rows", 10)[1:],
                               lambda: run("open", "empty", "hdfs:/few-rows", 10)[1:])
        table.add("opening the dialog: milliseconds beyond an empty QDialog",
                  (median(ours, 0) - median(empty, 0)) * 1000, 100, " ms")
        table.add("opening the dialog: time / an empty QDialog's", median(ours, 0) / median(empty, 0), None)
