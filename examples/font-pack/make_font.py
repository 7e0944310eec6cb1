#!/usr/bin/env python3
"""Makes Fonts/plainblk.ttf: a TrueType font whose every printable ASCII character is one square."""
import pathlib
import struct


def table(tag, data):
    return tag, data


def checksum(data):
    data += b"\0" * (-len(data) % 4)
    return sum(struct.unpack(">%dI" % (len(data) // 4), data)) & 0xFFFFFFFF


def square(low, high):
    """One contour of four points, drawn clockwise."""
    head = struct.pack(">hhhhh", 1, low, low, high, high)
    body = struct.pack(">HH", 3, 0) + bytes([1, 1, 1, 1])
    xs = struct.pack(">hhhh", low, 0, high - low, 0)
    ys = struct.pack(">hhhh", low, high - low, 0, low - high)
    data = head + body + xs + ys
    return data + b"\0" * (-len(data) % 4)


glyph = square(100, 900)
names = {1: "Plain Blocks", 2: "Regular", 3: "Plain Blocks 1.0", 4: "Plain Blocks", 5: "Version 1.0", 6: "PlainBlocks"}
records, texts = b"", b""
for number, text in names.items():
    encoded = text.encode("utf-16-be")
    records += struct.pack(">HHHHHH", 3, 1, 0x409, number, len(encoded), len(texts))
    texts += encoded
# characters 32 to 126 all map to glyph 0
segments = struct.pack(">HHHHHHH", 4, 32, 0, 4, 4, 1, 0) + struct.pack(">HHHHHHhhHH", 126, 0xFFFF, 0, 32, 0xFFFF, 0, 0, 1, 4, 0)
segments += struct.pack(">H", 0) * 95
segments = segments[:2] + struct.pack(">H", len(segments)) + segments[4:]
tables = [
    table(b"OS/2", struct.pack(">HhHHHhhhhhhhhhhhBBBBBBBBBBIIII4sHHHhhhHH", 0, 1000, 400, 5, 0, 650, 600, 0, 75, 650, 600, 0,
                               350, 50, 250, 0, 2, 0, 5, 3, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, b"KEST", 64, 32, 126, 900, -100, 0, 900, 100)),
    table(b"cmap", struct.pack(">HHHHI", 0, 1, 3, 1, 12) + segments),
    table(b"glyf", glyph),
    table(b"head", struct.pack(">IIIIHHQQhhhhHHhhh", 0x10000, 0x10000, 0, 0x5F0F3CF5, 3, 1000, 0, 0, 100, 100, 900, 900, 0, 8, 2, 0, 0)),
    table(b"hhea", struct.pack(">IhhhHhhhhhhhhhhhH", 0x10000, 900, -100, 0, 1000, 100, 100, 900, 1, 0, 0, 0, 0, 0, 0, 0, 1)),
    table(b"hmtx", struct.pack(">Hh", 1000, 100)),
    table(b"loca", struct.pack(">HH", 0, len(glyph) // 2)),
    table(b"maxp", struct.pack(">IHHHHHHHHHHHHHH", 0x10000, 1, 4, 1, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0)),
    table(b"name", struct.pack(">HHH", 0, len(names), 6 + 12 * len(names)) + records + texts),
    table(b"post", struct.pack(">IIhhIIIII", 0x30000, 0, -75, 50, 0, 0, 0, 0, 0)),
]
offset = 12 + 16 * len(tables)
directory, body = struct.pack(">IHHHH", 0x10000, len(tables), 128, 3, len(tables) * 16 - 128), b""
for tag, data in tables:
    directory += tag + struct.pack(">III", checksum(data), offset + len(body), len(data))
    body += data + b"\0" * (-len(data) % 4)
font = bytearray(directory + body)
head_at = font.index(struct.pack(">II", 0x10000, 0x10000), 12 + 16 * len(tables))
font[head_at + 8:head_at + 12] = struct.pack(">I", (0xB1B0AFBA - checksum(bytes(font))) & 0xFFFFFFFF)
target = pathlib.Path(__file__).parent / "Fonts" / "plainblk.ttf"
target.parent.mkdir(exist_ok=True)
target.write_bytes(font)
