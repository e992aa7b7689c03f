"""Ports that belong to one cluster for its whole life.

A port stays bound here, without listening, while the cluster lives. Java's servers bind with SO_REUSEADDR, so the kernel
lets them bind and listen on the same port; it gives the port to nobody who asks for any free one. A client that connects
while the server is down is refused, as on any port where nobody listens, and a server that is restarted finds its port free.
"""
import socket


class ReservedPorts:
    """Reservations on 127.0.0.1; they end with close() or with the process."""

    def __init__(self):
        self._sockets = []

    def reserve(self):
        """A free port's number."""
        reservation = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        reservation.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        reservation.bind(("127.0.0.1", 0))
        self._sockets.append(reservation)
        return reservation.getsockname()[1]

    def close(self):
        for reservation in self._sockets:
            reservation.close()
        self._sockets = []
