// SPDX-License-Identifier: MIT
import { button, onClick, say } from './controls.js';

const MERGED = 1000; // milliseconds within which changes of one kind are undone together
const MOST = 200; // steps kept

/** Undoes changes to knobs, selections, names and imports, step by step. */
export class Undo {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
    /** @type {{what: string, restore: () => void}[]} */
    this.steps = [];
    this.changed = -MERGED; // when the last change came, in milliseconds
  }

  wire() {
    onClick('undo', () => this.undo());
    document.addEventListener('keydown', (event) => {
      if (!(event.ctrlKey || event.metaKey) || event.shiftKey || event.altKey || event.key.toLowerCase() !== 'z') return;
      if (/** @type {HTMLElement} */ (event.target).matches('input[type=text]')) return; // the field has its own
      event.preventDefault();
      this.undo();
    });
    this.show();
  }

  /** Call it before each change. @param {string} what the change, as it is reported to the player when undone */
  before(what) {
    const now = performance.now();
    const last = this.steps.at(-1);
    if (last?.what !== what || now - this.changed > MERGED) {
      const { programs, trim, level, listen, compare } = this.page;
      const { all, selected } = structuredClone({ all: programs.all, selected: programs.selected });
      const { recording, input } = trim;
      const source = listen.recording;
      const { decibels } = level;
      const compared = structuredClone(compare.state);
      const restore = () => {
        Object.assign(programs, { all, selected });
        trim.input = input;
        if (source === listen.recording) trim.recording = recording;
        level.decibels = decibels;
        compare.state = compared;
      };
      this.steps.push({ what, restore });
      if (this.steps.length > MOST) this.steps.shift();
    }
    this.changed = now;
    this.show();
  }

  undo() {
    const step = this.steps.pop();
    if (!step) return;
    const { page } = this;
    step.restore();
    page.sound.tell({ settings: page.settings });
    page.show();
    page.store.keep();
    say('bank-note', `Undone: ${step.what}.`);
    this.show();
  }

  show() {
    button('undo').ariaDisabled = String(this.steps.length === 0); // it keeps the keyboard focus
  }
}
