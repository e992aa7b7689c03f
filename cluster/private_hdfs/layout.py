"""Where things are in a cluster's data directory."""
import os


class Layout:
    def __init__(self, data):
        self.data = os.path.abspath(data)

    def _path(self, *names):
        return os.path.join(self.data, *names)

    @property
    def state(self):
        """The JSON file that says which processes and ports the cluster has. Its presence marks the directory as ours."""
        return self._path("private-hdfs.json")

    @property
    def lock(self):
        """Held by the supervisor while it lives."""
        return self._path("lock")

    @property
    def control(self):
        """The supervisor's Unix socket."""
        return self._path("control")

    @property
    def bin(self):
        return self._path("bin")

    @property
    def temporary(self):
        return self._path("tmp")

    @property
    def hosts(self):
        """The only host names that the servers and their client know."""
        return self._path("conf", "hosts")

    def configuration(self, role):
        """The configuration folder of a node, or of the cluster's own client (role "client")."""
        return self._path("conf", role)

    def log(self, node):
        return self._path("log", node + ".log")

    def last_words(self, node):
        """The end of a server's log, without the length of its class path."""
        with open(self.log(node), encoding="utf-8", errors="replace") as log:
            return "".join(line if len(line) < 400 else line[:400] + "…\n" for line in log.readlines()[-25:])

    def storage(self, node):
        return self._path(node)
