"""The configuration files of the servers and of the cluster's own client."""
import os
import pwd
import socket
from xml.sax.saxutils import escape

# Besides the superuser (the user who starts the servers), these users exist, with these groups, the first one primary.
USERS = {"alice": ["alice", "staff"], "bob": ["bob", "staff"], "carol": ["carol"]}
SUPERGROUP = "supergroup"

_LOG4J = """\
log4j.rootLogger=%s,console
log4j.appender.console=org.apache.log4j.ConsoleAppender
log4j.appender.console.target=System.err
log4j.appender.console.layout=org.apache.log4j.PatternLayout
log4j.appender.console.layout.ConversionPattern=%%d{HH:mm:ss,SSS} %%p %%c{2}: %%m%%n
log4j.logger.org.apache.hadoop.util.NativeCodeLoader=ERROR
log4j.logger.org.apache.hadoop.metrics2.impl.MetricsConfig=ERROR
log4j.logger.org.apache.hadoop.hdfs.server.namenode.FSNamesystem.audit=ERROR
"""


def superuser():
    """HDFS's superuser is whoever runs the NameNode."""
    return pwd.getpwuid(os.getuid()).pw_name


def write_all(layout, ports, settings):
    """Write a configuration folder for every node and for the client.

    `ports` maps each node to its ports by name; `settings` holds "block_size" (bytes) and "properties" (name to value,
    put over everything else, for every node and the client).
    """
    shared = dict(_shared(ports, settings))
    extra = settings["properties"]
    _write(layout.configuration("client"), {**shared, **_client(), **extra}, "WARN")
    for node in ports:
        own = _namenode(layout, ports) if node == "namenode" else _datanode(layout, node, ports)
        _write(layout.configuration(node), {**shared, **own, **extra}, "INFO")
    _write_hosts(layout)


def _shared(ports, settings):
    groups = {superuser(): [superuser(), SUPERGROUP], **USERS}
    return {
        "fs.defaultFS": "hdfs://localhost:%d" % ports["namenode"]["rpc"],
        "dfs.namenode.rpc-address": "localhost:%d" % ports["namenode"]["rpc"],
        "dfs.namenode.http-address": "localhost:%d" % ports["namenode"]["web"],
        "dfs.replication": "3",
        "dfs.blocksize": str(settings["block_size"]),
        "dfs.permissions.enabled": "true",
        "dfs.permissions.superusergroup": SUPERGROUP,
        "hadoop.user.group.static.mapping.overrides":
            ";".join("%s=%s" % (user, ",".join(names)) for user, names in groups.items()),
        "hadoop.security.group.mapping": "org.apache.hadoop.security.NullGroupsMapping",
        # A server that is down or paused is what several tests are about: notice it soon.
        "ipc.client.connect.retry.interval": "100",
    }


def _client():
    return {
        "ipc.client.connect.max.retries": "20",
        # There is no fourth DataNode to take the place of one that failed.
        "dfs.client.block.write.replace-datanode-on-failure.policy": "NEVER",
        "fs.trash.interval": "0",
    }


def _namenode(layout, ports):
    return {
        "hadoop.tmp.dir": layout.temporary,
        "dfs.namenode.rpc-bind-host": "127.0.0.1",
        "dfs.namenode.http-bind-host": "127.0.0.1",
        "dfs.namenode.name.dir": "file://" + layout.storage("namenode"),
        # Small enough for a test to have many blocks without many bytes.
        "dfs.namenode.fs-limits.min-block-size": "512",
        "dfs.namenode.replication.min": "1",
        "dfs.namenode.redundancy.interval.seconds": "1s",
        # With three DataNodes on one machine, load says nothing about where a block should go.
        "dfs.namenode.redundancy.considerLoad": "false",
        "dfs.namenode.safemode.extension": "0",
        # A DataNode is given up 2 * recheck + 10 * heartbeat after it was last heard of: 14 s.
        "dfs.heartbeat.interval": "1s",
        "dfs.namenode.heartbeat.recheck-interval": "2000",
        "dfs.namenode.datanode.registration.ip-hostname-check": "false",
        "dfs.namenode.acls.enabled": "true",
        "dfs.webhdfs.enabled": "true",
        "dfs.namenode.resource.du.reserved": str(1 << 20),
        # Nobody pulls the plug of a private cluster, and its data dies with it: no fsync per operation.
        "dfs.namenode.edits.noeditlogchannelflush": "true",
    }


def _datanode(layout, node, ports):
    return {
        "hadoop.tmp.dir": layout.temporary,
        "dfs.datanode.hostname": "localhost",
        "dfs.datanode.address": "127.0.0.1:%d" % ports[node]["data"],
        "dfs.datanode.http.address": "127.0.0.1:%d" % ports[node]["web"],
        "dfs.datanode.ipc.address": "127.0.0.1:%d" % ports[node]["ipc"],
        "dfs.datanode.data.dir": "file://" + layout.storage(node),
        "dfs.heartbeat.interval": "1s",
        "dfs.webhdfs.enabled": "true",
        # A damaged replica stays in place until a client finds it, so that tests decide when that is.
        "dfs.datanode.scan.period.hours": "-1",
        # Until the NameNode answers: it may be killed for as long as a test wants.
        "ipc.client.connect.max.retries": "100",
    }


def _write(folder, properties, level):
    os.makedirs(folder, exist_ok=True)
    lines = ["<configuration>"]
    for name, value in sorted(properties.items()):
        lines.append("  <property><name>%s</name><value>%s</value></property>" % (escape(name), escape(value)))
    lines.append("</configuration>\n")
    # core-site.xml is read by every program, hdfs-site.xml by those that know HDFS; one text serves as both.
    for name in ("core-site.xml", "hdfs-site.xml"):
        with open(os.path.join(folder, name), "w", encoding="utf-8") as out:
            out.write("\n".join(lines))
    with open(os.path.join(folder, "log4j.properties"), "w", encoding="utf-8") as out:
        out.write(_LOG4J % level)


def _write_hosts(layout):
    """Hadoop looks up the machine's own name, which a bare container may not know, and a slow resolver would delay it all."""
    with open(layout.hosts, "w", encoding="ascii") as out:
        out.write("127.0.0.1 localhost\n127.0.0.1 %s\n" % socket.gethostname())
