"""Processes by id, without ever taking a stranger that got the same id later for the one that was meant."""
import ctypes
import os
import select
import signal
import time

_PR_SET_PDEATHSIG = 1
_libc = ctypes.CDLL(None, use_errno=True)


def dies_with_parent():
    """A preexec_fn: the kernel ends the child with SIGKILL when the thread that forked it ends, however it ends."""
    parent = os.getpid()

    def arrange():
        if _libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL, 0, 0, 0) != 0:
            os._exit(127)
        if os.getppid() != parent:  # the parent was gone before the kernel was told
            os._exit(127)

    return arrange


def _stat_fields(pid):
    """The fields of /proc/PID/stat from the state on, or None when there is no such process."""
    try:
        with open("/proc/%d/stat" % pid, "rb") as stat:
            text = stat.read()
    except OSError:
        return None
    return text[text.rindex(b")") + 2:].split()  # the name before may hold spaces and parentheses


def start_time(pid):
    """When the process started, in clock ticks since boot; None when there is none. With the id it names one process."""
    fields = _stat_fields(pid)
    return int(fields[19]) if fields else None


def is_paused(pid):
    """Whether SIGSTOP has taken effect."""
    fields = _stat_fields(pid)
    return bool(fields) and fields[0] == b"T"


def is_running(pid, started):
    """Whether the process that had this id at that start time still runs. A zombie does not."""
    fields = _stat_fields(pid)
    return bool(fields) and int(fields[19]) == started and fields[0] not in (b"Z", b"X")


def open_process(pid, started):
    """A pidfd of exactly that process (readable once it has ended), or None when it is gone. The caller closes it."""
    try:
        descriptor = os.pidfd_open(pid)
    except ProcessLookupError:
        return None
    if start_time(pid) != started:  # checked after opening: from here on the descriptor cannot change its process
        os.close(descriptor)
        return None
    return descriptor


def wait_for_end(descriptor, seconds):
    """Whether the process behind the pidfd ended within that time."""
    return bool(select.select([descriptor], [], [], seconds)[0])


def kill(pid, started, seconds=10):
    """SIGKILL to exactly that process, and wait until it has ended. False when it still runs after `seconds`."""
    descriptor = open_process(pid, started)
    if descriptor is None:
        return True
    try:
        signal.pidfd_send_signal(descriptor, signal.SIGKILL)
        return wait_for_end(descriptor, seconds)
    except ProcessLookupError:
        return True
    finally:
        os.close(descriptor)


def wait_until(condition, seconds, pause=0.02):
    """Whether the condition came true within that time."""
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() >= end:
            return False
        time.sleep(pause)
    return True
