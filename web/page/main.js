// SPDX-License-Identifier: MIT
import { valueAtKnob } from './bank.js';
import { Compare } from './compare.js';
import { button, decibelText, element, onClick, showPressed } from './controls.js';
import { Effect, Module } from './effect.js';
import { Foot } from './foot.js';
import { Guitar } from './guitar.js';
import { Knob } from './knob.js';
import { Level } from './level.js';
import { Link } from './link.js';
import { Listen } from './listen.js';
import { Programs } from './programs.js';
import { Recorder } from './recorder.js';
import { Sound } from './sound.js';
import { Store } from './store.js';
import { Trim } from './trim.js';
import { Tuner } from './tuner.js';
import { Undo } from './undo.js';

/** The page: its parts, which reach one another through it, and the settings that they share. */
export class Page {
  /** @param {ArrayBuffer} wasm @param {Module} module */
  constructor(wasm, module) {
    this.module = module;
    /** @type {{parameters: import('./bank.js').Parameter[], presets: Record<string, any>[], programs: import('./midi.js').Steps}} */
    const { parameters, presets, programs: steps } = JSON.parse(element('catalog').textContent ?? '');
    this.turned = parameters;
    this.steps = steps;
    this.parameters = parameters.filter((parameter) => parameter.name !== undefined);
    this.presets = presets;
    this.texts = new Effect(module, 44100, 1); // an effect that only provides texts
    /** @type {'wave' | 'spectrum'} */
    this.view = 'wave';

    this.store = new Store(this);
    this.undo = new Undo(this);
    this.level = new Level(this);
    this.programs = new Programs(this);
    this.trim = new Trim(this);
    this.listen = new Listen(this);
    this.guitar = new Guitar(this);
    this.compare = new Compare(this);
    this.recorder = new Recorder(this);
    this.tuner = new Tuner(this);
    this.foot = new Foot(this);
    this.sound = new Sound(this, wasm);
    this.store.recall();
    const { store, undo, level, trim, programs, listen, guitar, recorder, tuner, foot, sound, compare } = this;
    for (const part of [store, undo, level, trim, programs, listen, guitar, recorder, tuner, foot, sound, compare, this]) part.wire();
    this.show();
    this.link = new Link(this);
    this.link.wire();
  }

  get settings() {
    const { all, selected } = this.programs;
    const programs = all.map(({ name, values }) => ({ name, values: [...values] }));
    return { programs, selected, trim: this.trim.now };
  }

  /**
   * The knob of a parameter: with the effect's own text, or in dB.
   * @param {string} symbol
   * @param {(value: number) => void} turn
   */
  knob(symbol, turn) {
    const index = this.turned.findIndex((parameter) => parameter.symbol === symbol);
    const parameter = this.turned[index];
    if (parameter === undefined) throw new Error(`no parameter ${symbol}`);
    const { minimum, maximum, steps, does, scale, ...rest } = parameter;
    const text = (/** @type {number} */ value) =>
      scale === 'knob' ? this.texts.display(index, valueAtKnob(value)) : decibelText(value);
    element(`${symbol}-does`).textContent = does;
    const step = (maximum - minimum) / (steps - 1);
    return new Knob(element(symbol), { least: minimum, most: maximum, step, initial: rest.default, text }, turn);
  }

  show() {
    this.programs.show();
    this.trim.show();
    this.level.show();
  }

  showPlaying() {
    button('play').classList.toggle('plays', this.listen.plays);
    element('play-text').textContent = this.listen.plays ? 'Stop' : 'Play';
    showPressed('plug', this.guitar.live !== undefined);
    this.recorder.show();
    this.trim.show();
    this.sound.animate();
  }

  wire() {
    const showView = () => {
      showPressed('view', this.view === 'spectrum');
      this.sound.scope.view = this.view;
    };
    showView();
    onClick('view', () => {
      this.view = this.view === 'wave' ? 'spectrum' : 'wave';
      showView();
      this.store.keep();
    });
    document.addEventListener('dragover', (event) => (event.preventDefault(), document.body.classList.add('drop')));
    document.addEventListener('dragleave', () => document.body.classList.remove('drop'));
    document.addEventListener('drop', (event) => {
      event.preventDefault();
      document.body.classList.remove('drop');
      const file = event.dataTransfer?.files[0];
      if (file) void (/\.json$/i.test(file.name) ? this.programs.importBank(file) : this.listen.open(file));
    });
    if (window.matchMedia('(min-width: 1001px)').matches) element('more').setAttribute('open', '');
  }
}

/** The module's bytes, which the page holds compressed. */
function unpackModule() {
  const packed = Uint8Array.from(atob(element('wasm').textContent ?? ''), (c) => c.charCodeAt(0));
  return new Response(new Blob([packed]).stream().pipeThrough(new DecompressionStream('deflate'))).arrayBuffer();
}

async function start() {
  try {
    const wasm = await unpackModule();
    const { instance } = await WebAssembly.instantiate(wasm, Module.imports);
    const page = new Page(wasm, new Module(instance));
    await page.listen.openRiff();
    element('unable').hidden = true;
    void page.guitar.showInputs();
  } catch (error) {
    console.error(error);
  }
}

void start();
