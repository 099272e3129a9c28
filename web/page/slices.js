// SPDX-License-Identifier: MIT
// Long work in slices, between which the page can draw and respond.

const SLICE = 25; // milliseconds of work before the page gets its turn
const PART = 1 << 18; // samples between two checks of the clock

/** Lets the page draw; at once, also in a tab in the background, where timers wait for a second. */
export function pause() {
  return new Promise((resolve) => {
    const { port1, port2 } = new MessageChannel();
    port1.onmessage = () => {
      port1.close();
      resolve(undefined);
    };
    port2.postMessage(null);
  });
}

/** Tells when the page is due to draw. */
export class Slices {
  due = performance.now() + SLICE;

  /** Waits if the page is due. @param {() => void} progress called before it draws */
  async yield(progress = () => {}) {
    if (performance.now() < this.due) return;
    progress();
    await pause();
    this.due = performance.now() + SLICE;
  }
}

/**
 * @param {number} length samples
 * @param {(from: number, to: number) => void} work
 */
export async function inSlices(length, work) {
  const slices = new Slices();
  for (let from = 0; from < length; from += PART) {
    work(from, Math.min(from + PART, length));
    await slices.yield();
  }
}
