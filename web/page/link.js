// SPDX-License-Identifier: MIT
import { fittingName, knobAtValue, valueAtKnob } from './bank.js';
import { onClick, say } from './controls.js';
import { FUZZ, VOLUME } from './effect.js';

/** A setting in the address of the page, behind `#`: fuzz=7.5&volume=4&name=Singing%20lead, knobs 0 to 10. */
export class Link {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
  }

  wire() {
    onClick('copy-link', () => this.copy());
    window.addEventListener('hashchange', () => this.read());
    this.read();
  }

  /** Takes the setting from the address, once: the address loses it, so that what is turned later holds. */
  read() {
    if (location.hash.length < 2) return;
    const asked = new URLSearchParams(location.hash.slice(1));
    history.replaceState(null, '', location.pathname + location.search);
    const knob = (/** @type {string} */ name) => {
      const number = Number.parseFloat(asked.get(name) ?? '');
      return number >= 0 && number <= 10 ? valueAtKnob(number) : undefined;
    };
    const [fuzz, volume] = [knob('fuzz'), knob('volume')];
    if (fuzz === undefined || volume === undefined) {
      say('bank-note', 'The link carries no setting: it needs fuzz and volume, 0 to 10. Nothing was changed.', true);
      return;
    }
    const name = fittingName(asked.get('name') ?? '') || 'Link';
    const { programs } = this.page;
    const number = programs.selected + 1;
    programs.replace({ name, values: Object.assign([...programs.now.values], { [FUZZ]: fuzz, [VOLUME]: volume }) }, 'the link');
    say('bank-note', `The link set program ${number} to “${name}”. Undo brings back what was there.`);
  }

  get address() {
    const { name, values } = this.page.programs.now;
    const knob = (/** @type {number} */ index) => String(knobAtValue(values[index] ?? 0));
    const setting = new URLSearchParams({ fuzz: knob(FUZZ), volume: knob(VOLUME) });
    if (name !== 'Init') setting.set('name', name);
    return `${location.href.replace(/#.*/, '')}#${setting}`;
  }

  async copy() {
    try {
      await navigator.clipboard.writeText(this.address);
      say('bank-note', 'Copied. Whoever opens the link gets these knobs.');
    } catch {
      say('bank-note', `The browser does not let the page copy. The link: ${this.address}`, true);
    }
  }
}
