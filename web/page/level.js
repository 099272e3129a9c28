// SPDX-License-Identifier: MIT
import { decibelText, input } from './controls.js';

// Gains in dB that bring the riff to −18 LUFS at Level 0, Fuzz 5 and Volume 5. `brumbler render --trim auto` gives
// −30.6 LUFS with Trim 4 dB, `brumbler riff` −40.3 (ffmpeg -filter_complex ebur128).
const FUZZED = 16.6;
const DRY = 26.3;
const KNEE = 0.7; // of full scale; below it the ceiling changes nothing
const REACH = 4; // of full scale, up to which the ceiling has a curve
const GLIDE = 0.01; // seconds

const amplitude = (/** @type {number} */ decibels) => 10 ** (decibels / 20);

/**
 * The last node before the device: rounds off peaks that would clip there. Adds no latency.
 * @param {BaseAudioContext} context
 * @returns {{first: AudioNode, last: AudioNode}}
 */
export function ceiling(context) {
  const curve = Float32Array.from({ length: 8193 }, (_, i) => {
    const x = (i / 4096 - 1) * REACH;
    const size = Math.abs(x);
    return size <= KNEE ? x : Math.sign(x) * (KNEE + (1 - KNEE) * Math.tanh((size - KNEE) / (1 - KNEE)));
  });
  const first = new GainNode(context, { gain: 1 / REACH });
  const last = new WaveShaperNode(context, { curve });
  first.connect(last);
  return { first, last };
}

/** How loud the page plays: the same for every source, because Trim tells how far it lies above a guitar's level. */
export class Level {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
    this.decibels = 0;
  }

  wire() {
    const slider = input('level');
    slider.addEventListener('input', () => {
      this.page.undo.before('Level');
      this.decibels = Number(slider.value);
      this.show();
      this.page.store.keep();
    });
    slider.addEventListener('dblclick', () => {
      slider.value = '0';
      slider.dispatchEvent(new Event('input'));
    });
  }

  /** dB that bring the fuzzed or the dry riff to the level at which the page plays. @param {boolean} isOn */
  makeUp(isOn) {
    return isOn ? FUZZED : DRY;
  }

  /** The gain behind the effect. @param {number} trim dB */
  gain(trim) {
    return amplitude(this.decibels - trim + this.makeUp(this.page.programs.isOn) + this.page.compare.gain);
  }

  show() {
    input('level').value = String(this.decibels);
    input('level').setAttribute('aria-valuetext', decibelText(this.decibels));
    input('level').title = `Level: ${decibelText(this.decibels)}. How loud the page plays; saved files keep the effect’s own level.`;
    this.apply();
  }

  apply() {
    const { engine } = this.page.sound;
    engine?.level.gain.setTargetAtTime(this.gain(this.page.trim.now), engine.context.currentTime, GLIDE);
  }
}
