#!/usr/bin/env python3
"""Puts PNG pictures of one size side by side, with nothing but Python's own library:
joinPictures.py OUT.png COLUMNS PICTURE.png ...

Reads 8-bit RGBA without interlacing, which is what tarnel writes."""
import struct
import sys
import zlib

CHANNELS = 4


def fail(text):
    sys.exit(f"joinPictures.py: {text}")


def unfiltered(kind, row, above):
    for i in range(len(row)):
        left = row[i - CHANNELS] if i >= CHANNELS else 0
        up = above[i]
        corner = above[i - CHANNELS] if i >= CHANNELS else 0
        if kind == 1:
            add = left
        elif kind == 2:
            add = up
        elif kind == 3:
            add = (left + up) // 2
        else:
            guess = left + up - corner
            add = min((left, up, corner), key=lambda value: abs(guess - value))
        row[i] = (row[i] + add) & 255
    return row


def read(path):
    with open(path, "rb") as file:
        data = file.read()
    place, packed, size = 8, b"", None
    while place < len(data):
        length, kind = struct.unpack(">I4s", data[place:place + 8])
        chunk = data[place + 8:place + 8 + length]
        if kind == b"IHDR":
            size = struct.unpack(">IIBBBBB", chunk)
        elif kind == b"IDAT":
            packed += chunk
        place += 12 + length
    if size is None or size[2:] != (8, 6, 0, 0, 0):
        fail(f"{path} is no PNG of 8-bit RGBA without interlacing")
    width, height = size[:2]
    raw = zlib.decompress(packed)
    stride = CHANNELS * width
    rows, above = [], bytearray(stride)
    for y in range(height):
        start = y * (stride + 1)
        kind, row = raw[start], bytearray(raw[start + 1:start + 1 + stride])
        above = unfiltered(kind, row, above) if kind else row
        rows.append(bytes(above))
    return width, height, rows


def write(path, width, rows):
    def chunk(kind, content):
        return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", zlib.crc32(kind + content))

    raw = b"".join(b"\0" + row for row in rows)
    header = struct.pack(">IIBBBBB", width, len(rows), 8, 6, 0, 0, 0)
    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b""))


def main(out, columns, *paths):
    columns = int(columns)
    pictures = [read(path) for path in paths]
    if len({picture[:2] for picture in pictures}) != 1:
        fail("the pictures differ in size")
    width, height = pictures[0][:2]
    empty = bytes((255,)) * (CHANNELS * width)
    rows = []
    for first in range(0, len(pictures), columns):
        line = pictures[first:first + columns]
        for y in range(height):
            rows.append(b"".join(picture[2][y] for picture in line) + empty * (columns - len(line)))
    write(out, columns * width, rows)


if len(sys.argv) < 4:
    fail("OUT.png COLUMNS PICTURE.png ...")
main(*sys.argv[1:])
