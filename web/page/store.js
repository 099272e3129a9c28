// SPDX-License-Identifier: MIT
import { readBank } from './bank.js';
import { say } from './controls.js';

const KEY = 'brumbler';

/** What the browser keeps of the page between visits. */
export class Store {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
  }

  keep() {
    const { programs, trim, foot, guitar, listen, view } = this.page;
    try {
      localStorage.setItem(KEY, JSON.stringify({
        bank: programs.bankText,
        selected: programs.selected,
        trim: trim.input,
        learnt: foot.learnt,
        warned: guitar.warned,
        loops: listen.loops,
        view,
      }));
    } catch {
      say('bank-note', 'This browser stores nothing for this page. Export the bank before you leave.', true);
    }
  }

  recall() {
    const { page } = this;
    const { programs, trim, foot, guitar, listen } = page;
    try {
      const kept = JSON.parse(localStorage.getItem(KEY) ?? 'null');
      if (!kept) return;
      programs.all = readBank(kept.bank, programs.all, page.parameters);
      if (kept.selected in programs.all) programs.selected = kept.selected;
      if (Number.isFinite(kept.trim)) trim.input = kept.trim;
      Object.assign(foot.learnt, kept.learnt);
      guitar.warned = kept.warned === true;
      listen.loops = kept.loops !== false;
      page.view = kept.view === 'spectrum' ? 'spectrum' : 'wave';
    } catch {
      // Unreadable or not allowed: start with the defaults.
    }
  }

  /** Takes over what another tab stored, so that this tab does not overwrite it. What is chosen and shown here stays. */
  follow() {
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
  }
}
