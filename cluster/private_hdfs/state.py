"""The state file of a data directory, and talking to the supervisor that wrote it."""
import json
import os
import socket

from . import processes
from .errors import ClusterError


def write(layout, state):
    """Replace the state file in one step, so that a reader sees the old one or the new one."""
    partial = layout.state + ".new"
    with open(partial, "w", encoding="utf-8") as out:
        json.dump(state, out, indent=1)
        out.write("\n")
    os.replace(partial, layout.state)


def read(layout):
    """The state: "supervisor" and each of "nodes" are {"pid", "started"}, "supervisor" is null after a stop.

    Also "ports" (node to its ports by name), "temporary" (the data directory goes away with the servers), "superuser".
    """
    try:
        with open(layout.state, encoding="utf-8") as file:
            return json.load(file)
    except FileNotFoundError:
        raise ClusterError("no private HDFS in %s" % layout.data) from None


def supervisor_runs(state):
    supervisor = state["supervisor"]
    return bool(supervisor) and processes.is_running(supervisor["pid"], supervisor["started"])


def socket_address(directory):
    """The control socket's name in the opened data directory: short, however long the directory's own name is."""
    return "/proc/self/fd/%d/control" % directory


def ask(layout, seconds=60, **request):
    """Send one request to the supervisor and return its answer. An answer with "error" becomes a ClusterError."""
    if not supervisor_runs(read(layout)):
        raise ClusterError("the private HDFS in %s is not running" % layout.data)
    directory = os.open(layout.data, os.O_RDONLY | os.O_DIRECTORY)
    try:
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as connection:
            connection.settimeout(seconds)
            connection.connect(socket_address(directory))
            connection.sendall(json.dumps(request).encode() + b"\n")
            answer = json.loads(connection.makefile("rb").readline())
    except (OSError, ValueError) as problem:
        raise ClusterError("the supervisor of %s does not answer: %s" % (layout.data, problem)) from None
    finally:
        os.close(directory)
    if "error" in answer:
        raise ClusterError(answer["error"])
    return answer
