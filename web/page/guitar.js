// SPDX-License-Identifier: MIT
import { element, onClick, say, select } from './controls.js';
import { LiveInput, inputTrouble, listInputs, listOutputs, openInput } from './input.js';

const UNKNOWN_TRIM = 12; // dB, for an unknown device: the usual level of audio interfaces
const WARNING = 3; // seconds from plugging a device in for the first time to the first sound

/** The guitar: plugging it in and out, its input, jack and latency. */
export class Guitar {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
    /** @type {LiveInput | undefined} */
    this.live = undefined;
    this.plugging = false; // Plug in was pressed and nothing sounds yet
    /** The settings of each device, by its key: Trim in dB, the jack, and whether the player was warned. */
    this.known = /** @type {Record<string, {trim: number, jack: string, warned: boolean}>} */ ({});
    this.device = { id: '', label: '' }; // that the player has chosen; no id: the system's own
    this.key = '';
    this.output = ''; // the device that plays; empty: the system's own
  }

  wire() {
    onClick('plug', () => this.plugIn());
    select('device').addEventListener('change', async () => {
      const { value, selectedOptions } = select('device');
      this.device = { id: value, label: value === '' ? '' : (selectedOptions[0]?.label ?? '') };
      this.page.store.keep();
      if (!this.live) return;
      await this.plugIn();
      await this.plugIn();
    });
    select('jack').addEventListener('change', () => {
      const jack = select('jack').value;
      this.live?.choose(/** @type {any} */ (jack));
      if (this.live) this.own.jack = jack;
      this.page.store.keep();
    });
    select('out').addEventListener('change', () => this.chooseOutput());
    navigator.mediaDevices?.addEventListener?.('devicechange', () => (void this.showInputs(), void this.showOutputs()));
    void this.showOutputs();
  }

  /** The settings of the device that is plugged in. */
  get own() {
    return (this.known[this.key] ??= { trim: UNKNOWN_TRIM, jack: 'first', warned: false });
  }

  /** @param {number} decibels */
  keepTrim(decibels) {
    this.own.trim = decibels;
  }

  async plugIn() {
    if (this.plugging) return;
    if (this.live) {
      this.unplug('Unplugged.');
      return;
    }
    this.plugging = true;
    say('plug-note', 'The browser asks whether this page may listen. Allow it.');
    /** @type {MediaStream | undefined} */
    let stream;
    try {
      stream = await openInput(this.device.id);
      this.page.listen.playback?.stop();
      const live = await this.openLive(stream);
      live.track.addEventListener('ended', () => {
        if (this.live === live) this.unplug('The input was unplugged. Connect it and plug in again.', true);
      });
      await live.engine.wake();
      await Promise.all([this.showInputs(), this.showOutputs()]);
      if (live.track.readyState === 'ended') return; // unplugged meanwhile
      select('jack').disabled = live.single;
      select('jack').value = live.single ? 'first' : this.own.jack;
      live.choose(/** @type {any} */ (select('jack').value));
      this.plugging = false;
      this.page.showPlaying();
      await this.warn(live);
    } catch (error) {
      stream?.getTracks().forEach((track) => track.stop());
      this.unplug(inputTrouble(error), true);
    } finally {
      this.plugging = false;
    }
  }

  /** Opens the input at the device's rate if the effect supports it, else at 48000 Hz. @param {MediaStream} stream */
  async openLive(stream) {
    const open = async (/** @type {number | undefined} */ rate) => {
      const engine = await this.page.sound.engineAt(rate, 0);
      return new LiveInput(engine, stream);
    };
    let live = await open(undefined);
    const own = live.engine.context.sampleRate;
    if (own !== 44100 && own !== 48000) {
      live = await open(48000).catch(() => open(undefined)); // not every browser converts inputs
    }
    // The system's own input may be a different device at each visit; the label identifies it.
    this.key = `${live.track.getSettings().deviceId ?? ''} ${live.track.label}`;
    this.live = live;
    this.page.trim.input = this.own.trim;
    if (!this.own.warned) live.engine.output.gain.value = 0;
    this.page.trim.tell();
    return live;
  }

  /** Stays silent until the player had time to read the warning, once for each device. @param {LiveInput} live */
  async warn(live) {
    const { output, context } = live.engine;
    if (!this.own.warned) {
      say('plug-note', `Headphones on, or loudspeakers off! A microphone beside them howls. Sound in ${WARNING} seconds.`);
      for (let left = WARNING; left > 0 && this.live === live; --left) {
        element('latency').textContent = `${left} …`; // outside the note, which is read aloud at each change
        await new Promise((resolve) => setTimeout(resolve, 1000));
      }
      if (this.live !== live) return;
      this.own.warned = true;
      this.page.store.keep();
      output.gain.setTargetAtTime(1, context.currentTime, 0.2);
    }
    this.showLatency(live);
  }

  /** @param {LiveInput} live */
  showLatency(live) {
    const rate = live.engine.context.sampleRate;
    const off = rate === 44100 || rate === 48000 ? '' : ` The effect is made for 44100 and 48000 Hz; this is ${rate}.`;
    say('plug-note', `Plugged in. Press Auto and play hard for five seconds: it sets Trim.${off}`);
    const tell = () => {
      if (this.live !== live) return;
      const { seconds, whole } = live.latency;
      const told = Math.round(seconds * 1000);
      const path = whole ? 'from string to ear' : 'plus the input’s own latency';
      element('latency').textContent = told > 0 ? `${told} ms ${path}` : 'Latency unknown.';
      setTimeout(tell, 2000); // browsers measure it while they play
    };
    tell();
  }

  /** @param {string} text @param {boolean} bad */
  unplug(text = '', bad = false) {
    void this.page.recorder.stop();
    this.live?.close();
    if (this.live) this.live.engine.output.gain.value = 1;
    this.live = undefined;
    element('latency').textContent = '';
    say('plug-note', text, bad);
    this.page.trim.tell();
    this.page.showPlaying();
  }

  async showInputs() {
    const list = select('device');
    const devices = await listInputs();
    list.replaceChildren(
      new Option('The system’s own', ''),
      ...devices
        .filter((device) => device.deviceId !== 'default')
        .map((device, i) => new Option(device.label || `Input ${i + 1}`, device.deviceId)),
    );
    const { id, label } = this.device;
    list.value = id;
    if (list.selectedIndex >= 0) return;
    // Until the user allows an input, the browser names none; after that, a device that is not listed is not connected.
    const named = devices.some((device) => device.label !== '');
    list.append(new Option(named ? `${label} (not connected)` : label, id));
    list.value = id;
  }

  /** Without a name until the browser allowed an input; the one that was chosen before is found by its id. */
  async showOutputs() {
    const list = select('out');
    const devices = await listOutputs();
    element('out-label').hidden = devices.length === 0;
    list.replaceChildren(
      new Option('The system’s own', ''),
      ...devices.map((device, i) => new Option(device.label || `Output ${i + 1}`, device.deviceId)),
    );
    list.value = this.output;
    if (list.selectedIndex < 0) list.value = '';
  }

  async chooseOutput() {
    this.output = select('out').value;
    this.page.store.keep();
    try {
      await this.page.sound.engine?.sendTo(this.output);
    } catch {
      say('plug-note', 'This output cannot be opened. Choose another one.', true);
    }
  }
}
