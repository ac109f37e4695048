"""Damaged and unusual picture files."""

import struct
import zlib

import desktop
import vellumcap


def truncated_jpeg(text, name):
    whole = vellumcap.photograph(text, "whole.jpg").read_bytes()
    return written(name, whole[:len(whole) // 4])


def png(name, width, height):
    """A white picture with one bit per pixel."""
    line = b"\0" + b"\xff" * ((width + 7) // 8)
    header = struct.pack(">IIBBBBB", width, height, 1, 0, 0, 0, 0)
    return written(name, b"\x89PNG\r\n\x1a\n" + png_chunk(b"IHDR", header)
                   + png_chunk(b"IDAT", zlib.compress(line * height))
                   + png_chunk(b"IEND", b""))


def png_chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def animation(text, name):
    """A GIF whose first frame shows a code for `text` and whose second frame is white."""
    width, height, pixels = grey_pixels(vellumcap.photograph(text, "frame.pgm"))
    greys = b"".join(bytes([level * 2] * 3) for level in range(128))
    size = struct.pack("<HH", width, height)
    return written(name, b"GIF89a" + size + b"\xf6\0\0" + greys
                   + gif_frame(size, bytes(level // 2 for level in pixels))
                   + gif_frame(size, b"\x7f" * (width * height)) + b";")


def grey_pixels(path):
    kind, size, _depth, pixels = path.read_bytes().split(b"\n", 3)
    assert kind == b"P5"
    return *map(int, size.split()), pixels


def gif_frame(size, pixels):
    """Uses codes of eight bits: clears the code table before it needs nine."""
    clear, end, run = b"\x80", b"\x81", 100
    codes = b"".join(clear + pixels[at:at + run] for at in range(0, len(pixels), run)) + end
    blocks = (codes[at:at + 255] for at in range(0, len(codes), 255))
    control = b"!\xf9\x04\0\x14\0\0\0"  # each frame lasts 0.2 s
    return (control + b",\0\0\0\0" + size + b"\0\x07"
            + b"".join(bytes([len(block)]) + block for block in blocks) + b"\0")


def written(name, content):
    path = desktop.FOLDER / name
    path.write_bytes(content)
    return path
