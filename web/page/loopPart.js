// SPDX-License-Identifier: MIT
import { element, input, say } from './controls.js';

const LEAST = 0.05; // seconds of a part
const DRAG = 4; // pixels after which a press becomes a drag

/**
 * The part of the recording that Loop repeats: dragged over the waveform, or set with the keys [ and ] at its position.
 * Escape or a click selects the whole recording again.
 */
export class LoopPart {
  /** @param {import('./listen.js').Listen} listen */
  constructor(listen) {
    this.listen = listen;
    /** In seconds. @type {{from: number, to: number} | undefined} */
    this.chosen = undefined;
  }

  wire() {
    const wave = /** @type {HTMLElement} */ (element('wave').parentElement);
    wave.addEventListener('pointerdown', (event) => event.button === 0 && this.onPress(wave, event));
    input('position').addEventListener('keydown', (event) => this.onKey(event));
  }

  get length() {
    return Number(input('position').max);
  }

  /** @param {number} from @param {number} to */
  choose(from, to) {
    const first = Math.max(Math.min(from, to), 0);
    const last = Math.min(Math.max(from, to), this.length);
    this.chosen = last - first >= LEAST && last - first < this.length ? { from: first, to: last } : undefined;
    const { listen } = this;
    if (this.chosen) listen.loops = true;
    listen.showLoop();
    const clock = (/** @type {number} */ t) => `${Math.floor(t / 60)}:${(t % 60).toFixed(1).padStart(4, '0')}`;
    say('recording-note', this.chosen ? `Loops ${clock(first)} to ${clock(last)}. Escape: the whole recording.` : '');
  }

  /** @param {HTMLElement} wave @param {PointerEvent} event */
  onPress(wave, { clientX, pointerId }) {
    const { left, width } = wave.getBoundingClientRect();
    const at = (/** @type {number} */ x) => Math.min(Math.max((x - left) / width, 0), 1) * this.length;
    const drag = new AbortController();
    const { signal } = drag;
    let moved = false;
    wave.setPointerCapture(pointerId);
    wave.addEventListener('pointermove', (move) => {
      moved ||= Math.abs(move.clientX - clientX) > DRAG;
      if (moved) this.choose(at(clientX), at(move.clientX));
    }, { signal });
    wave.addEventListener('pointercancel', () => drag.abort(), { signal });
    wave.addEventListener('pointerup', () => {
      drag.abort();
      input('position').focus({ preventScroll: true });
      if (moved) return;
      if (this.chosen) this.choose(0, 0);
      this.listen.seek(at(clientX));
    }, { signal });
  }

  /** @param {KeyboardEvent} event */
  onKey(event) {
    const { position } = this.listen;
    if (event.key === '[') this.choose(position, this.chosen?.to ?? this.length);
    if (event.key === ']') this.choose(this.chosen?.from ?? 0, position);
    if (event.key === 'Escape') this.choose(0, 0);
  }
}
