#!/usr/bin/env python3
"""Rewrites the tables in a Markdown file from the results of the benchmarks.

tables.py RESULTS-FOLDER FILE: what stands between "<!-- NAME -->" and "<!-- end -->" becomes the
table NAME.
"""
import json
import re
import sys
from pathlib import Path

results, target = Path(sys.argv[1]), Path(sys.argv[2])


def load(name):
    """Median runs by name, without the benchmark library's suffixes."""
    runs = {}
    for run in json.loads((results / f"{name}.json").read_text())["benchmarks"]:
        if run["run_type"] == "iteration" or run.get("aggregate_name") == "median":
            base = re.sub(r"/(manual_time|real_time|iterations:\d+|repeats:\d+)|_median$", "", run["name"])
            if run["run_type"] == "aggregate" or base not in runs:
                runs[base] = run
    return runs


def table(*rows):
    head, *body = [[str(cell) for cell in row] for row in rows]
    lines = [head, ["---"] + ["---:"] * (len(head) - 1), *body]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def time(seconds):
    for unit, factor in (("s", 1), ("ms", 1e3), ("µs", 1e6)):
        if seconds * factor >= 1:
            return f"{seconds * factor:.3g} {unit}"
    return f"{seconds * 1e9:.3g} ns"


def real(run):
    return run["real_time"] * {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1}[run["time_unit"]]


def codec():
    runs = load("codec")
    rate = lambda name, size: runs[f"{name}/{size}"]["items_per_second"]
    rows = [["G samples/s", "encode 2,048", "encode 1 Mi", "decode 2,048", "decode 1 Mi"]]
    for name in ("Tamborin", "Spandsp", "Table", "Sndfile"):
        rows.append([name.lower() if name != "Tamborin" else name] +
                    [f"{rate(way + name, size) / 1e9:.2f}"
                     for way in ("encode", "decode") for size in (2048, 1 << 20)])
    rows.append(["memcpy of the samples"] +
                [f"{rate('copySamples', size) / 1e9:.2f}" for _ in range(2) for size in (2048, 1 << 20)])
    for peer in ("Spandsp", None):
        rows.append([f"Tamborin / {'spandsp' if peer else 'memcpy'}"] +
                    [f"{rate(way + 'Tamborin', size) / rate(way + peer if peer else 'copySamples', size):.2f}"
                     for way in ("encode", "decode") for size in (2048, 1 << 20)])
    return table(*rows)


def passes():
    runs = load("pass")
    sleep = runs["nanosleepOneMillisecond"]
    cpu = sleep["cpu_time"] * 1e-9
    rows = [["a pass", "time", "allocations", "of the CPU of a pause"]]
    for what, counts in (("idle", (0, 4, 240)), ("capturing", (4, 240)), ("playing", (4, 240))):
        for count in counts:
            run = runs[f"{what}/{count}"]
            each = 1 / run["items_per_second"]
            rows.append([f"{what}, {count} channels", time(each), f"{run['allocations']:.3g}",
                         f"{100 * each / cpu:.1f} %"])
    rows.append(["the 1 ms pause: wall, CPU", f"{time(real(sleep))}, {time(cpu)}", "", ""])
    return table(*rows)


def syscalls():
    lines = (results / "syscalls.txt").read_text().splitlines()
    calls = {line.split()[-1]: int(line.split()[3]) for line in lines
             if re.match(r"\s*\d+\.\d+\s", line) and line.split()[-1] != "total"}
    most = sorted(calls.items(), key=lambda item: -item[1])[:6]
    return table(["system calls of a whole run of idle passes", "count"], *map(list, most))


def callbacks():
    runs = load("callbacks")
    each = lambda name: 1 / runs[name]["items_per_second"]
    rows = [["callback", "time", "its floor", "ratio"]]
    for name in ("input", "output"):
        rows.append([name, time(each(name)), time(each(name + "Floor")),
                     f"{each(name) / each(name + 'Floor'):.2f}"])
    busy = runs["contention"]
    rows.append(["busy lock, input", f"{busy['buffers lost']:.0f} lost", f"of {busy['input callbacks']:.0f}", ""])
    rows.append(["busy lock, output", f"{busy['gaps']:.0f} gaps", f"of {busy['output callbacks']:.0f}", ""])
    return table(*rows)


def calls():
    rows = [["call", "around it", "median", "p99.99", "longest"]]
    for name, run in load("calls").items():
        what, _, around = name.removeprefix("call/").partition("_")
        rows.append([what, around.lower() or "–"] + [time(run[key]) for key in ("median", "p99.99", "longest")])
    return table(*rows)


def latency():
    run = load("latency")["latency"]
    points = ("p10", "p50", "p90", "p99", "p99.9", "p100")
    rows = [["", *points]]
    for name in ("module", "loop"):
        rows.append([name] + [time(run[f"{name} {point}"]) for point in points])
    rows.append(["ratio"] + [f"{run[f'module {p}'] / run[f'loop {p}']:.2f}" for p in points])
    return table(*rows)


def scale():
    runs = load("scale")
    rows = [["capturing channels", "CPU per channel and hour of audio"]]
    blocks = 3600 * 8000 / 2048
    for count in (1, 4, 16, 64, 240):
        run = runs[f"capture/{count}"]
        rows.append([count, time(run["cpu_time"] * 1e-9 / count * blocks)])
    return table(*rows)


def documents():
    runs = load("scale")
    rows = [["document", "4 channels", "240 channels", "of it fsync"]]
    for name in ("wholeDocument", "parseDocument", "saveDocument", "sendDescription"):
        big = runs[f"{name}/240"]
        rows.append([name, time(real(runs[f"{name}/4"])), time(real(big)),
                     time(big["fsync"]) if big.get("fsync") else "–"])
    return table(*rows)


def whole_process():
    rows = [["program", "CPU per captured second", "of tamborin-host's"]]
    lines = [line.rsplit(" ", 2) for line in (results / "whole_process.txt").read_text().splitlines()]
    ours = float(lines[0][1]) / float(lines[0][2])
    for name, cpu, seconds in lines:
        each = float(cpu) / float(seconds)
        rows.append([name, time(each), f"{each / ours:.2f}"])
    return table(*rows)


def machine():
    context = json.loads((results / "codec.json").read_text())["context"]
    model = re.search(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text()).group(1)
    return table(["measured", "on"], [context["date"][:10], f"{model}, {context['num_cpus']} cores"])


text = target.read_text()
for make in (machine, codec, passes, syscalls, callbacks, calls, latency, scale, documents, whole_process):
    mark = f"<!-- {make.__name__} -->"
    assert mark in text, mark
    text = re.sub(re.escape(mark) + r".*?<!-- end -->", lambda _: f"{mark}\n\n{make()}\n\n<!-- end -->",
                  text, flags=re.S)
target.write_text(text)
