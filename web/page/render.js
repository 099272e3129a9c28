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
    let due = performance.now() + SLICE;
    for (let at = 0; at < frames; at += effect.longestBlock) {
      const length = Math.min(effect.longestBlock, frames - at);
      effect.planes().forEach((plane, c) => plane.set(channels[c].subarray(at, at + length)));
      effect.process(length);
      const planes = effect.planes();
      const piece = new Float32Array(length * channels.length);
      for (let i = 0, to = 0; i < length; ++i) {
        for (let c = 0; c < planes.length; ++c) piece[to++] = planes[c][i];
      }
      pieces.push(piece);
      if (performance.now() < due) continue;
      progress(at / frames);
      await pause();
      due = performance.now() + SLICE;
    }
    while (!module.calls.isTailComplete(effect.handle)) {
      pieces.push(module.samples((at) => module.calls.playTail(effect.handle, at)).slice());
    }
    let peak = 0;
    for (const piece of pieces) for (const sample of piece) peak = Math.max(peak, Math.abs(sample));
    const samples = pieces.reduce((sum, piece) => sum + piece.length, 0);
    return { wav: wavFile(pieces, rate, channels.length), seconds: samples / channels.length / rate, peak };
  } finally {
    effect.close();
  }
}
