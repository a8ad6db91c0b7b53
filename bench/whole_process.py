#!/usr/bin/env python3
"""Prints, as JSON, the CPU time that this and other programs take to record one channel.

    private-pulseaudio whole_process.py BUILD_FOLDER

The programs take turns in recording the same sound server to a mu-law file. Their start is not
measured: the CPU time of all threads is read when the program records, and again SECONDS later.
"""
import glob
import json
import os
import signal
import statistics
import subprocess
import sys
import tempfile
import time

from process_cpu import cpu_and_wakeups

SETTLING = 4  # seconds; the first callback may come 2 seconds after the start
SECONDS = 8
TURNS = 3  # the median is reported
LEAST_GROWTH = 6000  # bytes a second, of 8000: a program that records less is not compared

build = sys.argv[1]
folder = tempfile.mkdtemp(prefix="tamborin-bench-")
alsa = ["-D", "default", "-q", "-f", "MU_LAW", "-r", "8000", "-c", "1", "-t", "au"]
programs = {
    "PortAudio, empty callback, no file": [build + "/empty_callback"],
    "the same, with a main loop of 1 ms pauses": [build + "/empty_callback", "1"],
    "tamborin-host record": [build + "/tamborin-host", "record", "--input", "0",
                             "--dir", folder, "--out", folder],
    "arecord": ["arecord", *alsa, folder + "/arecord.au"],
    "arecord, 256 ms periods": ["arecord", *alsa, "--period-size=2048", "--buffer-size=8192",
                                folder + "/periods.au"],
    "ffmpeg (alsa, pcm_mulaw)": ["ffmpeg", "-loglevel", "error", "-nostdin", "-y", "-f", "alsa",
                                 "-sample_rate", "8000", "-channels", "1", "-i", "default",
                                 "-flush_packets", "1", "-c:a", "pcm_mulaw",
                                 folder + "/ffmpeg.wav"],
    "sox": ["sox", "-q", "--buffer", "4096", "-r", "8000", "-c", "1", "-b", "16", "-t", "alsa",
            "default", "-e", "mu-law", folder + "/sox.wav"],
}


def recordings():
    return glob.glob(folder + "/*.au") + glob.glob(folder + "/*.wav")


def recorded_bytes():
    return sum(os.path.getsize(file) for file in recordings())


def measure(command):
    """Returns CPU seconds and wake-ups per second, and whether sound was recorded meanwhile."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    time.sleep(SETTLING)
    (cpu, wakeups), size, begin = cpu_and_wakeups(process.pid), recorded_bytes(), time.monotonic()
    time.sleep(SECONDS)
    (cpu_after, wakeups_after), size_after = cpu_and_wakeups(process.pid), recorded_bytes()
    seconds = time.monotonic() - begin
    runs = process.poll() is None and \
        (command[0].endswith("empty_callback") or size_after - size >= LEAST_GROWTH * seconds)
    process.send_signal(signal.SIGINT)
    try:
        process.wait(5)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()
    for file in recordings():
        os.remove(file)
    return (cpu_after - cpu) / 1e9 / seconds, (wakeups_after - wakeups) / seconds, runs


turns = {name: [] for name in programs}
for _ in range(TURNS):
    for name, command in programs.items():
        turns[name].append(measure(command))
subprocess.run(["rm", "-rf", folder], check=True)
json.dump([{"name": name, "cpu": statistics.median(cpu for cpu, _, _ in measured),
            "wakeups": statistics.median(wakeups for _, wakeups, _ in measured),
            "runs": all(runs for _, _, runs in measured)} for name, measured in turns.items()],
          sys.stdout, indent=1)
