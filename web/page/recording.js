// SPDX-License-Identifier: MIT
// Recordings: from a file to samples, and back to a WAV.

import { inSlices } from './slices.js';

/**
 * Samples at `rate` Hz, at which the effect runs; `buffer` holds them, too, if the browser decoded them. `from` is the
 * file's own rate in Hz, 0 when unknown. A take was recorded here, from the input.
 * @typedef {{name: string, rate: number, channels: Float32Array[], buffer?: AudioBuffer, from?: number, isTake?: boolean}}
 *   Recording
 */

/** @param {DataView} view @param {number} at @param {number} length */
function ascii(view, at, length) {
  let text = '';
  for (let i = at; i < at + length && i < view.byteLength; ++i) text += String.fromCharCode(view.getUint8(i));
  return text;
}

/** @param {DataView} view @param {string} text @param {number} end */
function find(view, text, end) {
  for (let at = 0; at + text.length < Math.min(end, view.byteLength); ++at) {
    if (view.getUint8(at) === text.charCodeAt(0) && ascii(view, at, text.length) === text) return at;
  }
  return -1;
}

/** @param {DataView} view */
function mpegRate(view) {
  let at = 0;
  if (ascii(view, 0, 3) === 'ID3') {
    for (let i = 6; i < 10; ++i) at = at * 128 + view.getUint8(i);
    at += 10;
  }
  for (const end = Math.min(at + 8192, view.byteLength - 4); at < end; ++at) {
    const word = view.getUint32(at);
    const layer = (word >>> 17) & 3;
    if (word >>> 21 !== 0x7ff || layer === 0) continue;
    const version = (word >>> 19) & 3;
    if (((word >>> 10) & 3) === 3 || version === 1) continue;
    return ([44100, 48000, 32000][(word >>> 10) & 3] ?? 0) / (version === 0 ? 4 : version === 2 ? 2 : 1);
  }
  return 0;
}

/** @param {number} word the four bytes behind the frame sizes of a FLAC's first block */
const flac = (word) => ({ rate: word >>> 12, bits: ((word >>> 4) & 31) + 1 });

/**
 * Information from a file's header: the sample rate in Hz, which browsers do not report because they convert to the
 * requested rate, and the bits of integer samples; 0 if the header does not say.
 * @param {ArrayBuffer} bytes
 */
export function readHeader(bytes) {
  const view = new DataView(bytes);
  try {
    const kind = ascii(view, 0, 4);
    if (kind === 'RIFF' || kind === 'RF64') {
      for (let at = 12, size = 0; at < view.byteLength; at += 8 + size + (size & 1)) {
        size = view.getUint32(at + 4, true);
        if (ascii(view, at, 4) !== 'fmt ') continue;
        const format = view.getUint16(at + (view.getUint16(at + 8, true) === 0xfffe ? 32 : 8), true);
        return { rate: view.getUint32(at + 12, true), bits: format === 1 ? view.getUint16(at + 22, true) : 0 };
      }
    }
    if (kind === 'fLaC') return flac(view.getUint32(18));
    if (kind === 'OggS') {
      const vorbis = find(view, '\x01vorbis', 256);
      const native = find(view, 'fLaC', 256);
      if (native >= 0) return flac(view.getUint32(native + 18));
      return { rate: vorbis >= 0 ? view.getUint32(vorbis + 12, true) : 48000, bits: 0 };
    }
    if (ascii(view, 4, 4) === 'ftyp') {
      const entry = Math.max(find(view, 'mp4a', view.byteLength), find(view, 'alac', view.byteLength));
      return { rate: entry >= 0 ? view.getUint16(entry + 28) : 0, bits: 0 };
    }
    if (kind === 'FORM') {
      const common = find(view, 'COMM', 65536); // an 80-bit float; all usual rates fit into its first 16 bits
      if (common < 0) return { rate: 0, bits: 0 };
      const rate = view.getUint16(common + 18) * 2 ** (view.getUint16(common + 16) - 16398);
      return { rate, bits: view.getUint16(common + 14) };
    }
    return { rate: mpegRate(view), bits: 0 };
  } catch {
    return { rate: 0, bits: 0 }; // truncated: the browser decides whether it can be decoded
  }
}

/**
 * Some browsers scale the positive samples of 16-bit recordings so that 32767 becomes 1. This undoes the scaling.
 * @param {Float32Array} samples
 * @param {number} bits of the recording
 */
export async function unstretch(samples, bits) {
  const scale = 2 ** (bits - 1);
  let stretched = false;
  await inSlices(samples.length, (from, to) => {
    stretched ||= samples.subarray(from, to).some((sample) => !Number.isInteger(sample * scale));
  });
  if (!stretched) return;
  await inSlices(samples.length, (from, to) => {
    for (let i = from; i < to; ++i) {
      const sample = /** @type {number} */ (samples[i]);
      if (sample > 0) samples[i] = Math.round(sample * (scale - 1)) / scale;
    }
  });
}

/**
 * The samples of a WAV of 64-bit floats or 32-bit integers, which browsers decode wrongly or round differently, as
 * 32-bit floats; undefined for every other file.
 * @param {ArrayBuffer} bytes
 * @returns {{rate: number, channels: Float32Array[]} | undefined}
 */
export function readWideWav(bytes) {
  const view = new DataView(bytes);
  if (ascii(view, 0, 4) !== 'RIFF' || ascii(view, 8, 4) !== 'WAVE') return undefined;
  let rate = 0;
  let count = 0;
  let read = (/** @type {number} */ at) => view.getFloat64(at, true);
  let width = 8;
  for (let at = 12, size = 0; at + 8 <= view.byteLength; at += 8 + size + (size & 1)) {
    size = Math.min(view.getUint32(at + 4, true), view.byteLength - at - 8);
    const chunk = ascii(view, at, 4);
    if (chunk === 'fmt ' && size >= 16) {
      const tag = view.getUint16(at + 8, true);
      const format = tag === 0xfffe && size >= 26 ? view.getUint16(at + 32, true) : tag;
      const bits = view.getUint16(at + 22, true);
      count = view.getUint16(at + 10, true);
      rate = view.getUint32(at + 12, true);
      if (format === 1 && bits === 32) {
        width = 4;
        read = (place) => view.getInt32(place, true) / 2 ** 31;
      } else if (format !== 3 || bits !== 64) {
        return undefined;
      }
    }
    if (chunk !== 'data' || count === 0) continue;
    const length = Math.floor(size / width / count);
    const start = at + 8;
    const channels = Array.from({ length: count }, (_, c) =>
      Float32Array.from({ length }, (_, i) => read(start + (i * count + c) * width)));
    return { rate, channels };
  }
  return undefined;
}

/**
 * Throws if the browser cannot decode it.
 * @param {File} file
 * @returns {Promise<Recording>}
 */
export async function openRecording(file) {
  let bytes = await file.arrayBuffer();
  const header = readHeader(bytes);
  const wide = readWideWav(bytes);
  const rate = header.rate === 44100 ? 44100 : 48000;
  const name = file.name.replace(/\.[^.]*$/, '');
  if (wide?.rate === rate) return { name, ...wide, from: rate };
  // The browser converts the rate, of samples that it reads right.
  if (wide) bytes = await wavFile([interleave(wide.channels)], wide.rate, wide.channels.length).arrayBuffer();
  const buffer = await new OfflineAudioContext(1, 1, rate).decodeAudioData(bytes);
  if (header.rate === rate && (header.bits === 8 || header.bits === 16)) {
    for (let c = 0; c < buffer.numberOfChannels; ++c) await unstretch(buffer.getChannelData(c), header.bits);
  }
  return {
    name,
    rate,
    from: header.rate,
    buffer,
    // Fetched each time, because a browser may detach the samples while the buffer plays.
    get channels() {
      return Array.from({ length: buffer.numberOfChannels }, (_, c) => buffer.getChannelData(c));
    },
  };
}

/** Samples of each channel. @param {Recording} recording */
export const lengthOf = (recording) => recording.buffer?.length ?? recording.channels[0]?.length ?? 0;

/** @param {Float32Array[]} channels @param {number} length */
export function interleave(channels, length = channels[0]?.length ?? 0) {
  const piece = new Float32Array(length * channels.length);
  channels.forEach((channel, c) => {
    for (let i = 0, to = c; i < length; ++i, to += channels.length) piece[to] = /** @type {number} */ (channel[i]);
  });
  return piece;
}

export const PEAKS = 2000; // kept of a recording, however long

/**
 * The largest samples of PEAKS parts of a recording, for its picture and its Trim.
 * @param {Float32Array[]} channels
 */
export async function survey(channels) {
  const peaks = new Float32Array(PEAKS);
  for (const channel of channels) {
    await inSlices(channel.length, (from, to) => {
      for (let i = from; i < to; ) {
        const peak = Math.floor((i / channel.length) * PEAKS);
        const end = Math.min(Math.max(Math.ceil(((peak + 1) / PEAKS) * channel.length), i + 1), to);
        peaks[peak] = Math.max(/** @type {number} */ (peaks[peak]), peakOf([channel.subarray(i, end)]));
        i = end;
      }
    });
  }
  return peaks;
}

/** The largest sample of all channels. @param {Float32Array[]} channels */
export function peakOf(channels) {
  let peak = 0;
  for (const channel of channels) {
    for (const sample of channel) {
      const size = Math.abs(sample);
      if (size > peak && size < Infinity) peak = size;
    }
  }
  return peak;
}

/**
 * A WAV file of 32-bit floats.
 * @param {Float32Array[]} pieces interleaved
 * @param {number} rate Hz
 * @param {number} channels
 */
export function wavFile(pieces, rate, channels) {
  const size = pieces.reduce((sum, piece) => sum + piece.byteLength, 0);
  if (size > 0xffffff00) throw new RangeError('longer than the 4 GiB that a WAV holds');
  const header = new DataView(new ArrayBuffer(58));
  let at = 0;
  const text = (/** @type {string} */ letters) => [...letters].forEach((c) => header.setUint8(at++, c.charCodeAt(0)));
  const number = (/** @type {number} */ value, bytes = 4) => {
    if (bytes === 4) header.setUint32(at, value, true);
    else header.setUint16(at, value, true);
    at += bytes;
  };
  text('RIFF'), number(50 + size), text('WAVE');
  text('fmt '), number(18), number(3, 2), number(channels, 2), number(rate), number(rate * channels * 4);
  number(channels * 4, 2), number(32, 2), number(0, 2);
  text('fact'), number(4), number(size / 4 / channels);
  text('data'), number(size);
  return new Blob([header.buffer, .../** @type {BlobPart[]} */ (pieces)], { type: 'audio/wav' });
}
