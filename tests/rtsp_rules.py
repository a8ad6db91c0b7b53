"""Rules that the RTSP server keeps. Its clients are raw sockets here.
   rtsp_rules.py RTSP_URL HTTP_URL RULE [ARGUMENTS]"""
import json, math, os, socket, sys, threading, time, urllib.request

ONVIF = "Require: www.onvif.org/ver20/backchannel\r\n"
TCP, UDP = "RTP/AVP/TCP;unicast;interleaved=2-3", "RTP/AVP;unicast;client_port=%d-%d"
url, http = sys.argv[1], sys.argv[2].rstrip("/")
address, port = url.removeprefix("rtsp://").split("/")[0].split(":")

def await_that(what, is_so):
    end = time.monotonic() + 60
    while not is_so():
        assert time.monotonic() < end, f"not seen: {what}"
        time.sleep(0.1)

def channels():
    with urllib.request.urlopen(http + "/api/channels") as answer:
        return json.load(answer)["channels"]

def talkers():
    return sum(c["clients"] for c in channels() if c["direction"] == "output")

class Client:
    def __init__(self):
        self.connection = socket.create_connection((address, int(port)), 60)
        self.stream, self.session = self.connection.makefile("rb"), ""

    def ask(self, method, target="", header=""):  # returns the status
        self.connection.sendall(f"{method} {url}{target} RTSP/1.0\r\nCSeq: 1\r\n{self.session}{header}\r\n".encode())
        while (first := self.stream.read(1)) == b"$":  # sound that comes before the answer
            self.stream.read(int.from_bytes(self.stream.read(3)[1:], "big"))
        line = first + self.stream.readline()
        fields = {}
        while field := self.stream.readline().strip():
            name, _, value = field.decode().partition(": ")
            fields[name] = value
        if "Session" in fields and not self.session:
            self.session = f"Session: {fields['Session'].split(';')[0]}\r\n"
        self.transport = fields.get("Transport", "")
        self.stream.read(int(fields.get("Content-Length", 0)))
        return int(line.split()[1]) if line else 0

    def set_up(self, transport=TCP, header=""):
        return self.ask("SETUP", "/stream=1", f"{ONVIF}Transport: {transport}\r\n{header}")

    def describe(self, header=""):
        return self.ask("DESCRIBE", header=header)

    def leave(self):
        self.connection.shutdown(socket.SHUT_RDWR)

    def say(self, packet):
        self.connection.sendall(b"$\x02" + len(packet).to_bytes(2, "big") + packet)

def rtp(number, sound=160 * b"\xff", kind=0, sender=b"talk"):
    return bytes([0x80, kind]) + number.to_bytes(2, "big") + (160 * number).to_bytes(4, "big") + sender + sound

def silent():  # An idle talker makes room for others. His next packet takes the output again.
    first = Client()
    assert first.set_up() == first.ask("PLAY") == 200
    await_that("the output is free", lambda: first.ask("GET_PARAMETER") == 200 and talkers() == 0)
    said = threading.Event()

    def talk():
        for number in range(65536):
            if said.wait(0.02):
                break
            first.say(rtp(number))
    voice = threading.Thread(target=talk)
    voice.start()
    try:
        await_that("he talks again", lambda: talkers() == 1)
        assert Client().set_up() == 503
    finally:
        said.set()
        voice.join()
    first.leave()
    await_that("the output is free", lambda: talkers() == 0)

def idle():  # An input stops when its last client has left, but not while its first one connects.
    client = Client()
    assert client.describe() == 200
    time.sleep(2.5)  # in which the server looks for clients
    assert channels()[0]["enabled"]
    assert client.ask("SETUP", "/stream=0", f"Transport: {TCP}\r\n") == client.ask("PLAY") == 200
    frames = channels()[0]["frames"]
    await_that("two seconds of sound", lambda: channels()[0]["frames"] > frames + 8)
    other = Client()
    assert other.describe() == 200
    client.leave()
    await_that("the input stops", lambda: not channels()[0]["enabled"])
    assert other.ask("OPTIONS") == 200

def refused():  # A SETUP that fails leaves the output to others.
    client = Client()
    for transport, header, status in (("RTP/AVP;multicast", "", 461), ("RTP/SAVP/TCP;interleaved=2-3", "", 461),
                                      ("RTP/AVP/TCP;interleaved=2-3;mode=record", "", 461), ("none", "", 461),
                                      (TCP, "Accept-Ranges: moons\r\n", 501), (TCP, "Session: none\r\n", 454)):
        answer = client.set_up(transport, header)
        assert (answer, talkers()) == (status, 0), (transport, header, answer, talkers())
    assert client.set_up() == 200 and talkers() == 1
    # A SETUP that fails later does not take the output away.
    assert client.set_up("none") == 461 and talkers() == 1
    client.leave()
    await_that("the output is free", lambda: talkers() == 0)

def crowd():  # The oldest connection without a session makes room.
    guest = Client()
    assert guest.ask("SETUP", "/stream=0", f"Transport: {TCP}\r\n") == 200
    idle = [Client() for _ in range(205)]
    assert idle[-1].ask("OPTIONS") == 200 and guest.ask("GET_PARAMETER") == 200
    assert idle[0].connection.recv(1) == b"" and idle[100].ask("OPTIONS") == 200
    for client in idle + [guest]:
        client.leave()

def backchannels():  # There are 32 at most. Other clients can listen.
    talking = []
    for _ in range(32):
        talking.append(Client())
        assert talking[-1].describe(ONVIF) == talking[-1].ask("SETUP", "/stream=0", f"Transport: {TCP}\r\n") == 200
        for client in talking:  # keeps its session
            assert client.ask("GET_PARAMETER") == 200
    late = Client()
    for _ in range(2):
        assert (late.describe(ONVIF), late.set_up()) == (503, 503)
    assert late.describe() == 200 and late.ask("SETUP", "/stream=0", f"Transport: {TCP}\r\n") == 200
    for client in talking:
        client.leave()
    await_that("there is room", lambda: Client().describe(ONVIF) == 200)

def header():  # An endless request ends its own connection and no other. Bodies are limited.
    idle, client = Client(), Client()
    assert Client().ask("OPTIONS", header="Content-Length: 5000\r\n") == 413
    client.connection.sendall(f"OPTIONS {url} RTSP/1.0\r\nCSeq: 1\r\n".encode())
    try:
        while True:
            client.connection.sendall(b"X-Long: " + 4000 * b"x" + b"\r\n")
            time.sleep(0.02)
    except ConnectionError:
        assert idle.ask("OPTIONS") == 200

def strangers():  # Packets from another address do not come in at the ports where somebody talks.
    sender = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    sender.bind(("127.0.0.2", 0))
    farewell = bytes([0x81, 203, 0, 1]) + b"talk"

    def ports():
        with open("/proc/net/udp") as file:
            used = [int(line.split()[1][9:], 16) for line in file if ": 0100007F:" in line]
        return {port for port in used if 50000 <= port < 51000}
    end, number, reached, listeners = time.monotonic() + 300, 0, set(), ports()
    while time.monotonic() < end and (reached <= listeners or (reached - listeners) & ports()):
        for to in ports():
            for packet in rtp(7 * number % 65536, b"\x80" * 160, sender=b"evil"), farewell:
                sender.sendto(packet, ("127.0.0.1", to))
            reached.add(to)
        number += 1
        time.sleep(0.02)
    assert reached - listeners, "nobody talks by UDP"

def reports(server):  # Reports of many senders make no threads.
    client = Client()
    assert client.describe(ONVIF) == client.set_up() == client.ask("PLAY") == 200
    threads = lambda: len(os.listdir(f"/proc/{server}/task"))
    before = threads()
    for number in range(300):
        report = bytes([0x80, 200, 0, 6]) + number.to_bytes(4, "big") + bytes(20)
        client.connection.sendall(b"$\x03" + len(report).to_bytes(2, "big") + report)
    time.sleep(2)  # in which a thread for each would begin
    assert client.ask("GET_PARAMETER") == 200 and threads() < before + 20
    client.leave()

# The server plays two senders in turn by UDP, whose sound comes out of order. Between it come packets
# that are not RTP, too long, empty, or another sender's.
def oddities(seconds, *tones):
    client, sock = Client(), socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    sock.bind(("127.0.0.1", 0))
    own = sock.getsockname()[1]
    assert client.describe(ONVIF) == 200
    await_that("the output is free", lambda: client.set_up(UDP % (own, own + 1)) == 200)
    to = int(client.transport.split("server_port=")[1].split("-")[0])
    assert client.ask("PLAY") == 200

    def code(sample):  # mu-law
        magnitude = min(int(abs(sample) * 32768), 32635) + 132
        segment = magnitude.bit_length() - 8
        return ~((0x80 if sample < 0 else 0) | segment << 4 | magnitude >> segment + 3 & 15) & 0xFF
    odd = [lambda n: rtp(n, kind=8), lambda n: rtp(n, b""), lambda n: rtp(n, 60000 * b"\x80"), lambda n: rtp(n)[:7],
           lambda n: b"", lambda n: rtp((n + 9000) % 65536, sender=b"evil")]
    for sender, first, hertz in (b"talk", 0, tones[0]), (b"new!", 9000, tones[1]):
        wave = bytes(code(0.5 * math.sin(2 * math.pi * float(hertz) * n / 8000)) for n in range(8000))
        time.sleep(4)  # until what was said before is played, and another sender may begin
        begin = time.monotonic()
        for number in range(first, first + int(seconds) * 50, 2):
            for n in (number + 1, number) if number % 8 == 6 else (number, number + 1):
                at = 160 * n % 8000
                sock.sendto(rtp(n, wave[at:at + 160], sender=sender), ("127.0.0.1", to))
            sock.sendto(odd[number // 2 % len(odd)](number), ("127.0.0.1", to))
            time.sleep(max(0, begin + (number + 2 - first) / 50 - time.monotonic()))
        sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    client.leave()

def storm():  # The server can end while clients come, ask and go.
    done = threading.Semaphore(0)

    def ask(require):
        try:
            while True:
                client = Client()
                client.describe(require)
                client.set_up()
                client.leave()
                done.release()
        except OSError:
            pass
    clients = [threading.Thread(target=ask, args=(require,)) for require in ("", ONVIF) * 4]
    for client in clients:
        client.start()
    for _ in range(40):
        done.acquire()
    print("storms", flush=True)
    for client in clients:
        client.join()

globals()[sys.argv[3]](*sys.argv[4:])
