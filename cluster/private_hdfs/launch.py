"""Starting a cluster: launch its supervisor and wait until the servers are ready. And ending one."""
import json
import os
import shutil
import socket
import subprocess
import sys
import tempfile
import time

from . import health, jars, processes, state
from .errors import ClusterError, NotReady
from .layout import Layout

READY_SECONDS = 120
# How long a cluster that is ready otherwise may lack block reports: they follow a registration at once.
_REPORT_SECONDS = 5


def start(data, datanodes, owner, settings, say):
    """Start a cluster and return its Layout when it is ready for use.

    `data` is a directory that is new, empty or of an earlier cluster, and stays; with None a temporary one is made, which
    goes away with the servers. `owner` is the id of the process whose end ends the cluster, or None.
    """
    identity = _identity(owner)
    temporary = data is None
    if not temporary:
        _check_is_ours(data)
    jars_folder = jars.folder(say)
    if temporary:
        data = tempfile.mkdtemp(prefix="private-hdfs-")
    layout = Layout(data)
    try:
        os.makedirs(os.path.dirname(layout.log("supervisor")), exist_ok=True)
        order = {"data": layout.data, "temporary": temporary, "datanodes": datanodes, "owner": identity,
                 "settings": settings, "jars": jars_folder}
        _start_supervised(layout, order)
    except BaseException:
        if temporary:
            shutil.rmtree(layout.data, ignore_errors=True)
        raise
    return layout


def _start_supervised(layout, order):
    """When it does not come to "ready", in whatever way, no process is left."""
    process, conversation = _launch_supervisor(layout, order)
    try:
        with conversation:  # closed without "ready", it ends the supervisor
            _wait_for_started(conversation, layout)
            _wait_for_all(layout)
            conversation.sendall(b"ready")
    except BaseException:
        process.wait()
        raise


def _wait_for_all(layout):
    """Wait until a cluster that was just started is ready; at once an error when one of its servers ends."""

    def lacking():
        nodes = state.ask(layout, verb="status")["nodes"]
        for name, node in nodes.items():
            if node["state"] == "ended":
                raise ClusterError("%s ended:\n%s" % (name, layout.last_words(name)))
        return health.missing(ports, [name for name in nodes if name != "namenode"])

    ports = state.read(layout)["ports"]
    text = _until_nothing(lacking, READY_SECONDS)
    if text:
        raise ClusterError("not ready after %d s: %s" % (READY_SECONDS, text))


def wait(layout, seconds):
    """Wait until the NameNode and every DataNode that is not killed or paused are ready for use."""
    ports = state.read(layout)["ports"]
    lacking = _until_nothing(lambda: health.missing(ports, _running_datanodes(layout)), seconds)
    if lacking:
        raise NotReady("not ready after %g s: %s" % (seconds, lacking))
    _until_nothing(lambda: health.unreported(ports, _running_datanodes(layout)), min(seconds, _REPORT_SECONDS))


def _running_datanodes(layout):
    nodes = state.ask(layout, verb="status")["nodes"]
    name_node = nodes.pop("namenode")
    if name_node["state"] != "running":
        raise ClusterError("the NameNode is %s" % name_node["state"])
    return [name for name, node in nodes.items() if node["state"] == "running"]


def _until_nothing(lacking, seconds):
    """Poll until `lacking` returns an empty text, for at most that long; returns its last text."""
    end = time.monotonic() + seconds
    while True:
        text = lacking()
        if not text or time.monotonic() >= end:
            return text
        time.sleep(0.1)


def stop(layout):
    """End the servers and their supervisor; remove a temporary data directory. No error when that has happened already."""
    current = state.read(layout)
    if state.supervisor_runs(current):
        _stop_supervisor(layout, current["supervisor"])
    # After a supervisor that was killed: the kernel has ended the servers, the directory is left.
    for node in current["nodes"].values():
        if node and not processes.kill(node["pid"], node["started"]):
            raise ClusterError("process %d does not end" % node["pid"])
    if current["temporary"]:
        shutil.rmtree(layout.data, ignore_errors=True)


def _stop_supervisor(layout, supervisor):
    descriptor = processes.open_process(supervisor["pid"], supervisor["started"])
    if descriptor is None:
        return
    try:
        try:
            state.ask(layout, verb="stop", seconds=10)
        except ClusterError:
            pass  # it does not answer: ended by force below
        if not processes.wait_for_end(descriptor, 30):
            processes.kill(supervisor["pid"], supervisor["started"])
    finally:
        os.close(descriptor)


def _identity(owner):
    if owner is None:
        return None
    started = processes.start_time(owner)
    if started is None:
        raise ClusterError("there is no process %d to own the cluster" % owner)
    return {"pid": owner, "started": started}


def _check_is_ours(data):
    layout = Layout(data)
    if os.path.exists(data) and not os.path.isdir(data):
        raise ClusterError("%s is not a directory" % data)
    if os.path.exists(layout.state):
        if state.supervisor_runs(state.read(layout)):
            raise ClusterError("another private HDFS runs in %s" % layout.data)
    elif os.path.isdir(data) and os.listdir(data):
        raise ClusterError("%s holds something else than a private HDFS" % layout.data)


def _launch_supervisor(layout, order):
    ours, theirs = socket.socketpair()
    environment = dict(os.environ, PYTHONPATH=os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    with theirs, open(layout.log("supervisor"), "ab") as log:
        order["starter"] = theirs.fileno()
        process = subprocess.Popen([sys.executable, "-m", "private_hdfs.supervisor", json.dumps(order)],
                                   stdin=subprocess.DEVNULL, stdout=log, stderr=log, cwd="/", env=environment,
                                   pass_fds=[theirs.fileno()], start_new_session=True)
    return process, ours


def _wait_for_started(conversation, layout):
    conversation.settimeout(READY_SECONDS)
    try:
        line = conversation.makefile("rb").readline()
    except OSError as problem:
        raise ClusterError("the servers do not start: %s" % problem) from None
    answer = json.loads(line) if line else {"error": "the supervisor ended: see %s" % layout.log("supervisor")}
    if "error" in answer:
        raise ClusterError(answer["error"])
