// SPDX-License-Identifier: MIT
import { decibelText, element, onClick, say } from './controls.js';
import { peakOf } from './recording.js';

const LISTENING = 5; // seconds for which Auto listens to the input

/** Trim, in dB: the recording's and the input's. It belongs to the source; the knob shows that of the current one. */
export class Trim {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
    this.recording = 0;
    this.fitting = 0; // the value that Auto sets for the recording
    this.input = 0;
    this.listening = false;
    this.knob = page.knob('trim', (value) => this.set(value));
  }

  wire() {
    onClick('auto', () => this.auto());
  }

  get now() {
    return this.page.guitar.live ? this.input : this.recording;
  }

  /** Called when the player turns the knob. @param {number} decibels */
  set(decibels) {
    this.page.undo.before('Trim');
    if (this.page.guitar.live) this.page.guitar.keepTrim((this.input = decibels));
    else this.recording = decibels;
    this.tell();
    this.show();
    this.page.store.keep();
  }

  /** The recording's, when it is opened. @param {number} peak of full scale */
  fit(peak) {
    this.recording = this.fitting = this.page.module.automaticTrim(peak);
    if (!this.page.guitar.live) this.tell();
  }

  /** Sets Trim from the source's peak: the recording's, or that of five seconds of playing. */
  async auto() {
    const { live } = this.page.guitar;
    if (!live) {
      this.set(this.fitting);
      say('recording-note', `Trim set to fit the recording: ${decibelText(this.recording)}.`);
      return;
    }
    if (this.listening) return;
    this.listening = true;
    say('plug-note', `Play hard for ${LISTENING} seconds …`);
    const samples = new Float32Array(4096);
    let peak = 0;
    for (const end = performance.now() + LISTENING * 1000; performance.now() < end && this.page.guitar.live === live; ) {
      for (const analyser of live.engine.dry) {
        analyser.getFloatTimeDomainData(samples);
        peak = Math.max(peak, peakOf([samples]));
      }
      await new Promise((resolve) => setTimeout(resolve, 50));
    }
    this.listening = false;
    if (this.page.guitar.live !== live) return;
    if (peak < 0.001) {
      say('plug-note', 'Nothing was heard. Turn up the guitar or the interface, press Auto and play.', true);
      return;
    }
    this.set(Math.round(this.page.module.automaticTrim(peak)));
    const clipped = peak >= 0.999 ? ' The input clips: turn down the interface, then press Auto again.' : '';
    say('plug-note', `Trim set to ${decibelText(this.input)}.${clipped}`, clipped !== '');
  }

  tell() {
    this.page.sound.tell({ trim: this.now });
    this.page.level.apply();
  }

  show() {
    this.knob.show(this.now);
    element('auto').title = this.page.guitar.live ? 'Play hard for five seconds: Trim is set from it' : 'Fits the recording';
    this.page.level.apply();
  }
}
