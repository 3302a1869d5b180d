"""Turns the figures into the table, and names the machine."""

import os
import platform
import re


def machine():
    with open("/proc/cpuinfo") as file:
        model = re.search(r"^model name\s*: (.*)$", file.read(), re.M)
    with open("/etc/os-release") as file:
        distribution = re.search(r'^PRETTY_NAME="(.*)"$', file.read(), re.M)
    return {"processor": model.group(1) if model else platform.machine(),
            "cores": os.cpu_count(),
            "distribution": distribution.group(1) if distribution else "unknown"}


def ratio_row(what, value, yardstick, unit, limit=None):
    ratio = value / yardstick
    goal = "" if limit is None else f"{limit:g} x  {'met' if ratio <= limit else 'MISSED'}"
    return (what, f"{value:.4g} {unit}", f"{yardstick:.4g} {unit}", f"{ratio:.2f} x", goal)


def limit_row(what, value, unit, limit=None):
    goal = "" if limit is None else f"{limit:g} {unit}  {'met' if value <= limit else 'MISSED'}"
    return (what, f"{value:.4g} {unit}", "", "", goal)


def micro_rows(micro):
    """The job command holds the exchange of an empty one: what is left is its document."""
    yield "single operations, processor time of their thread"
    for name, figures in micro.items():
        yield limit_row(f"  {name.replace('_', ' ')}", figures["cpu_ns"] / 1000, "us")


def idle_rows(idle):
    threaded, empty = idle["threaded poller"], idle["empty GTK"]
    plain, with_file = idle["program"], idle["program, ten-line file"]
    bare = idle["bare poller"]
    yield "idle, against the threaded poller"
    for what, figures, limit in (("  processor time per poll", plain, 1.3),
                                 ("  the same, ten-line file, level 0", with_file, 2)):
        yield ratio_row(what, figures["cpu_us_per_poll"], threaded["cpu_us_per_poll"], "us", limit)
    yield ratio_row("  threaded poller, against the bare one", threaded["cpu_us_per_poll"],
                    bare["cpu_us_per_poll"], "us")
    for what, key, unit in (("context switches per poll", "switches_per_poll", ""),
                            ("system calls per poll", "calls_per_poll", "")):
        yield ratio_row(f"  {what}", plain[key], threaded[key], unit)
        yield ratio_row(f"  {what}, ten-line file", with_file[key], threaded[key], unit)
    yield limit_row("  share of a core", plain["core_percent"], "%")
    yield limit_row("  share of a core, ten-line file", with_file["core_percent"], "%")
    yield "memory, against the empty GTK application"
    yield ratio_row("  proportional", plain["proportional_kib"], empty["proportional_kib"], "KiB",
                    1.1)
    yield ratio_row("  resident", plain["resident_kib"], empty["resident_kib"], "KiB")


def latency_rows(latency):
    yield f"latency, error held to box mapped, {latency['count']} times"
    yield limit_row("  minimum", latency["minimum"], "ms")
    yield limit_row("  median", latency["median"], "ms", 115)
    yield limit_row("  95th percentile", latency["p95"], "ms", 200)
    yield limit_row("  maximum", latency["maximum"], "ms")


def answer_rows(answer):
    yield f"answer, button released to command at the service, {answer['count']} times"
    for what, key in (("minimum", "minimum"), ("median", "median"), ("95th percentile", "p95"),
                      ("maximum", "maximum")):
        yield limit_row(f"  {what}", answer[key], "ms")


def scale_rows(scale):
    figures = scale["open"]
    first = figures["10" if "10" in figures else min(figures, key=int)]
    yield "boxes open, against the first ten"
    for count, figure in figures.items():
        yield ratio_row(f"  build and map one, up to {count}", figure["build_and_map_ms"],
                        first["build_and_map_ms"], "ms", 1.2 if count == "110" else None)
        yield ratio_row(f"  processor time of one, up to {count}", figure["cpu_ms_per_box"],
                        first["cpu_ms_per_box"], "ms")
        yield limit_row(f"  processor time per idle poll with {count}",
                        figure["idle_cpu_us_per_poll"], "us")
    least, most = (figures[count] for count in (min(figures, key=int), max(figures, key=int)))
    boxes = max(map(int, figures)) - min(map(int, figures))
    yield limit_row("  memory per box", (most["memory"]["private"] -
                                         least["memory"]["private"]) / boxes, "KiB")
    batches = scale["batches"]
    # Private memory: the share of libraries in the proportional one depends on who else has them.
    yield "private memory left, against that after the first batch of boxes"
    yield ratio_row(f"  after {len(batches)} batches, each closed", batches[-1]["private"],
                    batches[0]["private"], "KiB", 1.02)
    yield ratio_row(f"  after {max(map(int, figures))} at once, all closed",
                    scale["after_all_closed"]["private"], batches[0]["private"], "KiB")


def start_rows(start):
    yield "start, median"
    for what, other in (("program's first request, against active empty GTK", "empty GTK"),
                        ("the same, against the threaded poller's", "threaded poller")):
        yield ratio_row(f"  {what}", start["program"]["median"], start[other]["median"], "ms")


ROWS = {"micro": micro_rows, "idle": idle_rows, "latency": latency_rows, "answer": answer_rows,
        "scale": scale_rows, "start": start_rows}


def table(results):
    """The text of the table; `results` as it was read from JSON."""
    head = ("what", "measured", "yardstick", "ratio", "at most")
    rows = [head]
    for name, figures in results["figures"].items():
        rows += list(ROWS[name](figures))
    widths = [max(len(row[i]) for row in rows if isinstance(row, tuple)) for i in range(5)]
    lines = [f"{results['date']}: " + ", ".join(f"{key} {value}"
                                                for key, value in results["machine"].items()), ""]
    for row in rows:
        if isinstance(row, str):
            lines += ["", row]
        else:
            cells = [row[0].ljust(widths[0])] + [
                cell.rjust(width) for cell, width in zip(row[1:4], widths[1:4])] + [row[4]]
            lines.append("  ".join(cells).rstrip())
    return "\n".join(lines) + "\n"
