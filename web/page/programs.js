// SPDX-License-Identifier: MIT
import { PROGRAMS, bankText, fittingName, initialValue, knobAtValue, readBank, valueAtKnob } from './bank.js';
import { button, download, input, onClick, onFile, say, select } from './controls.js';
import { FUZZ, ON, VOLUME } from './effect.js';

/** The sixteen programs, the presets and the bank files; the knobs Fuzz and Volume and the foot switch. */
export class Programs {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
    this.all = Array.from({ length: PROGRAMS }, () => ({ name: 'Init', values: page.parameters.map(initialValue) }));
    this.selected = 0;
    this.fuzz = page.knob('fuzz', (value) => this.setValue(FUZZ, valueAtKnob(value)));
    this.volume = page.knob('volume', (value) => this.setValue(VOLUME, valueAtKnob(value)));
  }

  wire() {
    onClick('on', () => this.toggle());
    onClick('export', () => this.exportBank());
    onFile('import', (file) => void this.importBank(file));
    select('program').addEventListener('change', () => this.choose(Number(select('program').value)));
    for (const { label, symbol } of this.page.presets) select('preset').append(new Option(label, symbol));
    select('preset').addEventListener('change', () => this.usePreset(select('preset').value));
    input('program-name').addEventListener('change', () => {
      this.now.name = fittingName(input('program-name').value) || 'Init';
      this.show();
      this.page.store.keep();
    });
    input('program-name').addEventListener('keydown', (event) => event.key === 'Enter' && input('program-name').blur());
  }

  get now() {
    return this.all[this.selected];
  }

  get bankText() {
    return bankText(this.all, this.page.parameters);
  }

  /** @param {number} parameter @param {number} value the effect's own, 0 to 1 */
  setValue(parameter, value) {
    this.now.values[parameter] = value;
    this.page.sound.tell({ parameter, value });
    this.showValues();
    this.page.store.keep();
  }

  toggle() {
    this.setValue(ON, this.now.values[ON] === 1 ? 0 : 1);
  }

  /** @param {number} index */
  choose(index) {
    this.selected = index;
    this.page.sound.tell({ program: index });
    this.show();
    this.page.store.keep();
  }

  /** @param {string} name its symbol */
  usePreset(name) {
    const preset = this.page.presets.find(({ symbol }) => symbol === name);
    if (!preset) return;
    this.setValue(VOLUME, valueAtKnob(preset.volume));
    this.setValue(FUZZ, valueAtKnob(preset.fuzz));
    this.page.trim.set(preset.trim);
  }

  showValues() {
    const { values } = this.now;
    this.fuzz.show(knobAtValue(values[FUZZ]));
    this.volume.show(knobAtValue(values[VOLUME]));
    button('on').setAttribute('aria-checked', String(values[ON] === 1));
    this.showPreset();
  }

  /** The list names the preset that the knobs stand at. */
  showPreset() {
    const { values } = this.now;
    const is = (/** @type {Record<string, any>} */ { volume, fuzz, trim }) =>
      valueAtKnob(volume) === values[VOLUME] && valueAtKnob(fuzz) === values[FUZZ] && trim === this.page.trim.now;
    select('preset').value = this.page.presets.find(is)?.symbol ?? '';
  }

  show() {
    const { texts } = this.page;
    texts.restore(this.page.settings);
    const list = select('program');
    list.replaceChildren(
      ...this.all.map(({ name }, index) => {
        const shown = texts.programName(index);
        return new Option(name === 'Init' ? shown : `${index + 1}  ${shown}`, String(index));
      }),
    );
    list.value = String(this.selected);
    input('program-name').value = this.now.name;
    this.showValues();
  }

  exportBank() {
    download(new Blob([this.bankText], { type: 'application/json' }), 'brumbler-bank.json');
    say('bank-note', 'Saved brumbler-bank.json. The command takes it with --bank.');
  }

  /** @param {File} file */
  async importBank(file) {
    try {
      this.all = readBank(await file.text(), this.all, this.page.parameters);
      this.selected = 0;
      this.page.sound.tell({ settings: this.page.settings });
      this.show();
      this.page.store.keep();
      say('bank-note', `${file.name} is loaded.`);
    } catch (error) {
      say('bank-note', `${/** @type {Error} */ (error).message} Nothing was changed.`, true);
    }
  }
}
