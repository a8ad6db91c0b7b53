"""RTSP clients: "stall URL" plays but takes nothing; "talk URL SECONDS HERTZ" talks back."""
import ctypes, socket, sys, time

def stall(url):
    host, port = url.removeprefix("rtsp://").split("/")[0].split(":")
    connection = socket.socket()
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 2048)
    connection.connect((host, int(port)))

    def ask(method, target, header):
        connection.sendall(f"{method} {target} RTSP/1.0\r\nCSeq: 1\r\n{header}\r\n".encode())

    ask("SETUP", url + "/stream=0", "Transport: RTP/AVP/TCP;interleaved=0-1\r\n")
    answer = connection.recv(4096).decode()
    session = next(line for line in answer.splitlines() if line.startswith("Session:"))
    ask("PLAY", url, session.split(";")[0] + "\r\n")
    print("stalls", flush=True)
    time.sleep(600)

def talk(url, seconds, hertz):
    import gi
    gi.require_version("Gst", "1.0")
    from gi.repository import GLib, Gst
    Gst.init(None)
    ref = ctypes.CDLL("libgstreamer-1.0.so.0").gst_mini_object_ref
    loop = GLib.MainLoop()
    pipeline = Gst.Pipeline()
    source = Gst.ElementFactory.make("rtspsrc")
    source.set_property("location", url)
    Gst.util_set_object_arg(source, "protocols", "tcp")
    Gst.util_set_object_arg(source, "backchannel", "onvif")
    pipeline.add(source)
    voice = Gst.parse_launch(
        f"audiotestsrc is-live=true samplesperbuffer=160 freq={hertz} volume=0.5 ! "
        "audio/x-raw,rate=8000 ! mulawenc ! rtppcmupay ! appsink name=end emit-signals=true")
    stream, refusals = [], []

    def select(_, number, caps):
        is_back = caps.get_structure(0).has_field("a-sendonly")
        if is_back:
            stream.append(number)
            GLib.idle_add(lambda: voice.set_state(Gst.State.PLAYING) and False)
            GLib.timeout_add_seconds(int(seconds), loop.quit)
        return is_back

    def send(end):
        sample = end.emit("pull-sample")
        ref(ctypes.c_void_p(hash(sample)))  # the signal takes a reference; the binding gives none
        source.emit("push-backchannel-buffer", stream[0], sample)
        return Gst.FlowReturn.OK

    def fail(_, message):
        refusals.append(message.parse_error())
        loop.quit()

    source.connect("select-stream", select)
    voice.get_by_name("end").connect("new-sample", send)
    pipeline.get_bus().add_signal_watch()
    pipeline.get_bus().connect("message::error", fail)
    pipeline.set_state(Gst.State.PLAYING)
    loop.run()
    voice.set_state(Gst.State.NULL)
    pipeline.set_state(Gst.State.NULL)
    if refusals:
        sys.exit(str(refusals[0]))

{"stall": stall, "talk": talk}[sys.argv[1]](*sys.argv[2:])
