// SPDX-License-Identifier: MIT
// The parts of the page that need no browser.
import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import { mkdtemp, readFile, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, test } from 'node:test';
import { promisify } from 'node:util';
import { fittingName, knobAtValue, valueAtKnob } from '../page/bank.js';
import { interleave, readHeader, readWideWav, unstretch } from '../page/recording.js';

const folder = await mkdtemp(join(tmpdir(), 'brumbler-'));
after(() => rm(folder, { recursive: true }));
const bytesOf = async (/** @type {string} */ path) => Uint8Array.from(await readFile(path)).buffer;

test('headers tell rate and bits', async () => {
  /** @type {[string, number, number, string[]][]} */
  const rows = [
    ['a.wav', 44100, 16, ['-b', '16']],
    ['b.wav', 48000, 24, ['-b', '24']], // extensible
    ['c.wav', 96000, 0, ['-e', 'floating-point', '-b', '32']],
    ['d.flac', 44100, 16, ['-b', '16']],
    ['e.flac', 192000, 24, ['-b', '24']],
    ['f.ogg', 22050, 0, []],
    ['g.aiff', 44100, 16, ['-b', '16']],
  ];
  for (const [name, rate, bits, options] of rows) {
    const path = join(folder, name);
    await promisify(execFile)('sox', ['-n', '-r', String(rate), ...options, path, 'synth', '0.2', 'sine', '440']);
    const buffer = await bytesOf(path);
    assert.deepEqual(readHeader(buffer), { rate, bits }, name);
    for (const end of [0, 3, 30]) assert.ok(readHeader(buffer.slice(0, end)).rate >= 0, `${name} cut to ${end}`);
  }
  /** @type {[number[], number][]} */
  const made = [
    [[0xff, 0xfb, 0x94, 0], 48000], // MPEG 1
    [[0xff, 0xf3, 0x90, 0], 22050], // MPEG 2
    [[...Buffer.from('ID3\x04\0\0\0\0\x01\x05'), ...new Array(0x85).fill(0xff), 0xff, 0xfb, 0x90, 0], 44100],
    [[...Buffer.from('\0\0\0\x08ftypmp4a'), ...new Array(24).fill(0), 0xac, 0x44, 0, 0], 44100],
    [[...Buffer.from('no sound at all')], 0],
  ];
  for (const [bytes, rate] of made) {
    assert.equal(readHeader(Uint8Array.from([...bytes, 0, 0, 0, 0, 0, 0]).buffer).rate, rate, String(bytes.slice(0, 8)));
  }
});

test('16-bit samples come back, stretched or not', async () => {
  const whole = Float32Array.from({ length: 65536 }, (_, i) => (i - 32768) / 32768);
  const stretched = whole.map((x) => (x > 0 ? (x * 32768) / 32767 : x));
  for (const samples of [whole.slice(), stretched]) {
    await unstretch(samples, 16);
    assert.deepEqual(samples, whole);
  }
});

test('WAV of 64-bit floats and 32-bit integers is read here', async () => {
  for (const [name, ...options] of /** @type {const} */ ([['f64.wav', '-e', 'floating-point', '-b', '64'], ['i32.wav', '-e', 'signed-integer', '-b', '32']])) {
    const path = join(folder, name);
    const same = join(folder, 'f32.wav');
    await promisify(execFile)('sox', ['-R', '-n', '-r', '48000', '-c', '2', ...options, path, 'synth', '0.1', 'sine', '440', 'sine', '9', 'vol', '0.3']);
    await promisify(execFile)('sox', [path, '-e', 'floating-point', '-b', '32', same]);
    const plain = await bytesOf(same);
    const expected = new Float32Array(plain.slice(-4800 * 8));
    const read = readWideWav(await bytesOf(path));
    assert.equal(read?.rate, 48000);
    const samples = interleave(read.channels);
    assert.equal(samples.length, expected.length);
    assert.ok(samples.every((sample, i) => Math.abs(sample - (expected[i] ?? NaN)) < 2e-7), name); // sox rounds to 24 bits
    assert.equal(readWideWav(plain), undefined);
  }
});

test('knobs and values, and names that fit', () => {
  for (let i = 0; i <= 1000; ++i) assert.equal(knobAtValue(valueAtKnob(i / 100)), i / 100);
  for (let i = 0; i < 20000; ++i) {
    const value = Math.fround(Math.random());
    assert.equal(Math.fround(valueAtKnob(knobAtValue(value)) - value), 0);
  }
  assert.equal(fittingName('é'.repeat(30)), 'é'.repeat(11));
});
