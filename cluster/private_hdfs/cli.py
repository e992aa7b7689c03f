"""The verbs of `private-hdfs`."""
import argparse
import json
import os
import shlex
import signal
import sys

from . import health, jars, launch, processes, state
from .errors import ClusterError, NotReady
from .layout import Layout

DATA_VARIABLE = "PRIVATE_HDFS_DATA"
CHECKSUM_CHUNK = 512


def main(arguments=None):
    """Exit status: 0 done, 1 it could not be done (said on stderr), 2 wrong usage, 3 (status, wait) not as asked for."""
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))  # runs the clean-up on the way out
    options = _parser().parse_args(arguments)
    try:
        return options.do(options) or 0
    except ClusterError as problem:
        print("private-hdfs: %s" % problem, file=sys.stderr)
        return 3 if isinstance(problem, NotReady) else 1
    except KeyboardInterrupt:
        return 128 + signal.SIGINT


def _parser():
    parser = argparse.ArgumentParser(
        prog="private-hdfs", description="A real HDFS on this machine's loopback: one NameNode and some DataNodes, each a "
        "process of its own, with free ports and a private data directory. Several can run at the same time.")
    verbs = parser.add_subparsers(title="verbs", metavar="VERB", required=True)
    _add(verbs, None, "fetch", _fetch, "fetch the server jars unless this user has them; start does that by itself")
    _add_start(verbs)
    cluster = argparse.ArgumentParser(add_help=False)
    cluster.add_argument("--data", metavar="DIR", help="the cluster's data directory (default: $%s)" % DATA_VARIABLE)
    _add(verbs, cluster, "stop", _stop, "end the servers; removes a data directory that start made itself")
    _add(verbs, cluster, "status", _status, "say how the nodes are; exit status 3 when not all run").add_argument(
        "--json", action="store_true", help="for programs: the nodes with state, process id and ports")
    _add(verbs, cluster, "env", _env, "print shell assignments: addresses, data directory, PATH with the cluster's own "
         "hdfs command").add_argument("--json", action="store_true", help="the same for programs, without PATH")
    waiting = _add(verbs, cluster, "wait", _wait, "wait until every node that is not killed or paused is ready for use")
    waiting.add_argument("--dead", metavar="NODE", help="wait until the NameNode has given up this DataNode instead")
    waiting.add_argument("--seconds", type=float, default=60, help="at most this long (default 60), then exit status 3")
    _add(verbs, cluster, "leave-safemode", _leave_safemode, "take the NameNode out of safe mode")
    _add_node(verbs, cluster)
    return parser


def _add(verbs, parent, name, do, text):
    verb = verbs.add_parser(name, parents=[parent] if parent else [], help=text, description=text[0].upper() + text[1:] + ".")
    verb.set_defaults(do=do)
    return verb


def _add_start(verbs):
    text = "start a cluster, wait until it is ready, print what env prints"
    start = verbs.add_parser("start", help=text, description=text[0].upper() + text[1:] + ".")
    start.set_defaults(do=_start)
    start.add_argument("--data", metavar="DIR", help="data directory: new, empty or of an earlier start; it stays after "
                       "stop (default: a temporary one, which does not)")
    start.add_argument("--datanodes", metavar="N", type=_positive, default=3, help="how many DataNodes (default 3)")
    start.add_argument("--block-size", metavar="BYTES", type=_block_size, default=1 << 20,
                       help="block size of new files of the cluster's own client (default 1 MiB)")
    start.add_argument("--property", metavar="NAME=VALUE", action="append", default=[], type=_property,
                       help="a Hadoop configuration property for all servers and the client; may be repeated")
    life = start.add_mutually_exclusive_group()
    life.add_argument("--owner", metavar="PID", type=_positive,
                      help="the cluster ends when this process ends (default: the process that called start)")
    life.add_argument("--detach", action="store_true", help="the cluster lives until stop")


def _add_node(verbs, cluster):
    text = "disturb one server: namenode, datanode1, datanode2, …"
    node = verbs.add_parser("node", help=text, description=text[0].upper() + text[1:])
    actions = node.add_subparsers(title="actions", metavar="ACTION", required=True)
    for name, explanation in (("kill", "end it with SIGKILL"),
                              ("pause", "SIGSTOP: it keeps its connections and says nothing"),
                              ("continue", "SIGCONT after pause"),
                              ("restart", "start it again on the same ports with the same data (killing it first when it "
                                          "runs), and wait until it is ready")):
        action = actions.add_parser(name, parents=[cluster], help=explanation, description=explanation)
        action.add_argument("node", metavar="NODE")
        action.set_defaults(do=_node, action=name)
        if name == "restart":
            action.add_argument("--no-wait", action="store_true", help="return as soon as the process runs")


def _positive(text):
    if not text.isdecimal() or int(text) < 1:
        raise argparse.ArgumentTypeError("a whole number from 1 on is needed, not %r" % text)
    return int(text)


def _block_size(text):
    if _positive(text) % CHECKSUM_CHUNK:
        raise argparse.ArgumentTypeError("a multiple of %d, the bytes under one checksum, is needed" % CHECKSUM_CHUNK)
    return int(text)


def _property(text):
    name, equals, value = text.partition("=")
    if not name or not equals:
        raise argparse.ArgumentTypeError("NAME=VALUE")
    return name, value


def _layout(options):
    data = options.data or os.environ.get(DATA_VARIABLE)
    if not data:
        raise ClusterError("which cluster? Give --data DIR or set %s (start and env print the assignment)" % DATA_VARIABLE)
    return Layout(data)


def _say(text):
    print("private-hdfs: " + text, file=sys.stderr)


def _fetch(_options):
    jars.folder(_say)


def _start(options):
    owner = None if options.detach else options.owner or os.getppid()
    settings = {"block_size": options.block_size, "properties": dict(options.property)}
    layout = launch.start(options.data, options.datanodes, owner, settings, _say)
    _print_assignments(layout)
    if not options.detach and not options.owner:
        _say("ready; it ends with process %d, which called start (--detach or --owner PID change that)" % owner)


def _stop(options):
    layout = _layout(options)
    if os.path.isdir(layout.data):
        launch.stop(layout)


def _node(options):
    layout = _layout(options)
    state.ask(layout, verb=options.action, node=options.node)
    if options.action == "restart" and not options.no_wait:
        launch.wait(layout, launch.READY_SECONDS)


def _status(options):
    layout = _layout(options)
    nodes = state.ask(layout, verb="status")["nodes"]
    ports = state.read(layout)["ports"]
    if options.json:
        print(json.dumps({name: {**node, "ports": ports[name]} for name, node in nodes.items()}, indent=1))
    else:
        for name, node in nodes.items():
            listening = "  ".join("%s localhost:%d" % item for item in ports[name].items())
            print("%-10s %-8s pid %-8s %s" % (name, node["state"], node["pid"], listening))
    return 0 if all(node["state"] == "running" for node in nodes.values()) else 3


def _wait(options):
    layout = _layout(options)
    if not options.dead:
        return launch.wait(layout, options.seconds)
    ports = state.read(layout)["ports"]
    if options.dead not in ports or options.dead == "namenode":
        raise ClusterError("there is no DataNode %s here" % options.dead)
    if not processes.wait_until(lambda: options.dead in (health.dead(ports) or ()), options.seconds, pause=0.2):
        raise NotReady("the NameNode has not given up %s after %g s" % (options.dead, options.seconds))


def _leave_safemode(options):
    layout = _layout(options)
    state.ask(layout, verb="status")
    os.execv(os.path.join(layout.bin, "hdfs"), ["hdfs", "dfsadmin", "-safemode", "leave"])


def _env(options):
    layout = _layout(options)
    state.ask(layout, verb="status")
    if options.json:
        print(json.dumps(_assignments(layout), indent=1))
    else:
        _print_assignments(layout)


def _assignments(layout):
    current = state.read(layout)
    ports = current["ports"]
    values = {DATA_VARIABLE: layout.data,
              "PRIVATE_HDFS_BIN": layout.bin,
              "PRIVATE_HDFS_SUPERUSER": current["superuser"],
              "PRIVATE_HDFS_NAMENODE": "localhost:%d" % ports["namenode"]["rpc"],
              "PRIVATE_HDFS_NAMENODE_HOST": "localhost",
              "PRIVATE_HDFS_NAMENODE_PORT": str(ports["namenode"]["rpc"]),
              "PRIVATE_HDFS_NAMENODE_WEB": "localhost:%d" % ports["namenode"]["web"],
              "PRIVATE_HDFS_DATANODES": str(len(ports) - 1)}
    for name in ports:
        if name != "namenode":
            values["PRIVATE_HDFS_" + name.upper()] = "localhost:%d" % ports[name]["data"]
            values["PRIVATE_HDFS_" + name.upper() + "_WEB"] = "localhost:%d" % ports[name]["web"]
    return values


def _print_assignments(layout):
    for name, value in _assignments(layout).items():
        print("export %s=%s" % (name, shlex.quote(value)))
    print('export PATH=%s:"$PATH"' % shlex.quote(layout.bin))
    sys.stdout.flush()
