// Plays an input, and sends the microphone to an output. Both are mu-law at 8000 Hz.
const RATE = 8000;
const AHEAD = 0.15;  // seconds of sound that are scheduled ahead, to bridge late frames
const MOST_AHEAD = 1;  // seconds; while more is scheduled, after the page slept, frames are left out

const decoded = Float32Array.from({length: 256}, (_, i) => {
  const code = ~i & 0xff;
  const magnitude = ((((code & 15) << 3) + 132) << (code >> 4 & 7)) - 132;
  return (code & 0x80 ? -magnitude : magnitude) / 32768;
});

function encode(sample) {
  const linear = Math.max(-1, Math.min(1, sample)) * 32767;
  const magnitude = Math.min(Math.abs(linear) | 0, 32635) + 132;
  const segment = 31 - Math.clz32(magnitude) - 7;
  return ~((linear < 0 ? 0x80 : 0) | segment << 4 | magnitude >> segment + 3 & 15) & 0xff;
}

// Frames of a stream: 8 bytes of time (ms), 4 of length, little-endian, then so many codes.
async function* frames(reader) {
  let rest = new Uint8Array();
  for (;;) {
    const {done, value} = await reader.read();
    if (done) return;
    const bytes = new Uint8Array(rest.length + value.length);
    bytes.set(rest);
    bytes.set(value, rest.length);
    let at = 0;
    while (bytes.length - at >= 12) {
      const view = new DataView(bytes.buffer, at);
      const length = view.getUint32(8, true);
      if (bytes.length - at < 12 + length) break;
      yield {time: Number(view.getBigUint64(0, true)), codes: bytes.subarray(at + 12, at + 12 + length)};
      at += 12 + length;
    }
    rest = bytes.slice(at);
  }
}

// Plays an input until it is stopped. `now()` returns the server's time (ms). `onLatency` is called
// for each frame with the seconds from its capture to the loudspeaker.
export class Listener {
  constructor(number, now, onLatency) {
    this.number = number;
    this.now = now;
    this.onLatency = onLatency;
    this.abort = new AbortController();
    this.context = new AudioContext();
    this.due = 0;
  }

  // Resolves when it has been stopped. Rejects when the sound ends for another reason.
  async run() {
    try {
      const answer = await fetch(`${location.origin}/api/channels/${this.number}/audio.frames`, {signal: this.abort.signal});
      if (!answer.ok) throw new Error((await answer.json()).error);
      await this.context.resume();
      for await (const frame of frames(answer.body.getReader())) this.play(frame);
      throw new Error("The sound has ended.");
    } catch (error) {
      if (!this.abort.signal.aborted) throw error;
    } finally {
      this.context.close();
    }
  }

  play({time, codes}) {
    const buffer = this.context.createBuffer(1, codes.length, RATE);
    const samples = buffer.getChannelData(0);
    codes.forEach((code, i) => { samples[i] = decoded[code]; });
    const current = this.context.currentTime;
    if (this.due > current + MOST_AHEAD) return;
    if (this.due < current) this.due = current + AHEAD;
    const source = this.context.createBufferSource();
    source.buffer = buffer;
    source.connect(this.context.destination);
    source.start(this.due);
    const inDevice = (this.context.outputLatency || 0) + (this.context.baseLatency || 0);
    this.onLatency((this.now() - time) / 1000 + this.due - current + inDevice);
    this.due += buffer.duration;
  }

  stop() { this.abort.abort(); }
}

// Sends the microphone to an output until it is stopped.
export class Talker {
  constructor(number) { this.number = number; }

  // Resolves when it has been stopped. Rejects when talking is impossible or ends for another
  // reason. `onTalking` is called when the output is ours.
  async run(onTalking) {
    if (!navigator.mediaDevices)
      throw new Error("Browsers allow the microphone only by HTTPS or on localhost.");
    try {
      this.stream = await navigator.mediaDevices.getUserMedia({audio: {channelCount: 1}});
      if (this.isStopped) return;
      this.context = new AudioContext();
      await this.context.audioWorklet.addModule("/microphone.js");
      const microphone = new AudioWorkletNode(this.context, "microphone", {numberOfOutputs: 0});
      this.context.createMediaStreamSource(this.stream).connect(microphone);
      await this.send(microphone, onTalking);
    } finally {
      this.stream?.getTracks().forEach((track) => track.stop());
      this.context?.close();
    }
  }

  send(microphone, onTalking) {
    return new Promise((resolve, reject) => {
      const scheme = location.protocol === "https:" ? "wss" : "ws";
      const socket = new WebSocket(`${scheme}://${location.host}/api/channels/${this.number}/talk`);
      this.close = () => socket.close();
      if (this.isStopped) socket.close();
      socket.onmessage = onTalking;
      socket.onclose = ({reason}) =>
        this.isStopped ? resolve() : reject(new Error(reason || "The server has ended the talk."));
      microphone.port.onmessage = ({data}) => {
        if (socket.readyState === WebSocket.OPEN) socket.send(Uint8Array.from(data, encode));
      };
    });
  }

  stop() {
    this.isStopped = true;
    this.close?.();
  }
}
