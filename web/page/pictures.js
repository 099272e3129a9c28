// SPDX-License-Identifier: MIT
// The page's pictures: the recording, the sound as it plays, and its levels.
import { PEAKS, peakOf } from './recording.js';

const FLOOR = -60; // dBFS, the left end of a meter
const LOWEST = 40; // Hz, of the spectrum
const HIGHEST = 16000;
const QUIETEST = -110; // dBFS
const LOUDEST = -20;
const DARK = window.matchMedia('(prefers-color-scheme: dark)');
const FRAME = 50; // milliseconds from one picture to the next, at least; an analyser holds 85
const SELDOM = 500; // likewise, of the meters alone, for those who want less motion
const FALL = 0.57; // of a meter, from one picture to the next
// A line of two pixels, as three lines of one, each shifted from the one before. Without a GPU, browsers take 0.1 ms for a
// line of one pixel, and 2.5 ms for a wider one.
const BRUSH = /** @type {[number, number][]} */ ([[0, 0], [1, 0], [-1, 1]]);
const CONVERTER_TOP = 32767 / 32768; // where converters of 16 bits end

/** @param {number} amplitude of full scale */
export const decibels = (amplitude) => 20 * Math.log10(amplitude);

/** @param {number} amplitude */
export const levelText = (amplitude) =>
  amplitude > 1e-5 ? `${decibels(amplitude).toFixed(1).replace('-', '−')} dBFS` : 'silent';

/**
 * A canvas at the screen's resolution, in the page's colours. It asks for its size and for the colours only when they
 * may have changed: each question would make the browser lay the page out once more.
 */
class Picture {
  /** @param {HTMLCanvasElement} canvas @param {() => void} onChange called when it has to be drawn again */
  constructor(canvas, onChange) {
    this.canvas = canvas;
    this.context = /** @type {CanvasRenderingContext2D} */ (canvas.getContext('2d'));
    this.width = this.height = 1; // in CSS pixels
    /** @type {Record<string, string>} */
    this.colours = {};
    const change = () => (this.measure(), onChange());
    new ResizeObserver(change).observe(canvas);
    DARK.addEventListener('change', change);
    this.measure();
  }

  measure() {
    const { canvas } = this;
    const ratio = window.devicePixelRatio || 1;
    this.width = Math.max(canvas.clientWidth, 1);
    this.height = Math.max(canvas.clientHeight, 1);
    Object.assign(canvas, { width: Math.round(this.width * ratio), height: Math.round(this.height * ratio) });
    this.context.scale(ratio, ratio);
    const style = getComputedStyle(canvas);
    for (const name of ['accent', 'dry', 'grid', 'ink', 'quiet']) this.colours[name] = style.getPropertyValue(`--${name}`);
  }

  clear() {
    this.context.clearRect(0, 0, this.width, this.height);
  }

  /** Sets the colour of areas and lines. @param {string} name */
  colour(name) {
    this.context.fillStyle = this.context.strokeStyle = this.colours[name] ?? '';
  }
}

/** The whole recording, and how far it has played. */
export class Waveform {
  /** @param {HTMLCanvasElement} canvas */
  constructor(canvas) {
    /** @type {Float32Array} */
    this.peaks = new Float32Array(PEAKS);
    this.top = 1e-6;
    this.done = 0;
    /** @type {{from: number, to: number} | undefined} */
    this.part = undefined;
    this.drawn = ''; // what the canvas shows
    this.picture = new Picture(canvas, () => ((this.drawn = ''), this.draw(this.done, this.part)));
  }

  /** @param {Float32Array} peaks of the recording's parts */
  show(peaks) {
    this.peaks = peaks;
    this.top = peaks.reduce((most, peak) => Math.max(most, peak), 1e-6);
    this.drawn = '';
    this.draw(0);
  }

  /**
   * One bar for every three points of the picture.
   * @param {number} done 0 to 1
   * @param {{from: number, to: number}} [part] that is marked, likewise
   */
  draw(done, part) {
    this.done = done;
    this.part = part;
    const { picture } = this;
    const { context, width, height } = picture;
    const drawn = `${Math.round(done * width)} ${part?.from} ${part?.to}`;
    if (drawn === this.drawn) return; // the picture has not changed
    this.drawn = drawn;
    picture.clear();
    if (part) {
      picture.colour('grid');
      context.fillRect(part.from * width, 0, (part.to - part.from) * width, height);
      picture.colour('accent');
      for (const edge of [part.from, part.to]) context.fillRect(Math.min(edge * width, width - 1), 0, 1, height);
    }
    const bars = Math.max(1, Math.min(Math.floor(width / 3), PEAKS));
    const bar = width / bars;
    for (let i = 0; i < bars; ++i) {
      const peak = Math.max(...this.peaks.subarray(Math.floor((i * PEAKS) / bars), Math.floor(((i + 1) * PEAKS) / bars)));
      const size = Math.max(1.5, (peak / this.top) * (height - 4));
      picture.colour((i + 0.5) / bars < done ? 'accent' : 'dry');
      context.fillRect(i * bar + bar * 0.15, (height - size) / 2, bar * 0.7, size);
    }
    picture.colour('ink');
    context.fillRect(Math.min(done * width, width - 2), 0, 2, height);
  }
}

/** A level of the sound: a bar, the highest level of the last seconds, and a lamp that stays on after clipping. */
export class Meter {
  /**
   * @param {HTMLElement} root with a meter and a button `.clip`
   * @param {(peak: number) => boolean} clips
   */
  constructor(root, clips) {
    this.root = root;
    this.clips = clips;
    this.lamp = /** @type {HTMLButtonElement} */ (root.querySelector('.clip'));
    this.bar = /** @type {HTMLElement} */ (root.querySelector('[role=meter]'));
    this.lamp.addEventListener('click', () => this.clipped(false));
    this.hold = 0;
    this.held = 0;
    this.level = 0;
    this.told = 0;
    /** The places of the bar and of the hold, as the page shows them. @type {Record<string, string>} */
    this.places = {};
    this.show(0, 0);
  }

  /** @param {boolean} is */
  clipped(is) {
    this.lamp.setAttribute('aria-pressed', String(is));
  }

  /** @param {number} peak of full scale, since the last call @param {number} now milliseconds @param {number} clipping what the lamp looks at */
  show(peak, now, clipping = peak) {
    this.level = Math.max(peak, this.level * FALL);
    if (peak >= this.hold || now - this.held > 1500) [this.hold, this.held] = [peak, now];
    if (this.clips(clipping)) this.clipped(true);
    this.place('--level', this.level);
    this.place('--hold', this.hold);
    if (now !== 0 && now - this.told < 500) return; // often enough for screen readers
    this.told = now;
    this.bar.setAttribute('aria-valuenow', String(Math.round(Math.max(decibels(this.hold + 1e-9), FLOOR))));
    this.bar.setAttribute('aria-valuetext', levelText(this.hold));
  }

  /** @param {string} name of a style's variable @param {number} level of full scale */
  place(name, level) {
    const place = Math.max(0, Math.min(1, 1 - decibels(level + 1e-9) / FLOOR)).toFixed(2);
    if (this.places[name] === place) return;
    this.places[name] = place;
    this.root.style.setProperty(name, place);
  }
}

/** What comes from a converter ends at its top. @param {number} peak */
export const clippedByConverter = (peak) => peak >= CONVERTER_TOP;

/** What goes to one may reach full scale. @param {number} peak */
export const clipsConverter = (peak) => peak > 1;

/** The dry and the fuzzed sound, as waves or as spectra, and both meters; drawn while something plays. */
export class Scope {
  /**
   * @param {HTMLCanvasElement} canvas
   * @param {{input: Meter, output: Meter}} meters
   * @param {() => void} onFrame called with every picture
   */
  constructor(canvas, meters, onFrame) {
    this.picture = new Picture(canvas, () => this.blank());
    this.meters = meters;
    this.onFrame = onFrame;
    this.still = window.matchMedia('(prefers-reduced-motion: reduce)');
    this.samples = new Float32Array(4096);
    this.second = new Float32Array(4096);
    /** @type {'wave' | 'spectrum'} */
    this.view = 'wave';
    this.scale = 0.01;
    this.runs = false;
    this.frame = 0; // counts the pictures
    /** @type {import('./engine.js').Engine | undefined} */
    this.engine = undefined;
  }

  /** @param {import('./engine.js').Engine} engine */
  start(engine) {
    this.engine = engine;
    if (this.runs) return;
    this.runs = true;
    this.next();
  }

  /** Draws the next picture when it is due; a tab in the background draws none. */
  next() {
    const frame = (this.frame += 1);
    const draw = (/** @type {number} */ now) => this.runs && frame === this.frame && this.draw(now);
    setTimeout(() => requestAnimationFrame(draw), this.still.matches ? SELDOM : FRAME);
  }

  stop() {
    this.runs = false;
    this.meters.input.show(0, 0);
    this.meters.output.show(0, 0);
    this.onFrame();
  }

  blank() {
    if (!this.runs || this.still.matches) this.grid();
  }

  /** @param {AnalyserNode[]} analysers */
  peak(analysers) {
    return analysers.reduce((most, analyser) => {
      analyser.getFloatTimeDomainData(this.second);
      return Math.max(most, peakOf([this.second]));
    }, 0);
  }

  /** @param {number} now */
  draw(now) {
    const { engine, meters } = this;
    if (engine === undefined) return;
    this.next();
    const output = this.peak(engine.wet);
    meters.input.show(this.peak(engine.dry), now);
    // What is heard, after Level; the lamp also tells when the effect itself goes above full scale, as a saved file would.
    const heard = output * engine.level.gain.value;
    meters.output.show(Math.min(heard, 1), now, Math.max(output, heard / 2));
    this.onFrame();
    if (this.still.matches) return;
    if (this.view === 'wave') this.waves(engine);
    else this.spectra(engine);
  }

  grid() {
    const { picture } = this;
    const { context, width, height } = picture;
    picture.clear();
    picture.colour('grid');
    for (let i = 1; i < 10; ++i) context.fillRect(Math.round((i * width) / 10), 0, 1, height);
    for (let i = 1; i < 4; ++i) context.fillRect(0, Math.round((i * height) / 4), width, 1);
  }

  /**
   * Draws one point of every column of pixels: the one that is farthest from `base`.
   * @param {string} colour
   * @param {Float32Array} values
   * @param {(i: number) => number} x
   * @param {(value: number) => number} y
   * @param {number} base a height in the picture
   */
  line(colour, values, x, y, base) {
    const { picture } = this;
    const { context } = picture;
    const path = new Path2D();
    let [left, height] = [0, base];
    for (let i = 0; i < values.length; ++i) {
      const [next, level] = [x(i), y(values[i] ?? 0)];
      if (next >= left + 1) {
        path.lineTo(left, height);
        [left, height] = [Math.floor(next), level];
      } else if (Math.abs(level - base) > Math.abs(height - base)) {
        height = level;
      }
    }
    picture.colour(colour);
    context.save();
    for (const [right, down] of BRUSH) {
      context.translate(right, down);
      context.stroke(path);
    }
    context.restore();
  }

  /** @param {import('./engine.js').Engine} engine */
  waves({ dry, wet, context: { sampleRate } }) {
    this.grid();
    const { width, height } = this.picture;
    const { samples, second } = this;
    const shown = Math.round(sampleRate * Math.min(0.02, 0.008 + width / 80000));
    dry[0].getFloatTimeDomainData(samples);
    wet[0].getFloatTimeDomainData(second);
    // Begins where the fuzzed wave rises through zero, so that the picture stands still.
    const latest = second.length - shown;
    const rises = second.findLastIndex((sample, i) => i > 1 && i <= latest && sample >= 0 && (second[i - 1] ?? 0) < 0);
    const start = rises < 0 ? latest : rises;
    this.scale = Math.max(0.01, peakOf([samples, second]), this.scale * 0.89);
    const x = (/** @type {number} */ i) => (i * width) / (shown - 1);
    const y = (/** @type {number} */ sample) => height / 2 - (sample / this.scale) * (height / 2 - 4);
    this.line('dry', samples.subarray(start, start + shown), x, y, height / 2);
    this.line('accent', second.subarray(start, start + shown), x, y, height / 2);
  }

  /** @param {import('./engine.js').Engine} engine */
  spectra({ dry, wet, context: { sampleRate } }) {
    this.grid();
    const { picture } = this;
    const { context, width, height } = picture;
    const [{ fftSize, frequencyBinCount }] = dry;
    const place = (/** @type {number} */ hertz) => (width * Math.log2(hertz / LOWEST)) / Math.log2(HIGHEST / LOWEST);
    const first = Math.ceil((LOWEST * fftSize) / sampleRate);
    const last = Math.min(Math.floor((HIGHEST * fftSize) / sampleRate), frequencyBinCount - 1);
    const x = (/** @type {number} */ i) => place(((first + i) * sampleRate) / fftSize);
    const y = (/** @type {number} */ level) => (height * (LOUDEST - Math.max(level, QUIETEST))) / (LOUDEST - QUIETEST);
    const bins = this.samples.subarray(0, frequencyBinCount);
    dry[0].getFloatFrequencyData(bins);
    this.line('dry', bins.subarray(first, last + 1), x, y, height);
    wet[0].getFloatFrequencyData(bins);
    this.line('accent', bins.subarray(first, last + 1), x, y, height);
    picture.colour('quiet');
    context.font = '11px system-ui, sans-serif';
    for (const [hertz, text] of /** @type {[number, string][]} */ ([[100, '100 Hz'], [1000, '1 kHz'], [10000, '10 kHz']])) {
      context.fillText(text, place(hertz) + 3, height - 4);
    }
  }
}
