#!/usr/bin/env python3
"""Runs the measurements of ./bench on a private HDFS and prints their table. Started by ./bench, which builds first."""
import argparse
import tempfile

from checksums import measure_crc
from dialog import measure_dialog
from namespace import measure_list, measure_start, measure_stat
from reading import measure_read
from table import Table
from testbed import Cluster
from webhdfs import measure_webhdfs
from writing import measure_copy, measure_memory, measure_small, measure_write

MEASUREMENTS = {"crc": measure_crc, "read random": measure_read, "webhdfs": measure_webhdfs, "write": measure_write,
                "small": measure_small, "copy": measure_copy, "memory": measure_memory, "list": measure_list,
                "stat": measure_stat, "start": measure_start, "dialog": measure_dialog}


def main():
    parser = argparse.ArgumentParser(prog="./bench")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--disk", action="store_true")
    parser.add_argument("--only", default="")
    options = parser.parse_args()
    chosen = [work for name, work in MEASUREMENTS.items() if options.only in name]
    if not chosen:
        parser.error(f"no measurement is called {options.only}")
    table = Table()
    with tempfile.TemporaryDirectory() as work:
        cluster = Cluster(work, options.disk)
        try:
            for measurement in chosen:
                measurement(cluster, table, options.quick)
        finally:
            cluster.stop()
    table.print()


if __name__ == "__main__":
    main()
