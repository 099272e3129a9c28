// SPDX-License-Identifier: MIT
import { element, onClick, say, select } from './controls.js';
import { LiveInput, inputTrouble, listInputs, openInput } from './input.js';

const WARNING = 3; // seconds from plugging a device in for the first time to the first sound

/** The guitar: plugging it in and out, its input, jack and latency. */
export class Guitar {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
    /** @type {LiveInput | undefined} */
    this.live = undefined;
    this.plugging = false; // Plug in was pressed and nothing sounds yet
    this.warned = false;
  }

  wire() {
    onClick('plug', () => this.plugIn());
    select('device').addEventListener('change', async () => {
      if (!this.live) return;
      await this.plugIn();
      await this.plugIn();
    });
    select('jack').addEventListener('change', () => this.live?.choose(/** @type {any} */ (select('jack').value)));
    navigator.mediaDevices?.addEventListener?.('devicechange', () => void this.showInputs());
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
      stream = await openInput(select('device').value);
      this.page.listen.playback?.stop();
      const live = await this.openLive(stream);
      live.track.addEventListener('ended', () => {
        if (this.live === live) this.unplug('The input was unplugged. Connect it and plug in again.', true);
      });
      await live.engine.wake();
      await this.showInputs();
      if (live.track.readyState === 'ended') return; // unplugged meanwhile
      select('jack').disabled = live.single;
      if (live.single) select('jack').value = 'first';
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
    this.live = live;
    this.page.trim.tell();
    return live;
  }

  /** Stays silent until the player had time to read the warning, once. @param {LiveInput} live */
  async warn(live) {
    const { output, context } = live.engine;
    if (!this.warned) {
      output.gain.value = 0;
      for (let left = WARNING; left > 0 && this.live === live; --left) {
        say('plug-note', `Headphones on, or loudspeakers off! Through a microphone they howl. Sound in ${left} s …`);
        await new Promise((resolve) => setTimeout(resolve, 1000));
      }
      if (this.live !== live) return;
      this.warned = true;
      this.page.store.keep();
      output.gain.setTargetAtTime(1, context.currentTime, 0.2);
    }
    this.showLatency(live);
  }

  /** @param {LiveInput} live */
  showLatency(live) {
    const rate = live.engine.context.sampleRate;
    const off = rate === 44100 || rate === 48000 ? '' : ` The effect is made for 44100 and 48000 Hz; this is ${rate}.`;
    say('plug-note', `Plugged in. If hard strokes reach −12 dBFS at the input, set Trim to 12 dB; at −24, to 0.${off}`);
    const tell = () => {
      if (this.live !== live) return;
      const { seconds, whole } = live.latency;
      const told = Math.round(seconds * 1000);
      const path = whole ? 'from string to ear' : 'plus the input’s own latency';
      element('latency').textContent = told > 0 ? `${told} ms ${path}` : 'Latency unknown.';
      setTimeout(tell, 2000); // browsers learn it while they play
    };
    tell();
  }

  /** @param {string} text @param {boolean} bad */
  unplug(text = '', bad = false) {
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
    const chosen = list.value;
    const devices = await listInputs();
    list.replaceChildren(
      new Option('The system’s own', ''),
      ...devices
        .filter((device) => device.deviceId !== 'default')
        .map((device, i) => new Option(device.label || `Input ${i + 1}`, device.deviceId)),
    );
    list.value = chosen;
    if (list.selectedIndex < 0) list.value = '';
  }
}
