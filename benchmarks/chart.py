"""The chart of docs/benchmarks.md: a line for each kind of task and peer, and on it a mark for each task."""
import math
from xml.sax.saxutils import escape

LINE, LEFT, WIDTH, TOP, MARGIN = 24, 350, 530, 64, 28
STYLE = """
    text { font: 13px system-ui, sans-serif; fill: #1f2328 }
    .peer, .axis { fill: #59636e }
    .axis { text-anchor: middle }
    .background { fill: #ffffff }
    line { stroke: #d1d9e0 }
    .equal { stroke: #59636e }
    .met { fill: #0969da; fill-opacity: .75 }
    .missed { fill: none; stroke: #bc4c00; stroke-width: 2 }
    .untargeted { fill: #818b98; fill-opacity: .75 }
    @media (prefers-color-scheme: dark) {
      text { fill: #f0f6fc }
      .peer, .axis { fill: #9198a1 }
      .background { fill: #0d1117 }
      line { stroke: #3d444d }
      .equal { stroke: #9198a1 }
      .met { fill: #4493f8 }
      .missed { stroke: #f0883e }
    }
"""


def mark(x, y, met, title):
    shape = {
        True: f'<circle class="met" cx="{x:.1f}" cy="{y}" r="5">',
        False: f'<rect class="missed" x="{x - 4.5:.1f}" y="{y - 4.5}" width="9" height="9">',
        None: f'<circle class="untargeted" cx="{x:.1f}" cy="{y}" r="4">',
    }[met]
    return f"{shape}<title>{escape(title)}</title></{shape[1:shape.index(' ')]}>"


def draw(ratios):
    """The SVG of (task, peer, ratio of our time to the peer's, whether the target is met or None without one)."""
    lines = {}
    for task, peer, ratio, met in ratios:
        lines.setdefault((task.split(": ")[0], peer), []).append((task, ratio, met))
    ticks = [digit * 10.0**power for power in range(-3, 3) for digit in (1, 2, 5)]
    lowest = max(tick for tick in ticks[:-1] if tick <= min(0.5, *(ratio for _, _, ratio, _ in ratios)))
    highest = min(tick for tick in ticks if tick >= max(2, *(ratio for _, _, ratio, _ in ratios)))

    def x_of(ratio):
        return LEFT + WIDTH * math.log(ratio / lowest) / math.log(highest / lowest)

    bottom = TOP + LINE * len(lines)
    width, height = LEFT + WIDTH + MARGIN, bottom + 16
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" height="{height}">',
        f"<style>{STYLE}</style>",
        f'<rect class="background" width="{width}" height="{height}"/>',
        '<text x="16" y="24">Our time or size divided by the other\'s: further left is better</text>',
    ]
    for x, met, meaning in ((620, True, "target met"), (720, False, "missed"), (800, None, "no target")):
        parts += [mark(x, 20, met, meaning), f'<text x="{x + 10}" y="24" class="peer">{meaning}</text>']
    for tick in ticks:
        if lowest <= tick <= highest:
            x, kind = x_of(tick), ' class="equal"' if tick == 1 else ""
            parts.append(f'<line{kind} x1="{x:.1f}" x2="{x:.1f}" y1="{TOP}" y2="{bottom}"/>')
            parts.append(f'<text class="axis" x="{x:.1f}" y="{TOP - 8}">{tick:g}</text>')
    for index, ((kind, peer), tasks) in enumerate(lines.items()):
        y = TOP + LINE * index + LINE // 2
        label = f'{escape(kind)} <tspan class="peer">/ {escape(peer)}</tspan>'
        parts.append(f'<line x1="16" x2="{width - 16}" y1="{y + LINE // 2}" y2="{y + LINE // 2}"/>')
        parts.append(f'<text x="16" y="{y + 4}">{label}</text>')
        parts += [mark(x_of(ratio), y, met, f"{task} / {peer}: {ratio:.2f}") for task, ratio, met in tasks]
    return "\n".join([*parts, "</svg>", ""])
