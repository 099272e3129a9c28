// SPDX-License-Identifier: MIT
// What a player does with the built page beyond Play: tune, record, loop a part, compare, share.
import assert from 'node:assert/strict';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { Bench, attribute, control, noted, pause, run, saved, text, turn } from './browser.mjs';

/** @type {Bench} */
let bench;
let file;
const press = async (page, name, role = 'button') => (await control(page, role, name)).click();

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

/** Lets the test hear what reaches the device: window.heard() is its root mean square now. */
function tapOutput() {
  const { connect } = AudioNode.prototype;
  AudioNode.prototype.connect = function (to, ...rest) {
    if (to instanceof AudioDestinationNode && this.context instanceof AudioContext) {
      const analyser = new AnalyserNode(this.context, { fftSize: 32768 });
      connect.call(this, analyser);
      const samples = new Float32Array(32768);
      window.heard = () => {
        analyser.getFloatTimeDomainData(samples);
        return Math.sqrt(samples.reduce((sum, x) => sum + x * x, 0) / samples.length);
      };
    }
    return connect.call(this, to, ...rest);
  };
}
const heard = async (page) => 20 * Math.log10(await page.evaluate(() => window.heard()) + 1e-9);

test('the tuner mutes and shows the note; a take keeps what was played', async () => {
  const page = await bench.page(bench.urls.http, { before: tapOutput });
  await press(page, 'Tuner'); // plugs in by itself
  await page.waitForFunction(() => document.getElementById('tune-note').textContent === 'A2', { timeout: 15000 });
  const cents = Number.parseInt(await text(page, 'tune-cents'), 10);
  assert.ok(Math.abs(cents - 20) <= 2, `${cents} cents sharp`);
  await noted(page, 'plug-note', /Plugged in/);
  await pause(900);
  assert.ok((await heard(page)) < -100, 'muted');
  await press(page, 'Tuner');
  await pause(900);
  assert.ok((await heard(page)) > -50, 'heard again');

  await press(page, 'Record');
  await pause(1500);
  await page.evaluate(() => document.getElementById('device').dispatchEvent(new Event('change'))); // the input goes away
  await noted(page, 'recording-note', /Recorded/);
  const dry = await saved(page, 'Save dry');
  assert.equal(dry.name, 'Take 1.wav');
  const { stdout } = await run('soxi', [dry.path]);
  assert.match(stdout, /Channels +: 1\n[^]*32-bit Floating/);
  const { stderr } = await run('sox', [dry.path, '-n', 'trim', '0.2', '0.5', 'stat']);
  const pitch = Number(/Rough +frequency: +(\d+)/.exec(stderr)[1]);
  assert.ok(pitch > 100 && Number(/RMS.*amplitude: +([\d.]+)/.exec(stderr)[1]) > 0.1, stderr);
  await press(page, 'Play');
  await pause(600);
  assert.ok((await heard(page)) > -50);
  assert.deepEqual(page.faults, []);
});

test('a part loops, set by dragging or by keys', async () => {
  const page = await bench.page(bench.urls.file);
  const { x, y, width } = await (await page.$('.wave')).boundingBox();
  const drag = async (from, to) => {
    await page.mouse.move(x + width * from, y + 20);
    await page.mouse.down();
    await page.mouse.move(x + width * to, y + 20, { steps: 4 });
    await page.mouse.up();
  };
  const place = () => page.$eval('#position', (e) => Number(e.value));
  await drag(0.5, 0.4);
  await noted(page, 'recording-note', /Loops 0:04\.\d to 0:05\.\d/);
  await press(page, 'Play');
  for (let i = 0; i < 8; ++i) {
    await pause(250);
    const at = await place();
    assert.ok(at >= 4 && at <= 5.3, `${at} s`);
  }
  await press(page, 'Stop');
  const position = await control(page, 'slider', 'Position');
  await position.focus();
  await page.keyboard.press('Escape');
  assert.equal(await text(page, 'recording-note'), '');
  await page.mouse.click(x + width * 0.2, y + 20); // a click seeks
  assert.ok(Math.abs((await place()) - 2.06) < 0.1);
  await page.keyboard.press('[');
  for (let i = 0; i < 3; ++i) await page.keyboard.press('ArrowRight');
  await page.keyboard.press(']');
  await noted(page, 'recording-note', /Loops 0:02\.\d to 0:05\.\d/);
  assert.deepEqual(page.faults, []);
});

test('A and B are two settings of the same loudness', async () => {
  const page = await bench.page(bench.urls.file, { before: tapOutput });
  const fuzz = async () => attribute(await control(page, 'slider', 'Fuzz'), 'aria-valuetext');
  const { x, y, width } = await (await page.$('.wave')).boundingBox();
  await page.mouse.move(x + width * 0.05, y + 20);
  await page.mouse.down();
  await page.mouse.move(x + width * 0.15, y + 20, { steps: 3 }); // one second, so that a look at the level sees most of it
  await page.mouse.up();
  await press(page, 'A/B');
  await turn(page, 'Volume', 9.5);
  await turn(page, 'Fuzz', 10);
  await press(page, 'Play');
  const level = async () => {
    let most = -200;
    for (let i = 0; i < 6; ++i) (await pause(250), (most = Math.max(most, await heard(page))));
    return most;
  };
  await pause(700);
  const b = await level();
  await page.keyboard.press('b');
  assert.equal(await fuzz(), '5.00');
  await pause(700);
  const a = await level();
  assert.ok(Math.abs(a - b) < 3, `A ${a.toFixed(1)} dB, B ${b.toFixed(1)} dB`);
  await page.keyboard.press('b');
  assert.equal(await fuzz(), '10.00');
  assert.deepEqual(page.faults, []);
});

test('a link carries the setting, once', async () => {
  const page = await bench.page(bench.urls.http);
  await page.evaluate(() => Object.defineProperty(navigator, 'clipboard', { value: { writeText: async (t) => (window.copied = t) } }));
  await turn(page, 'Fuzz', 7.35);
  await press(page, 'Copy link');
  const link = await page.evaluate(() => window.copied);
  assert.match(link, /#fuzz=7\.35&volume=5&name=Guitar\+straight\+in$/);
  const rows = [[link.split('#')[1], /set program 1 to “Guitar straight in”/, '7.35'], ['fuzz=11&volume=3', /Nothing was changed/, '5.00'],
    ['fuzz=2&volume=3&name=%F0%9F%8E%B8<b>', /“🎸<b>”/, '2.00']];
  for (const [hash, says, value] of rows) {
    await page.evaluate((h) => (location.hash = h), hash);
    await noted(page, 'bank-note', says);
    assert.equal(await attribute(await control(page, 'slider', 'Fuzz'), 'aria-valuetext'), value);
    assert.equal(new URL(page.url()).hash, '');
    if (value !== '5.00') await press(page, 'Undo');
    await page.keyboard.press('Escape');
    if (value === '7.35') await press(page, 'Undo'); // the turn, too
  }
});

test('the output is chosen and kept, and the speaker only colours what is asked for', async () => {
  const before = () => {
    MediaDevices.prototype.enumerateDevices = async () => [{ kind: 'audiooutput', deviceId: 'phones', label: 'Phones' }];
    window.sinks = [];
    AudioContext.prototype.setSinkId = async (id) => void window.sinks.push(id);
  };
  const page = await bench.page(bench.urls.http, { before });
  await (await control(page, 'combobox', 'Output')).select('phones');
  await press(page, 'Speaker', 'switch');
  await press(page, 'Play');
  await page.waitForFunction(() => window.sinks.includes('phones'));
  await press(page, 'Stop');
  const above = async (file) => {
    const { stderr } = await run('sox', [file, '-n', 'sinc', '9000', 'gain', '40', 'stat']);
    return 20 * Math.log10(Number(/RMS.*amplitude: +([\d.]+)/.exec(stderr)[1]) + 1e-7);
  };
  const plain = await saved(page, 'Save WAV');
  await press(page, 'in WAV', 'checkbox');
  await (await control(page, 'slider', 'Level')).evaluate((e) => ((e.value = '-24'), e.dispatchEvent(new Event('input'))));
  const coloured = await saved(page, 'Save WAV');
  const [before9, after9] = [await above(plain.path), await above(coloured.path)];
  assert.ok(plain.bytes.length === coloured.bytes.length && after9 < before9 - 24, `${before9} and ${after9} dB above 9 kHz`);
  await page.reload();
  await page.waitForSelector('#unable[hidden]');
  assert.equal(await (await control(page, 'combobox', 'Output')).evaluate((e) => e.value), 'phones');
  assert.equal(await attribute(await control(page, 'switch', 'Speaker'), 'aria-checked'), 'true');
  assert.deepEqual(page.faults, []);
});
