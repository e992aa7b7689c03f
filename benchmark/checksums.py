"""Checksums, without any peer."""
import subprocess

from testbed import program


def measure_crc(_, table, quick):
    output = subprocess.run([program("checksums_bench"), "--benchmark_format=csv",
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
