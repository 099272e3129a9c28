// SPDX-License-Identifier: MIT
import { readBank } from './bank.js';
import { say } from './controls.js';

const KEY = 'brumbler';
const RESTING = 400; // milliseconds

/** The page's data that the browser keeps between visits. */
export class Store {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
    this.resting = 0; // the timer of keep()
  }

  /** Stores everything once nothing has changed for a moment. */
  keep() {
    clearTimeout(this.resting);
    this.resting = setTimeout(() => this.write(), RESTING);
  }

  /** Stores at once what keep() has postponed. */
  flush() {
    if (this.resting !== 0) this.write();
  }

  write() {
    clearTimeout(this.resting);
    this.resting = 0;
    const { programs, level, foot, guitar, listen, sound, view } = this.page;
    try {
      localStorage.setItem(KEY, JSON.stringify({
        bank: programs.bankText,
        selected: programs.selected,
        level: level.decibels,
        inputs: guitar.known,
        device: guitar.device,
        asked: programs.asked,
        learnt: foot.learnt,
        loops: listen.loops,
        output: guitar.output,
        speaker: sound.speaker,
        view,
      }));
    } catch {
      say('bank-note', 'This browser stores nothing for this page. Export the bank before you leave.', true);
    }
  }

  recall() {
    const { page } = this;
    const { programs, level, foot, guitar, listen, sound } = page;
    try {
      const kept = JSON.parse(localStorage.getItem(KEY) ?? 'null');
      if (!kept) return;
      programs.all = readBank(kept.bank, programs.all, page.parameters);
      if (kept.selected in programs.all) programs.selected = kept.selected;
      if (Number.isFinite(kept.level)) level.decibels = kept.level;
      Object.assign(guitar.known, kept.inputs);
      if (typeof kept.device?.id === 'string') guitar.device = kept.device;
      programs.asked = kept.asked === true;
      Object.assign(foot.learnt, kept.learnt);
      listen.loops = kept.loops !== false;
      if (typeof kept.output === 'string') guitar.output = kept.output;
      sound.speaker = kept.speaker === true;
      page.view = kept.view === 'spectrum' ? 'spectrum' : 'wave';
    } catch {
      // Unreadable or not allowed: start with the defaults.
    }
  }

  /** Takes over what another tab stored, so that this tab does not overwrite it. This tab keeps its selection. */
  follow() {
    if (this.resting !== 0) return; // what changed here is newer, and is stored in a moment
    const { programs, listen, sound } = this.page;
    const { selected } = programs;
    const { loops } = listen;
    const { view } = this.page;
    this.recall();
    programs.selected = selected;
    listen.loops = loops;
    this.page.view = view;
    sound.tell({ settings: this.page.settings });
    this.page.show();
  }

  wire() {
    window.addEventListener('storage', ({ key }) => key === KEY && this.follow());
    window.addEventListener('pagehide', () => this.flush());
    document.addEventListener('visibilitychange', () => document.hidden && this.flush());
  }
}
