"""Three small charts as SVG, written by hand: no viewer and no plotting library is needed."""

import math
from dataclasses import dataclass
from html import escape

WIDTH, HEIGHT = 640, 300
LEFT, RIGHT, TOP, BOTTOM = 70, 150, 44, 48
INK, QUIET, GRID = "#1f2328", "#59636e", "#d1d9e0"
OURS, FLOOR, SCRIPT = "#0969da", "#8c959f", "#bc4c00"


@dataclass
class Series:
    name: str
    color: str
    # (x, y) for lines, one y per group for bars.
    values: list


def text(x, y, content, anchor="start", color=QUIET, size=12, weight="normal"):
    return (f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" fill="{color}" '
            f'font-size="{size}" font-weight="{weight}">{escape(content)}</text>')


def line(x1, y1, x2, y2, color, width=1.0, dash=""):
    style = f' stroke-dasharray="{dash}"' if dash else ""
    return (f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" '
            f'stroke="{color}" stroke-width="{width}"{style}/>')


def nice_step(top, count=4):
    """A step of 1, 2 or 5 times a power of ten that fits about `count` times into `top`."""
    power = 10 ** math.floor(math.log10(top / count))
    return next(f * power for f in (1, 2, 5, 10) if f * power * count >= top)


class Chart:
    """The frame, the title and the vertical axis, which begins at zero."""

    def __init__(self, title, unit, largest):
        self.step = nice_step(largest)
        self.top = self.step * math.ceil(largest / self.step)
        self.parts = [text(LEFT, 20, title, color=INK, size=14, weight="bold"),
                      text(LEFT, 36, unit)]
        value = 0
        while value <= self.top * 1.001:
            self.parts.append(line(LEFT, self.y(value), WIDTH - RIGHT, self.y(value), GRID))
            self.parts.append(text(LEFT - 8, self.y(value) + 4, f"{value:g}", "end"))
            value += self.step

    def y(self, value):
        return HEIGHT - BOTTOM - value / self.top * (HEIGHT - TOP - BOTTOM)

    def svg(self):
        body = "\n".join(self.parts)
        return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
                f'width="{WIDTH}" height="{HEIGHT}" font-family="sans-serif">\n'
                f'<rect width="{WIDTH}" height="{HEIGHT}" fill="#ffffff"/>\n{body}\n</svg>\n')


def bars(title, unit, groups, series):
    """One group of bars for each of `groups`, a bar in it for each series; every bar labelled."""
    chart = Chart(title, unit, max(max(one.values) for one in series))
    slot = (WIDTH - LEFT - RIGHT) / len(groups)
    width = min(44, slot * 0.8 / len(series))
    for g, group in enumerate(groups):
        middle = LEFT + (g + 0.5) * slot
        chart.parts.append(text(middle, HEIGHT - BOTTOM + 18, group, "middle"))
        for s, one in enumerate(series):
            x = middle + (s - len(series) / 2) * width
            y = chart.y(one.values[g])
            chart.parts.append(f'<rect x="{x + 1:.1f}" y="{y:.1f}" width="{width - 2:.1f}" '
                               f'height="{HEIGHT - BOTTOM - y:.1f}" fill="{one.color}"/>')
            chart.parts.append(text(x + width / 2, y - 4, f"{one.values[g]:.0f}", "middle", size=11))
    for s, one in enumerate(series):
        y = TOP + 14 + 20 * s
        chart.parts.append(f'<rect x="{WIDTH - RIGHT + 12}" y="{y - 10}" width="12" height="12" '
                           f'fill="{one.color}"/>')
        chart.parts.append(text(WIDTH - RIGHT + 30, y, one.name))
    return chart.svg()


def lines(title, unit, axis, ticks, series, limit=None):
    """Lines over a logarithmic axis. `ticks` are (x, label); `limit` is (y, label) or None."""
    largest = max(y for one in series for _, y in one.values)
    chart = Chart(title, unit, max(largest, limit[0] if limit else 0))
    first, last = math.log(ticks[0][0]), math.log(ticks[-1][0])

    def x_of(value):
        return LEFT + 20 + (math.log(value) - first) / (last - first) * (WIDTH - LEFT - RIGHT - 40)

    for value, label in ticks:
        chart.parts.append(text(x_of(value), HEIGHT - BOTTOM + 18, label, "middle"))
    chart.parts.append(text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 8, axis, "middle"))
    if limit:
        chart.parts.append(line(LEFT, chart.y(limit[0]), WIDTH - RIGHT, chart.y(limit[0]), SCRIPT,
                                dash="5 4"))
        chart.parts.append(text(WIDTH - RIGHT + 8, chart.y(limit[0]) + 4, limit[1], color=SCRIPT))
    for one in series:
        points = " ".join(f"{x_of(x):.1f},{chart.y(y):.1f}" for x, y in one.values)
        chart.parts.append(f'<polyline points="{points}" fill="none" stroke="{one.color}" '
                           'stroke-width="2"/>')
        for x, y in one.values:
            chart.parts.append(f'<circle cx="{x_of(x):.1f}" cy="{chart.y(y):.1f}" r="3.5" '
                               f'fill="{one.color}"/>')
        end = one.values[-1][1]
        chart.parts.append(text(WIDTH - RIGHT + 8, chart.y(end) + 4, one.name, color=one.color))
    return chart.svg()
