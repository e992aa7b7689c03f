"""The Hadoop server jars: fetched once with Maven, kept outside the tree, shared by all private clusters of a user."""
import fcntl
import os
import shutil
import subprocess
import tempfile
import xml.etree.ElementTree as ElementTree

from .errors import ClusterError
from .processes import dies_with_parent

POM = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "pom.xml")

# The jars hold no web pages, and the servers refuse to start without a folder to serve them from.
WEBAPPS = ("hdfs", "datanode", "static")


def hadoop_version():
    """The version that pom.xml asks for."""
    return ElementTree.parse(POM).getroot().findtext("{*}properties/{*}hadoop.version")


def cache_root():
    base = os.environ.get("XDG_CACHE_HOME") or os.path.join(os.path.expanduser("~"), ".cache")
    return os.path.join(base, "quorhdfs")


def folder(say=lambda text: None):
    """The folder with lib/*.jar and webapps/, fetching it first when this user does not have it yet.

    The folder appears under its name by one rename, so a fetch that was interrupted is never taken for whole. Processes
    that need it at the same time wait for the one that fetches. `say` is told when a fetch begins.
    """
    whole = os.path.join(cache_root(), "hadoop-" + hadoop_version())
    if os.path.isdir(whole):
        return whole
    os.makedirs(cache_root(), exist_ok=True)
    with open(os.path.join(cache_root(), "fetch.lock"), "w") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        if not os.path.isdir(whole):
            _remove_interrupted_fetches()
            say("fetching the Hadoop %s server jars (once, about 65 MB)" % hadoop_version())
            _fetch_into(whole)
    return whole


def class_path(jars_folder):
    """Every jar, then the folder that holds webapps/. The order is fixed, so that every JVM loads the same classes."""
    lib = os.path.join(jars_folder, "lib")
    jars = sorted(name for name in os.listdir(lib) if name.endswith(".jar"))
    return [os.path.join(lib, name) for name in jars] + [jars_folder]


def _remove_interrupted_fetches():
    # Called with the lock held: whoever made these is gone.
    for name in os.listdir(cache_root()):
        if name.startswith("fetching-"):
            shutil.rmtree(os.path.join(cache_root(), name), ignore_errors=True)


def _fetch_into(whole):
    partial = tempfile.mkdtemp(prefix="fetching-", dir=cache_root())
    try:
        lib = os.path.join(partial, "lib")
        _run_maven(lib)
        for name in ("hadoop-common", "hadoop-hdfs", "hadoop-hdfs-client"):
            jar = "%s-%s.jar" % (name, hadoop_version())
            if not os.path.isfile(os.path.join(lib, jar)):
                raise ClusterError("Maven ended well but brought no " + jar)
        for name in WEBAPPS:
            os.makedirs(os.path.join(partial, "webapps", name))
        os.chmod(partial, 0o755)
        os.rename(partial, whole)
    except BaseException:
        shutil.rmtree(partial, ignore_errors=True)
        raise


def _run_maven(lib):
    if shutil.which("mvn") is None:
        raise ClusterError("mvn is not installed; tools/install cluster brings it")
    command = ["mvn", "--batch-mode", "--quiet", "--strict-checksums", "-f", POM,
               "org.apache.maven.plugins:maven-dependency-plugin:copy-dependencies", "-DoutputDirectory=" + lib]
    done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, errors="replace", preexec_fn=dies_with_parent())
    if done.returncode != 0:
        raise ClusterError("fetching the Hadoop jars failed (mvn ended with %d):\n%s"
                           % (done.returncode, done.stdout[-4000:]))
