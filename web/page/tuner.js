// SPDX-License-Identifier: MIT
import { element, onClick, say, showPressed } from './controls.js';

const SAMPLES = 8192; // the last ones of the input, 0.17 s at 48000 Hz: as many as the pitch detector uses
const EVERY = 60; // milliseconds
const SPOKEN = 1500; // milliseconds between two results for screen readers
const IN_TUNE = 3; // cents

/** Shows the note and the cents of the input, and mutes the sound meanwhile. */
export class Tuner {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
    this.on = false;
    this.timer = 0;
    this.spoken = 0;
    this.samples = new Float32Array(SAMPLES);
  }

  wire() {
    onClick('tuner', () => this.toggle());
  }

  async toggle() {
    const { guitar } = this.page;
    if (this.on) {
      this.end();
      return;
    }
    this.on = true;
    showPressed('tuner', true);
    if (!guitar.live) await guitar.plugIn();
    if (!this.on) return;
    if (guitar.live) this.begin(guitar.live);
    else this.end();
  }

  /** @param {import('./input.js').LiveInput} live */
  begin(live) {
    const { context } = live.engine;
    const analyser = new AnalyserNode(context, { fftSize: SAMPLES });
    const tap = live.listen(analyser);
    live.engine.mute(true);
    element('tune').hidden = false;
    this.show('', 0);
    const look = () => {
      if (!this.on || this.page.guitar.live !== live) {
        tap();
        this.end();
        return;
      }
      analyser.getFloatTimeDomainData(this.samples);
      const { name, cents } = this.page.module.tune(this.samples, context.sampleRate);
      this.show(name, cents);
      this.timer = setTimeout(look, EVERY);
    };
    look();
  }

  end() {
    this.on = false;
    showPressed('tuner', false);
    element('tune').hidden = true;
    this.page.guitar.live?.engine.mute(false);
  }

  /** @param {string} name empty: no note @param {number} cents */
  show(name, cents) {
    const root = element('tune');
    const rounded = Math.round(cents);
    const side = rounded < 0 ? `${-rounded} cents flat` : rounded > 0 ? `${rounded} cents sharp` : 'in tune';
    element('tune-note').textContent = name || '–';
    element('tune-cents').textContent = name ? side : 'Play one string.';
    root.classList.toggle('in-tune', name !== '' && Math.abs(cents) <= IN_TUNE);
    root.style.setProperty('--cents', String(name ? cents : 0));
    const now = performance.now();
    if (name === '' || now - this.spoken < SPOKEN) return;
    this.spoken = now;
    say('tune-spoken', `${name}, ${side}`);
  }
}
