// SPDX-License-Identifier: MIT
import { knobAtValue } from './bank.js';
import { element, onClick, say, showPressed } from './controls.js';
import { Effect, FUZZ, ON, VOLUME } from './effect.js';

const HEARD = 12; // seconds of the recording that the two settings are compared on
const SETTLED = 300; // milliseconds without a change, after which they are compared again

/**
 * The loudness of samples: the mean square after the filters of ITU-R BS.1770, without its gates, in dB.
 * @param {Float32Array[]} channels
 * @param {number} rate Hz
 */
export async function loudness(channels, rate) {
  const length = channels[0]?.length ?? 1;
  const context = new OfflineAudioContext(channels.length, length, rate);
  const buffer = new AudioBuffer({ length, sampleRate: rate, numberOfChannels: channels.length });
  channels.forEach((channel, c) => buffer.copyToChannel(/** @type {Float32Array<ArrayBuffer>} */ (channel), c));
  const source = new AudioBufferSourceNode(context, { buffer });
  const shelf = new BiquadFilterNode(context, { type: 'highshelf', frequency: 1682, gain: 4 });
  const highpass = new BiquadFilterNode(context, { type: 'highpass', frequency: 38.1, Q: -6 });
  source.connect(shelf).connect(highpass).connect(context.destination);
  source.start();
  const weighted = await context.startRendering();
  let square = 0;
  for (let c = 0; c < channels.length; ++c) {
    for (const sample of weighted.getChannelData(c)) square += sample * sample;
  }
  return 10 * Math.log10(square / length + 1e-12) - 0.691;
}

/** Two settings of the selected program, A and B, of which one plays. Both are equally loud. */
export class Compare {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
    /**
     * The program and its values in either setting, of which number `playing` plays; `gains` in dB, 0 or below.
     * @type {{program: number, values: [number[]?, number[]?], playing: 0 | 1, gains: [number, number]}}
     */
    this.state = { program: -1, values: [], playing: 0, gains: [0, 0] };
    this.resting = 0;
  }

  wire() {
    onClick('ab', () => this.flip());
    document.addEventListener('keydown', (event) => {
      const types = /** @type {HTMLElement} */ (event.target).matches('input[type=text], select');
      if (event.key.toLowerCase() === 'b' && !types && !event.ctrlKey && !event.metaKey && !event.altKey) this.flip();
    });
    this.show();
  }

  get isOn() {
    return this.state.program === this.page.programs.selected;
  }

  /** The attenuation of the setting that plays, in dB. */
  get gain() {
    return this.isOn ? this.state.gains[this.state.playing] : 0;
  }

  flip() {
    const { programs, undo } = this.page;
    undo.before('A/B');
    if (!this.isOn) this.state = { program: programs.selected, values: [], playing: 0, gains: [0, 0] };
    const { values, playing } = this.state;
    const isNew = values.length === 0;
    values[playing] = [...programs.now.values];
    this.state.playing = playing === 0 ? 1 : 0;
    const next = values[this.state.playing] ?? [...programs.now.values];
    values[this.state.playing] = next;
    programs.setValues(next);
    const knobs = `Fuzz ${knobAtValue(next[FUZZ] ?? 0)}, Volume ${knobAtValue(next[VOLUME] ?? 0)}`;
    say('bank-note', isNew ? 'B plays, a copy of A so far. Turn its knobs; A/B or the key B goes back to A.' : `${'AB'[this.state.playing]} plays: ${knobs}.`);
    this.show();
  }

  /** Call it when the values have changed. */
  changed() {
    this.show();
    clearTimeout(this.resting);
    if (this.isOn) this.resting = setTimeout(() => void this.match(), SETTLED);
  }

  /** Attenuates the louder setting to the level of the other. */
  async match() {
    const { state } = this;
    const { recording } = this.page.listen;
    if (!this.isOn || !recording) return;
    state.values[state.playing] = [...this.page.programs.now.values];
    const [first, second] = state.values;
    if (first === undefined || second === undefined) return;
    const louder = (await this.loudness(recording, first)) - (await this.loudness(recording, second));
    if (this.state !== state) return;
    state.gains = [Math.min(-louder, 0), Math.min(louder, 0)];
    this.page.level.apply();
  }

  /** @param {import('./recording.js').Recording} recording @param {number[]} values */
  async loudness({ rate, channels }, values) {
    const { module, trim, listen, level } = this.page;
    const from = Math.floor((listen.part.chosen?.from ?? 0) * rate);
    const parts = channels.map((channel) => channel.slice(from, from + HEARD * rate));
    const effect = new Effect(module, rate, parts.length);
    try {
      effect.restore({ programs: [{ name: '', values }], selected: 0, trim: trim.recording });
      const length = parts[0]?.length ?? 0;
      for (let at = 0; at < length; at += effect.longestBlock) {
        const end = Math.min(at + effect.longestBlock, length);
        parts.forEach((part, c) => effect.planes()[c]?.set(part.subarray(at, end)));
        effect.process(end - at);
        effect.planes().forEach((plane, c) => parts[c]?.set(plane.subarray(0, end - at), at));
      }
      return (await loudness(parts, rate)) + level.makeUp(values[ON] === 1);
    } finally {
      effect.close();
    }
  }

  show() {
    showPressed('ab', this.isOn && this.state.playing === 1);
    element('ab').classList.toggle('compares', this.isOn);
  }
}
