"""The exceptions whose text is meant for the person at the command line."""


class ClusterError(Exception):
    """Something the caller can read and act on; printed without a traceback, exit status 1."""


class NotReady(ClusterError):
    """Waited for in vain; exit status 3."""
