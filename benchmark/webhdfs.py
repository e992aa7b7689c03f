"""Reads through WebHDFS, beside curl's."""
import os
import resource
import subprocess

from table import in_turns, median
from testbed import block_of, block_size, large_size


def measure_webhdfs(cluster, table, quick):
    block = block_size(quick)
    # With one replica of each block both sides ask the same DataNode for it.
    large = cluster.large_file(quick, replication=1)
    urls = block_urls(cluster, large, quick)
    with cluster.kept_in_memory(large):
        curl(urls)
        ours, theirs = in_turns(2 if quick else 5, lambda: cluster.web_host("read", large, block, 2)[1:],
                                lambda: [curl(urls)])
    table.add("WebHDFS read, calls of a block: time / curl's", median(ours, 0) / median(theirs, 0), 1.0)
    table.add("WebHDFS read, calls of a block: CPU / curl's", median(ours, 1) / median(theirs, 1), 0.5)


def block_urls(cluster, name, quick):
    """One request for each block, to the DataNode that has it."""
    node_of_block = {}
    for path in cluster.replicas(name):
        node = os.path.relpath(path, cluster.data).split(os.sep)[0]
        node_of_block[block_of(path)] = node
    urls = []
    for index, name_of_block in enumerate(cluster.blocks(name)):
        address = cluster.values[f"PRIVATE_HDFS_{node_of_block[name_of_block].upper()}_WEB"]
        offset = index * block_size(quick)
        length = min(block_size(quick), large_size(quick) - offset)
        urls.append(f"http://{address}/webhdfs/v1{name}?op=OPEN&user.name={cluster.user}"
                    f"&namenoderpcaddress={cluster.namenode}&length={length}&offset={offset}")
    return urls


def curl(urls):
    """Wall time of the transfers and CPU of the process, which does nothing else, for all of `urls`."""
    command = ["curl", "-s", "--fail", "-w", "%{time_total} %{size_download}\\n"]
    for url in urls:
        command += ["-o", "/dev/null", url]
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    output = subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE).stdout
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    rows = [[float(word) for word in line.split()] for line in output.splitlines()]
    return [sum(row[0] for row in rows), after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime,
            sum(row[1] for row in rows)]
