#!/usr/bin/env python3
"""Rewrites the tables of docs/performance.md from what the benchmarks measured.

    tables.py RESULTS_FOLDER docs/performance.md

Each table stands between <!-- NAME --> and <!-- end -->. The text around them is written by hand.
"""
import json
import os
import platform
import re
import sys
import time

results, page = sys.argv[1:3]


def load(name):
    with open(os.path.join(results, name)) as file:
        return json.load(file)


def benchmarks(name):
    """Returns the results by name; of a repeated benchmark, the medians."""
    chosen = {}
    for one in load(name + ".json")["benchmarks"]:
        if one["run_type"] == "iteration" and one.get("repetitions", 1) <= 1 or \
                one.get("aggregate_name") == "median":
            key = re.sub(r"/(iterations:\d+|manual_time|real_time|min_time:[\d.]+|repeats:\d+)", "",
                         one["run_name"])
            chosen[key] = one
    return chosen


def seconds(value):
    for unit, factor in (("s", 1), ("ms", 1e3), ("µs", 1e6)):
        if value * factor >= 1:
            return f"{value * factor:.3g} {unit}"
    return f"{value * 1e9:.3g} ns"


def table(*rows):
    rows = [[str(cell) for cell in row] for row in rows]
    lines = ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join([lines[0], "|" + "---|" * len(rows[0]), *lines[1:]])


def per_second(one):
    return one["real_time"] / 1e9


def per_item(one):
    return 1 / one["items_per_second"]


def machine():
    context = load("codec.json")["context"]
    with open("/proc/cpuinfo") as file:
        model = re.search(r"model name\s*: (.*)", file.read())
    with open(os.path.join(results, "compiler")) as file:
        compiler = file.read().strip()
    loads = [f"{name} {load(name + '.json')['context']['load_avg'][0]:.1f}"
             for name in ("codec", "pass", "scale", "calls", "latency", "callbacks")
             if load(name + ".json")["context"].get("load_avg")]
    return table(
        ["", ""],
        ["processor", f"{context['num_cpus']} x {model[1] if model else platform.machine()}"],
        ["kernel", platform.release()],
        ["compiler", compiler],
        ["day", time.strftime("%Y-%m-%d")],
        ["load average as each benchmark began", ", ".join(loads)])


def codec():
    found = benchmarks("codec")
    rows = [["G samples/s", "2,048 samples", "x spandsp", "x memcpy", "1 Mi samples", "x spandsp",
             "x memcpy"]]
    peers = (("Tamborin", "Tamborin"), ("spandsp", "Spandsp"), ("libsndfile, in memory", "Sndfile"))
    for way, entries in (("encode", "64 Ki"), ("decode", "256")):
        for label, name in (*peers, (f"table of {entries} entries", "Table")):
            row = [f"{way}: {label}"]
            for size in ("2048", "1048576"):
                rate = found[f"{way}{name}/{size}"]["items_per_second"]
                spandsp = found[f"{way}Spandsp/{size}"]["items_per_second"]
                copy = found[f"copySamples/{size}"]["items_per_second"]
                row += [f"{rate / 1e9:.2f}", f"{rate / spandsp:.1f}", f"{rate / copy:.2f}"]
            rows.append(row)
    copies = [found[f"copySamples/{size}"]["items_per_second"] / 1e9 for size in (2048, 1048576)]
    rows.append(["memcpy of the samples", f"{copies[0]:.2f}", "", "1", f"{copies[1]:.2f}", "", "1"])
    return table(*rows)


def worker_pass():
    found = benchmarks("pass")
    sleep = found["nanosleepOneMillisecond"]
    sleep_cpu = sleep["cpu_time"] / 1e9
    rows = [["pass", "channels", "time", "per channel", "of the pause's CPU", "allocations"]]
    for kind, counts in (("idle", (0, 4, 240)), ("capturing", (4, 240)), ("playing", (4, 240))):
        for count in counts:
            one = found[f"{kind}/{count}"]
            took = per_item(one)
            rows.append([kind, count, seconds(took), seconds(took / count) if count else "",
                         f"{100 * took / sleep_cpu:.1f} %", f"{one['allocations']:.3g}"])
    clocks = per_second(found["twoClockReadings"])
    rows.append(["limit: two clock readings", "", seconds(clocks), "",
                 f"{100 * clocks / sleep_cpu:.1f} %", "0"])
    rows.append(["nanosleep of 1 ms", "", f"{seconds(sleep['real_time'] / 1e9)}, "
                 f"{seconds(sleep_cpu)} of them CPU", "", "100 %", ""])
    return table(*rows)


def system_calls():
    """Makes the table from strace's counts."""
    found = benchmarks("strace")
    passes = sum(one["passes"] for one in found.values())
    with open(os.path.join(results, "strace.txt")) as file:
        calls = int(re.search(r"^100\.00\s+\S+\s+(?:\S+\s+)?(\d+)", file.read(), re.M)[1])
    return table(["passes that were timed", "system calls of the whole process", "per pass"],
                 [f"{passes:,.0f}", f"{calls:,}", f"{calls / passes:.5f}"])


def callbacks():
    found = benchmarks("floors")
    rows = [["callback", "time", "its floor", "ratio"]]
    for name, floor in (("input", "malloc and memcpy of 4096 bytes, try-lock"),
                        ("output", "memcpy of 4096 bytes, try-lock")):
        took, least = per_item(found[name]), per_item(found[name + "Floor"])
        rows.append([name, seconds(took), f"{seconds(least)} ({floor})", f"{took / least:.2f}"])
    return table(*rows)


def contention():
    one = benchmarks("callbacks")["contention"]
    return table(["callbacks", "number", "found the lock busy"],
                 ["input", f"{one['input callbacks']:,.0f}", f"{one['buffers lost']:.0f} lost"],
                 ["output", f"{one['output callbacks']:,.0f}", f"{one['gaps']:.0f} gaps"])


def calls():
    found = benchmarks("calls")
    labels = {"WriteAudio": "`Write`", "WriteRefused": "`Write`, refused record",
              "IoctlDocument": "`IOCTL` 2", "IoctlIgnored": "`IOCTL` 4",
              "WriteToOpening": "`Write` to the output being opened (p99.9)"}
    rows = [["median / p99.99", "alone", "worker running", "worker opening a stream (5 ms each)",
             "alone, x limit"]]
    limit = found["allocationAndLock"]

    def cell(one, tail="p99.99"):
        return f"{seconds(one['median'])} / {seconds(one[tail])}" if one else ""
    for name, label in labels.items():
        tail = "p99.9" if name == "WriteToOpening" else "p99.99"
        alone = found.get(f"call/{name}_Alone")
        queues = name in ("WriteAudio", "IoctlDocument")
        rows.append([label, *(cell(found.get(f"call/{name}_{around}"), tail)
                              for around in ("Alone", "Running", "Opening")),
                     f"{alone['median'] / limit['median']:.2f}" if queues else ""])
    rows.append(["limit: an allocation and a lock", cell(limit), "", "", "1"])
    rows.append(["reading the clock, part of all", cell(found["nothing"]), "", "", ""])
    return table(*rows)


def latency():
    one = benchmarks("latency")["latency"]
    columns = ("p10", "p50", "p90", "p99", "p99.9", "p100")
    rows = [["", "events", *columns]]
    for name, label in (("module", "callback's return to the host's record"),
                        ("loop", "the same to a bare loop of 1 ms pauses")):
        rows.append([label, f"{one[name + ' count']:,.0f}",
                     *(seconds(one[f"{name} {column}"]) for column in columns)])
    rows.append(["ratio", "", *(f"{one[f'module {c}'] / one[f'loop {c}']:.2f}" for c in columns)])
    return table(*rows)


def scale():
    found = benchmarks("scale")
    rows = [["channels", "CPU per channel-hour, without pauses", "x limit", "with the pauses' CPU"]]
    sleep = benchmarks("pass")["nanosleepOneMillisecond"]
    pauses = 3600 / (sleep["real_time"] / 1e9) * sleep["cpu_time"] / 1e9
    blocks = 3600 * 8000 / 2048
    limit = found["bareBlock"]["cpu_time"] / 1e9 * blocks
    for count in (1, 4, 16, 64, 240):
        took = found[f"capture/{count}"]["cpu_time"] / 1e9 / count * blocks
        rows.append([count, seconds(took), f"{took / limit:.1f}", seconds(took + pauses / count)])
    rows.append(["limit: a block copied and encoded", seconds(limit), "1", ""])
    return table(*rows)


def documents():
    found = benchmarks("scale")
    rows = [["step", "4 channels", "240 channels"]]
    steps = {}
    for count in (4, 240):
        whole = found[f"wholeDocument/{count}"]
        save = found[f"saveDocument/{count}"]
        parts = {"parse": per_second(found[f"parseDocument/{count}"]),
                 "describe": per_second(found[f"describe/{count}"]),
                 "save, without fsync": per_second(save) - save["fsync"],
                 "send": per_second(found[f"sendDescription/{count}"])}
        total = per_second(whole) - whole["fsync"]
        steps[count] = {**parts, "apply (the rest)": total - sum(parts.values()),
                        "**all, without fsync**": total, "fsync": whole["fsync"]}
    for step in steps[4]:
        rows.append([step, *(seconds(steps[count][step]) for count in (4, 240))])
    return table(*rows)


def whole_process():
    found = load("whole_process.json")
    least = found[0]["cpu"]
    rows = [["program", "CPU per captured second", "x empty callback", "wake-ups a second"]]
    for one in found:
        rows.append([one["name"], seconds(one["cpu"]), f"{one['cpu'] / least:.2f}",
                     f"{one['wakeups']:.0f}"] if one["runs"] else
                    [one["name"], "did not run", "", ""])
    return table(*rows)


def serve():
    rows = [["server", "1 client", "10 clients", "100 clients", "each further client",
             "a further input", "wake-ups a second, 1 client"]]
    for one in load("serve.json")["costs"]:
        of = one["clients"]

        def cpu(key):
            return of[key]["cpu"] if key in of and of[key]["runs"] else None

        def cell(value):
            return "" if value is None else seconds(value)

        def difference(more, fewer, by):
            return cell(None if None in (cpu(more), cpu(fewer)) else
                        max(0, (cpu(more) - cpu(fewer)) / by))
        first = "1" if "1" in of else "0"  # no client
        rows.append([one["name"], *(cell(cpu(key)) for key in (first, "10", "100")),
                     difference("100", "10", 90), difference("two inputs", "1", 1),
                     "" if cpu(first) is None else f"{of[first]['wakeups']:.0f}"])
    return table(*rows)


def serve_latency():
    return table(["listener", "bursts", "heard", "fastest", "median", "p99"],
                 *([one["name"], one["bursts"], one["heard"],
                    *(seconds(one[key]) for key in ("p0", "p50", "p99"))]
                   for one in load("serve.json")["latency"]))


def serve_losses():
    found = load("serve.json")
    losses, day = found["losses"], found["day"]
    memory = [f"{day['memory'][hour - 1] / 1e6:.2f} MB" for hour in (1, 12, 24)]
    parts = [" and ".join(map(str, day["descriptors and threads"][hour])) for hour in (0, -1)]
    return table(["", ""],
                 [f"{losses['clients']} clients, {losses['seconds']:.0f} s: packets heard",
                  f"{losses['packets']:,}"],
                 ["of which lost, time stamps that jump, clients dropped",
                  f"{losses['lost packets']}, {losses['time stamps that jump']}, "
                  f"{losses['clients'] - losses['still there']}"],
                 [f"{day['hours']:.1f} simulated hours: clients who came and went",
                  f"{day['lives']:,}"],
                 ["memory after the 1st, 12th and 24th hour", ", ".join(memory)],
                 ["descriptors and threads, at first and at last", ", ".join(parts)])


with open(page) as file:
    text = file.read()
for name, make in (("machine", machine), ("codec", codec), ("pass", worker_pass),
                   ("system calls", system_calls), ("callbacks", callbacks),
                   ("contention", contention), ("calls", calls), ("latency", latency),
                   ("scale", scale), ("documents", documents), ("whole process", whole_process),
                   ("serve", serve), ("serve latency", serve_latency),
                   ("serve losses", serve_losses)):
    begin = f"<!-- {name} -->\n"
    start = text.index(begin) + len(begin)
    text = text[:start] + make() + "\n" + text[text.index("<!-- end -->", start):]
with open(page, "w") as file:
    file.write(text)
