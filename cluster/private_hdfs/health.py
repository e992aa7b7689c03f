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
    now (not as it ran before a restart).
    """
    live = _live_nodes(ports)
    if live is None:
        return "the NameNode does not answer"
    for node in expected:
        if str(ports[node]["data"]) not in live:
            return "%s is not live for the NameNode" % node
        if not _is_registered(_data_node(ports, node)):
            return "%s has not registered" % node
    return "the NameNode is in safe mode" if _name_node(ports).get("Safemode") else ""


def unreported(ports, expected):
    """A DataNode in `expected` of which the NameNode knows fewer replicas than it has, in words; empty when there is none.

    Passes by itself after a restart, with the DataNode's block report. It can also last, for example while a writer that
    died leaves an open replica, so it is nothing to wait for without limit.
    """
    live = _live_nodes(ports) or {}
    for node in expected:
        known = live.get(str(ports[node]["data"]), {}).get("numBlocks", 0)
        volumes = json.loads(_data_node(ports, node).get("VolumeInfo") or "{}")
        if known < sum(volume["numBlocks"] for volume in volumes.values()):
            return "%s has not reported all its blocks" % node
    return ""


def dead(ports):
    """The DataNodes that the NameNode has given up, or None when it does not answer."""
    given_up = _by_data_port(_name_node(ports), "DeadNodes")
    return None if given_up is None else {node for node in ports if str(ports[node].get("data")) in given_up}


def _name_node(ports):
    return _bean(ports["namenode"]["web"], "Hadoop:service=NameNode,name=NameNodeInfo") or {}


def _data_node(ports, node):
    return _bean(ports[node]["web"], "Hadoop:service=DataNode,name=DataNodeInfo") or {}


def _live_nodes(ports):
    return _by_data_port(_name_node(ports), "LiveNodes")


def _by_data_port(name_node, attribute):
    """The NameNode's list of DataNodes, each under its data port's digits; None when the NameNode gave none."""
    if attribute not in name_node:
        return None
    return {data["xferaddr"].rpartition(":")[2]: data for data in json.loads(name_node[attribute]).values()}


def _is_registered(data_node):
    actors = json.loads(data_node.get("BPServiceActorInfo") or "[]")
    return any(actor.get("ActorState") == "RUNNING" for actor in actors)
