"""Command lines of the servers, and the `hdfs` command of the cluster's own client."""
import glob
import os
import shlex
import shutil

from . import jars
from .errors import ClusterError

SERVERS = {"namenode": "org.apache.hadoop.hdfs.server.namenode.NameNode",
           "datanode": "org.apache.hadoop.hdfs.server.datanode.DataNode"}

CLIENT_COMMANDS = {"dfs": "org.apache.hadoop.fs.FsShell",
                   "fsck": "org.apache.hadoop.hdfs.tools.DFSck",
                   "dfsadmin": "org.apache.hadoop.hdfs.tools.DFSAdmin",
                   "debug": "org.apache.hadoop.hdfs.tools.DebugAdmin",
                   "getconf": "org.apache.hadoop.hdfs.tools.GetConf",
                   "groups": "org.apache.hadoop.hdfs.tools.GetGroups"}

_OPENED = ["--add-opens=java.base/%s=ALL-UNNAMED" % package
           for package in ("java.lang", "java.nio", "java.util", "sun.nio.ch")]
_COMMON = ["-XX:+UseSerialGC", "-XX:TieredStopAtLevel=1", "-XX:-UsePerfData", "-Djava.net.preferIPv4Stack=true"] + _OPENED


def executable():
    """The Java that runs everything: Debian's 17, which Hadoop is known to work with, else whatever java there is."""
    candidates = sorted(glob.glob("/usr/lib/jvm/java-17-openjdk-*/bin/java"))
    if os.environ.get("JAVA_HOME"):
        candidates.append(os.path.join(os.environ["JAVA_HOME"], "bin", "java"))
    candidates.append(shutil.which("java"))
    for candidate in candidates:
        if candidate and os.access(candidate, os.X_OK):
            return candidate
    raise ClusterError("no Java found; tools/install cluster brings it")


def server_command(layout, node, arguments=()):
    """The command that runs a node's server; `arguments` go to the server."""
    return [executable(), "-Xmx512m", *_COMMON, *_properties(layout, node),
            SERVERS[node.rstrip("0123456789")], *arguments]


def server_environment(layout, node, jars_folder):
    """The caller's environment without what would make the server another user or give it another configuration."""
    environment = {name: value for name, value in os.environ.items() if not name.startswith("HADOOP_")}
    environment["CLASSPATH"] = _class_path(layout, node, jars_folder)
    environment["LC_ALL"] = "C.UTF-8"  # Java takes the encoding of file names and arguments from the locale
    return environment


def write_client(layout, jars_folder):
    """Write bin/hdfs into the data directory. It needs nothing from the environment."""
    os.makedirs(layout.bin, exist_ok=True)
    java = [executable(), "-Xmx256m", *_COMMON, *_properties(layout, "client")]
    cases = "\n".join("    %s) class=%s ;;" % (name, main) for name, main in CLIENT_COMMANDS.items())
    path = os.path.join(layout.bin, "hdfs")
    with open(path, "w", encoding="utf-8") as out:
        out.write(_CLIENT % {"commands": " | ".join(CLIENT_COMMANDS), "cases": cases,
                             "class_path": shlex.quote(_class_path(layout, "client", jars_folder)),
                             "java": " ".join(shlex.quote(word) for word in java)})
    os.chmod(path, 0o755)


_CLIENT = """\
#!/bin/sh
# The command-line client of the private HDFS in this data directory. HADOOP_USER_NAME=alice makes it act as alice.
case "${1-}" in
%(cases)s
    *)
        echo "usage: hdfs %(commands)s [ARGUMENT...]" >&2
        case "${1-}" in -h | --help | help) exit 0 ;; esac
        exit 2
        ;;
esac
shift
LC_ALL=C.UTF-8
CLASSPATH=%(class_path)s
export LC_ALL CLASSPATH
unset HADOOP_CONF_DIR HADOOP_HOME
exec %(java)s "$class" "$@"
"""


def _properties(layout, role):
    return ["-Djava.io.tmpdir=" + layout.temporary, "-Djdk.net.hosts.file=" + layout.hosts,
            "-Dlog4j.configuration=file:" + os.path.join(layout.configuration(role), "log4j.properties")]


def _class_path(layout, role, jars_folder):
    return os.pathsep.join([layout.configuration(role)] + jars.class_path(jars_folder))
