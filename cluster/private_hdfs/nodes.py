"""One server process: started, disturbed, ended. Only the supervisor, its parent, holds these."""
import os
import signal
import subprocess

from . import java, processes
from .errors import ClusterError


class Node:
    def __init__(self, name, layout, jars_folder):
        self.name = name
        self._layout = layout
        self._jars_folder = jars_folder
        self._process = None
        self._started = None

    def start(self):
        self._process = self._run()
        self._started = processes.start_time(self._process.pid)

    def format(self):
        """Prepare the NameNode's storage, unless an earlier run in the same data directory did."""
        if os.path.exists(os.path.join(self._layout.storage(self.name), "current", "VERSION")):
            return
        ended = self._run(["-format", "-nonInteractive", "-clusterid", "private"]).wait()
        if ended != 0:
            raise ClusterError("formatting the NameNode ended with %d:\n%s" % (ended, self._layout.last_words(self.name)))

    def state(self):
        """"running", "paused" or "ended"."""
        if self._process is None or self._process.poll() is not None:
            return "ended"
        return "paused" if processes.is_paused(self._process.pid) else "running"

    def identity(self):
        return {"pid": self._process.pid, "started": self._started} if self._process else None

    def kill(self):
        """SIGKILL; returns when the process is gone."""
        if self.state() != "ended":
            self._process.kill()  # our child and not waited for: the id cannot belong to another process
            self._process.wait()

    def end(self, seconds):
        """Let the server finish what it writes, for at most that long."""
        if self.state() == "ended":
            return
        self._process.send_signal(signal.SIGTERM)
        self._process.send_signal(signal.SIGCONT)
        try:
            self._process.wait(seconds)
        except subprocess.TimeoutExpired:
            self.kill()

    def pause(self):
        self._send(signal.SIGSTOP)
        if not processes.wait_until(lambda: self.state() != "running", 5):
            raise ClusterError("%s does not stop" % self.name)

    def resume(self):
        self._send(signal.SIGCONT)

    def _send(self, number):
        if self.state() == "ended":
            raise ClusterError("%s is not running" % self.name)
        self._process.send_signal(number)

    def _run(self, arguments=()):
        with open(self._layout.log(self.name), "ab") as log:
            return subprocess.Popen(java.server_command(self._layout, self.name, arguments), cwd=self._layout.data,
                                    env=java.server_environment(self._layout, self.name, self._jars_folder),
                                    stdin=subprocess.DEVNULL, stdout=log, stderr=subprocess.STDOUT,
                                    preexec_fn=processes.dies_with_parent())
