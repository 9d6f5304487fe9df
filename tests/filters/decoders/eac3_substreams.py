#!/usr/bin/env python3
"""Adds to a programme of E-AC-3 what 7.1 and services for the visually impaired add.

usage: eac3_substreams.py <PROGRAMME >WITH_SUBSTREAMS

Behind each frame (of six blocks, at 48 kHz) come a dependent substream with surround and back channels of faint noise
and a second independent programme of loud noise. Both are written here bit by bit: no coefficient has a mantissa, so
that the decoder puts in noise as loud as their exponents say.
"""
import sys

INDEPENDENT, DEPENDENT = 0, 1
SURROUND_AND_BACK = 0x1A00  # in the channel map: left, right surround, both back channels
BLOCKS = 6
STEREO, TWO_BEHIND = 2, 6  # modes
GROUPS = 24  # of three exponents each, for the lowest bandwidth
LOUD, FAINT = 0, 10  # exponents
ALL_ALIKE = 62  # a group whose exponents are those before it
POLYNOMIAL = 0x8005


def checksum(data):
    value = 0
    for byte in data:
        value ^= byte << 8
        for _ in range(8):
            value = (value << 1 ^ (POLYNOMIAL if value & 0x8000 else 0)) & 0xFFFF
    return value


def block(kind, mode, channels, first, exponent):
    bits = "00"  # no change of gain, no spectral extension
    if mode == STEREO:
        bits += "0000" if first else "0"  # sides as they are
    if first:
        bits += "000000" * channels  # bandwidths
        bits += (f"{exponent:04b}" + f"{ALL_ALIKE:07b}" * GROUPS + "00") * channels
    return bits + ("0" if kind == INDEPENDENT else "")  # no value for converters


def substream(kind, number, mode, channels, exponent):
    bits = f"0011{mode:03b}0" + "1000011111" + "0"  # 48 kHz, six blocks; version, level; no compression
    if kind == DEPENDENT:
        bits += f"1{SURROUND_AND_BACK:016b}"
    bits += "000"  # no metadata
    bits += "000000000000" + "000000"  # no tools; no coupling
    bits += "00000" * channels  # exponents once in a frame
    if kind == INDEPENDENT:
        bits += "00000" * channels  # the same for converters
    bits += "0000000000" + "0"  # no mantissas
    for i in range(BLOCKS):
        bits += block(kind, mode, channels, i == 0, exponent)
    words = -(-(32 + len(bits) + 18) // 16)
    bits = f"{kind:02b}{number:03b}{words - 1:011b}{bits}".ljust(words * 16 - 32, "0")
    body = int(bits, 2).to_bytes(words * 2 - 4, "big")
    return b"\x0b\x77" + body + checksum(body).to_bytes(2, "big")


added = substream(DEPENDENT, 0, TWO_BEHIND, 4, FAINT) + substream(INDEPENDENT, 1, STEREO, 2, LOUD)
data = sys.stdin.buffer.read()
while data:
    size = 2 * ((data[2] & 7) << 8 | data[3]) + 2
    sys.stdout.buffer.write(data[:size] + added)
    data = data[size:]
