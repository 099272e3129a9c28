// SPDX-License-Identifier: MIT
import { clockText, element, onClick, say, showPressed } from './controls.js';

/** @typedef {{planes: Float32Array[], length: number, lost: number, last: boolean}} Piece What the worklet has recorded. */

const BUFFER = 1 << 16; // samples of a buffer, a multiple of the worklet's block
const AHEAD = 8; // buffers that the worklet holds, for the time that the page is busy
const LONGEST = 3600; // seconds of one channel; two channels fill the same memory in half the time
const PATIENCE = 3000; // milliseconds for the last piece; none comes from an engine that was stopped

/** Records the input before Trim and the effect. The take becomes the page's recording. */
export class Recorder {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
    this.runs = false;
    this.takes = 0;
    /** @type {Piece[]} */
    this.pieces = [];
    this.recorded = 0; // samples of a channel
    this.channels = 1;
    /** @type {import('./engine.js').Engine | undefined} */
    this.engine = undefined;
    this.ended = () => {};
  }

  wire() {
    onClick('record', () => (this.runs ? this.stop() : this.start()));
    this.show();
  }

  /** Seconds that fit. */
  get longest() {
    return LONGEST / this.channels;
  }

  start() {
    const { live } = this.page.guitar;
    if (!live) {
      say('plug-note', 'Plug in first. Then Record keeps what you play, up to an hour of it.');
      return;
    }
    this.engine = live.engine;
    this.channels = live.channels;
    this.pieces = [];
    this.recorded = 0;
    this.runs = true;
    this.engine.onRecorded = (piece) => this.take(piece);
    for (let i = 0; i < AHEAD; ++i) this.sendBuffer();
    this.engine.tell({ record: true });
    this.show();
  }

  sendBuffer() {
    const planes = Array.from({ length: this.channels }, () => new Float32Array(BUFFER));
    this.engine?.tell({ buffer: planes }, planes.map((plane) => plane.buffer));
  }

  /** @param {Piece} piece */
  take(piece) {
    if (piece.length > 0) this.pieces.push(piece);
    this.recorded += piece.length;
    if (piece.last) {
      this.ended();
      return;
    }
    this.sendBuffer();
    this.show();
    const rate = this.engine?.context.sampleRate ?? 1;
    if (this.recorded >= this.longest * rate) void this.stop();
  }

  /** Ends the take, even if the input has disappeared, and opens it as the recording. */
  async stop() {
    if (!this.runs || !this.engine) return;
    this.runs = false;
    this.show();
    const ended = new Promise((resolve) => (this.ended = () => resolve(undefined)));
    this.engine.tell({ record: false });
    await Promise.race([ended, new Promise((resolve) => setTimeout(resolve, PATIENCE))]);
    this.engine.onRecorded = () => {};
    const { pieces } = this;
    this.pieces = [];
    const length = pieces.reduce((sum, piece) => sum + piece.length, 0);
    if (length === 0) {
      say('plug-note', 'Nothing came from the input, so nothing was recorded.', true);
      return;
    }
    const channels = Array.from({ length: this.channels }, () => new Float32Array(length));
    let at = 0;
    let lost = 0;
    while (pieces.length > 0) {
      const piece = /** @type {Piece} */ (pieces.shift()); // frees its memory
      channels.forEach((channel, c) => channel.set(/** @type {Float32Array} */ (piece.planes[c]).subarray(0, piece.length), at));
      at += piece.length;
      lost = piece.lost;
    }
    const rate = this.engine.context.sampleRate;
    this.takes += 1;
    this.page.listen.load({ name: `Take ${this.takes}`, rate, channels, isTake: true });
    const gap = lost > 0 ? ` ${(lost / rate).toFixed(1)} s are missing: the browser was too busy.` : '';
    say('recording-note', `Recorded ${(length / rate).toFixed(1)} s. Play it through other settings, or save it dry or fuzzed.${gap}`, lost > 0);
  }

  show() {
    const { live } = this.page.guitar;
    showPressed('record', this.runs);
    element('record').setAttribute('aria-disabled', String(!live && !this.runs));
    const seconds = this.recorded / (this.engine?.context.sampleRate ?? 1);
    element('recorded').textContent = this.runs ? `${clockText(seconds)} of ${Math.round(this.longest / 60)} min` : '';
  }
}
