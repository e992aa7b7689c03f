"""What a virtual display of testing/with-display shows."""
import os
import struct
import zlib


class Picture:
    """A rectangle of the screen as it was at one moment. Colours are (red, green, blue)."""

    def __init__(self, width, height, lines):
        self.width = width
        self.height = height
        self.lines = lines  # per line the bytes blue, green, red and an unused one of each point

    def __eq__(self, other):
        return self.lines == other.lines

    def colour(self, x, y):
        blue, green, red = self.lines[y][4 * x:4 * x + 3]
        return red, green, blue

    def crop(self, x, y, width, height):
        right, bottom = min(x + width, self.width), min(y + height, self.height)
        x, y = max(x, 0), max(y, 0)
        return Picture(right - x, bottom - y, [line[4 * x:4 * right] for line in self.lines[y:bottom]])

    def count(self, colour):
        """How many points have this colour."""
        return sum(len(xs) for _, xs in self.points(colour))

    def points(self, colour):
        """For every line with points of this colour: its number, and where they are in it."""
        red, green, blue = colour
        wanted = bytes((blue, green, red))
        for y, line in enumerate(self.lines):
            xs = []
            at = line.find(wanted)
            while at >= 0:
                if at % 4 == 0:
                    xs.append(at // 4)
                at = line.find(wanted, at + 1)
            if xs:
                yield y, xs

    def box(self, colour):
        """The smallest rectangle around all points of this colour (x, y, width, height); None without any."""
        found = list(self.points(colour))
        if not found:
            return None
        left = min(xs[0] for _, xs in found)
        right = max(xs[-1] for _, xs in found)
        return left, found[0][0], right - left + 1, found[-1][0] - found[0][0] + 1

    def save(self, path):
        """Writes a PNG file."""
        def chunk(kind, data):
            return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

        lines = []
        for line in self.lines:
            colours = bytearray(3 * self.width)
            colours[0::3], colours[1::3], colours[2::3] = line[2::4], line[1::4], line[0::4]
            lines.append(b"\0" + colours)
        with open(path, "wb") as file:
            file.write(b"\x89PNG\r\n\x1a\n")
            file.write(chunk(b"IHDR", struct.pack(">IIBBBBB", self.width, self.height, 8, 2, 0, 0, 0)))
            file.write(chunk(b"IDAT", zlib.compress(b"".join(lines), 9)))
            file.write(chunk(b"IEND", b""))


def screen():
    """All of the display now."""
    with open(os.environ["DISPLAY_CONTENTS"], "rb") as file:
        contents = file.read()
    header = struct.unpack(">20I", contents[:80])
    size, depth, width, height, byte_order, bits, stride, colours = (header[i] for i in (0, 3, 4, 5, 7, 11, 12, 19))
    if (depth, byte_order, bits) != (24, 0, 32):
        raise RuntimeError("the display has another format than expected")
    start = size + 12 * colours
    return Picture(width, height, [contents[at:at + 4 * width] for at in range(start, start + stride * height, stride)])
