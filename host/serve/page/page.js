import {Listener, Talker} from "/sound.js";

const LOG_LINES = 100;
const LOG_ERROR = 75;
const FLOOR = -60;  // dBFS at the left end of a meter
const GOOD = ["recording", "talking"];

const cards = new Map();  // by a channel's number
const find = (id) => document.getElementById(id);
let clockAhead = null;  // how far the server's clock is ahead of ours, ms
let listening = null;

// Learns the difference of the clocks from the event with the least delay so far. A difference that
// is much smaller comes from a clock that was set.
function hearTime(time) {
  const ahead = time - Date.now();
  const wasSet = clockAhead === null || ahead < clockAhead - 5000;
  clockAhead = wasSet ? ahead : Math.max(clockAhead, ahead);
}
const serverNow = () => Date.now() + (clockAhead ?? 0);

const counted = (count, what) => `${count} ${what}${count === 1 ? "" : "s"}`;

function complain(sentence) { find("message").textContent = sentence; }

async function change(number, what) {
  complain("");
  try {
    const answer = await fetch(`${location.origin}/api/channels/${number}`, {
      method: "PUT",
      headers: {"Content-Type": "application/json"},
      body: JSON.stringify(what),
    });
    const told = await answer.json();
    if (answer.ok) return cards.get(number)?.show(told);
    complain(told.error);
  } catch {
    complain("The server does not answer.");
  }
}

class Card {
  constructor(channel) {
    this.number = channel.number;
    this.isOutput = channel.direction === "output";
    this.element = find("channel").content.firstElementChild.cloneNode(true);
    const part = (selector) => this.element.querySelector(selector);
    this.parts = {};
    for (const name of ["h3", ".state", ".device", ".meter", ".fill", ".figures", ".hint", ".more", ".sound",
                        ".enable", ".rename", ".naming", "input", ".cancel"])
      this.parts[name.replace(".", "")] = part(name);
    this.parts.meter.hidden = this.isOutput;
    this.parts.enable.onclick = () => change(this.number, {enabled: !this.isEnabled});
    this.parts.rename.onclick = () => this.showNaming(true);
    this.parts.cancel.onclick = () => this.showNaming(false);
    this.parts.naming.onkeydown = (event) => event.key === "Escape" && this.showNaming(false);
    this.parts.naming.onsubmit = (event) => {
      event.preventDefault();
      change(this.number, {name: this.parts.input.value});
      this.showNaming(false);
    };
    this.isOutput ? this.prepareTalk() : this.prepareListening();
    find(this.isOutput ? "outputs" : "inputs").append(this.element);
  }

  show(channel) {
    this.channel = channel;
    const {h3, state, device, meter, figures, sound, enable, rename} = this.parts;
    h3.textContent = channel.name;
    state.textContent = channel.state;
    state.classList.toggle("good", GOOD.includes(channel.state));
    state.classList.toggle("bad", channel.state === "missing");
    device.textContent = `Channel ${channel.number}, ${channel.device ? `device ${channel.device}` : "no device"}`;
    meter.setAttribute("aria-label", `Level of ${channel.name}`);
    figures.hidden = this.isOutput;
    figures.textContent = [
      counted(channel.frames, "frame"), counted(channel.gaps, "gap"),
      counted(channel.restarts, "restart"), counted(channel.clients, "client"),
    ].join(", ");
    // Outputs also play while they are disabled in the module. Here disabled means kept off.
    this.isEnabled = this.isOutput ? !channel.keptOff : channel.enabled;
    enable.textContent = this.isEnabled ? "Disable" : "Enable";
    enable.disabled = !channel.hasDevice;
    sound.disabled = !channel.hasDevice || channel.keptOff;
    for (const [button, verb] of [[enable, enable.textContent], [rename, "Rename"],
                                  [sound, this.isOutput ? "Hold to talk on" : "Listen to"]])
      button.setAttribute("aria-label", `${verb} ${channel.name}`);
    this.showLevel(channel.level);
  }

  showLevel(level) {
    const {meter, fill} = this.parts;
    const decibels = level > 0 ? Math.max(FLOOR, 20 * Math.log10(level)) : FLOOR;
    fill.style.transform = `scaleX(${1 - decibels / FLOOR})`;
    fill.classList.toggle("loud", decibels > -1);
    meter.setAttribute("aria-valuenow", decibels.toFixed(1));
    meter.setAttribute("aria-valuetext", level > 0 ? `${decibels.toFixed(1)} dBFS` : "silent");
  }

  showNaming(isShown) {
    const {naming, input, rename} = this.parts;
    naming.hidden = !isShown;
    rename.hidden = isShown;
    if (isShown) input.value = this.channel.name;
    (isShown ? input : rename).focus();
  }

  // A screen reader reads `text` aloud when it changes, but not `more`.
  hint(text, more = "") {
    const {hint, more: detail} = this.parts;
    if (hint.textContent !== text) hint.textContent = text;
    detail.textContent = more;
  }

  prepareListening() {
    const {sound} = this.parts;
    sound.textContent = "Listen";
    sound.setAttribute("aria-pressed", "false");
    sound.onclick = () => this.listener ? this.listener.stop() : this.listen();
  }

  async listen() {
    complain("");
    listening?.stop();
    let hintedAt = 0;
    this.listener = listening = new Listener(this.number, serverNow, (latency) => {
      if (Date.now() < hintedAt + 1000) return;
      hintedAt = Date.now();
      this.hint("Listening", `${latency.toFixed(1)} s behind`);
    });
    const mine = this.listener;
    this.parts.sound.setAttribute("aria-pressed", "true");
    this.hint("Waiting for sound");
    try {
      await mine.run();
    } catch (error) {
      complain(error.message);
    }
    if (listening === mine) listening = null;
    this.listener = null;
    this.parts.sound.setAttribute("aria-pressed", "false");
    this.hint("");
  }

  // Talks while the button is held, by pointer or by key.
  prepareTalk() {
    const {sound} = this.parts;
    sound.textContent = "Hold to talk";
    sound.setAttribute("aria-pressed", "false");
    const begin = () => this.talker || this.talk();
    const end = () => this.talker?.stop();
    sound.onpointerdown = (event) => {
      sound.setPointerCapture(event.pointerId);
      begin();
    };
    sound.onpointerup = sound.onpointercancel = sound.onblur = end;
    sound.oncontextmenu = (event) => event.preventDefault();
    const isKey = (event) => event.key === " " || event.key === "Enter";
    sound.onkeydown = (event) => {
      if (!isKey(event)) return;
      event.preventDefault();
      if (!event.repeat) begin();
    };
    sound.onkeyup = (event) => isKey(event) && end();
  }

  async talk() {
    complain("");
    this.talker = new Talker(this.number);
    this.parts.sound.setAttribute("aria-pressed", "true");
    this.hint("Waiting for the microphone");
    try {
      await this.talker.run(() => this.hint("Talk now"));
    } catch (error) {
      complain(error.message);
    }
    this.talker = null;
    this.parts.sound.setAttribute("aria-pressed", "false");
    this.hint("");
  }
}

function showStatus(text, kind) {
  const status = find("status");
  if (status.textContent !== text) status.textContent = text;  // a screen reader reads each change
  status.className = kind;
}

function showState(state) {
  hearTime(state.time);
  find("version").textContent = state.version;
  showStatus(state.status === "ok" ? "devices ok" : "devices alarmed", state.status === "ok" ? "good" : "bad");
  for (const channel of state.channels) {
    if (!cards.has(channel.number)) cards.set(channel.number, new Card(channel));
    cards.get(channel.number).show(channel);
  }
  const present = new Set(state.channels.map((channel) => channel.number));
  for (const [number, card] of cards)
    if (!present.has(number)) {
      card.element.remove();
      cards.delete(number);
    }
}

function showLevels({time, channels}) {
  hearTime(time);
  for (const [number, level, frames, gaps, restarts] of channels) {
    const card = cards.get(number);
    if (card) card.show({...card.channel, level, frames, gaps, restarts});
  }
}

function showLine({number, time, level, text}) {
  const log = find("log");
  const isAtEnd = log.scrollTop + log.clientHeight >= log.scrollHeight - 8;
  const line = document.createElement("li");
  const clock = document.createElement("time");
  clock.dateTime = new Date(time).toISOString();
  clock.textContent = new Date(time).toLocaleTimeString([], {hour12: false});
  line.append(clock, text);
  line.classList.toggle("error", level >= LOG_ERROR);
  log.append(line);
  while (log.childElementCount > LOG_LINES) log.firstElementChild.remove();
  if (isAtEnd) log.scrollTop = log.scrollHeight;
}

const events = new EventSource("/api/events");
const on = (name, show) => events.addEventListener(name, ({data}) => show(JSON.parse(data)));
on("state", showState);
on("levels", showLevels);
on("log", showLine);
events.onerror = () => {
  clockAhead = null;
  find("log").replaceChildren();  // the server sends the last lines again
  showStatus("no connection to the server", "bad");
};
