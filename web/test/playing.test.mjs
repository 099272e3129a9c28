// SPDX-License-Identifier: MIT
// What a player does with the built page beyond Play: tune, record, loop a part, compare, share.
import assert from 'node:assert/strict';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { Bench, eventually, heard, played, press, reads, run, saved, shows, text, turn } from './browser.mjs';

/** @typedef {import('./browser.mjs').TestPage} TestPage */

/** @type {Bench} */
let bench;
/** @type {string} */
let file;

// What the browser's microphone hears: the string A2, 20 cents sharp.
const STRING = 110 * 2 ** (20 / 1200);
before(async () => {
  file = join(await mkdtemp(join(tmpdir(), 'brumbler-')), 'string.wav');
  await run('sox', ['-n', '-r', '48000', '-b', '16', file, 'synth', '20', 'sawtooth', String(STRING), 'gain', '-12']);
  bench = await Bench.open('--use-fake-ui-for-media-stream', `--use-file-for-fake-audio-capture=${file}`);
});
after(async () => {
  await bench?.close();
  await rm(dirname(file), { recursive: true, force: true });
});

/** A figure of sox's effect stat. @param {string} path @param {string} name @param {...string} effects before it */
async function statistic(path, name, ...effects) {
  const { stderr } = await run('sox', [path, '-n', ...effects, 'stat']);
  return Number(new RegExp(`${name}: +(-?[\\d.]+)`).exec(stderr)?.[1]);
}

/** Drags over the waveform. @param {TestPage} page @param {number} from 0 to 1 @param {number} to */
async function drag(page, from, to) {
  const wave = await page.waitForSelector('.wave');
  const { x = 0, y = 0, width = 0 } = (await wave?.boundingBox()) ?? {};
  await page.mouse.move(x + width * from, y + 20);
  await page.mouse.down();
  if (to !== from) await page.mouse.move(x + width * to, y + 20, { steps: 4 });
  await page.mouse.up();
}
const place = (/** @type {TestPage} */ page) => page.$eval('input#position', (e) => Number(e.value));

test('the tuner mutes and shows the note; a take keeps what was played', async () => {
  const page = await bench.page(bench.urls.http);
  await press(page, 'Tuner'); // plugs in by itself
  await reads(page, 'tune-note', /^A2$/);
  await eventually(async () => {
    const cents = Number.parseInt(await text(page, 'tune-cents'), 10);
    assert.ok(Math.abs(cents - 20) <= 2, `${cents} cents sharp`);
  });
  await reads(page, 'plug-note', /Plugged in/);
  await played(page, 2);
  assert.ok((await heard(page)) < -100, 'muted');
  await press(page, 'Tuner');
  await eventually(async () => assert.ok((await heard(page)) > -50, 'heard again'));

  await press(page, 'Record');
  await reads(page, 'recorded', /^0:0[2-9]/);
  await page.$eval('#device', (e) => e.dispatchEvent(new Event('change'))); // the input goes away
  await reads(page, 'recording-note', /Recorded/);
  const dry = await saved(page, 'Save dry');
  assert.equal(dry.name, 'Take 1.wav');
  const { stdout } = await run('soxi', [dry.path]);
  assert.match(stdout, /Channels +: 1\n[^]*32-bit Floating/);
  // A loaded machine leaves gaps in what the microphone hears, but what comes has the level of the string: no Trim.
  assert.ok((await statistic(dry.path, 'Length .seconds.')) >= 2);
  const peak = await statistic(dry.path, 'Maximum amplitude');
  assert.ok(peak > 0.2 && peak < 0.4, `peak ${peak}`);
  await press(page, 'Play');
  await reads(page, 'time', /^0:01/);
  assert.ok((await heard(page)) > -50);
  assert.deepEqual(page.faults, []);
});

test('a part loops, set by dragging or by keys', async () => {
  const page = await bench.page(bench.urls.file);
  await drag(page, 0.5, 0.4);
  await reads(page, 'recording-note', /Loops 0:04\.\d to 0:05\.\d/);
  await press(page, 'Play');
  await eventually(async () => assert.ok((await place(page)) >= 4));
  /** @type {number[]} */
  const places = [];
  await eventually(async () => {
    places.unshift(await place(page));
    assert.ok(places.some((at, i) => at > (places[i - 1] ?? at)), 'begins again');
  });
  assert.ok(places.every((at) => at >= 4 && at <= 5.3), `${places} s`);
  await press(page, 'Stop');
  await page.focus('#position');
  await page.keyboard.press('Escape');
  await page.waitForFunction(() => document.getElementById('recording-note')?.textContent === '');
  await drag(page, 0.2, 0.2); // a click seeks
  await eventually(async () => assert.ok(Math.abs((await place(page)) - 2.06) < 0.1));
  await page.keyboard.press('[');
  for (let i = 0; i < 3; ++i) await page.keyboard.press('ArrowRight');
  await page.keyboard.press(']');
  await reads(page, 'recording-note', /Loops 0:02\.\d to 0:05\.\d/);
  assert.deepEqual(page.faults, []);
});

test('A and B are two settings of the same loudness', async () => {
  const page = await bench.page(bench.urls.file);
  await drag(page, 0.05, 0.11); // shorter than what a look at the level sees
  await press(page, 'A/B');
  await turn(page, 'Volume', 9.5);
  await turn(page, 'Fuzz', 10);
  await press(page, 'Play');
  await reads(page, 'play', /Stop/);
  const level = async (/** @type {string} */ fuzz) => {
    await shows(page, 'slider', 'Fuzz', fuzz);
    await played(page, 1.5);
    const now = await heard(page);
    await page.keyboard.press('b');
    return now;
  };
  await eventually(async () => {
    const [b, a] = [await level('10.00'), await level('5.00')];
    assert.ok(Math.abs(a - b) < 3, `A ${a.toFixed(1)} dB, B ${b.toFixed(1)} dB`);
  });
  assert.deepEqual(page.faults, []);
});

test('a link carries the setting, once', async () => {
  const page = await bench.page(bench.urls.http);
  await page.evaluate(() => Object.defineProperty(navigator, 'clipboard', {
    value: { writeText: async (/** @type {string} */ copied) => Object.assign(window, { copied }) },
  }));
  await turn(page, 'Fuzz', 7.35);
  await press(page, 'Copy link');
  await reads(page, 'bank-note', /Copied/);
  const link = await page.evaluate(() => window.copied);
  assert.match(link, /#fuzz=7\.35&volume=5&name=Guitar\+straight\+in$/);
  /** @type {[string, RegExp, string][]} */
  const rows = [[link.replace(/.*#/, ''), /set program 1 to “Guitar straight in”/, '7.35'],
    ['fuzz=11&volume=3', /Nothing was changed/, '5.00'], ['fuzz=2&volume=3&name=%F0%9F%8E%B8<b>', /“🎸<b>”/, '2.00']];
  for (const [hash, says, value] of rows) {
    await page.evaluate((h) => (location.hash = h), hash);
    await reads(page, 'bank-note', says);
    await shows(page, 'slider', 'Fuzz', value);
    assert.equal(await page.evaluate(() => location.hash), '');
    if (value !== '5.00') await press(page, 'Undo');
    if (value === '7.35') await press(page, 'Undo'); // the turn, too
  }
});

test('the output is chosen and kept, and the speaker only colours what is asked for', async () => {
  const before = () => {
    window.sinks = [];
    Object.assign(MediaDevices.prototype, { enumerateDevices: async () => [{ kind: 'audiooutput', deviceId: 'phones', label: 'Phones' }] });
    Object.assign(AudioContext.prototype, { setSinkId: async (/** @type {string} */ id) => void window.sinks.push(id) });
  };
  const page = await bench.page(bench.urls.http, { before });
  await page.waitForSelector('#out option[value=phones]');
  await page.select('#out', 'phones');
  await press(page, 'Speaker', 'switch');
  await press(page, 'Play');
  await page.waitForFunction(() => window.sinks.includes('phones'));
  await press(page, 'Stop');
  const above = async (/** @type {string} */ path) =>
    20 * Math.log10((await statistic(path, 'RMS +amplitude', 'sinc', '9000', 'gain', '40')) + 1e-7);
  const plain = await saved(page, 'Save WAV');
  await press(page, 'in WAV', 'checkbox');
  await page.$eval('input#level', (e) => ((e.value = '-24'), e.dispatchEvent(new Event('input'))));
  const coloured = await saved(page, 'Save WAV');
  const [before9, after9] = [await above(plain.path), await above(coloured.path)];
  assert.ok(plain.bytes.length === coloured.bytes.length && after9 < before9 - 24, `${before9} and ${after9} dB above 9 kHz`);
  await page.reload();
  await page.waitForSelector('#unable[hidden]');
  await page.waitForFunction(() => document.querySelector('select#out')?.matches(':has([value=phones]:checked)'));
  await shows(page, 'switch', 'Speaker', 'true');
  assert.deepEqual(page.faults, []);
});
