// SPDX-License-Identifier: MIT
// The page's pictures: the recording, the sound as it plays, and its levels.
import { PEAKS } from './recording.js';

const FLOOR = -60; // dBFS, the left end of a meter
const LOWEST = 40; // Hz, of the spectrum
const HIGHEST = 16000;
const QUIETEST = -110; // dBFS
const LOUDEST = -20;
const DARK = globalThis.matchMedia?.('(prefers-color-scheme: dark)') ?? { matches: false };
const FRAME = 40; // milliseconds between two pictures, at least: each third of a screen with 60 a second
const FALL = 0.64; // of a meter, from one picture to the next
const CONVERTER_TOP = 32767 / 32768; // where converters of 16 bits end

/** @param {number} amplitude of full scale */
export const decibels = (amplitude) => 20 * Math.log10(amplitude);

/** @param {number} amplitude */
export const levelText = (amplitude) =>
  amplitude > 1e-5 ? `${decibels(amplitude).toFixed(1).replace('-', '−')} dBFS` : 'silent';

/**
 * A canvas at the screen's resolution, in the page's colours.
 * @param {HTMLCanvasElement} canvas
 */
function prepare(canvas) {
  const ratio = window.devicePixelRatio || 1;
  const { clientWidth, clientHeight } = canvas;
  const width = Math.max(1, Math.round(clientWidth * ratio));
  const height = Math.max(1, Math.round(clientHeight * ratio));
  if (canvas.width !== width || canvas.height !== height) Object.assign(canvas, { width, height });
  const context = /** @type {CanvasRenderingContext2D} */ (canvas.getContext('2d'));
  context.setTransform(ratio, 0, 0, ratio, 0, 0);
  context.clearRect(0, 0, clientWidth, clientHeight);
  const style = getComputedStyle(canvas);
  const colour = (/** @type {string} */ name) => style.getPropertyValue(`--${name}`).trim();
  return { context, width: clientWidth, height: clientHeight, colour };
}

/** The whole recording, and how far it has played. */
export class Waveform {
  /** @param {HTMLCanvasElement} canvas */
  constructor(canvas) {
    this.canvas = canvas;
    /** @type {Float32Array} */
    this.peaks = new Float32Array(PEAKS);
    this.top = 1e-6;
    this.done = 0;
    /** @type {{from: number, to: number} | undefined} */
    this.part = undefined;
    this.drawn = ''; // what the canvas shows
    new ResizeObserver(() => ((this.drawn = ''), this.draw(this.done, this.part))).observe(canvas);
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
    const drawn = `${Math.round(done * this.canvas.width)} ${part?.from} ${part?.to} ${DARK.matches}`;
    if (drawn === this.drawn) return; // the picture has not changed
    this.drawn = drawn;
    const { context, width, height, colour } = prepare(this.canvas);
    const bars = Math.max(1, Math.min(Math.floor(width / 3), PEAKS));
    const bar = width / bars;
    const [before, behind] = [colour('accent'), colour('dry')];
    if (part) {
      context.fillStyle = colour('grid');
      context.fillRect(part.from * width, 0, (part.to - part.from) * width, height);
      context.fillStyle = before;
      for (const edge of [part.from, part.to]) context.fillRect(Math.min(edge * width, width - 1), 0, 1, height);
    }
    for (let i = 0; i < bars; ++i) {
      const peak = Math.max(...this.peaks.subarray(Math.floor((i * PEAKS) / bars), Math.floor(((i + 1) * PEAKS) / bars)));
      const size = Math.max(1.5, (peak / this.top) * (height - 4));
      context.fillStyle = (i + 0.5) / bars < done ? before : behind;
      context.fillRect(i * bar + bar * 0.15, (height - size) / 2, bar * 0.7, size);
    }
    context.fillStyle = colour('ink');
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
    const place = (/** @type {number} */ level) => Math.max(0, Math.min(1, 1 - decibels(level + 1e-9) / FLOOR));
    this.root.style.setProperty('--level', String(place(this.level)));
    this.root.style.setProperty('--hold', String(place(this.hold)));
    if (now !== 0 && now - this.told < 500) return; // often enough for screen readers
    this.told = now;
    this.bar.setAttribute('aria-valuenow', String(Math.round(Math.max(decibels(this.hold + 1e-9), FLOOR))));
    this.bar.setAttribute('aria-valuetext', levelText(this.hold));
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
    this.canvas = canvas;
    this.meters = meters;
    this.onFrame = onFrame;
    this.still = window.matchMedia('(prefers-reduced-motion: reduce)');
    this.samples = new Float32Array(4096);
    this.second = new Float32Array(4096);
    /** @type {'wave' | 'spectrum'} */
    this.view = 'wave';
    this.scale = 0.01;
    this.frame = 0;
    this.drawn = 0;
    this.peaks = { input: 0, output: 0 }; // since the meters were drawn
    /** @type {import('./engine.js').Engine | undefined} */
    this.engine = undefined;
    new ResizeObserver(() => this.blank()).observe(canvas);
  }

  /** @param {import('./engine.js').Engine} engine */
  start(engine) {
    this.engine = engine;
    if (this.frame === 0) this.frame = requestAnimationFrame((now) => this.draw(now));
  }

  stop() {
    cancelAnimationFrame(this.frame);
    this.frame = 0;
    this.peaks.input = this.peaks.output = 0;
    this.meters.input.show(0, 0);
    this.meters.output.show(0, 0);
    this.onFrame();
  }

  blank() {
    if (this.frame === 0 || this.still.matches) this.grid();
  }

  /** @param {AnalyserNode[]} analysers */
  peak(analysers) {
    let peak = 0;
    for (const analyser of analysers) {
      analyser.getFloatTimeDomainData(this.second);
      for (let i = this.second.length - 2048; i < this.second.length; ++i) peak = Math.max(peak, Math.abs(this.second[i]));
    }
    return peak;
  }

  /** @param {number} now */
  draw(now) {
    const { engine } = this;
    if (engine === undefined) return;
    this.frame = requestAnimationFrame((next) => this.draw(next));
    const { peaks, meters } = this;
    peaks.input = Math.max(peaks.input, this.peak(engine.dry));
    peaks.output = Math.max(peaks.output, this.peak(engine.wet));
    if (now - this.drawn < (this.still.matches ? 500 : FRAME)) return;
    this.drawn = now;
    meters.input.show(peaks.input, now);
    // What is heard, after Level; the lamp also tells when the effect itself goes above full scale, as a saved file would.
    const heard = peaks.output * engine.level.gain.value;
    meters.output.show(Math.min(heard, 1), now, Math.max(peaks.output, heard / 2));
    peaks.input = peaks.output = 0;
    this.onFrame();
    if (this.still.matches) return;
    if (this.view === 'wave') this.waves(engine);
    else this.spectra(engine);
  }

  grid() {
    const picture = prepare(this.canvas);
    const { context, width, height, colour } = picture;
    context.strokeStyle = colour('grid');
    context.beginPath();
    for (let i = 1; i < 10; ++i) context.rect(Math.round((i * width) / 10), 0, 0, height);
    for (let i = 1; i < 4; ++i) context.rect(0, Math.round((i * height) / 4), width, 0);
    context.stroke();
    return picture;
  }

  /**
   * @param {ReturnType<typeof prepare>} picture
   * @param {string} colour
   * @param {number} count
   * @param {(i: number) => [number, number]} point
   */
  line({ context, colour: named }, colour, count, point) {
    context.strokeStyle = named(colour);
    context.lineWidth = colour === 'dry' ? 1.5 : 2;
    context.lineJoin = 'round';
    context.beginPath();
    for (let i = 0; i < count; ++i) context.lineTo(...point(i));
    context.stroke();
  }

  /** @param {import('./engine.js').Engine} engine */
  waves({ dry, wet, context: { sampleRate } }) {
    const picture = this.grid();
    const { width, height } = picture;
    const shown = Math.round(sampleRate * Math.min(0.02, 0.008 + width / 80000));
    dry[0].getFloatTimeDomainData(this.samples);
    wet[0].getFloatTimeDomainData(this.second);
    // Begins where the fuzzed wave rises through zero, so that the picture stands still.
    let start = this.second.length - shown;
    for (let i = start; i > 1; --i) {
      if (this.second[i - 1] < 0 && this.second[i] >= 0) {
        start = i;
        break;
      }
    }
    let top = 0.01;
    for (let i = 0; i < this.samples.length; ++i) {
      top = Math.max(top, Math.abs(this.samples[i]), Math.abs(this.second[i]));
    }
    this.scale = Math.max(top, this.scale * 0.91);
    const points = (/** @type {Float32Array} */ wave) => (/** @type {number} */ i) =>
      /** @type {[number, number]} */ ([
        (i * width) / (shown - 1),
        height / 2 - (wave[start + i] / this.scale) * (height / 2 - 4),
      ]);
    this.line(picture, 'dry', shown, points(this.samples));
    this.line(picture, 'accent', shown, points(this.second));
  }

  /** @param {import('./engine.js').Engine} engine */
  spectra({ dry, wet, context: { sampleRate } }) {
    const picture = this.grid();
    const { context, width, height, colour } = picture;
    const place = (/** @type {number} */ hertz) => (Math.log(hertz / LOWEST) / Math.log(HIGHEST / LOWEST)) * width;
    for (const [analyser, name] of /** @type {[AnalyserNode, string][]} */ ([[dry[0], 'dry'], [wet[0], 'accent']])) {
      const bins = this.samples.subarray(0, analyser.frequencyBinCount);
      analyser.getFloatFrequencyData(bins);
      const first = Math.ceil((LOWEST * analyser.fftSize) / sampleRate);
      const last = Math.min(Math.floor((HIGHEST * analyser.fftSize) / sampleRate), bins.length - 1);
      this.line(picture, name, last - first + 1, (i) => {
        const level = Math.max(bins[first + i], QUIETEST);
        return [
          place(((first + i) * sampleRate) / analyser.fftSize),
          (height * (LOUDEST - level)) / (LOUDEST - QUIETEST),
        ];
      });
    }
    context.fillStyle = colour('quiet');
    context.font = '11px system-ui, sans-serif';
    for (const [hertz, text] of /** @type {[number, string][]} */ ([[100, '100 Hz'], [1000, '1 kHz'], [10000, '10 kHz']])) {
      context.fillText(text, place(hertz) + 3, height - 4);
    }
  }
}
