#!/usr/bin/env python3
"""Prints, as JSON, what this and other servers take to serve an input to RTSP clients.

    private-pulseaudio serve.py BUILD_FOLDER [costs] [clients] [day]

All clients (rtsp_client.py) run in this process and decode nothing; the CPU time is that of the
serving process alone. The servers take turns. Then 100 clients of tamborin-host-serve hear one
input, while bench/serve_latency.py measures; and a module whose time runs a day in a minute serves
clients that come and go (fast_clock.cpp).
"""
import asyncio
import contextlib
import json
import os
import re
import statistics
import subprocess
import sys
import tempfile
import time

from process_cpu import cpu_and_wakeups
from rtsp_client import RtspClient, UdpReceiver

TURNS = 2              # their mean is shown
COUNTS = (1, 10, 100)  # clients of one input
SETTLING = 1           # seconds, after everybody hears something
SECONDS = 12 * 0.256   # whole frames
LASTING = 60           # seconds
AT_ONCE = 4            # clients who come and go
STAY = 0.1             # seconds, of each; every other one leaves without a word
LEAST_SOUND = 0.9      # of the time measured; else the figure is not shown

build = sys.argv[1]
parts = sys.argv[2:] or ["costs", "clients", "day"]
folder = tempfile.mkdtemp(prefix="tamborin-bench-")
serve = [build + "/tamborin-host-serve", "serve", "--rtsp-port", "0", "--http-port", "0",
         "--dir", folder]
OWN = "tamborin-host serve"
servers = {
    OWN: serve,
    "GStreamer: alsasrc, mulawenc, rtppcmupay": [build + "/gst_serve"],
    "the same, periods of 256 ms, packets of 32 ms": [build + "/gst_serve", "256"],
}
FFMPEG = "ffmpeg (alsa, pcm_mulaw, tee of rtp), no RTSP"
MODULE = "the module alone (tamborin-host record)"


@contextlib.contextmanager
def running(command, lines=0):
    """A process of its own, and the first word of each of its first lines."""
    process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                               text=True)
    try:
        yield process, [process.stdout.readline().split()[0] for _ in range(lines)]
    finally:
        process.terminate()
        try:
            process.wait(10)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
        process.stdout.close()


async def join(clients, url, count):
    new = [RtspClient(url) for _ in range(count)]
    clients += new
    await asyncio.gather(*(client.play() for client in new))


async def hear(clients):
    for _ in range(1000):
        if all(client.rtp.packets for client in clients):
            return
        await asyncio.sleep(0.01)
    raise TimeoutError("some clients hear nothing")


async def measure(pid, accounts):
    """Returns CPU seconds and wake-ups a second, and whether all clients heard enough."""
    await asyncio.sleep(SETTLING)
    (cpu, wakeups), begin = cpu_and_wakeups(pid), time.monotonic()
    samples = [account.samples for account in accounts]
    own = time.process_time()
    await asyncio.sleep(SECONDS)
    (cpu_after, wakeups_after), seconds = cpu_and_wakeups(pid), time.monotonic() - begin
    least = LEAST_SOUND * 8000 * seconds
    return {"cpu": (cpu_after - cpu) / 1e9 / seconds,
            "wakeups": (wakeups_after - wakeups) / seconds,
            "clients' cpu": (time.process_time() - own) / seconds,
            "runs": all(account.samples - before >= least
                        for account, before in zip(accounts, samples))}


async def measure_server(command):
    found = {}
    with running(command, 2) as (process, urls):
        clients = []
        for count in COUNTS:
            await join(clients, urls[0], count - len(clients))
            await hear(clients)
            found[count] = await measure(process.pid, [client.rtp for client in clients])
        for client in clients[1:]:
            client.close()
        clients = clients[:1]
        await join(clients, urls[1], 1)
        await hear(clients)
        found["two inputs"] = await measure(process.pid, [client.rtp for client in clients])
        for client in clients:
            client.close()
    return found


async def measure_ffmpeg():
    found = {}
    for count in COUNTS:
        receivers = [UdpReceiver() for _ in range(count + 1)]
        *ports, reports = [await receiver.bind() for receiver in receivers]
        outputs = "|".join(f"[f=rtp]rtp://127.0.0.1:{port}?rtcpport={reports}&pkt_size=268"
                           for port in ports)
        with running(["ffmpeg", "-loglevel", "error", "-nostdin", "-f", "alsa", "-sample_rate",
                      "8000", "-channels", "1", "-i", "default", "-map", "0:a", "-c:a",
                      "pcm_mulaw", "-f", "tee", outputs]) as (process, _):
            await hear(receivers[:-1])
            found[count] = await measure(process.pid, [each.rtp for each in receivers[:-1]])
        for receiver in receivers:
            receiver.close()
    return found


async def measure_module():
    with running([build + "/tamborin-host", "record", "--input", "0", "--quiet", "--dir", folder,
                  "--out", folder]) as (process, _):
        await asyncio.sleep(3)
        return {0: await measure(process.pid, [])}


def median(measured):
    """Returns the median of the turns for each key."""
    return {count: {key: statistics.median(turn[count][key] for turn in measured)
                    if key != "runs" else all(turn[count][key] for turn in measured)
                    for key in measured[0][count]} for count in measured[0]}


async def costs():
    measured = {name: [] for name in (*servers, FFMPEG, MODULE)}
    for _ in range(TURNS):
        for name, command in servers.items():
            measured[name].append(await measure_server(command))
        measured[FFMPEG].append(await measure_ffmpeg())
        measured[MODULE].append(await measure_module())
    return [{"name": name, "clients": median(of_turns)} for name, of_turns in measured.items()]


async def hundred_clients():
    """Returns what 100 clients miss, and the latencies meanwhile."""
    with contextlib.ExitStack() as stack:
        started = {name: stack.enter_context(running(command, 2))
                   for name, command in servers.items()}
        clients = []
        await join(clients, started[OWN][1][0], COUNTS[-1])
        await hear(clients)
        samples, begin = [client.rtp.samples for client in clients], time.monotonic()
        latency = await asyncio.create_subprocess_exec(
            os.path.dirname(os.path.abspath(__file__)) + "/serve_latency.py", str(LASTING), build,
            *(f"{name}={urls[0]}" for name, (_, urls) in started.items()),
            stdout=subprocess.PIPE)
        told, _ = await latency.communicate()
        seconds = time.monotonic() - begin
        heard = [client.rtp.samples - before for client, before in zip(clients, samples)]
        losses = {"clients": len(clients), "seconds": seconds,
                  "still there": sum(not client.is_closed for client in clients),
                  "packets": sum(client.rtp.packets for client in clients),
                  "lost packets": sum(client.rtp.lost for client in clients),
                  "time stamps that jump": sum(client.rtp.jumps for client in clients),
                  "least sound": min(heard) / 8000, "most sound": max(heard) / 8000}
        for client in clients:
            client.close()
        return losses, json.loads(told)


def resident(pid):
    with open(f"/proc/{pid}/status") as file:
        return int(re.search(r"VmRSS:\s+(\d+)", file.read())[1]) * 1024


async def day():
    """Memory, descriptors and threads of a server on whose module a day passes in a minute."""
    lives = 0
    with tempfile.TemporaryDirectory(prefix="tamborin-bench-") as place:
        with running([*serve[:-1], place, "--module", build + "/libfast_tamborin.so"],
                     1) as (process, urls):
            clients = []
            await join(clients, urls[0], 1)
            end = time.monotonic() + LASTING

            async def come_and_go():
                nonlocal lives
                while time.monotonic() < end:
                    client = RtspClient(urls[0])
                    await client.play()
                    await asyncio.sleep(STAY)
                    client.close(is_polite=lives % 2 == 0)
                    lives += 1
            visits = [asyncio.create_task(come_and_go()) for _ in range(AT_ONCE)]
            memory, held = [], []
            for hour in range(1, 25):
                await asyncio.sleep(max(0, end - LASTING + hour * LASTING / 24 - time.monotonic()))
                memory.append(resident(process.pid))
                held.append([len(os.listdir(f"/proc/{process.pid}/{what}"))
                              for what in ("fd", "task")])
            await asyncio.gather(*visits)
            stays = not clients[0].is_closed
            clients[0].close()
        with open(place + "/passed_ms") as file:
            hours = int(file.read()) / 3.6e6
    return {"hours": hours, "lives": lives, "memory": memory, "descriptors and threads": held,
            "the one who stays": {"is there": stays, "hours": clients[0].rtp.samples / 8000 / 3600,
                                  "lost packets": clients[0].rtp.lost}}


async def main():
    found = {}
    if "costs" in parts:
        found["costs"] = await costs()
    if "clients" in parts:
        found["losses"], found["latency"] = await hundred_clients()
    if "day" in parts:
        found["day"] = await day()
    json.dump(found, sys.stdout, indent=1)


try:
    asyncio.run(main())
finally:
    subprocess.run(["rm", "-rf", folder], check=True)
