"""What the servers say about themselves on their JMX pages."""
import http.client
import json


def _bean(port, name):
    """One management bean of the server on that web port, or None when it does not answer (yet) or has no such bean."""
    # http.client and not urllib: a proxy in the environment must not come between us and the loopback.
    connection = http.client.HTTPConnection("127.0.0.1", port, timeout=2)
    try:
        connection.request("GET", "/jmx?qry=" + name)
        beans = json.loads(connection.getresponse().read()).get("beans")
        return beans[0] if beans else None
    except (OSError, http.client.HTTPException, ValueError):
        return None
    finally:
        connection.close()


def missing(ports, expected):
    """What keeps the cluster from being ready, in words; empty when it is ready.

    Ready means: the NameNode answers and is out of safe mode, and each DataNode in `expected` is registered as it runs
    now (not as it ran before a restart) and has reported its blocks.
    """
    name_node = _bean(ports["namenode"]["web"], "Hadoop:service=NameNode,name=NameNodeInfo")
    if not name_node or "LiveNodes" not in name_node:
        return "the NameNode does not answer"
    live = {data["xferaddr"].rpartition(":")[2] for data in json.loads(name_node["LiveNodes"]).values()}
    for node in expected:
        if str(ports[node]["data"]) not in live:
            return "%s is not live for the NameNode" % node
        if not _has_reported(ports[node]["web"]):
            return "%s has not reported its blocks" % node
    return "the NameNode is in safe mode" if name_node.get("Safemode") else ""


def dead(ports):
    """The DataNodes that the NameNode has given up, or None when it does not answer."""
    name_node = _bean(ports["namenode"]["web"], "Hadoop:service=NameNode,name=NameNodeInfo")
    if not name_node or "DeadNodes" not in name_node:
        return None
    addresses = {data["xferaddr"].rpartition(":")[2] for data in json.loads(name_node["DeadNodes"]).values()}
    return {node for node in ports if node != "namenode" and str(ports[node]["data"]) in addresses}


def _has_reported(web_port):
    data_node = _bean(web_port, "Hadoop:service=DataNode,name=DataNodeInfo")
    if not data_node:
        return False
    actors = json.loads(data_node.get("BPServiceActorInfo") or "[]")
    return any(actor.get("ActorState") == "RUNNING" for actor in actors)
