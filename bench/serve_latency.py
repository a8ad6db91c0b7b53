#!/usr/bin/env python3
"""Time from a sound on the sound server to those who listen, as JSON.

    private-pulseaudio serve_latency.py SECONDS BUILD_FOLDER [NAME=RTSP_URL...]

Bursts at random times are played to the server's null sink. Each counts from the moment at which
parec has it, which asks for 10 ms at a time. A tamborin-host listens beside the RTSP clients. Its
records say when the module hands a frame over.
"""
import asyncio
import json
import math
import random
import struct
import sys
import tempfile
import time

from rtsp_client import RtspClient

STEP = 0.01       # seconds of sound that are written at once
BURST_STEPS = 5
LEAST_PAUSE = 52  # steps between bursts: more than two frames
FRAME_STEPS = 26  # and up to so many more, so that a burst lies anywhere in a frame
SETTLING = 3      # seconds before the first burst and after the last
LOUD = bytes((~code & 0x7F) >= 0x50 for code in range(256))  # of mu-law
RAW = ["--raw", "--rate=8000", "--channels=1", "--format=s16le"]

silence = bytes(160)
burst = struct.pack("<80h", *(round(20000 * math.sin(i * math.pi / 4)) for i in range(80)))


class Ear:
    """Notes when bursts begin."""

    def __init__(self):
        self.heard = []
        self.last_loud = None  # in samples
        self.position = 0

    def hear(self, is_loud, samples):
        quiet_for = 1e9 if self.last_loud is None else self.position - self.last_loud
        if is_loud:
            if quiet_for > 2048:  # a burst may reach into the frame after its own
                self.heard.append(time.monotonic())
            self.last_loud = self.position
        self.position += samples

    def hear_codes(self, codes):
        self.hear(1 in codes.translate(LOUD), len(codes))


async def hear_parec(ear):
    process = await asyncio.create_subprocess_exec(
        "parec", *RAW, "--latency-msec=10", stdout=asyncio.subprocess.PIPE)
    try:
        while sound := await process.stdout.read(4096):
            sound = sound[:len(sound) // 2 * 2]
            ear.hear(max(map(abs, struct.unpack(f"<{len(sound) // 2}h", sound)), default=0) > 5000,
                     len(sound) // 2)
    finally:
        process.terminate()
        await process.wait()


async def hear_module(ear, build):
    with tempfile.TemporaryDirectory(prefix="tamborin-bench-") as folder:
        process = await asyncio.create_subprocess_exec(
            build + "/tamborin-host", "record", "--input", "0", "--json", "--quiet", "--dir",
            folder, "--out", folder, stdout=asyncio.subprocess.PIPE, limit=1 << 20)
        try:
            while line := await process.stdout.readline():
                record = json.loads(line)
                if record.get("record") == "audio":
                    ear.hear(record["peak"] > 0.15, record["samples"])
        finally:
            process.terminate()
            await process.wait()


async def play_bursts(seconds):
    player = await asyncio.create_subprocess_exec(
        "pacat", "--playback", *RAW, "--latency-msec=30", stdin=asyncio.subprocess.PIPE)
    begin = time.monotonic()
    next_burst = SETTLING / STEP
    for step in range(int((seconds + SETTLING) / STEP)):
        await asyncio.sleep(max(0, begin + step * STEP - time.monotonic()))
        if step >= next_burst + BURST_STEPS:
            next_burst = step + LEAST_PAUSE + random.randrange(FRAME_STEPS)
        player.stdin.write(burst if next_burst <= step else silence)
    for step in range(int(SETTLING / STEP)):  # what is under way arrives
        await asyncio.sleep(STEP)
        player.stdin.write(silence)
    player.terminate()
    await player.wait()


def report(name, begun, ear):
    delay_of = {}  # by burst; shorter than the time to the next one
    for heard in ear.heard:
        before = [at for at in begun if at <= heard]
        if before:
            delay_of.setdefault(before[-1], heard - before[-1])
    delays = sorted(delay_of.values())
    return {"name": name, "bursts": len(begun), "heard": len(delays),
            **{f"p{p}": delays[round(p / 100 * (len(delays) - 1))] for p in (0, 50, 99) if delays}}


async def main(seconds, build, *named):
    recorder, module = Ear(), Ear()
    ears = {"the module's frames (tamborin-host record)": module}
    clients = []
    for name, url in (one.split("=", 1) for one in named):
        ears[name] = Ear()
        clients.append(RtspClient(url, ears[name].hear_codes))
        await clients[-1].play()
    listening = [asyncio.create_task(hear_parec(recorder)),
                 asyncio.create_task(hear_module(module, build))]
    await play_bursts(float(seconds))
    for task in listening:
        task.cancel()
    await asyncio.gather(*listening, return_exceptions=True)
    for client in clients:
        client.close()
    json.dump([report(name, recorder.heard, ear) for name, ear in ears.items()], sys.stdout, indent=1)


asyncio.run(main(*sys.argv[1:]))
