// SPDX-License-Identifier: MIT
import { Effect } from './effect.js';
import { wavFile } from './recording.js';

const SLICE = 25; // milliseconds of work before the page gets its turn

/** Lets the page draw; at once, also in a tab in the background, where timers wait for a second. */
function pause() {
  return new Promise((resolve) => {
    const { port1, port2 } = new MessageChannel();
    port1.onmessage = resolve;
    port2.postMessage(null);
  });
}

/**
 * A recording through the effect, its tail included, as the command renders it.
 * @param {import('./effect.js').Module} module
 * @param {import('./recording.js').Recording} recording
 * @param {import('./effect.js').Settings} settings
 * @param {(done: number) => void} progress 0 to 1
 * @returns {Promise<{wav: Blob, seconds: number, peak: number}>}
 */
export async function render(module, { rate, channels }, settings, progress) {
  const effect = new Effect(module, rate, channels.length);
  try {
    effect.restore(settings);
    const frames = channels[0].length;
    /** @type {Float32Array[]} */
    const pieces = [];
    let samples = 0;
    let peak = 0;
    let due = performance.now() + SLICE;
    const add = async (/** @type {Float32Array} */ piece) => {
      pieces.push(piece);
      samples += piece.length;
      for (const sample of piece) peak = Math.max(peak, Math.abs(sample));
      if (performance.now() < due) return;
      progress(Math.min(samples / channels.length / frames, 1));
      await pause();
      due = performance.now() + SLICE;
    };
    for (let at = 0; at < frames; at += effect.longestBlock) {
      const length = Math.min(effect.longestBlock, frames - at);
      effect.planes().forEach((plane, c) => plane.set(channels[c].subarray(at, at + length)));
      effect.process(length);
      const planes = effect.planes();
      const piece = new Float32Array(length * channels.length);
      for (let i = 0, to = 0; i < length; ++i) {
        for (let c = 0; c < planes.length; ++c) piece[to++] = planes[c][i];
      }
      await add(piece);
    }
    while (!module.calls.isTailComplete(effect.handle)) {
      await add(module.samples((at) => module.calls.playTail(effect.handle, at)).slice());
    }
    return { wav: wavFile(pieces, rate, channels.length), seconds: samples / channels.length / rate, peak };
  } finally {
    effect.close();
  }
}
