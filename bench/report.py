#!/usr/bin/python3
"""Puts what script/bench measured into docs/choosing.md, as tables, and into docs/pictures."""
import json, pathlib, re, statistics, sys
from matplotlib import pyplot, rcParams
from matplotlib.ticker import EngFormatter

DOCS = pathlib.Path(__file__).parents[1] / "docs"
TIME = EngFormatter("s", places=1)
PLOTS = {  # of each program a picture, and the rows that it shows
    "priq": ("queue", "take and push random, waiting"),
    "config": ("configuration", "load sorted, keys: 100k"),
    "table": ("tables", "load 200k rows of 10 cells"),
    "file": ("files", "copy, bytes: 1M"),
}
COLOURS = ("#2f81f7", "#d9730d", "#2da44e", "#a371f7", "#e5534b")  # on light and dark pages
INK = ("axes.edgecolor", "axes.labelcolor", "text.color", "xtick.color", "ytick.color")
rcParams.update(dict.fromkeys(INK, "#757575"))
rcParams.update({"axes.spines.right": False, "axes.spines.top": False, "savefig.transparent": True,
                 "svg.fonttype": "none", "svg.hashsalt": "vimo_util"})


def medians(program):
    """Seconds by row and contestant, from the names row/contestant or row/contestant/number."""
    times = {}
    for run in json.loads((DOCS / f"../build/bench/{program}.json").read_text())["benchmarks"]:
        row, contestant, number = (run["run_name"] + "/").split("/")[:3]
        order = row, run["family_index"], run["per_family_instance_index"]
        title = f"{row}: {EngFormatter(sep='')(int(number))}" if number else row
        if run["run_type"] == "iteration":
            times.setdefault((order, title, contestant), []).append(run["cpu_time"] / 1e9)
    rows = {}
    for order, title, contestant in sorted(times):
        rows.setdefault(title, {})[contestant] = statistics.median(times[order, title, contestant])
    return rows


def table(rows):
    names = list(dict.fromkeys(name for row in rows.values() for name in row))
    text = f"| | {' | '.join(names)} |\n|---|{'---:|' * len(names)}\n"
    for title, row in rows.items():
        cells = {name: TIME(row[name]) for name in row}
        cells[min(row, key=row.get)] = f"**{TIME(min(row.values()))}**"
        text += f"| {title} | {' | '.join(cells.get(name, '') for name in names)} |\n"
    return text


def draw(rows, picture, label):
    rows = {title: row for title, row in rows.items() if title.startswith(label)}
    row = next(iter(rows.values()))
    figure, axis = pyplot.subplots(figsize=(3.2, 2.8 if len(rows) > 1 else 0.8 + 0.3 * len(row)))
    if len(rows) > 1:
        for name, colour in zip(row, COLOURS):
            points = {title.split(": ")[1]: row[name] for title, row in rows.items() if name in row}
            axis.plot(list(points), list(points.values()), "o-", color=colour, label=name)
        axis.set(xlabel=label, yscale="log")
        axis.yaxis.set_major_formatter(EngFormatter("s"))
        axis.legend(frameon=False, ncol=2, loc="lower left", bbox_to_anchor=(0, 1))
    else:
        bars = axis.barh(list(row), list(row.values()), color=COLOURS[0])
        axis.bar_label(bars, map(TIME, row.values()), padding=4)
        axis.set(xlabel=label, xticks=[], ylim=(len(row) - 0.5, -0.5))
    figure.savefig(DOCS / f"pictures/{picture}.svg", metadata={"Date": None}, bbox_inches="tight")


page = DOCS / "choosing.md"
for program in sys.argv[1:]:
    rows = medians(program)
    place = rf"(?s)(<!-- bench:{program} -->\n).*?(<!-- end -->)"
    page.write_text(re.sub(place, rf"\1\n{table(rows)}\n\2", page.read_text()))
    draw(rows, *PLOTS[program])
