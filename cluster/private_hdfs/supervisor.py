"""The process that owns a cluster's servers: their parent, so that none of them outlives it.

It ends, and with it the servers and a temporary data directory, when it is asked to, on SIGTERM, when the owner process
has ended in whatever way, or when the `start` that launched it goes away before the cluster is ready. When it is killed
itself, the kernel ends the servers. It has one thread, because the kernel's promise is about the thread that forks.
"""
import fcntl
import json
import os
import selectors
import shutil
import signal
import socket
import sys

from . import configuration, java, processes, state
from .errors import ClusterError
from .layout import Layout
from .nodes import Node
from .ports import ReservedPorts

# How long the servers of a data directory that stays may take to finish what they write.
_GRACE_SECONDS = 10


class Supervisor:
    """`order` is what `start` asks for: data, temporary, datanodes, jars, owner ({"pid", "started"} or null), settings."""

    def __init__(self, order):
        self._order = order
        self._layout = Layout(order["data"])
        self._reserved = ReservedPorts()
        self._selector = selectors.DefaultSelector()
        self._nodes = {}
        self._ports = {}
        self._ending = False
        self._ready = False

    def run(self, starter):
        """`starter` is the socket to the `start` command: it hears "started" or what went wrong, and says "ready"."""
        self._lock()  # a directory that another supervisor holds is left as it is
        try:
            self._watch_signals()
            self._watch_owner()
            self._start()
            self._listen()
            self._watch_starter(starter)
            starter.sendall(b'{"started": true}\n')
            while not self._ending:
                for key, _ in self._selector.select():
                    key.data()
        finally:
            self._end()

    def _lock(self):
        os.makedirs(self._layout.data, exist_ok=True)
        # Kept open: the lock is held as long as this process lives.
        self._lock_file = open(self._layout.lock, "w")
        try:
            fcntl.flock(self._lock_file, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            raise ClusterError("another private HDFS runs in %s" % self._layout.data) from None

    def _start(self):
        for folder in (self._layout.temporary, os.path.dirname(self._layout.log("namenode"))):
            os.makedirs(folder, exist_ok=True)
        names = ["namenode"] + ["datanode%d" % number for number in range(1, self._order["datanodes"] + 1)]
        self._ports = {name: self._reserve_ports(name) for name in names}
        configuration.write_all(self._layout, self._ports, self._order["settings"])
        java.write_client(self._layout, self._order["jars"])
        self._nodes = {name: Node(name, self._layout, self._order["jars"]) for name in names}
        self._write_state()
        self._nodes["namenode"].format()
        for node in self._nodes.values():
            node.start()
        self._write_state()

    def _reserve_ports(self, name):
        servers = ("rpc", "web") if name == "namenode" else ("data", "web", "ipc")
        return {server: self._reserved.reserve() for server in servers}

    def _write_state(self):
        state.write(self._layout, {
            "supervisor": {"pid": os.getpid(), "started": processes.start_time(os.getpid())},
            "nodes": {name: node.identity() for name, node in self._nodes.items()},
            "ports": self._ports,
            "temporary": self._order["temporary"],
            "superuser": configuration.superuser(),
        })

    def _watch_signals(self):
        reader, writer = socket.socketpair()
        writer.setblocking(False)
        signal.set_wakeup_fd(writer.fileno())
        self._wakeup = writer
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGCHLD):
            signal.signal(number, lambda *_: None)
        signal.signal(signal.SIGHUP, signal.SIG_IGN)
        self._selector.register(reader, selectors.EVENT_READ, lambda: self._on_signals(reader.recv(64)))

    def _on_signals(self, numbers):
        if signal.SIGTERM in numbers or signal.SIGINT in numbers:
            self._ending = True
        for node in self._nodes.values():
            node.state()  # takes note of the ones that ended

    def _watch_owner(self):
        owner = self._order["owner"]
        if owner is None:
            return
        descriptor = processes.open_process(owner["pid"], owner["started"])
        if descriptor is None:
            raise ClusterError("the owner, process %d, has ended" % owner["pid"])
        self._selector.register(descriptor, selectors.EVENT_READ, self._end_soon)

    def _end_soon(self):
        self._ending = True

    def _watch_starter(self, starter):
        self._selector.register(starter, selectors.EVENT_READ, lambda: self._on_starter(starter))

    def _on_starter(self, starter):
        try:
            self._ready = starter.recv(64) == b"ready"
        except OSError:
            self._ready = False
        if not self._ready:
            self._ending = True
        self._selector.unregister(starter)
        starter.close()

    def _listen(self):
        if os.path.exists(self._layout.control):
            os.unlink(self._layout.control)  # of an earlier supervisor that was killed; we hold the lock
        listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        directory = os.open(self._layout.data, os.O_RDONLY | os.O_DIRECTORY)
        try:
            listener.bind(state.socket_address(directory))
        finally:
            os.close(directory)
        listener.listen()
        self._selector.register(listener, selectors.EVENT_READ, lambda: self._answer(listener))

    def _answer(self, listener):
        connection, _ = listener.accept()
        with connection:
            connection.settimeout(5)
            try:
                request = json.loads(connection.makefile("rb").readline())
                try:
                    answer = self._handle(request)
                except ClusterError as problem:
                    answer = {"error": str(problem)}
                connection.sendall(json.dumps(answer).encode() + b"\n")
            except (OSError, ValueError):
                pass  # the asker went away in the middle

    def _handle(self, request):
        verb = request["verb"]
        if verb == "stop":
            self._ending = True
        elif verb != "status":
            self._disturb(verb, request["node"])
        return {"nodes": {name: {**(node.identity() or {}), "state": node.state()} for name, node in self._nodes.items()}}

    def _disturb(self, verb, name):
        if name not in self._nodes:
            raise ClusterError("there is no %s here: the nodes are %s" % (name, ", ".join(self._nodes)))
        node = self._nodes[name]
        if verb == "kill":
            node.kill()
        elif verb == "pause":
            node.pause()
        elif verb == "continue":
            node.resume()
        elif verb == "restart":
            node.kill()
            node.start()
            self._write_state()

    def _end(self):
        for node in reversed(list(self._nodes.values())):
            if self._order["temporary"]:
                node.kill()
            else:
                node.end(_GRACE_SECONDS)
        self._reserved.close()
        if self._order["temporary"]:
            shutil.rmtree(self._layout.data, ignore_errors=True)
            return
        if os.path.exists(self._layout.state):
            state.write(self._layout, {**state.read(self._layout), "supervisor": None, "nodes": {}})
        if os.path.exists(self._layout.control):
            os.unlink(self._layout.control)


def main():
    order = json.loads(sys.argv[1])
    starter = socket.socket(fileno=order["starter"])
    try:
        Supervisor(order).run(starter)
    except ClusterError as problem:
        starter.sendall(json.dumps({"error": str(problem)}).encode() + b"\n")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
