"""RTSP clients that listen to mu-law and decode nothing, any number on one asyncio loop."""
import asyncio
import contextlib
import re
import struct
import urllib.parse

KEEP_ALIVE = 10  # seconds


class RtpAccount:
    """What has come by RTP, and what is missing in it."""

    def __init__(self, on_sound=None):
        self.on_sound = on_sound or (lambda codes: None)
        self.packets = self.samples = self.lost = self.jumps = 0
        self.next_number = self.next_time = None

    def hear(self, packet):
        number, timestamp = struct.unpack_from("!HI", packet, 2)
        codes = packet[12:]
        if self.packets > 0:
            self.lost += (number - self.next_number) & 0xFFFF
            self.jumps += timestamp != self.next_time
        self.packets += 1
        self.samples += len(codes)
        self.next_number = number + 1 & 0xFFFF
        self.next_time = timestamp + len(codes) & 0xFFFFFFFF
        self.on_sound(codes)


class RtspClient(asyncio.Protocol):
    """Gets RTP on its RTSP connection (TCP)."""

    def __init__(self, url, on_sound=None):
        self.url = url
        self.rtp = RtpAccount(on_sound)
        self.is_closed = False
        self._received = bytearray()
        self._answers = asyncio.Queue()
        self._requests = 0
        self._session = ""
        self._keeping_alive = None

    async def play(self):
        """Returns once the server has said that it plays."""
        place = urllib.parse.urlsplit(self.url)
        loop = asyncio.get_running_loop()
        self._transport, _ = await loop.create_connection(lambda: self, place.hostname, place.port)
        description = await self._ask("DESCRIBE", self.url, "Accept: application/sdp\r\n")
        base = re.search(r"(?im)^Content-Base: *(\S+)", description)
        control = re.findall(r"(?m)^a=control:(\S+)", description)[-1]
        track = urllib.parse.urljoin(base[1] if base else self.url + "/", control)
        await self._ask("SETUP", track, "Transport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n")
        await self._ask("PLAY", self.url, "Range: npt=0-\r\n")
        self._keeping_alive = loop.create_task(self._keep_alive())

    def close(self, is_polite=True):
        """Disconnects, if polite with TEARDOWN."""
        if self._keeping_alive:
            self._keeping_alive.cancel()
        if not self.is_closed:
            if is_polite:
                self._send("TEARDOWN", self.url)
            self._transport.close()

    async def _keep_alive(self):
        while not self.is_closed:
            await asyncio.sleep(KEEP_ALIVE)
            with contextlib.suppress(ConnectionError):  # is_closed shows the loss
                await self._ask("GET_PARAMETER", self.url)

    def _send(self, method, url, headers=""):
        self._requests += 1
        self._transport.write(f"{method} {url} RTSP/1.0\r\nCSeq: {self._requests}\r\n"
                              f"{self._session}{headers}\r\n".encode())

    async def _ask(self, method, url, headers=""):
        self._send(method, url, headers)
        answer = await asyncio.wait_for(self._answers.get(), 20)
        if not answer.startswith("RTSP/1.0 200"):
            raise ConnectionError(f"{method} {url}: {answer.splitlines()[:1]}")
        session = re.search(r"(?im)^Session: *([^;\s]+)", answer)
        if session:
            self._session = f"Session: {session[1]}\r\n"
        return answer

    def connection_lost(self, exc):
        self.is_closed = True
        self._answers.put_nowait("the connection is closed")

    def data_received(self, data):
        received = self._received
        received += data
        at = 0
        while len(received) - at >= 4:
            if received[at] == 0x24:  # $, channel, length, packet
                end = at + 4 + (received[at + 2] << 8 | received[at + 3])
                if len(received) < end:
                    break
                if received[at + 1] == 0:
                    self.rtp.hear(bytes(received[at + 4:end]))
            else:
                body = received.find(b"\r\n\r\n", at) + 4
                if body < 4:
                    break
                head = received[at:body].decode()
                length = re.search(r"(?im)^Content-Length: *(\d+)", head)
                end = body + (int(length[1]) if length else 0)
                if len(received) < end:
                    break
                self._answers.put_nowait(received[at:end].decode())
            at = end
        del received[:at]


class UdpReceiver(asyncio.DatagramProtocol):
    """Receives RTP on a port of its own, without RTSP."""

    def __init__(self):
        self.rtp = RtpAccount()

    async def bind(self):
        """Returns the port."""
        loop = asyncio.get_running_loop()
        self._transport, _ = await loop.create_datagram_endpoint(
            lambda: self, local_addr=("127.0.0.1", 0))
        return self._transport.get_extra_info("sockname")[1]

    def close(self):
        self._transport.close()

    def datagram_received(self, data, addr):
        self.rtp.hear(data)
