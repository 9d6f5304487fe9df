#!/usr/bin/env python3
"""Draws analyzer.ico: a measuring screen with bit rates as columns and a line through their tops.

Run by hand when the drawing changes; the icon is committed beside it. The means are those of the player's icon.
"""
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "player/resources"))
from make_icon import BODY_BOTTOM, BODY_TOP, RIM, mix, rounded_box, write_icon  # noqa: E402

COLUMNS = ((0.34, (52, 84, 208)), (0.55, (60, 196, 208)), (0.44, (70, 190, 84)), (0.68, (232, 205, 60)),
           (0.58, (220, 58, 52)))  # height, colour
LEFT, RIGHT, BOTTOM = 0.14, 0.86, 0.86
LINE = (255, 255, 255)


def top_of(x):
    """Where the line stands: through the middles of the columns' tops, level outside them."""
    width = (RIGHT - LEFT) / len(COLUMNS)
    place = min(max((x - LEFT) / width - 0.5, 0), len(COLUMNS) - 1.000001)
    before = int(place)
    low, high = COLUMNS[before][0], COLUMNS[before + 1][0]
    return BOTTOM - low - (high - low) * (place - before) - 0.06


def colour_at(x, y, size):
    """The colour of one point, or None outside the drawing."""
    body = rounded_box(x, y, 0.02, 0.02, 0.98, 0.98, 0.12)
    if body > 0:
        return None
    if size >= 32 and body > -0.02:
        return mix(RIM, BODY_TOP, y)
    if LEFT <= x < RIGHT:
        if abs(y - top_of(x)) < max(0.022, 0.55 / size):
            return LINE
        width = (RIGHT - LEFT) / len(COLUMNS)
        place = (x - LEFT) / width
        height, colour = COLUMNS[int(place)]
        if 0.12 <= place % 1 <= 0.88 and BOTTOM - height <= y <= BOTTOM:
            return mix(colour, BODY_BOTTOM, 0.35 * (y - BOTTOM + height) / height)
    return mix(BODY_TOP, BODY_BOTTOM, y)


write_icon(sys.argv[1], colour_at)
