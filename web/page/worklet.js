// SPDX-License-Identifier: MIT
// The audio thread: two channels, each through its own effect. Without effects it posts `{fault}` and passes the dry
// sound. Records its input into buffers that the page has sent ahead, and sends back each one that is full.
import { Effect, Module } from './effect.js';

const CHANNELS = 2;

class Processor extends AudioWorkletProcessor {
  /** @param {{processorOptions: {wasm: ArrayBuffer, settings: import('./effect.js').Settings}}} options */
  constructor({ processorOptions: { wasm, settings } }) {
    super();
    /** @type {Effect | undefined} */
    this.effect = undefined;
    try {
      const instance = new WebAssembly.Instance(new WebAssembly.Module(wasm), Module.imports);
      this.effect = new Effect(new Module(instance), sampleRate, CHANNELS);
      this.effect.restore(settings);
    } catch (error) {
      this.fail(error);
    }
    /** The buffers for recording the input, one plane for each channel. @type {Float32Array[][]} */
    this.buffers = [];
    this.recorded = 0; // samples in the first of them
    this.lost = 0; // samples for which there was no buffer
    this.records = false;
    this.port.onmessage = ({ data }) => {
      if (data.buffer !== undefined) this.buffers.push(data.buffer);
      if (data.record !== undefined) this.record(data.record);
      if (data.parameter !== undefined) this.effect?.setParameter(data.parameter, data.value);
      if (data.program !== undefined) this.effect?.setProgram(data.program);
      if (data.trim !== undefined) this.effect?.setTrim(data.trim);
      if (data.settings !== undefined) this.effect?.restore(data.settings);
    };
  }

  /** @param {unknown} error */
  fail(error) {
    this.effect = undefined;
    this.port.postMessage({ fault: String(error) });
  }

  /** Starts or ends recording; the last piece may be empty. @param {boolean} records */
  record(records) {
    this.records = records;
    if (records) this.lost = 0;
    else this.sendRecorded(true);
  }

  /** @param {boolean} last */
  sendRecorded(last) {
    const planes = this.buffers.shift() ?? [];
    const message = { planes, length: this.recorded, lost: this.lost, last };
    this.recorded = 0;
    this.port.postMessage(message, planes.map((plane) => plane.buffer));
    if (last) this.buffers = [];
  }

  /** @param {Float32Array[]} input empty while nothing is connected @param {number} length */
  keep(input, length) {
    const planes = this.buffers[0];
    if (planes?.[0] === undefined) {
      this.lost += length;
      return;
    }
    planes.forEach((plane, c) => {
      const samples = input[c];
      if (samples) plane.set(samples, this.recorded);
      else plane.fill(0, this.recorded, this.recorded + length);
    });
    this.recorded += length;
    if (this.recorded + length > planes[0].length) this.sendRecorded(false);
  }

  /** @param {Float32Array[][]} inputs @param {Float32Array[][]} outputs */
  process([input = []], [output = []]) {
    const length = output[0]?.length ?? 0;
    if (length === 0) return true;
    if (this.records) this.keep(input, length);
    if (this.effect !== undefined && length <= this.effect.longestBlock) {
      try {
        this.play(this.effect, input, output, length);
        return true;
      } catch (error) {
        this.fail(error);
      }
    }
    output.forEach((plane, c) => plane.set(input[c] ?? []));
    return true;
  }

  /** @param {Effect} effect @param {Float32Array[]} input @param {Float32Array[]} output @param {number} length samples */
  play(effect, input, output, length) {
    const planes = effect.planes();
    for (let c = 0; c < CHANNELS; ++c) {
      const samples = input[c];
      if (samples) planes[c]?.set(samples);
      else planes[c]?.fill(0, 0, length);
    }
    effect.process(length);
    for (let c = 0; c < CHANNELS; ++c) {
      const from = planes[c];
      const to = output[c];
      if (from && to) for (let i = 0; i < length; ++i) to[i] = from[i] ?? 0;
    }
  }
}

registerProcessor('brumbler', Processor);
