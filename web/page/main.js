// SPDX-License-Identifier: MIT
import { PROGRAMS, bankText, fittingName, initialValue, knobAtValue, readBank, valueAtKnob } from './bank.js';
import { Effect, FUZZ, Module, ON, VOLUME } from './effect.js';
import { Engine, HELD, Playback, Trouble } from './engine.js';
import { LiveInput, inputTrouble, listInputs, openInput } from './input.js';
import { Knob } from './knob.js';
import { Midi } from './midi.js';
import { Meter, Scope, Waveform, clippedByConverter, clipsConverter, levelText } from './pictures.js';
import { openRecording, peakOf } from './recording.js';
import { render } from './render.js';

const STORE = 'brumbler';
const WARNING = 3; // seconds from plugging in for the first time to the first sound
const RINGING = 2500; // milliseconds for which the picture goes on after the sound

/** @template {HTMLElement} T @param {string} id @returns {T} */
const element = (id) => /** @type {T} */ (document.getElementById(id));
/** @param {string} id */
const button = (id) => /** @type {HTMLButtonElement} */ (element(id));
/** @param {string} id */
const select = (id) => /** @type {HTMLSelectElement} */ (element(id));
/** @param {string} id */
const input = (id) => /** @type {HTMLInputElement} */ (element(id));

/** Says something beside the control that it is about. @param {string} id @param {string} text @param {boolean} bad */
function say(id, text, bad = false) {
  element(id).textContent = text;
  element(id).classList.toggle('bad', bad);
}

/** @param {number} value dB */
const trimText = (value) => `${value.toFixed(1).replace('-', '−')} dB`;

class Page {
  /** @param {ArrayBuffer} wasm @param {Module} module */
  constructor(wasm, module) {
    this.wasm = wasm;
    this.module = module;
    /** @type {{parameters: import('./bank.js').Parameter[], presets: Record<string, any>[]}} */
    const { parameters, presets } = JSON.parse(element('catalog').textContent ?? '');
    this.parameters = parameters.filter((parameter) => parameter.name !== undefined);
    this.presets = presets;

    // The effect that answers with texts; what it is told first are its own programs.
    this.texts = new Effect(module, 44100, 1);
    this.programs = Array.from({ length: PROGRAMS }, () => ({ name: 'Init', values: this.parameters.map(initialValue) }));
    this.selected = 0;
    this.trims = { recording: 0, input: 0 }; // dB
    this.warned = false;
    /** @type {Record<number, import('./midi.js').Target>} */
    this.learnt = {};
    this.loops = true;
    this.view = 'wave';
    this.recall();

    /** @type {Engine | undefined} */
    this.engine = undefined;
    /** @type {import('./recording.js').Recording | undefined} */
    this.recording = undefined;
    /** @type {Playback | undefined} */
    this.playback = undefined;
    /** @type {LiveInput | undefined} */
    this.live = undefined;
    this.starting = false; // Play was pressed and nothing sounds yet
    this.plugging = false; // likewise Plug in
    this.saving = false;
    this.stopping = 0;
    this.opened = 0; // recordings that were chosen
    /** The last engine that was asked for. @type {Promise<unknown>} */
    this.engines = Promise.resolve();

    this.waveform = new Waveform(element('wave'));
    this.scope = new Scope(
      element('picture'),
      { input: new Meter(element('input'), clippedByConverter), output: new Meter(element('output'), clipsConverter) },
      () => this.showPosition(),
    );
    /**
     * The knob of a parameter: with the effect's own text, or in dB.
     * @param {string} symbol
     * @param {(value: number) => void} turn
     */
    const knob = (symbol, turn) => {
      const index = parameters.findIndex((parameter) => parameter.symbol === symbol);
      const { minimum, maximum, steps, does, scale, ...rest } = parameters[index];
      const text = (/** @type {number} */ value) =>
        scale === 'knob' ? this.texts.display(index, valueAtKnob(value)) : trimText(value);
      element(symbol).title = does;
      const step = (maximum - minimum) / (steps - 1);
      return new Knob(element(symbol), { least: minimum, most: maximum, step, initial: rest.default, text }, turn);
    };
    this.fuzz = knob('fuzz', (value) => this.setValue(FUZZ, valueAtKnob(value)));
    this.volume = knob('volume', (value) => this.setValue(VOLUME, valueAtKnob(value)));
    this.trim = knob('trim', (value) => this.setTrim(value));
    this.midi = new Midi(this.learnt, {
      program: (index) => index < PROGRAMS && this.choose(index),
      turn: (target, share) => this.turn(target, share),
      set: (on) => this.setValue(ON, on ? 1 : 0),
      press: () => this.toggle(),
      learn: (target, controller) => {
        select('learn').value = '';
        say('midi-note', `Controller ${controller} now turns ${target === 'on' ? 'On' : target}.`);
        this.keep();
      },
    });
    this.wire();
    this.show();
  }

  // What plays.

  get settings() {
    const programs = this.programs.map(({ name, values }) => ({ name, values: [...values] }));
    return { programs, selected: this.selected, trim: this.trimNow };
  }

  get trimNow() {
    return this.live ? this.trims.input : this.trims.recording;
  }

  /**
   * An engine at a rate in Hz, the one that runs if it fits. Opens one at a time: there is only one.
   * @param {number | undefined} rate
   * @param {number} hint
   */
  engineAt(rate, hint) {
    const engine = this.engines.then(() => this.fittingEngine(rate, hint));
    this.engines = engine.catch(() => {});
    return engine;
  }

  /** @param {number | undefined} rate @param {number} hint */
  async fittingEngine(rate, hint) {
    const { engine } = this;
    if (engine && engine.context.state !== 'closed' && engine.hint === hint && (!rate || engine.context.sampleRate === rate)) {
      engine.tell({ settings: this.settings });
      return engine;
    }
    this.closeEngine();
    this.engine = await Engine.open({
      rate,
      wasm: this.wasm,
      worklet: element('worklet').textContent ?? '',
      settings: this.settings,
      hint,
      onFault: () => say('effect-note', 'The effect stopped working; you hear the dry sound. Load the page again.', true),
      onHalt: () => this.halt(),
    });
    return this.engine;
  }

  closeEngine() {
    this.scope.stop();
    this.playback = undefined;
    this.engine?.close();
    this.engine = undefined;
  }

  /** The picture runs while something plays, and a little longer. */
  animate() {
    clearTimeout(this.stopping);
    if (this.engine) this.scope.start(this.engine);
    if (!this.playback?.plays && !this.live) this.stopping = setTimeout(() => this.rest(), RINGING);
  }

  rest() {
    if (this.starting || this.plugging || this.live || this.playback?.plays) return;
    this.scope.stop();
    this.engine?.sleep();
  }

  /** The browser has stopped the sound by itself. */
  halt() {
    if (this.live) {
      this.unplug(HELD, true);
    } else if (this.playback?.plays) {
      this.playback.stop();
      say('recording-note', HELD, true);
      this.showPlaying();
    }
  }

  async play() {
    const { recording } = this;
    if (!recording || this.starting) return;
    if (this.playback?.plays) {
      this.playback.stop();
      this.showPlaying();
      return;
    }
    this.starting = true;
    try {
      if (this.live) this.unplug();
      say('recording-note', '');
      const engine = await this.engineAt(recording.rate, 0.02);
      await engine.wake();
      if (engine === this.engine && recording === this.recording) {
        this.playback ??= new Playback(engine, recording, () => this.showPlaying());
        this.playback.setLoop(this.loops);
        this.playback.offset = this.position;
        this.playback.play();
      }
    } catch (error) {
      const why = error instanceof Trouble ? error.message : 'The sound cannot start in this browser.';
      if (!this.plugging && !this.live) say('recording-note', why, true); // else the guitar has taken over
    }
    this.starting = false;
    this.showPlaying();
  }

  showPlaying() {
    button('play').setAttribute('aria-pressed', String(this.playback?.plays ?? false));
    button('plug').setAttribute('aria-pressed', String(this.live !== undefined));
    this.showTrim();
    this.animate();
  }

  /** Seconds from the start of the recording, where it plays or would. */
  get position() {
    return this.playback?.position ?? this.place;
  }

  place = 0;

  /** @param {number} seconds */
  seek(seconds) {
    this.place = seconds;
    this.playback?.seek(seconds);
    this.showPosition();
  }

  showPosition() {
    if (!this.recording) return;
    const length = this.recording.channels[0].length / this.recording.rate;
    this.place = this.position;
    const clock = (/** @type {number} */ t) => `${Math.floor(t / 60)}:${String(Math.floor(t % 60)).padStart(2, '0')}`;
    const text = `${clock(this.place)} of ${clock(length)}`;
    const position = input('position');
    position.max = String(length);
    position.value = String(this.place);
    if (element('time').textContent !== text) {
      element('time').textContent = text;
      position.setAttribute('aria-valuetext', text);
    }
    this.waveform.draw(this.place / length);
  }

  /** @param {import('./recording.js').Recording} recording */
  load(recording) {
    this.playback?.stop();
    this.playback = undefined;
    this.place = 0;
    this.recording = recording;
    this.trims.recording = this.module.automaticTrim(peakOf(recording.channels));
    element('name').textContent = recording.name;
    this.waveform.show(recording.channels);
    if (!this.live) this.engine?.tell({ trim: this.trimNow });
    this.showPosition();
    this.showPlaying();
  }

  /** @param {File} file */
  async open(file) {
    const chosen = (this.opened += 1);
    say('recording-note', `Reading ${file.name} …`);
    try {
      const recording = await openRecording(file);
      if (chosen !== this.opened) return;
      if (recording.channels[0].length === 0) throw new Error('empty');
      this.load(recording);
      const kind = { 1: 'mono', 2: 'stereo' }[recording.channels.length] ?? `${recording.channels.length} channels`;
      say('recording-note', `${recording.rate} Hz, ${kind}, Trim set to fit its peak.`);
    } catch {
      if (chosen === this.opened) say('recording-note', `${file.name} is not a recording that this browser can read. Try WAV, FLAC, MP3 or Ogg.`, true);
    }
  }

  openRiff() {
    this.opened += 1;
    const { rate, samples } = this.module.riff();
    this.load({ name: 'Riff', rate, channels: [samples] });
  }

  async save() {
    if (!this.recording || this.saving) return;
    const { recording } = this;
    const progress = /** @type {HTMLProgressElement} */ (element('progress'));
    this.saving = true;
    button('save').ariaDisabled = 'true'; // it keeps the keyboard
    progress.hidden = false;
    progress.value = 0;
    try {
      const begun = performance.now();
      const settings = { ...this.settings, trim: this.trims.recording };
      const { wav, seconds, peak } = await render(this.module, recording, settings, (done) => (progress.value = done));
      const link = document.createElement('a');
      link.href = URL.createObjectURL(wav);
      link.download = `${recording.name}-fuzzed.wav`;
      link.click();
      setTimeout(() => URL.revokeObjectURL(link.href), 60000);
      const taken = (performance.now() - begun) / 1000;
      const over = peak > 1 ? ' It goes above full scale: lower Volume, or the level in your editor; nothing is lost.' : '';
      say(
        'recording-note',
        `Saved ${link.download}: ${seconds.toFixed(1)} s in ${taken.toFixed(1)} s, 32-bit float, peak ${levelText(peak)}.${over}`,
      );
    } catch (error) {
      const why = error instanceof RangeError ? 'It is too long for a WAV or for this browser.' : 'It cannot be rendered.';
      say('recording-note', `Nothing was saved. ${why}`, true);
    }
    this.saving = false;
    button('save').ariaDisabled = 'false';
    progress.hidden = true;
  }

  // The guitar.

  async plugIn() {
    if (this.plugging) return;
    if (this.live) {
      this.unplug('Unplugged.');
      return;
    }
    this.plugging = true;
    say('plug-note', 'The browser asks whether this page may listen. Allow it.');
    /** @type {MediaStream | undefined} */
    let stream;
    try {
      stream = await openInput(select('device').value);
      this.playback?.stop();
      const live = await this.openLive(stream);
      live.track.addEventListener('ended', () => {
        if (this.live === live) this.unplug('The input was unplugged. Connect it and plug in again.', true);
      });
      await live.engine.wake();
      await this.showInputs();
      if (live.track.readyState === 'ended') return; // unplugged meanwhile
      select('jack').disabled = live.single;
      if (live.single) select('jack').value = 'first';
      live.choose(/** @type {any} */ (select('jack').value));
      this.plugging = false;
      this.showPlaying();
      await this.warn(live);
    } catch (error) {
      stream?.getTracks().forEach((track) => track.stop());
      this.unplug(inputTrouble(error), true);
    } finally {
      this.plugging = false;
    }
  }

  /** The input in an engine at the rate of the device, if the effect is at home there. @param {MediaStream} stream */
  async openLive(stream) {
    const open = async (/** @type {number | undefined} */ rate) => {
      const engine = await this.engineAt(rate, 0);
      return new LiveInput(engine, stream);
    };
    let live = await open(undefined);
    const own = live.engine.context.sampleRate;
    if (own !== 44100 && own !== 48000) {
      live = await open(48000).catch(() => open(undefined)); // not every browser converts inputs
    }
    this.live = live;
    live.engine.tell({ trim: this.trimNow });
    return live;
  }

  /** Silence until the player had time to read it, once. @param {LiveInput} live */
  async warn(live) {
    const { output, context } = live.engine;
    if (!this.warned) {
      output.gain.value = 0;
      for (let left = WARNING; left > 0 && this.live === live; --left) {
        say('plug-note', `Headphones on, or loudspeakers off! Through a microphone they howl. Sound in ${left} s …`);
        await new Promise((resolve) => setTimeout(resolve, 1000));
      }
      if (this.live !== live) return;
      this.warned = true;
      this.keep();
      output.gain.setTargetAtTime(1, context.currentTime, 0.2);
    }
    this.showLatency(live);
  }

  /** @param {LiveInput} live */
  showLatency(live) {
    const rate = live.engine.context.sampleRate;
    const off = rate === 44100 || rate === 48000 ? '' : ` The effect is made for 44100 and 48000 Hz; this is ${rate}.`;
    say('plug-note', `Plugged in. If hard strokes reach −12 dBFS at the input, set Trim to 12 dB; at −24, to 0.${off}`);
    const tell = () => {
      if (this.live !== live) return;
      const { seconds, whole } = live.latency;
      const told = Math.round(seconds * 1000);
      const path = whole ? 'from string to ear' : 'and what the input takes';
      element('latency').textContent = told > 0 ? `${told} ms ${path}` : 'The browser tells no latency.';
      setTimeout(tell, 2000); // browsers learn it while they play
    };
    tell();
  }

  /** @param {string} text @param {boolean} bad */
  unplug(text = '', bad = false) {
    this.live?.close();
    if (this.live) this.live.engine.output.gain.value = 1;
    this.live = undefined;
    element('latency').textContent = '';
    say('plug-note', text, bad);
    this.engine?.tell({ trim: this.trimNow });
    this.showPlaying();
  }

  async showInputs() {
    const list = select('device');
    const chosen = list.value;
    const devices = await listInputs();
    list.replaceChildren(
      new Option('The system’s own', ''),
      ...devices
        .filter((device) => device.deviceId !== 'default')
        .map((device, i) => new Option(device.label || `Input ${i + 1}`, device.deviceId)),
    );
    list.value = chosen;
    if (list.selectedIndex < 0) list.value = '';
  }

  // What is turned.

  get program() {
    return this.programs[this.selected];
  }

  /** @param {number} parameter @param {number} value the effect's own, 0 to 1 */
  setValue(parameter, value) {
    this.program.values[parameter] = value;
    this.engine?.tell({ parameter, value });
    this.showValues();
    this.keep();
  }

  /** @param {number} decibels */
  setTrim(decibels) {
    if (this.live) this.trims.input = decibels;
    else this.trims.recording = decibels;
    this.engine?.tell({ trim: decibels });
    this.showTrim();
    this.keep();
  }

  /** @param {import('./midi.js').Target} target @param {number} share 0 to 1 */
  turn(target, share) {
    if (target === 'fuzz') this.setValue(FUZZ, Math.fround(share));
    if (target === 'volume') this.setValue(VOLUME, Math.fround(share));
    if (target === 'trim') this.trim.turn(this.trim.scale.least + share * (this.trim.scale.most - this.trim.scale.least));
  }

  toggle() {
    this.setValue(ON, this.program.values[ON] === 1 ? 0 : 1);
  }

  /** @param {number} index */
  choose(index) {
    this.selected = index;
    this.engine?.tell({ program: index });
    this.show();
    this.keep();
  }

  /** @param {string} name its symbol */
  usePreset(name) {
    const preset = this.presets.find(({ symbol }) => symbol === name);
    if (!preset) return;
    this.setValue(VOLUME, valueAtKnob(preset.volume));
    this.setValue(FUZZ, valueAtKnob(preset.fuzz));
    this.setTrim(preset.trim);
  }

  showValues() {
    const { values } = this.program;
    this.fuzz.show(knobAtValue(values[FUZZ]));
    this.volume.show(knobAtValue(values[VOLUME]));
    button('on').setAttribute('aria-checked', String(values[ON] === 1));
    this.showPreset();
  }

  showTrim() {
    this.trim.show(this.trimNow);
    this.showPreset();
  }

  /** The list names the preset that the knobs stand at. */
  showPreset() {
    const { values } = this.program;
    const is = (/** @type {Record<string, any>} */ { volume, fuzz, trim }) =>
      valueAtKnob(volume) === values[VOLUME] && valueAtKnob(fuzz) === values[FUZZ] && trim === this.trimNow;
    select('preset').value = this.presets.find(is)?.symbol ?? '';
  }

  show() {
    this.texts.restore(this.settings);
    const list = select('program');
    list.replaceChildren(
      ...this.programs.map(({ name }, index) => {
        const shown = this.texts.programName(index);
        return new Option(name === 'Init' ? shown : `${index + 1}  ${shown}`, String(index));
      }),
    );
    list.value = String(this.selected);
    input('program-name').value = this.program.name;
    this.showValues();
    this.showTrim();
  }

  // What stays.

  keep() {
    try {
      const { selected, learnt, warned, loops, view } = this;
      const bank = bankText(this.programs, this.parameters);
      localStorage.setItem(STORE, JSON.stringify({ bank, selected, trim: this.trims.input, learnt, warned, loops, view }));
    } catch {
      say('bank-note', 'This browser keeps nothing for this page: export the bank before you leave.', true);
    }
  }

  recall() {
    try {
      const kept = JSON.parse(localStorage.getItem(STORE) ?? 'null');
      if (!kept) return;
      this.programs = readBank(kept.bank, this.programs, this.parameters);
      if (kept.selected in this.programs) this.selected = kept.selected;
      if (Number.isFinite(kept.trim)) this.trims.input = kept.trim;
      Object.assign(this.learnt, kept.learnt);
      this.warned = kept.warned === true;
      this.loops = kept.loops !== false;
      this.view = kept.view === 'spectrum' ? 'spectrum' : 'wave';
    } catch {
      // not ours, or not allowed: begin anew
    }
  }

  /** Takes over what another tab keeps, lest this one overwrites it; what is chosen and shown here stays. */
  follow() {
    const { selected, loops, view } = this;
    this.recall();
    Object.assign(this, { selected, loops, view });
    this.engine?.tell({ settings: this.settings });
    this.show();
  }

  exportBank() {
    const link = document.createElement('a');
    link.href = URL.createObjectURL(new Blob([bankText(this.programs, this.parameters)], { type: 'application/json' }));
    link.download = 'brumbler-bank.json';
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 60000);
    say('bank-note', `Saved ${link.download}. The command takes it with --bank.`);
  }

  /** @param {File} file */
  async importBank(file) {
    try {
      this.programs = readBank(await file.text(), this.programs, this.parameters);
      this.selected = 0;
      this.engine?.tell({ settings: this.settings });
      this.show();
      this.keep();
      say('bank-note', `${file.name} is loaded.`);
    } catch (error) {
      say('bank-note', `${/** @type {Error} */ (error).message} Nothing was changed.`, true);
    }
  }

  async connectMidi() {
    if (typeof navigator.requestMIDIAccess !== 'function') {
      say('midi-note', 'This browser has no MIDI. Chrome, Edge and Firefox have.', true);
      return;
    }
    try {
      const names = await this.midi.connect();
      say('midi-note', names.length > 0 ? `Connected: ${names.join(', ')}.` : 'Ready; connect a MIDI pedal or keyboard.');
    } catch {
      say('midi-note', 'The browser does not let this page use MIDI. Allow it beside the address, then connect.', true);
    }
  }

  wire() {
    button('play').addEventListener('click', () => void this.play());
    button('save').addEventListener('click', () => void this.save());
    button('riff').addEventListener('click', () => (say('recording-note', ''), this.openRiff()));
    button('plug').addEventListener('click', () => void this.plugIn());
    button('on').addEventListener('click', () => this.toggle());
    button('export').addEventListener('click', () => this.exportBank());
    button('midi').addEventListener('click', () => void this.connectMidi());
    const pressed = (/** @type {string} */ id, /** @type {boolean} */ is) => button(id).setAttribute('aria-pressed', String(is));
    const showLoop = () => (pressed('loop', this.loops), this.playback?.setLoop(this.loops));
    const showView = () => {
      pressed('view', this.view === 'spectrum');
      this.scope.view = /** @type {any} */ (this.view);
    };
    showLoop();
    showView();
    button('loop').addEventListener('click', () => ((this.loops = !this.loops), showLoop(), this.keep()));
    button('view').addEventListener('click', () => {
      this.view = this.view === 'wave' ? 'spectrum' : 'wave';
      showView();
      this.keep();
    });

    const files = (/** @type {string} */ id, /** @type {(file: File) => void} */ use) => {
      input(id).addEventListener('change', () => {
        const file = input(id).files?.[0];
        if (file) use(file);
        input(id).value = ''; // the same file may come again
      });
    };
    files('file', (file) => void this.open(file));
    files('import', (file) => void this.importBank(file));
    document.addEventListener('dragover', (event) => (event.preventDefault(), document.body.classList.add('drop')));
    document.addEventListener('dragleave', () => document.body.classList.remove('drop'));
    document.addEventListener('drop', (event) => {
      event.preventDefault();
      document.body.classList.remove('drop');
      const file = event.dataTransfer?.files[0];
      if (file) void (/\.json$/i.test(file.name) ? this.importBank(file) : this.open(file));
    });

    input('position').addEventListener('input', () => this.seek(Number(input('position').value)));
    input('position').addEventListener('keydown', (event) => {
      const step = { ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1, PageDown: -5, PageUp: 5 }[event.key];
      if (step === undefined) return;
      event.preventDefault();
      this.seek(Math.min(Math.max(this.position + step, 0), Number(input('position').max)));
    });
    select('device').addEventListener('change', async () => {
      if (!this.live) return;
      await this.plugIn();
      await this.plugIn();
    });
    select('jack').addEventListener('change', () => this.live?.choose(/** @type {any} */ (select('jack').value)));
    select('program').addEventListener('change', () => this.choose(Number(select('program').value)));
    for (const { label, symbol } of this.presets) select('preset').append(new Option(label, symbol));
    select('preset').addEventListener('change', () => this.usePreset(select('preset').value));
    select('learn').addEventListener('change', () => {
      const target = /** @type {any} */ (select('learn').value || undefined);
      this.midi.learning = target;
      if (target) say('midi-note', 'Move the control that is to turn it.');
    });
    input('program-name').addEventListener('change', () => {
      this.program.name = fittingName(input('program-name').value) || 'Init';
      this.show();
      this.keep();
    });
    input('program-name').addEventListener('keydown', (event) => event.key === 'Enter' && input('program-name').blur());
    window.addEventListener('storage', ({ key }) => key === STORE && this.follow());
    navigator.mediaDevices?.addEventListener?.('devicechange', () => void this.showInputs());

    // The space bar is the foot, unless the keyboard stands on something else that it presses or writes into. What the
    // mouse has clicked or chosen does not hold on to it.
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
      this.toggle();
    });
    if (window.matchMedia('(min-width: 1001px)').matches) element('more').setAttribute('open', '');
  }
}

async function start() {
  try {
    const wasm = Uint8Array.from(atob(element('wasm').textContent ?? ''), (c) => c.charCodeAt(0)).buffer;
    const { instance } = await WebAssembly.instantiate(wasm, Module.imports);
    const page = new Page(wasm, new Module(instance));
    page.openRiff();
    element('unable').hidden = true;
    void page.showInputs();
  } catch (error) {
    console.error(error);
  }
}

void start();
