// SPDX-License-Identifier: MIT
import { PROGRAMS } from './bank.js';
import { onClick, say, select } from './controls.js';
import { FUZZ, ON, VOLUME } from './effect.js';
import { Midi } from './midi.js';

/** The foot controls: MIDI pedals, and the space bar. */
export class Foot {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
    /** @type {Record<number, import('./midi.js').Target>} */
    this.learnt = {};
    /** @type {Record<number, import('./midi.js').Target>} */
    const usual = {};
    for (const { symbol, controllers } of page.turned) {
      for (const controller of controllers) usual[controller] = /** @type {import('./midi.js').Target} */ (symbol);
    }
    this.midi = new Midi(this.learnt, usual, page.steps, {
      program: (index) => index < PROGRAMS && page.programs.choose(index),
      step: (by) => page.programs.choose((page.programs.selected + by + PROGRAMS) % PROGRAMS),
      turn: (target, share) => this.turn(target, share),
      set: (on) => page.programs.setValue(ON, on ? 1 : 0),
      press: () => page.programs.toggle(),
      learn: (target, controller) => {
        select('learn').value = '';
        say('midi-note', `Controller ${controller} now turns ${target === 'on' ? 'On' : target}.`);
        page.store.keep();
      },
    });
  }

  wire() {
    onClick('midi', () => this.connect());
    onClick('forget', () => {
      for (const controller of Object.keys(this.learnt)) delete this.learnt[Number(controller)];
      this.page.store.keep();
      say('midi-note', 'Forgotten. The controllers are the usual ones again.');
    });
    select('learn').addEventListener('change', () => {
      const target = /** @type {any} */ (select('learn').value || undefined);
      this.midi.learning = target;
      if (target) say('midi-note', 'Move a knob, pedal or switch: it will turn this.');
    });

    // The space bar is the foot switch, unless the focused control uses the space bar itself. A control that was
    // clicked or chosen with the mouse gives up the focus.
    let pointed = false;
    const letGo = () => pointed && /** @type {HTMLElement} */ (document.activeElement)?.blur();
    document.addEventListener('pointerdown', () => (pointed = true), true);
    document.addEventListener('keydown', () => (pointed = false), true);
    document.addEventListener('click', (event) => {
      if (/** @type {HTMLElement} */ (event.target).closest('button, summary')) letGo();
    });
    document.addEventListener('change', (event) => {
      if (/** @type {HTMLElement} */ (event.target).matches('select, [type=file]')) letGo();
    });
    document.addEventListener('keydown', (event) => {
      const focused = /** @type {HTMLElement} */ (event.target);
      const takesSpace = focused.closest('button, select, summary, input:not([type=range])') !== null;
      if (event.key !== ' ' || event.repeat || takesSpace) return;
      event.preventDefault();
      this.page.programs.toggle();
    });
  }

  /** @param {import('./midi.js').Target} target @param {number} share 0 to 1 */
  turn(target, share) {
    const { programs, trim } = this.page;
    if (target === 'fuzz') programs.setValue(FUZZ, Math.fround(share));
    if (target === 'volume') programs.setValue(VOLUME, Math.fround(share));
    const { least, most } = trim.knob.scale;
    if (target === 'trim') trim.knob.turn(least + share * (most - least));
  }

  async connect() {
    if (typeof navigator.requestMIDIAccess !== 'function') {
      say('midi-note', 'This browser has no MIDI. Chrome, Edge and Firefox have it.', true);
      return;
    }
    try {
      const names = await this.midi.connect();
      say('midi-note', names.length > 0 ? `Connected: ${names.join(', ')}.` : 'Ready. Connect a MIDI pedal or keyboard.');
    } catch {
      say('midi-note', 'The browser does not let this page use MIDI. Allow it beside the address, then connect.', true);
    }
  }
}
