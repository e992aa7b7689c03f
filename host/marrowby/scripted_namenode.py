"""A NameNode that says whatever a test wants it to say, on a port of the loopback of its own."""
import socket
import struct
import threading

DIRECTORY, FILE = 1, 2


def varint(number):
    encoded = b""
    while number > 0x7F:
        encoded += bytes([number & 0x7F | 0x80])
        number >>= 7
    return encoded + bytes([number])


def field(tag, value):
    """A field of a message: a number, a text, or bytes, which may be a message."""
    if isinstance(value, int):
        return varint(tag << 3) + varint(value)
    if isinstance(value, str):
        value = value.encode()
    return varint(tag << 3 | 2) + varint(len(value)) + value


def fields(message):
    """The values of a message by their tags; only numbers and bytes are understood."""
    found = {}
    at = 0
    while at < len(message):
        key, at = read_varint(message, at)
        value, at = read_varint(message, at)
        if key & 7 == 2:
            value, at = message[at:at + value], at + value
        found[key >> 3] = value
    return found


def read_varint(message, at):
    number = shift = 0
    while True:
        byte = message[at]
        number |= (byte & 0x7F) << shift
        shift += 7
        at += 1
        if byte < 0x80:
            return number, at


def delimited(message):
    return varint(len(message)) + message


def status(name, kind=FILE, length=3):
    """What a NameNode knows about a file or a directory."""
    return (field(1, kind) + field(2, name) + field(3, length) + field(4, field(1, 0o644)) + field(5, "owner") +
            field(6, "group") + field(7, 1) + field(8, 1) + field(10, 1) + field(11, 1 << 20))


def file_info(kind, length=3):
    return field(1, status("", kind, length))


def listing(*names, kind=FILE):
    return field(1, b"".join(field(1, status(name, kind)) for name in names) + field(2, 0))


def datanode(port):
    """Where a block is: one DataNode on the loopback."""
    return field(1, field(1, "127.0.0.1") + field(2, "127.0.0.1") + field(3, "id") + field(4, port) + field(5, 1) +
                 field(6, 1))


def block_locations(length, *datanodes, token=b""):
    """A file of one block."""
    block = field(1, "pool") + field(2, 7) + field(3, 9) + field(4, length)
    tokens = field(1, token) + field(2, b"") + field(3, "") + field(4, "")
    located = field(1, block) + field(2, 0) + b"".join(field(3, node) for node in datanodes) + field(4, 0) + \
        field(5, tokens)
    return field(1, field(1, length) + field(2, located) + field(3, 0) + field(5, 1))


class NameNode:
    """`answers(method, request)` gives the message that answers a call; `request` as `fields` returns it."""

    def __init__(self, answers):
        self.answers = answers
        self.calls = []  # the names of the methods, in order
        self.unreadable = []  # what was received in place of calls
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.address = "127.0.0.1:%d" % self.listener.getsockname()[1]
        self.threads = [threading.Thread(target=self.accept)]
        self.threads[0].start()

    def stop(self):
        """Comes back when all that was received has been looked at."""
        if self.listener.fileno() >= 0:
            self.listener.shutdown(socket.SHUT_RDWR)
        for thread in self.threads:
            thread.join()
        self.listener.close()

    def accept(self):
        while True:
            try:
                connection, _ = self.listener.accept()
            except OSError:
                return
            self.threads.append(threading.Thread(target=self.serve, args=[connection]))
            self.threads[-1].start()

    def serve(self, connection):
        with connection, connection.makefile("rb") as stream:
            connection.settimeout(60)
            stream.read(7)  # "hrpc", version, service class, authentication
            self.frame(stream)  # who connects
            while frame := self.frame(stream):
                try:
                    size, at = read_varint(frame, 0)
                    size, at = read_varint(frame, at + size)
                    method = fields(frame[at:at + size])[1].decode()
                    _, at = read_varint(frame, at + size)
                    request = fields(frame[at:])
                except (IndexError, KeyError, UnicodeDecodeError):
                    self.unreadable.append(frame)
                    return
                self.calls.append(method)
                answer = delimited(field(1, 0) + field(2, 0)) + delimited(self.answers(method, request))
                connection.sendall(struct.pack(">I", len(answer)) + answer)

    def frame(self, stream):
        """The next frame without its length; empty when there is none."""
        head = stream.read(4)
        if len(head) < 4:
            if head:
                self.unreadable.append(head)
            return b""
        size = struct.unpack(">I", head)[0]
        frame = stream.read(size) if size < 1 << 20 else b""
        if len(frame) < size:
            self.unreadable.append(head + frame)
            return b""
        return frame
