#!/usr/bin/env python3
"""CPU time that recording one channel takes, of this and of other programs, as JSON.

    private-pulseaudio whole_process.py BUILD_FOLDER

Each program in turn records the same sound server to a mu-law file. What it takes to start is left
out: the CPU time of all its threads is read twice, once it records and SECONDS later.
"""
import glob
import json
import signal
import subprocess
import sys
import tempfile
import time

SETTLING = 3  # seconds; a first callback comes after up to 2
SECONDS = 9

build = sys.argv[1]
folder = tempfile.mkdtemp(prefix="tamborin-bench-")
alsa = ["-D", "default", "-q", "-f", "MU_LAW", "-r", "8000", "-c", "1", "-t", "au"]
programs = {
    "PortAudio, empty callback, no file": [build + "/empty_callback"],
    "tamborin-host record": [build + "/tamborin-host", "record", "--input", "0",
                             "--dir", folder, "--out", folder],
    "arecord": ["arecord", *alsa, folder + "/arecord.au"],
    "arecord, 256 ms periods": ["arecord", *alsa, "--period-size=2048", "--buffer-size=8192",
                                folder + "/periods.au"],
    "ffmpeg (alsa, pcm_mulaw)": ["ffmpeg", "-loglevel", "error", "-nostdin", "-f", "alsa",
                                 "-sample_rate", "8000", "-channels", "1", "-i", "default",
                                 "-c:a", "pcm_mulaw", folder + "/ffmpeg.wav"],
    "sox": ["sox", "-q", "-r", "8000", "-c", "1", "-b", "16", "-t", "alsa", "default",
            "-e", "mu-law", folder + "/sox.wav"],
}


def cpu_and_wakeups(pid):
    """Nanoseconds on a CPU and times put on one, of all threads."""
    nanoseconds = switches = 0
    for path in glob.glob(f"/proc/{pid}/task/*/schedstat"):
        with open(path) as file:
            fields = file.read().split()
        nanoseconds += int(fields[0])
        switches += int(fields[2])
    return nanoseconds, switches


results = []
for name, command in programs.items():
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    time.sleep(SETTLING)
    cpu, wakeups = cpu_and_wakeups(process.pid)
    begin = time.monotonic()
    time.sleep(SECONDS)
    cpu_after, wakeups_after = cpu_and_wakeups(process.pid)
    seconds = time.monotonic() - begin
    runs = process.poll() is None
    process.send_signal(signal.SIGINT)
    try:
        process.wait(5)
    except subprocess.TimeoutExpired:
        process.kill()
    results.append({"name": name, "runs": runs, "cpu": (cpu_after - cpu) / 1e9 / seconds,
                    "wakeups": (wakeups_after - wakeups) / seconds})
subprocess.run(["rm", "-rf", folder], check=True)
json.dump(results, sys.stdout, indent=1)
