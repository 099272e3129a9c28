// SPDX-License-Identifier: MIT
// The module, as both the page and the worklet use it.

/** @typedef {{name: string, values: number[]}} Program The values are the effect's own, 0 to 1, by parameter. */
/** @typedef {{programs: Program[], selected: number, trim: number}} Settings Trim in dB. */

export const ON = 0;
export const VOLUME = 1;
export const FUZZ = 2;

/** Compiled code with its own memory, for as many effects as fit into it. */
export class Module {
  /** @param {WebAssembly.Instance} instance */
  constructor(instance) {
    /** @type {Record<string, any>} */
    this.calls = instance.exports;
    this.calls._initialize();
  }

  /** The functions that the code imports: only one to print a last message, which is discarded. */
  static get imports() {
    const nothing = () => 0;
    return { wasi_snapshot_preview1: { fd_close: nothing, fd_seek: nothing, fd_write: nothing } };
  }

  /**
   * `count` samples of the memory at an address; valid until the memory grows.
   * @param {number} address
   * @param {number} count
   */
  floats(address, count) {
    return new Float32Array(this.calls.memory.buffer, address, count);
  }

  /** Calls an export that returns a number of samples and writes their address. @param {(at: number) => number} call */
  samples(call) {
    const at = this.calls.place();
    const count = call(at);
    const [address = 0] = new Uint32Array(this.calls.memory.buffer, at, 1);
    return this.floats(address, count);
  }

  /** @param {number} address */
  text(address) {
    const bytes = new Uint8Array(this.calls.memory.buffer, address);
    return new TextDecoder().decode(bytes.subarray(0, bytes.indexOf(0)));
  }

  /** The built-in riff: its samples and their rate in Hz. */
  riff() {
    return { rate: this.calls.riffRate(), samples: this.samples((at) => this.calls.playRiff(at)).slice() };
  }

  /**
   * The note of the samples, with an empty name if there is none, and by how many cents they are above it.
   * @param {Float32Array} samples
   * @param {number} rate Hz
   */
  tune(samples, rate) {
    const address = this.calls.tunerInput(samples.length);
    this.floats(address, samples.length).set(samples);
    const cents = this.calls.tune(rate, address, samples.length);
    return Number.isNaN(cents) ? { name: '', cents: 0 } : { name: this.text(this.calls.text()), cents };
  }

  /** Trim in dB for a recording that peaks at `peak` of full scale. @param {number} peak */
  automaticTrim(peak) {
    return this.calls.automaticTrim(peak);
  }
}

/** One effect for each channel of a sound, all with the same settings. */
export class Effect {
  /**
   * Throws if an effect cannot be created.
   * @param {Module} module
   * @param {number} rate Hz
   * @param {number} channels
   */
  constructor(module, rate, channels) {
    this.module = module;
    this.calls = module.calls;
    this.channels = channels;
    this.handle = this.calls.create(rate, channels);
    if (this.handle === 0) throw new Error('no effect');
    this.longestBlock = this.calls.longestBlock();
    /** @type {Float32Array[]} */
    this.views = [];
    this.planes();
  }

  close() {
    this.calls.destroy(this.handle);
  }

  /** The buffers for the channels' input and output. Allocates only when the memory has grown. */
  planes() {
    if (this.views[0]?.buffer !== this.calls.memory.buffer) {
      for (let c = 0; c < this.channels; ++c) {
        this.views[c] = this.module.floats(this.calls.plane(this.handle, c), this.longestBlock);
      }
    }
    return this.views;
  }

  /** @param {Settings} settings */
  restore(settings) {
    settings.programs.forEach((program, index) => {
      this.calls.setProgram(this.handle, index);
      program.values.forEach((value, parameter) => this.setParameter(parameter, value));
      this.setName(program.name);
    });
    this.setProgram(settings.selected);
    this.setTrim(settings.trim);
  }

  /** @param {number} parameter @param {number} value */
  setParameter(parameter, value) {
    this.calls.setParameter(this.handle, parameter, value);
  }

  /** @param {number} program */
  setProgram(program) {
    this.calls.setProgram(this.handle, program);
  }

  /** @param {string} name */
  setName(name) {
    if (typeof TextEncoder === 'undefined') return; // a worklet has none, and shows no names
    const bytes = new TextEncoder().encode(name).subarray(0, 255);
    const text = new Uint8Array(this.calls.memory.buffer, this.calls.text(), bytes.length + 1);
    text.set(bytes);
    text[bytes.length] = 0;
    this.calls.setProgramName(this.handle);
  }

  /** @param {number} decibels */
  setTrim(decibels) {
    this.calls.setTrim(this.handle, decibels);
  }

  /** Processes `length` samples of every plane in place. @param {number} length */
  process(length) {
    this.calls.process(this.handle, length);
  }

  /** The effect's text for a value. @param {number} parameter @param {number} value */
  display(parameter, value) {
    return this.module.text(this.calls.displayText(this.handle, parameter, value)).trim();
  }

  /** The effect's name for a program. @param {number} program */
  programName(program) {
    this.setProgram(program);
    return this.module.text(this.calls.programName(this.handle));
  }
}
