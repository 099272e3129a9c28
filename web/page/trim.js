// SPDX-License-Identifier: MIT

/** Trim, in dB: the recording's and the input's. It belongs to the source, and the knob shows that of what plays. */
export class Trim {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
    this.recording = 0;
    this.input = 0;
    this.knob = page.knob('trim', (value) => this.set(value));
  }

  get now() {
    return this.page.guitar.live ? this.input : this.recording;
  }

  /** Turned by the player. @param {number} decibels */
  set(decibels) {
    if (this.page.guitar.live) this.input = decibels;
    else this.recording = decibels;
    this.tell();
    this.show();
    this.page.store.keep();
  }

  /** The recording's, when it is opened. @param {number} decibels */
  fit(decibels) {
    this.recording = decibels;
    if (!this.page.guitar.live) this.tell();
  }

  tell() {
    this.page.sound.tell({ trim: this.now });
  }

  show() {
    this.knob.show(this.now);
    this.page.programs.showPreset();
  }
}
