#!/usr/bin/env python3
"""PNG files for the pictures test, written and read by hand with zlib.

  picture_helper.py make-png FILE   writes a 96 x 64 picture of a known
                                    pattern and prints the frame text its
                                    dots make
  picture_helper.py png-frame FILE  prints the frame text of a PNG's dots
                                    (grey or palette, 1 or 8 bits)

A frame text: rows from the top, the dots of a row one after the other, the
leftmost in the high bit of a hexadecimal digit, 1 a dark dot.
"""
import struct
import sys
import zlib

WIDTH, HEIGHT = 96, 64


def dark(x, y):
    # Lopsided on purpose, so that a mirrored, turned or shifted picture
    # differs: diagonal stripes, a left edge, and a block near the top left.
    return (x * 7 + y * 3) % 11 < 4 or x == 0 or (2 <= x < 9 and 1 <= y < 4)


def frame_text(dots):
    bits = "".join("1" if d else "0" for d in dots)
    return "".join("%X" % int(bits[i:i + 4], 2) for i in range(0, len(bits), 4))


def chunk(kind, data):
    body = kind + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))


def make_png(path):
    dots = [dark(x, y) for y in range(HEIGHT) for x in range(WIDTH)]
    rows = b"".join(
        b"\x00" + bytes(0 if dots[y * WIDTH + x] else 255 for x in range(WIDTH))
        for y in range(HEIGHT))
    with open(path, "wb") as out:
        out.write(b"\x89PNG\r\n\x1a\n")
        out.write(chunk(b"IHDR", struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 0, 0, 0, 0)))
        out.write(chunk(b"IDAT", zlib.compress(rows)))
        out.write(chunk(b"IEND", b""))
    print(frame_text(dots))


def unfilter(raw, stride, bpp):
    rows, previous, at = [], bytes(stride), 0
    while at < len(raw):
        kind, line = raw[at], bytearray(raw[at + 1:at + 1 + stride])
        at += 1 + stride
        for i in range(stride):
            a = line[i - bpp] if i >= bpp else 0
            b = previous[i]
            c = previous[i - bpp] if i >= bpp else 0
            if kind == 1:
                line[i] = (line[i] + a) & 255
            elif kind == 2:
                line[i] = (line[i] + b) & 255
            elif kind == 3:
                line[i] = (line[i] + (a + b) // 2) & 255
            elif kind == 4:
                p = a + b - c
                pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
                line[i] = (line[i] + (a if pa <= pb and pa <= pc else b if pb <= pc else c)) & 255
        rows.append(bytes(line))
        previous = line
    return rows


def png_frame(path):
    data = open(path, "rb").read()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", "no PNG signature"
    at, idat, palette = 8, b"", None
    while at < len(data):
        (length,) = struct.unpack(">I", data[at:at + 4])
        kind, body = data[at + 4:at + 8], data[at + 8:at + 8 + length]
        at += 12 + length
        if kind == b"IHDR":
            width, height, depth, colour, _, _, interlace = struct.unpack(">IIBBBBB", body)
        elif kind == b"PLTE":
            palette = [body[i:i + 3] for i in range(0, len(body), 3)]
        elif kind == b"IDAT":
            idat += body
    assert colour in (0, 3) and depth in (1, 8) and interlace == 0, "unexpected PNG form"
    rows = unfilter(zlib.decompress(idat), (width * depth + 7) // 8, 1)
    dots = []
    for row in rows[:height]:
        for x in range(width):
            value = (row[x // 8] >> (7 - x % 8)) & 1 if depth == 1 else row[x]
            grey = value * 255 if depth == 1 and colour == 0 else value
            if colour == 3:
                r, g, b = palette[value]
                grey = (299 * r + 587 * g + 114 * b) // 1000
            dots.append(grey < 128)
    print(frame_text(dots))


if __name__ == "__main__":
    {"make-png": make_png, "png-frame": png_frame}[sys.argv[1]](sys.argv[2])
