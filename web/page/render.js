// SPDX-License-Identifier: MIT
import { Effect } from './effect.js';
import { interleave, lengthOf, peakOf } from './recording.js';
import { Slices } from './slices.js';

/** @typedef {{pieces: Float32Array[], seconds: number, peak: number}} Rendered The pieces are interleaved. */

/**
 * Renders a recording through the effect, including its tail, as the command does.
 * @param {import('./effect.js').Module} module
 * @param {import('./recording.js').Recording} recording
 * @param {import('./effect.js').Settings} settings
 * @param {(done: number) => void} progress 0 to 1
 * @returns {Promise<Rendered>}
 */
export async function render(module, recording, settings, progress) {
  const { rate } = recording;
  let { channels } = recording;
  const effect = new Effect(module, rate, channels.length);
  try {
    effect.restore(settings);
    const frames = lengthOf(recording);
    /** @type {Float32Array[]} */
    const pieces = [];
    let samples = 0;
    let peak = 0;
    const slices = new Slices();
    const add = async (/** @type {Float32Array} */ piece) => {
      pieces.push(piece);
      samples += piece.length;
      for (const sample of piece) peak = Math.max(peak, Math.abs(sample));
      await slices.yield(() => progress(Math.min(samples / channels.length / frames, 1)));
    };
    for (let at = 0; at < frames; at += effect.longestBlock) {
      if (channels[0]?.length !== frames) ({ channels } = recording); // detached, because it began to play
      const length = Math.min(effect.longestBlock, frames - at);
      channels.forEach((channel, c) => effect.planes()[c]?.set(channel.subarray(at, at + length)));
      effect.process(length);
      await add(interleave(effect.planes(), length));
    }
    while (!module.calls.isTailComplete(effect.handle)) {
      await add(module.samples((at) => module.calls.playTail(effect.handle, at)).slice());
    }
    return { pieces, seconds: samples / channels.length / rate, peak };
  } finally {
    effect.close();
  }
}

/**
 * Plays the rendered sound through what follows the effect on the page.
 * @param {Rendered} rendered
 * @param {number} rate Hz
 * @param {number} count of channels
 * @param {(from: AudioNode) => AudioNode} connect connects what follows the effect after `from`; returns the last node
 * @returns {Promise<Rendered>}
 */
export async function asHeard({ pieces, seconds }, rate, count, connect) {
  const length = pieces.reduce((sum, piece) => sum + piece.length, 0) / count;
  const context = new OfflineAudioContext(count, length, rate);
  const buffer = new AudioBuffer({ length, sampleRate: rate, numberOfChannels: count });
  for (let c = 0; c < count; ++c) {
    const plane = buffer.getChannelData(c);
    let at = 0;
    for (const piece of pieces) {
      for (let i = c; i < piece.length; i += count) plane[at++] = /** @type {number} */ (piece[i]);
    }
  }
  const source = new AudioBufferSourceNode(context, { buffer });
  connect(source).connect(context.destination);
  source.start();
  const heard = await context.startRendering();
  const channels = Array.from({ length: count }, (_, c) => heard.getChannelData(c));
  return { pieces: [interleave(channels)], seconds, peak: peakOf(channels) };
}
