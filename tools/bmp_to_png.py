#!/usr/bin/env python3
"""bmp_to_png.py FILE.bmp... : writes FILE.png beside each 24-bit bitmap and removes the bitmap."""
import pathlib
import struct
import sys
import zlib


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def convert(path):
    data = path.read_bytes()
    offset, = struct.unpack_from("<I", data, 10)
    width, height, _, bits = struct.unpack_from("<iiHH", data, 18)
    if data[:2] != b"BM" or bits != 24 or height <= 0:
        raise ValueError(f"{path}: not a 24-bit bitmap stored from the bottom up")
    stride = (width * 3 + 3) // 4 * 4
    rows = []
    for y in range(height - 1, -1, -1):
        row = data[offset + y * stride:][:width * 3]
        rows.append([row[x:x + 3][::-1] for x in range(0, width * 3, 3)])
    colours = sorted({pixel for row in rows for pixel in row})
    if len(colours) <= 256:  # a palette makes dialogs a third of the size
        index = {colour: number for number, colour in enumerate(colours)}
        pixels = b"".join(b"\0" + bytes(index[pixel] for pixel in row) for row in rows)
        kind, extra = 3, chunk(b"PLTE", b"".join(colours))
    else:
        pixels = b"".join(b"\0" + b"".join(row) for row in rows)
        kind, extra = 2, b""
    header = struct.pack(">IIBBBBB", width, height, 8, kind, 0, 0, 0)
    path.with_suffix(".png").write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + extra +
                                         chunk(b"IDAT", zlib.compress(pixels, 9)) + chunk(b"IEND", b""))
    path.unlink()


for name in sys.argv[1:]:
    convert(pathlib.Path(name))
