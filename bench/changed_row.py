"""Where the time of a changed row goes: its part of the comparison, the look at it, what the component does with it,
its write, and its log entries. Also drawn, as changed_row.svg beside the other results.
"""

from figures import figure, median, take_turns
from work import DEBUG, GUID, OFF, shared_work

ROWS = 10_000
COLOURS = {"comparison": "#8da0cb", "look": "#66c2a5", "component": "#fc8d62", "write": "#a6d854", "log": "#e5c494"}
WIDTH, BAR, LINE = 720, 36, 18


def figures(bed, scale):
    work = shared_work(bed)
    state = f"changed_{ROWS}"
    trace = work.trace(state, (GUID,))

    def fresh(measured, *arguments):
        work.restore(state)
        return measured(*arguments)

    taken = take_turns(scale.rounds, {
        "off": lambda: fresh(work.run, (GUID,), OFF), "debug": lambda: fresh(work.run, (GUID,), DEBUG),
        "split": lambda: fresh(work.replay, trace, "--split")})
    rows = taken["off"][0]["updated"]
    split, off = taken["split"], median(taken["off"], "cpu")
    # What the component does itself never waits, so its processor time is its time; it varies less.
    seconds = {"comparison": median(split, "compare"), "look": median(split, "look"),
               "component": off - median(split, "cpu"), "write": median(split, "write"),
               "log": median(taken["debug"], "cpu") - off}
    per_row = {name: value / rows * 1e6 for name, value in seconds.items()}
    (bed.work / "changed_row.svg").write_text(draw(per_row), encoding="utf-8")
    return [figure(f"microseconds of a changed row: {name}", value) for name, value in per_row.items()]


def draw(microseconds):
    """One bar, divided; noise can make a part less than nothing, which is drawn as nothing."""
    total = sum(max(value, 0) for value in microseconds.values())
    shapes, x = [], 0
    for index, (name, value) in enumerate(microseconds.items()):
        width = WIDTH * max(value, 0) / total
        y = BAR + LINE * (index + 1.5)
        shapes += [f'<rect x="{x:.1f}" y="0" width="{width:.1f}" height="{BAR}" fill="{COLOURS[name]}"/>',
                   f'<rect x="0" y="{y - 10:.0f}" width="10" height="10" fill="{COLOURS[name]}"/>',
                   f'<text x="18" y="{y:.0f}">{name}: {value:.0f} \u00b5s, {100 * value / total:.1f} %</text>']
        x += width
    height = BAR + LINE * (len(microseconds) + 1)
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" font-family="sans-serif" '
            f'font-size="13">\n' + "\n".join(shapes) + "\n</svg>\n")
