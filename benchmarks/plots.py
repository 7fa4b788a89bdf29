"""Plots of what operations cost over the number of members, both on logarithmic scales."""

import subprocess

COLOURS = ["#1b6ca8", "#c0392b", "#2e8b57", "#8e44ad", "#d68910", "#34495e", "#7f8c8d"]
# File: title, unit, group, operations, the peer that is shown dashed, measure.
PLOTS = {
    "scale-hashed.svg": (
        "Hashed collections (solid), absl::flat_hash_map (dashed)", "time of an operation, ns",
        "ScaleHashed", ["Hit", "Miss", "Insert", "Erase", "Iterate", "Copy", "CopyChange"],
        "Absl", "ns"),
    "scale-ordered.svg": (
        "Ordered collections (solid), std::map (dashed)", "time of an operation, ns",
        "ScaleOrdered", ["Hit", "Miss", "Insert", "Erase", "Iterate"], "Std", "ns"),
    "scale-edit.svg": (
        "An edit on its way to a mirror", "time of an edit, ns",
        "ScaleEdit", ["Mutate", "Encode", "Apply", "Edit", "ColdEdit"], None, "ns"),
    "scale-memory.svg": (
        "Memory: hashed collections (solid), absl::flat_hash_map (dashed)", "bytes per member",
        "ScaleHashed", ["Memory"], "Absl", "bytes/member"),
}


def _series(all_results, group, operation, who, measure):
    return sorted(
        (key[3], of[measure])
        for results in all_results for key, of in results.all.items()
        if key[:3] == (group, operation, who) and measure in of)


def _script(path, title, unit, series):
    lines = [
        "set terminal svg size 760,460 font 'sans-serif,12' background '#ffffff'",
        f"set output '{path}'",
        f"set title '{title}' noenhanced",
        "set xlabel 'members'",
        f"set ylabel '{unit}'",
        "set logscale xy",
        "set xrange [800:1.25e6]",
        "set format x '10^{%L}'",
        "set format y '10^{%L}'" if unit.startswith("time") else "unset logscale y; set yrange [0:*]",
        "set grid xtics ytics lc rgb '#dddddd'",
        "set key outside right top",
    ]
    plots = []
    for index, (name, colour, dashed, points) in enumerate(series):
        lines += [f"$d{index} << EOD"] + [f"{x} {y:.6g}" for x, y in points] + ["EOD"]
        shape = "dt 2 pt 6" if dashed else "dt 1 pt 7"
        label = "notitle" if dashed else f"title '{name}'"
        plots.append(
            f"$d{index} with linespoints lc rgb '{colour}' lw 1.5 {shape} ps 0.5 {label}")
    return "\n".join(lines + ["plot " + ", ".join(plots)]) + "\n"


def write_plots(all_results, output):
    """Writes the plots for which there is something to show; returns their names."""
    written = []
    for name, (title, unit, group, operations, peer, measure) in PLOTS.items():
        series = []
        for operation, colour in zip(operations, COLOURS):
            for who in ["Corra"] + ([peer] if peer else []):
                points = _series(all_results, group, operation, who, measure)
                if len(points) > 1:
                    series.append((operation, colour, who != "Corra", points))
        if series:
            script = _script(output / name, title, unit, series)
            subprocess.run(["gnuplot"], input=script, text=True, check=True)
            written.append(name)
    return written
