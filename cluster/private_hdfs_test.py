#!/usr/bin/env python3
"""What private-hdfs promises, checked with real servers. Run it as a program; it takes well under a minute."""
import json
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
TOOL = os.path.join(HERE, "private-hdfs")
sys.path.insert(0, HERE)

from private_hdfs import ports, processes  # noqa: E402  (needs the path above)

SECONDS_TO_END = 15


def tool(*arguments, data=None):
    """The finished command: its exit status, what it printed."""
    environment = {name: value for name, value in os.environ.items() if name != "PRIVATE_HDFS_DATA"}
    if data:
        environment["PRIVATE_HDFS_DATA"] = data
    return subprocess.run([sys.executable, TOOL, *arguments], env=environment, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, stdin=subprocess.DEVNULL)


def server_identities(data):
    """(pid, start time) of every process of the cluster, the supervisor's first."""
    with open(os.path.join(data, "private-hdfs.json"), encoding="utf-8") as file:
        state = json.load(file)
    return [(each["pid"], each["started"]) for each in (state["supervisor"], *state["nodes"].values())]


def all_ended(identities):
    return processes.wait_until(lambda: not any(processes.is_running(*each) for each in identities), SECONDS_TO_END)


def connect(address):
    host, _, port = address.rpartition(":")
    return socket.create_connection(("127.0.0.1" if host == "localhost" else host, int(port)), timeout=5)


class Cluster:
    def __init__(self, *arguments):
        done = tool("start", "--owner", str(os.getpid()), *arguments)
        if done.returncode != 0:
            raise AssertionError("start failed: " + done.stderr)
        self.data = next(line.partition("=")[2] for line in done.stdout.splitlines()
                         if line.startswith("export PRIVATE_HDFS_DATA="))
        self.values = json.loads(self.do("env", "--json").stdout)
        self.identities = server_identities(self.data)

    def do(self, *arguments):
        return tool(*arguments, data=self.data)

    def hdfs(self, *arguments, user=None, **more):
        environment = dict(os.environ, HADOOP_USER_NAME=user) if user else os.environ
        return subprocess.run([os.path.join(self.data, "bin", "hdfs"), *arguments], env=environment,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, **more)

    def states(self):
        return {name: node["state"] for name, node in json.loads(self.do("status", "--json").stdout).items()}


class RunningCluster(unittest.TestCase):
    """One cluster with two DataNodes for all of these; each leaves every node running."""

    @classmethod
    def setUpClass(cls):
        cls.cluster = Cluster("--datanodes", "2", "--block-size", "1024", "--property", "dfs.replication=2")
        cls.addClassCleanup(cls.cluster.do, "stop")
        cls.content = os.urandom(5000)
        cls.cluster.hdfs("dfs", "-put", "-", "/gr\u00f6\u00dfe", input=cls.content).check_returncode()

    def test_every_node_runs_in_a_process_of_its_own(self):
        status = self.cluster.do("status")
        self.assertEqual(0, status.returncode)
        self.assertEqual({"namenode": "running", "datanode1": "running", "datanode2": "running"}, self.cluster.states())
        self.assertEqual(4, len({pid for pid, _ in self.cluster.identities}))

    def test_the_clusters_own_client_reads_back_what_it_wrote(self):
        self.assertEqual(self.content, self.cluster.hdfs("dfs", "-cat", "/gr\u00f6\u00dfe").stdout)
        self.assertIn(b"5 block(s)", self.cluster.hdfs("fsck", "/gr\u00f6\u00dfe", "-files").stdout)

    def test_users_other_than_the_superuser_meet_permissions_and_have_groups(self):
        denied = self.cluster.hdfs("dfs", "-mkdir", "/alices", user="alice")
        self.assertNotEqual(0, denied.returncode)
        self.assertIn(b"Permission denied: user=alice", denied.stderr)
        self.assertEqual(b"alice : alice staff\n", self.cluster.hdfs("groups", "alice").stdout)

    def test_servers_listen_on_the_loopback_only(self):
        with open("/proc/net/tcp", encoding="ascii") as table:
            listening = [line.split()[1] for line in table.readlines()[1:] if line.split()[3] == "0A"]
        nodes = json.loads(self.cluster.do("status", "--json").stdout)
        for port in (port for node in nodes.values() for port in node["ports"].values()):
            self.assertEqual(["0100007F:%04X" % port], [each for each in listening if each.endswith(":%04X" % port)])

    def test_killed_datanode_refuses_connections_and_comes_back_on_its_ports_with_its_data(self):
        for node in ("datanode1", "datanode2"):
            self.assertEqual(0, self.cluster.do("node", "kill", node).returncode)
        self.assertEqual(3, self.cluster.do("status").returncode)
        self.assertEqual("ended", self.cluster.states()["datanode1"])
        with self.assertRaises(ConnectionRefusedError):
            connect(self.cluster.values["PRIVATE_HDFS_DATANODE1"])
        self.assertNotEqual(0, self.cluster.do("node", "pause", "datanode1").returncode)
        self.assertEqual(0, self.cluster.do("node", "restart", "datanode1", "--no-wait").returncode)
        self.assertEqual(0, self.cluster.do("node", "restart", "datanode2").returncode)
        connect(self.cluster.values["PRIVATE_HDFS_DATANODE1"]).close()
        self.assertEqual(self.content, self.cluster.hdfs("dfs", "-cat", "/gr\u00f6\u00dfe").stdout)

    def test_paused_datanode_takes_connections_and_says_nothing_until_it_continues(self):
        web = self.cluster.values["PRIVATE_HDFS_DATANODE2_WEB"]
        self.assertEqual(0, self.cluster.do("node", "pause", "datanode2").returncode)
        self.assertEqual("paused", self.cluster.states()["datanode2"])
        with connect(web) as connection:
            connection.sendall(b"GET /jmx HTTP/1.0\r\n\r\n")
            connection.settimeout(0.3)
            with self.assertRaises(socket.timeout):
                connection.recv(1)
            self.assertEqual(0, self.cluster.do("node", "continue", "datanode2").returncode)
            connection.settimeout(10)
            self.assertEqual(b"H", connection.recv(1))
        self.assertEqual("running", self.cluster.states()["datanode2"])

    def test_restarted_namenode_still_has_the_files_and_is_out_of_safe_mode(self):
        self.assertEqual(0, self.cluster.do("node", "restart", "namenode").returncode)
        self.assertEqual(0, self.cluster.hdfs("dfs", "-mkdir", "/after-restart").returncode)
        self.assertEqual(self.content, self.cluster.hdfs("dfs", "-cat", "/gr\u00f6\u00dfe").stdout)

    def test_leaves_safe_mode_when_told_to(self):
        self.cluster.hdfs("dfsadmin", "-safemode", "enter").check_returncode()
        self.assertEqual(3, self.cluster.do("wait", "--seconds", "0.5").returncode)
        self.assertEqual(0, self.cluster.do("leave-safemode").returncode)
        self.assertEqual(0, self.cluster.do("wait").returncode)

    def test_unknown_node_is_named_in_the_error(self):
        done = self.cluster.do("node", "kill", "datanode9")
        self.assertEqual(1, done.returncode)
        self.assertIn("there is no datanode9 here", done.stderr)

    def test_second_start_in_the_same_data_directory_is_refused(self):
        done = tool("start", "--data", self.cluster.data)
        self.assertEqual(1, done.returncode)
        self.assertIn("another private HDFS runs in", done.stderr)
        self.assertEqual(0, self.cluster.do("status").returncode)


class LifeOfACluster(unittest.TestCase):
    """How clusters end, each with one DataNode."""

    def test_cluster_ends_with_its_owner_although_the_owner_was_killed_and_another_cluster_goes_on(self):
        other = Cluster("--datanodes", "1")
        self.addCleanup(other.do, "stop")
        owner = subprocess.Popen(["sleep", "600"])
        self.addCleanup(owner.wait)
        self.addCleanup(owner.kill)
        cluster = Cluster("--datanodes", "1", "--owner", str(owner.pid))
        self.addCleanup(cluster.do, "stop")
        self.assertEqual({"running"}, set(cluster.states().values()))
        owner.kill()
        self.assertTrue(all_ended(cluster.identities))
        self.assertFalse(os.path.exists(cluster.data))
        self.assertEqual({"running"}, set(other.states().values()))
        self.assertEqual(0, other.hdfs("dfs", "-mkdir", "/still-there").returncode)

    def test_no_server_outlives_a_supervisor_that_was_killed_and_stop_cleans_up(self):
        cluster = Cluster("--datanodes", "1")
        self.addCleanup(cluster.do, "stop")
        cluster.do("node", "pause", "datanode1")
        os.kill(cluster.identities[0][0], signal.SIGKILL)
        self.assertTrue(all_ended(cluster.identities))
        self.assertEqual(1, cluster.do("status").returncode)
        self.assertEqual(0, cluster.do("stop").returncode)
        self.assertFalse(os.path.exists(cluster.data))
        self.assertEqual(0, cluster.do("stop").returncode)

    def test_given_data_directory_stays_and_the_next_start_goes_on_with_it(self):
        data = os.path.join(tempfile.mkdtemp(), "so-long-a-name-that-no-socket-address-could-hold-it" * 3)
        self.addCleanup(shutil.rmtree, os.path.dirname(data))
        first = Cluster("--datanodes", "1", "--data", data)
        self.addCleanup(first.do, "stop")
        first.hdfs("dfs", "-put", "-", "/kept", input=b"bytes that stay").check_returncode()
        self.assertEqual(0, first.do("stop").returncode)
        self.assertTrue(all_ended(first.identities))
        second = Cluster("--datanodes", "1", "--data", data)
        self.assertEqual(b"bytes that stay", second.hdfs("dfs", "-cat", "/kept").stdout)
        self.assertEqual(0, second.do("stop").returncode)
        self.assertTrue(all_ended(second.identities))

    def test_start_that_fails_says_why_and_leaves_nothing(self):
        place = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, place)
        # A DataNode without native code refuses to lock memory.
        done = subprocess.run([sys.executable, TOOL, "start", "--datanodes", "1",
                               "--property", "dfs.datanode.max.locked.memory=1000000"],
                              env=dict(os.environ, TMPDIR=place), text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertEqual(1, done.returncode)
        self.assertIn("datanode1 ended", done.stderr)
        self.assertIn("max locked memory", done.stderr)
        self.assertEqual("", done.stdout)
        self.assertEqual([], [name for name in os.listdir(place) if name.startswith("private-hdfs-")])

    def test_start_that_is_killed_half_way_leaves_no_process_and_no_data(self):
        place = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, place)
        start = subprocess.Popen([sys.executable, TOOL, "start", "--datanodes", "1", "--detach"],
                                 env=dict(os.environ, TMPDIR=place), stdout=subprocess.DEVNULL)
        data = []

        def servers_run():
            data[:] = [os.path.join(place, name) for name in os.listdir(place) if name.startswith("private-hdfs-")]
            return data and os.path.exists(os.path.join(data[0], "log", "datanode1.log"))

        self.assertTrue(processes.wait_until(servers_run, 60))
        identities = [each for each in processes_below(data[0])]
        self.assertTrue(identities)
        start.kill()
        start.wait()
        self.assertTrue(all_ended(identities))
        self.assertTrue(processes.wait_until(lambda: not os.path.exists(data[0]), SECONDS_TO_END))


def processes_below(data):
    """(pid, start time) of every process whose command line names the data directory."""
    for name in os.listdir("/proc"):
        if name.isdecimal() and int(name) != os.getpid():
            try:
                with open("/proc/%s/cmdline" % name, "rb") as file:
                    ours = os.fsencode(data) in file.read()
            except OSError:
                continue
            started = processes.start_time(int(name))
            if ours and started is not None:
                yield int(name), started


class WithoutServers(unittest.TestCase):
    def test_stop_does_not_touch_a_process_that_got_the_id_of_a_former_server(self):
        data = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, data, ignore_errors=True)
        stranger = subprocess.Popen(["sleep", "600"])
        self.addCleanup(stranger.wait)
        self.addCleanup(stranger.kill)
        former = {"pid": stranger.pid, "started": processes.start_time(stranger.pid) - 1}
        with open(os.path.join(data, "private-hdfs.json"), "w", encoding="utf-8") as file:
            json.dump({"supervisor": former, "nodes": {"namenode": former}, "ports": {}, "temporary": True}, file)
        self.assertEqual(0, tool("stop", data=data).returncode)
        self.assertIsNone(stranger.poll())
        self.assertFalse(os.path.exists(data))

    def test_directory_with_other_things_in_it_is_refused_and_left_alone(self):
        data = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, data)
        with open(os.path.join(data, "thesis.txt"), "w", encoding="utf-8"):
            pass
        done = tool("start", "--data", data)
        self.assertEqual(1, done.returncode)
        self.assertIn("holds something else", done.stderr)
        self.assertEqual(["thesis.txt"], os.listdir(data))

    def test_wrong_usage_ends_with_status_2_and_a_cluster_that_is_not_named_with_1(self):
        self.assertEqual(2, tool().returncode)
        self.assertEqual(2, tool("start", "--datanodes", "0").returncode)
        self.assertEqual(2, tool("start", "--block-size", "1000").returncode)
        self.assertEqual(2, tool("node", "tickle", "namenode").returncode)
        unnamed = tool("status")
        self.assertEqual(1, unnamed.returncode)
        self.assertIn("--data DIR", unnamed.stderr)

    def test_every_verb_explains_itself(self):
        for verb in (["fetch"], ["start"], ["stop"], ["status"], ["env"], ["wait"], ["leave-safemode"], ["node"],
                     ["node", "kill"], ["node", "pause"], ["node", "continue"], ["node", "restart"]):
            done = tool(*verb, "--help")
            self.assertEqual(0, done.returncode, verb)
            self.assertIn("usage: private-hdfs " + " ".join(verb), done.stdout)

    def test_reserved_port_refuses_clients_is_given_to_nobody_and_can_be_listened_on(self):
        reserved = ports.ReservedPorts()
        self.addCleanup(reserved.close)
        port = reserved.reserve()
        with self.assertRaises(ConnectionRefusedError):
            connect("localhost:%d" % port)
        others = [reserved.reserve() for _ in range(200)]
        self.assertNotIn(port, others)
        with socket.socket() as server:
            server.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)  # as Java's servers do
            server.bind(("127.0.0.1", port))
            server.listen()
            connect("localhost:%d" % port).close()


if __name__ == "__main__":
    unittest.main(verbosity=2)
