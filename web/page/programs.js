// SPDX-License-Identifier: MIT
import { PROGRAMS, bankText, fittingName, initialValue, knobAtValue, readBank, valueAtKnob } from './bank.js';
import { button, download, input, onClick, onFile, say, select } from './controls.js';
import { FUZZ, ON, VOLUME } from './effect.js';

/**
 * The programs of the first visit besides the presets: a name, Fuzz and Volume. Each is at least 0.7 dB away from every
 * other program in the third-octave spectrum of the riff; further ones could not be told apart, so the rest is left as
 * it is.
 * @type {[string, number, number][]}
 */
const NEIGHBOURS = [
  ['Clean and round', 0, 8],
  ['Nasal edge', 1.5, 0.5],
  ['Vocal lead', 8, 3.5],
  ['Full and even', 5, 10],
  ['Velvet lead', 9, 10],
];

const CHANGES = { [ON]: 'On', [VOLUME]: 'Volume', [FUZZ]: 'Fuzz' };

/** The sixteen programs, the presets and the bank files; the knobs Fuzz and Volume and the foot switch. */
export class Programs {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
    const first = [...page.presets.map(({ label, fuzz, volume }) => [label, fuzz, volume]), ...NEIGHBOURS];
    this.all = Array.from({ length: PROGRAMS }, (_, index) => {
      const values = page.parameters.map(initialValue);
      const [name, fuzz, volume] = first[index] ?? ['Init', undefined, undefined];
      if (fuzz !== undefined) Object.assign(values, { [FUZZ]: valueAtKnob(fuzz), [VOLUME]: valueAtKnob(volume) });
      return { name, values };
    });
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
    // A name belongs to the program that was selected when the player began to type.
    input('program-name').addEventListener('focus', () => (this.named = this.selected));
    input('program-name').addEventListener('blur', () => this.rename(input('program-name').value));
    input('program-name').addEventListener('keydown', (event) => event.key === 'Enter' && input('program-name').blur());
  }

  /** @type {number | undefined} */
  named = undefined;

  /** @param {string} name of the program that is being named */
  rename(name) {
    const program = this.all[this.named ?? this.selected];
    this.named = undefined;
    const fitting = fittingName(name) || 'Init';
    if (program !== undefined && program.name !== fitting) {
      this.page.undo.before('the name');
      program.name = fitting;
      this.page.store.keep();
    }
    this.show();
  }

  get isOn() {
    return this.now.values[ON] === 1;
  }

  get now() {
    const program = this.all[this.selected];
    if (program === undefined) throw new RangeError(`no program ${this.selected}`);
    return program;
  }

  get bankText() {
    return bankText(this.all, this.page.parameters);
  }

  /** @param {keyof typeof CHANGES} parameter @param {number} value the effect's own, 0 to 1 */
  setValue(parameter, value) {
    this.page.undo.before(CHANGES[parameter]);
    this.now.values[parameter] = value;
    this.page.sound.tell({ parameter, value });
    this.showValues();
    this.page.store.keep();
  }

  /** @param {number[]} values of the selected program */
  setValues(values) {
    this.now.values = [...values];
    this.page.sound.tell({ settings: this.page.settings });
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

  /** The selected program becomes another one. @param {import('./effect.js').Program} program @param {string} what for Undo */
  replace(program, what) {
    this.page.undo.before(what);
    this.all[this.selected] = program;
    this.page.sound.tell({ settings: this.page.settings });
    this.show();
    this.page.store.keep();
  }

  /** @param {string} name its symbol */
  usePreset(name) {
    const preset = this.page.presets.find(({ symbol }) => symbol === name);
    if (!preset) return;
    this.page.undo.before(`the preset ${preset.label}`);
    const values = [...this.now.values];
    Object.assign(values, { [VOLUME]: valueAtKnob(preset.volume), [FUZZ]: valueAtKnob(preset.fuzz) });
    this.setValues(values);
  }

  showValues() {
    const { values } = this.now;
    this.fuzz.show(knobAtValue(values[FUZZ] ?? 0));
    this.volume.show(knobAtValue(values[VOLUME] ?? 0));
    button('on').setAttribute('aria-checked', String(this.isOn));
    this.page.level.apply();
    this.page.compare.changed();

    // The list shows the preset that the knobs are set to.
    const is = (/** @type {Record<string, any>} */ { volume, fuzz }) =>
      valueAtKnob(volume) === values[VOLUME] && valueAtKnob(fuzz) === values[FUZZ];
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
    if (this.named === undefined) input('program-name').value = this.now.name;
    this.showValues();
  }

  asked = false; // whether an import may replace the player's programs

  exportBank() {
    download(new Blob([this.bankText], { type: 'application/json' }), 'brumbler-bank.json');
    say('bank-note', 'Saved brumbler-bank.json. The command takes it with --bank.');
  }

  /** @param {File} file */
  async importBank(file) {
    try {
      const all = readBank(await file.text(), this.all, this.page.parameters);
      if (!this.asked && !window.confirm('Import replaces your programs. Undo brings them back until you leave the page. Import?')) return;
      this.asked = true;
      this.page.undo.before('the import');
      this.all = all;
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
