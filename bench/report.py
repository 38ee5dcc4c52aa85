"""Draws the results of vesk-bench and writes them as a table: report.py JSON SVG MARKDOWN."""

import json
import sys

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plot  # noqa: E402

HOLDS, MISSES, MUTED = "#1b7f4b", "#c0392b", "#8a8f98"
BEGIN, END = "<!-- scripts/bench-report writes from here -->", "<!-- to here -->"


def ratios_with_bars(results):
    """(title, load, what, ratio) of each row, in the order of the table."""
    return [
        (result["title"], result["load"], ratio["what"], ratio)
        for result in results["rows"]
        for ratio in result.get("ratios", [])
        if "bar" in ratio
    ]


def grouped(rows):
    groups = {}
    for title, load, what, ratio in rows:
        groups.setdefault(title, []).append((load, what, ratio))
    return groups


def machine(results):
    told = results["machine"]
    return f"{told['cores']} cores ({told['processor']}), Linux {told['kernel'].split('-')[0]}"


def shown(ratio):
    return f"{ratio:.2f}" if ratio >= 0.1 else f"{ratio:.3f}"


def clock(results):
    return "processor time" if results["time"] == "processor" else "time"


def draw_ratio(axes, place, ratio):
    colour = HOLDS if ratio["holds"] else MISSES
    axes.plot([ratio["low"], ratio["high"]], [place, place], color=colour, linewidth=5, alpha=0.35,
              solid_capstyle="butt")
    axes.plot(ratio["median"], place, "o", color=colour, markersize=5.5)
    axes.plot([ratio["bar"]] * 2, [place - 0.36, place + 0.36], color="black", linewidth=1.8)
    axes.text(1.012, place, shown(ratio["median"]), transform=axes.get_yaxis_transform(), va="center",
              fontsize=8.5, color=colour)
    axes.text(1.07, place, shown(ratio["bar"]), transform=axes.get_yaxis_transform(), va="center", fontsize=8.5)


def draw(results, path):
    matplotlib.rcParams.update({"font.family": "sans-serif", "svg.hashsalt": "vesk", "svg.fonttype": "none"})
    groups = grouped(ratios_with_bars(results))
    lines = sum(len(rows) for rows in groups.values()) + 1.3 * len(groups)
    figure, axes = plot.subplots(figsize=(12, 0.21 * lines + 1.4))
    place, places, labels = 0.0, [], []
    for title, rows in groups.items():
        axes.text(-0.66, place, title, transform=axes.get_yaxis_transform(), va="center", fontsize=10, weight="bold")
        place += 1
        for load, what, ratio in rows:
            draw_ratio(axes, place, ratio)
            places.append(place)
            labels.append(f"{load}: {what}")
            place += 1
        place += 0.3
    axes.set_xscale("log")
    ticks = [0.01, 0.03, 0.1, 0.3, 0.5, 1, 2, 5, 10]
    axes.set_xticks(ticks, [f"{tick:g}" for tick in ticks], fontsize=8.5)
    axes.minorticks_off()
    axes.set_yticks(places, labels, fontsize=8.5)
    axes.set_ylim(place, -1.2)
    axes.axvline(1, color=MUTED, linewidth=0.8, zorder=0)
    axes.grid(axis="x", color="#e6e8eb", zorder=-1)
    axes.tick_params(length=0)
    for side in ("top", "right", "left"):
        axes.spines[side].set_visible(False)
    for where, text in ((1.012, "ratio"), (1.07, "bar")):
        axes.text(where, -0.9, text, transform=axes.get_yaxis_transform(), va="center", fontsize=8.5, color=MUTED)
    axes.set_xlabel(f"{clock(results)} of the library beside its peer, or beside the bare system calls (logarithmic); {machine(results)}",
                    fontsize=8.5)
    axes.set_title("Dot: median, with the middle half of the rounds.  Black: the bar, the most that it may be.  "
                   "Green: it holds.  Red: missed.", fontsize=9.5, loc="right")
    figure.savefig(path, bbox_inches="tight", metadata={"Date": None, "Creator": None})


def table(results):
    lines = ["| What | Load | Ratio | Measured | Middle half | Bar | |", "|---|---|---|---|---|---|---|"]
    before = None
    for title, load, what, ratio in ratios_with_bars(results):
        title_once = title if title != before else ""
        before = title
        lines.append(
            f"| {title_once} | {load} | {what} | {ratio['median']:.3f} | "
            f"{ratio['low']:.3f} to {ratio['high']:.3f} | {shown(ratio['bar'])} | "
            f"{'holds' if ratio['holds'] else '**missed**'} |")
    return lines


def facts(results):
    lines = ["| What | Of | |", "|---|---|---|"]
    for result in results["rows"]:
        for what, value in result.get("facts", {}).items():
            lines.append(f"| {what} | {result['load']} | {value} |")
    return lines


def write(results, path):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    before, _, rest = text.partition(BEGIN)
    _, _, after = rest.partition(END)
    told = ["", f"Measured as {clock(results)} on {machine(results)}.", "", *table(results), "", "Facts that are no ratio:", "",
            *facts(results), ""]
    with open(path, "w", encoding="utf-8") as file:
        file.write(before + BEGIN + "\n".join(told) + "\n" + END + after)


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        results = json.load(file)
    draw(results, sys.argv[2])
    write(results, sys.argv[3])


main()
