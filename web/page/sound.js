// SPDX-License-Identifier: MIT
import { button, element, onClick, say } from './controls.js';
import { Engine, HELD } from './engine.js';
import { ceiling } from './level.js';
import { speakerBehind } from './speaker.js';
import { Meter, Scope, clippedByConverter, clipsConverter } from './pictures.js';

const RINGING = 2500; // milliseconds for which the picture continues after the sound

/** The engine that currently plays, and its picture. */
export class Sound {
  /** @param {import('./main.js').Page} page @param {ArrayBuffer} wasm */
  constructor(page, wasm) {
    this.page = page;
    this.wasm = wasm;
    /** @type {Engine | undefined} */
    this.engine = undefined;
    this.stopping = 0;
    this.speaker = false; // whether the sound goes through a guitar loudspeaker
    /** The last engine that was asked for. @type {Promise<unknown>} */
    this.engines = Promise.resolve();
    this.scope = new Scope(
      element('picture'),
      { input: new Meter(element('input'), clippedByConverter), output: new Meter(element('output'), clipsConverter) },
      () => page.listen.showPosition(),
    );
  }

  wire() {
    const show = () => button('speaker').setAttribute('aria-checked', String(this.speaker));
    show();
    onClick('speaker', () => {
      this.speaker = !this.speaker;
      this.engine?.speak(this.speaker);
      show();
      this.page.store.keep();
    });
  }

  /** Connects what follows the effect after `from`; returns the last node. @param {AudioNode} from */
  heard(from) {
    const { level, trim } = this.page;
    const { first, last } = ceiling(from.context);
    const gain = new GainNode(from.context, { gain: level.gain(trim.recording) });
    from.connect(gain);
    (this.speaker ? speakerBehind(gain) : gain).connect(first);
    return last;
  }

  /** Sends a message to the effect, if one runs. @param {object} message */
  tell(message) {
    this.engine?.tell(message);
  }

  /**
   * An engine at `rate` Hz: the present one if it fits. Requests are served one at a time, because there is only one.
   * @param {number | undefined} rate undefined: the device's
   * @param {number} hint seconds of latency
   */
  engineAt(rate, hint) {
    const engine = this.engines.then(() => this.fittingEngine(rate, hint));
    this.engines = engine.catch(() => {});
    return engine;
  }

  /** @param {number | undefined} rate @param {number} hint */
  async fittingEngine(rate, hint) {
    const { engine } = this;
    const { settings } = this.page;
    if (engine && engine.context.state !== 'closed' && engine.hint === hint && (!rate || engine.context.sampleRate === rate)) {
      engine.tell({ settings });
      return engine;
    }
    this.close();
    this.engine = await Engine.open({
      rate,
      wasm: this.wasm,
      worklet: element('worklet').textContent ?? '',
      settings,
      hint,
      onFault: () => say('effect-note', 'The effect stopped working; you hear the dry sound. Reload the page.', true),
      onHalt: () => this.halt(),
    });
    this.page.level.apply();
    this.engine.speak(this.speaker);
    await this.engine.sendTo(this.page.guitar.output).catch(() => {}); // it is gone, so the system's own plays
    return this.engine;
  }

  close() {
    this.scope.stop();
    this.page.listen.playback = undefined;
    this.engine?.close();
    this.engine = undefined;
  }

  /** Draws while something plays, and a little longer. */
  animate() {
    const { listen, guitar } = this.page;
    clearTimeout(this.stopping);
    if (this.engine) this.scope.start(this.engine);
    if (!listen.plays && !guitar.live) this.stopping = setTimeout(() => this.rest(), RINGING);
  }

  rest() {
    const { listen, guitar } = this.page;
    if (listen.starting || listen.plays || guitar.plugging || guitar.live) return;
    this.scope.stop();
    this.engine?.sleep();
  }

  /** The browser has stopped the sound by itself. */
  halt() {
    const { listen, guitar } = this.page;
    if (guitar.live) {
      guitar.unplug(HELD, true);
    } else if (listen.plays) {
      listen.stop();
      say('recording-note', HELD, true);
    }
  }
}
