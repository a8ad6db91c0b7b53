// Resamples the microphone to 8000 Hz and posts blocks of 64 ms. Each sample is the mean of the
// microphone's samples in its time.
const RATE = 8000;
const BLOCK = 512;

class Microphone extends AudioWorkletProcessor {
  constructor() {
    super();
    this.block = [];
    this.sum = 0;
    this.count = 0;
    this.phase = 0;
  }

  process([input]) {
    for (const sample of input[0] ?? []) {
      this.sum += sample;
      ++this.count;
      this.phase += RATE / sampleRate;
      if (this.phase >= 1) {
        this.phase -= 1;
        this.block.push(this.sum / this.count);
        this.sum = this.count = 0;
      }
    }
    if (this.block.length >= BLOCK) this.port.postMessage(this.block.splice(0));
    return true;
  }
}
registerProcessor("microphone", Microphone);
