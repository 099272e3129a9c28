// SPDX-License-Identifier: MIT
// The built page in a browser, as its users meet it.
import assert from 'node:assert/strict';
import { existsSync } from 'node:fs';
import { readFile, writeFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { Bench, attribute, choose, command, control, eventually, openRecording, pause, played, press, reads, run, saved, shows, text, turn } from './browser.mjs';

/** @typedef {import('./browser.mjs').TestPage} TestPage */

const DESK = { width: 1280, height: 800 };
const PHONE = { width: 390, height: 844, isMobile: true, hasTouch: true, deviceScaleFactor: 2 };
const GUITAR = '/usr/share/sonic-pi/samples/guit_em9.flac';
const withCommand = existsSync(command) ? {} : { skip: `no ${command}: build the preset release first` };

/** @type {Bench} */
let bench;
before(async () => {
  bench = await Bench.open('--use-fake-ui-for-media-stream');
});
after(() => bench?.close());

/** A recording as floats, made by sox. @param {string} name @param {string} from @returns its path */
async function made(name, from) {
  const path = join(bench.folder, name);
  await run('sox', [from, '-e', 'floating-point', '-b', '32', path]);
  return path;
}

async function riffFile() {
  const path = join(bench.folder, 'plain-riff.wav');
  if (!existsSync(path)) await run(command, ['riff', path]);
  return made('riff.wav', path);
}

/** What a meter shows, in dBFS; NaN when it is silent. @param {TestPage} page @param {string} name */
const level = async (page, name) =>
  Number.parseFloat((await attribute(await control(page, 'meter', name), 'aria-valuetext') ?? '').replace('−', '-'));
const silent = async (/** @type {TestPage} */ page) =>
  eventually(async () => assert.ok(Number.isNaN(await level(page, 'Output level'))));
const loud = async (/** @type {TestPage} */ page, name = 'Output level') =>
  eventually(async () => assert.ok((await level(page, name)) > -40, `${name} ${await level(page, name)}`));
const picture = (/** @type {TestPage} */ page) => page.$eval('canvas#picture', (canvas) => canvas.toDataURL());

test('what is saved is what the command renders, float for float', withCommand, async (t) => {
  /** @type {Record<string, () => string | undefined | Promise<string>>} */
  const recordings = {
    riff: riffFile,
    'a guitar in stereo': () => (existsSync(GUITAR) ? GUITAR : undefined),
    'mono at 48000 Hz, 16 bits': async () => {
      const path = join(bench.folder, 'sixteen.wav');
      await run('sox', [await riffFile(), '-b', '16', path, 'rate', '48000', 'gain', '-n', '-1', 'dither', '-S']);
      return path;
    },
  };
  /** @type {['file' | 'http', string, {fuzz?: number, volume?: number, trim?: number, off?: boolean}][]} */
  const rows = [
    ['file', 'riff', {}],
    ['http', 'riff', { fuzz: 10, volume: 2.5, trim: -7 }],
    ['file', 'a guitar in stereo', { fuzz: 7.3, volume: 10 }],
    ['http', 'a guitar in stereo', { off: true }],
    ['file', 'mono at 48000 Hz, 16 bits', { fuzz: 0, volume: 6.1 }],
  ];
  for (const [origin, name, settings] of rows) {
    await t.test(`${name} from ${origin} with ${JSON.stringify(settings)}`, async (t) => {
      const recording = await recordings[name]?.();
      if (!recording) return t.skip('the package sonic-pi-samples is missing');
      const page = await bench.page(bench.urls[origin]);
      if (name !== 'riff') await openRecording(page, recording);
      const { trim, fuzz, volume, off } = settings;
      if (trim !== undefined) await turn(page, 'Trim', trim);
      if (fuzz !== undefined) await turn(page, 'Fuzz', fuzz);
      if (volume !== undefined) await turn(page, 'Volume', volume);
      if (off) await press(page, 'On', 'switch');
      const ours = await saved(page, 'Save WAV');

      const floats = await made(`floats-${name.length}.wav`, recording);
      const out = join(bench.folder, 'command.wav');
      await run(command, ['render', floats, out, '--force', '--trim', String(trim ?? 'auto'),
        ...(fuzz !== undefined ? ['--fuzz', String(fuzz)] : []),
        ...(volume !== undefined ? ['--volume', String(volume)] : []), ...(off ? ['--off'] : [])]);
      assert.match((await run(command, ['compare', ours.path, out])).stdout, /difference +none/);
      assert.deepEqual(page.faults, []);
    });
  }
  assert.deepEqual(bench.asked, bench.asked.map(() => '/'));
});

test('the worklet plays what is saved, float for float', async () => {
  const page = await bench.page(bench.urls.file);
  await turn(page, 'Fuzz', 8);
  const { bytes } = await saved(page, 'Save WAV');
  const { first, peak } = await page.evaluate(async (wav) => {
    const content = (/** @type {string} */ id) => document.getElementById(id)?.textContent ?? '';
    const decoded = (/** @type {string} */ base64) => Uint8Array.from(atob(base64), (c) => c.charCodeAt(0)).buffer;
    const packed = new Blob([decoded(content('wasm'))]).stream().pipeThrough(new DecompressionStream('deflate'));
    const wasm = await new Response(packed).arrayBuffer();
    const { instance } = await WebAssembly.instantiate(wasm, {
      wasi_snapshot_preview1: { fd_close() {}, fd_seek() {}, fd_write() {} },
    });
    const calls = /** @type {any} */ (instance.exports);
    calls._initialize();
    const length = calls.playRiff(calls.place());
    const [address] = new Uint32Array(calls.memory.buffer, calls.place(), 1);
    const riff = new Float32Array(calls.memory.buffer, address, length);
    const context = new OfflineAudioContext(1, length, 44100);
    await context.audioWorklet.addModule(`data:text/javascript,${encodeURIComponent(content('worklet'))}`);
    const trim = calls.automaticTrim(riff.reduce((most, sample) => Math.max(most, Math.abs(sample)), 0));
    const settings = { programs: [{ name: 'Init', values: [1, 0.5, Math.fround(0.8)] }], selected: 0, trim };
    const node = new AudioWorkletNode(context, 'brumbler', { processorOptions: { wasm, settings } });
    const expected = (await context.decodeAudioData(decoded(wav))).getChannelData(0);
    const buffer = new AudioBuffer({ length, sampleRate: 44100 });
    buffer.copyToChannel(riff, 0);
    const source = new AudioBufferSourceNode(context, { buffer });
    source.connect(node).connect(context.destination);
    source.start();
    const played = (await context.startRendering()).getChannelData(0);
    return { first: played.findIndex((sample, i) => sample !== expected[i]), peak: Math.max(...played.subarray(0, 60000)) };
  }, bytes.toString('base64'));
  assert.equal(first, -1);
  assert.ok(peak > 0.01);
});

test('the keyboard reaches and moves everything', async () => {
  const page = await bench.page(bench.urls.file);
  const reached = new Set();
  for (let i = 0; i < 60; ++i) {
    await page.keyboard.press('Tab');
    reached.add(await page.evaluate(() => {
      const e = /** @type {HTMLInputElement | null} */ (document.activeElement);
      return e?.getAttribute('aria-label') ?? e?.labels?.[0]?.firstChild?.textContent ?? e?.textContent?.trim();
    }));
  }
  for (const name of ['Recording', 'Play', 'Loop', 'Save WAV', 'Plug in', 'Fuzz', 'Fuzz as a number', 'Volume', 'Trim', 'On',
    'Program', 'Preset', 'Name', 'Position', 'Spectrum', 'Undo', 'Auto', 'Level', 'Export bank', 'Import bank', 'Connect MIDI']) {
    assert.ok(reached.has(name), `${name} in ${[...reached]}`);
  }

  const fuzz = await control(page, 'slider', 'Fuzz');
  await fuzz.focus();
  const keys = /** @type {const} */ ([['ArrowUp', '5.10'], ['PageUp', '6.10'], ['End', '10.00'], ['ArrowDown', '9.90'],
    ['Home', '0.00'], ['Delete', '5.00']]);
  for (const [key, shown] of keys) {
    await page.keyboard.press(key);
    await shows(page, 'slider', 'Fuzz', shown);
  }
  await page.keyboard.type('7,25\n');
  await shows(page, 'slider', 'Fuzz', '7.25');
  await page.keyboard.type('7\n');
  await shows(page, 'slider', 'Fuzz', '7.00');
  await page.keyboard.press('3');
  await page.keyboard.press('Tab'); // leaving the field applies, too
  await shows(page, 'slider', 'Fuzz', '3.00');
  await fuzz.focus();
  await page.keyboard.press('Space');
  await shows(page, 'switch', 'On', 'false');
  const play = await control(page, 'button', 'Play');
  await play.focus();
  await page.keyboard.press('Space'); // presses what it stands on
  await reads(page, 'play', /Stop/);
  await shows(page, 'switch', 'On', 'false');
  assert.deepEqual(page.faults, []);
});

test('mouse, wheel and touch turn a knob, a double click puts it back', async () => {
  /** @returns {Promise<[TestPage, number, number]>} */
  const onTrim = async (viewport = DESK) => {
    const page = await bench.page(bench.urls.file, { viewport });
    const { x = 0, y = 0, width = 0, height = 0 } = (await (await page.$('#trim .dial'))?.boundingBox()) ?? {};
    return [page, x + width / 2, y + height / 2];
  };
  const [page, x, y] = await onTrim();
  const trim = (/** @type {string} */ value) => shows(page, 'slider', 'Trim', value);
  await page.mouse.move(x, y);
  await page.mouse.down();
  await page.mouse.move(x, y - 60, { steps: 5 });
  await page.mouse.up();
  await trim('24.0 dB');
  await page.mouse.move(x, y);
  await page.mouse.wheel({ deltaY: 100 });
  await trim('22.0 dB');
  for (let i = 0; i < 10; ++i) await page.mouse.wheel({ deltaY: -10 }); // as a touch pad sends them
  await trim('24.0 dB');
  await eventually(async () => {
    await page.mouse.click(x, y, { count: 2 }); // on a slow machine it may come too late for a double click
    assert.equal(await attribute(await control(page, 'slider', 'Trim'), 'aria-valuetext'), '0.0 dB');
  });
  await press(page, 'Spectrum'); // the mouse leaves the space bar to the foot
  await page.keyboard.press('Space');
  await shows(page, 'switch', 'On', 'false');

  const [phone, left, top] = await onTrim(PHONE);
  const finger = await phone.touchscreen.touchStart(left, top);
  await finger.move(left, top + 30);
  await finger.end();
  await shows(phone, 'slider', 'Trim', '−6.0 dB');
});

test('a recording plays, loops, seeks and switches; the picture stops with it', async () => {
  const page = await bench.page(bench.urls.http);
  const still = await picture(page);
  await press(page, 'Play');
  await loud(page);
  await eventually(async () => assert.notEqual(await picture(page), still));
  await press(page, 'Spectrum');
  await turn(page, 'Volume', 0); // silences the effect, not the dry sound
  await silent(page);
  await page.keyboard.press('Space');
  await loud(page);

  const toTheEnd = () => page.$eval('input#position', (e) => ((e.value = '9.9'), e.dispatchEvent(new Event('input'))));
  await toTheEnd();
  await reads(page, 'time', /^0:00/); // round and round
  await press(page, 'Loop');
  await toTheEnd();
  await reads(page, 'play', /Play/);
  await eventually(async () => {
    const rest = await picture(page);
    await pause(500);
    assert.equal(await picture(page), rest);
  });
  assert.deepEqual(page.faults, []);
});

test('lamps tell what clips; nothing sounds twice or is cut off', async () => {
  const page = await bench.page(bench.urls.file, {
    before: () => {
      window.opened = [];
      window.AudioContext = class extends AudioContext {
        /** @param {AudioContextOptions} [options] */
        constructor(options) {
          super(options);
          window.opened.push(this);
        }
      };
    },
  });
  const full = join(bench.folder, 'full.wav');
  await run('sox', ['-n', '-r', '44100', '-b', '16', full, 'synth', '2', 'square', '200', 'gain', '0']);
  const lamps = async (/** @type {string[]} */ ...expected) =>
    eventually(async () => assert.deepEqual(await page.$$eval('.clip', (all) => all.map((e) => e.ariaPressed)), expected));
  await page.$eval('button#play', (e) => (e.click(), e.click()));
  await reads(page, 'time', /^0:0[1-8]/);
  await lamps('false', 'false');
  assert.equal(await page.evaluate(() => window.opened.length), 1);
  await press(page, 'Stop');
  await openRecording(page, full);
  await turn(page, 'Volume', 0);
  await press(page, 'Play');
  await reads(page, 'time', /^0:01/);
  await lamps('true', 'false');
  await turn(page, 'Fuzz', 10);
  await turn(page, 'Volume', 10);
  await turn(page, 'Trim', 30);
  await lamps('true', 'true');

  // The rest that follows a stop leaves what begins meanwhile alone.
  await press(page, 'Stop');
  await page.evaluate(() => {
    navigator.mediaDevices.enumerateDevices = () => new Promise((done) => setTimeout(() => done([]), 3000));
  });
  await press(page, 'Plug in');
  await reads(page, 'plug-note', /Plugged in/);
  assert.equal(await page.evaluate(() => window.opened.at(-1)?.state), 'running');
});

test('the page itself refuses to ask for anything', async () => {
  const page = await bench.page(bench.urls.http);
  const before = bench.asked.length;
  await page.evaluate(async () => {
    const image = new Image();
    const ended = new Promise((done) => (image.onload = image.onerror = done));
    image.src = '/image';
    await Promise.allSettled([ended, fetch('/fetch')]);
  });
  assert.deepEqual(bench.asked.slice(before).filter((url) => url !== '/favicon.ico'), []);
});

test('sixteen programs are kept, and banks are the command’s', withCommand, async () => {
  const url = bench.urls.http;
  const page = await bench.page(url);
  const program = await control(page, 'combobox', 'Program');
  assert.equal((await page.$$('#program option')).length, 16);
  await program.select('2');
  await turn(page, 'Fuzz', 8.3);
  await turn(page, 'Volume', 0.7);
  await (await control(page, 'textbox', 'Name')).click({ count: 3 });
  await page.keyboard.type('Säge, ganz besonders lang\n'); // 23 bytes stay
  await program.select('15');
  await page.keyboard.press('Space');
  await shows(page, 'switch', 'On', 'false');
  const preset = await control(page, 'combobox', 'Preset');
  await preset.select('wall-of-fuzz');
  await turn(page, 'Fuzz', 3);
  await preset.select('wall-of-fuzz'); // once more: a turned knob has left it
  const knobs = async (/** @type {string} */ fuzz, /** @type {string} */ volume, /** @type {string} */ trim) => {
    await shows(page, 'slider', 'Fuzz', fuzz);
    await shows(page, 'slider', 'Volume', volume);
    await shows(page, 'slider', 'Trim', trim);
  };
  await knobs('10.00', '6.00', '4.0 dB'); // Trim is the riff's own
  await turn(page, 'Trim', 9);
  await press(page, 'Auto');
  await shows(page, 'slider', 'Trim', '4.0 dB');
  await turn(page, 'Volume', 1);
  await press(page, 'Undo');
  await page.keyboard.down('Control');
  for (let i = 0; i < 3; ++i) await page.keyboard.press('z'); // Auto and Trim, the preset, Fuzz
  await page.keyboard.up('Control');
  await knobs('10.00', '6.00', '4.0 dB');
  await page.reload();
  await page.waitForSelector('#unable[hidden]');
  await shows(page, 'switch', 'On', 'false');

  const bank = await saved(page, 'Export bank');
  const { stdout } = await run(command, ['info', '--json', '--bank', bank.path]);
  const { programs } = JSON.parse(stdout);
  for (const [index, ...expected] of [[2, 'Säge, ganz besonders l', 1, 0.7, 8.3], [15, 'Init', 0, 6, 10], [1, 'Soft edge', 1, 2.5, 0.5]]) {
    const { parameters, ...rest } = programs[Number(index)];
    const read = { ...rest, ...parameters };
    assert.deepEqual([read.name, read['On/Off'], read.VOLUME, read.FUZZ].map(String), expected.map(String));
  }

  page.once('dialog', (dialog) => dialog.accept());
  const theirs = join(bench.folder, 'theirs.json');
  await run(command, ['bank', 'save', theirs, '--force', '--set', '1,volume=1.5,fuzz=9.9,on=0,name=Theirs']);
  await choose(page, 'import', theirs);
  await reads(page, 'bank-note', /is loaded/);
  await shows(page, 'slider', 'Fuzz', '9.90');
  assert.deepEqual(JSON.parse(String((await saved(page, 'Export bank')).bytes)), JSON.parse(await readFile(theirs, 'utf8')));
  /** @type {[string, string][]} */
  const rows = [['{"programs": [', 'not JSON'], ['[]', 'no list "programs"'], ['{"programs": [{"FUZZ": 11}]}', '"FUZZ" must be a number'],
    ['{"programs": [{"On/Off": 0.5}]}', '0 \\(off\\)'], ['{"programs": [{"fuzz": 1}]}', 'unknown "fuzz"']];
  for (const [content, says] of rows) {
    const broken = join(bench.folder, 'broken.json');
    await writeFile(broken, content);
    await choose(page, 'import', broken);
    await reads(page, 'bank-note', new RegExp(`${says}.*Nothing was changed`));
  }
  await shows(page, 'slider', 'Fuzz', '9.90');
  await press(page, 'Undo'); // the import, with the program that was selected
  await knobs('10.00', '6.00', '4.0 dB');
});

test('an input plays live, after a warning', async () => {
  const before = () => {
    const { getUserMedia } = MediaDevices.prototype;
    MediaDevices.prototype.getUserMedia = function (/** @type {MediaStreamConstraints | undefined} */ wanted) {
      window.wanted = /** @type {MediaTrackConstraints} */ (wanted?.audio);
      return getUserMedia.call(this, wanted);
    };
  };
  const page = await bench.page(bench.urls.file, { before });
  const plug = await control(page, 'button', 'Plug in');
  await turn(page, 'Trim', 3);
  await plug.click();
  await reads(page, 'plug-note', /Headphones on.*Sound in 3/);
  await reads(page, 'plug-note', /Plugged in/);
  await reads(page, 'latency', /^\d+ ms/);
  const { echoCancellation, noiseSuppression, autoGainControl } = await page.evaluate(() => window.wanted);
  assert.deepEqual([echoCancellation, noiseSuppression, autoGainControl], [false, false, false]);
  await shows(page, 'slider', 'Trim', '12.0 dB'); // the input's own
  await loud(page, 'Input level'); // the fake microphone beeps once a second
  await loud(page);
  for (const jack of ['second', 'both']) {
    await page.select('#jack', jack);
    await played(page, 2); // longer than a meter holds a peak
    await loud(page);
  }
  await turn(page, 'Volume', 0); // silences the effect, not the dry sound
  await silent(page);
  await press(page, 'Play'); // the recording takes over
  await page.waitForSelector('#plug[aria-pressed=false]');
  assert.deepEqual(page.faults, []);
});

test('MIDI turns the knobs, also what it learnt', async () => {
  const before = () => {
    const input = { name: 'Pedal', onmidimessage(/** @type {{data: Uint8Array}} */ _message) {} };
    Object.assign(navigator, { requestMIDIAccess: async () => ({ inputs: new Map([['1', input]]) }) });
    window.send = (...bytes) => input.onmidimessage({ data: Uint8Array.from(bytes) });
  };
  const page = await bench.page(bench.urls.file, { before });
  await press(page, 'Connect MIDI');
  await reads(page, 'midi-note', /Pedal/);
  const state = () => page.evaluate(() => [document.querySelector('#program :checked')?.getAttribute('value'),
    ...['fuzz', 'volume', 'trim'].map((id) => document.querySelector(`#${id} input`)?.getAttribute('aria-valuetext')),
    document.getElementById('on')?.ariaChecked].join(' '));
  /** @type {[number[] | 'learn On' | 'forget', string][]} */
  const rows = [
    [[0xc0, 4], '4 7.00 7.00 4.0 dB true'], [[0xb3, 16, 127], '4 10.00 7.00 4.0 dB true'],
    [[0xb0, 7, 0], '4 10.00 0.00 4.0 dB true'], [[0xb0, 18, 127], '4 10.00 0.00 30.0 dB true'],
    [[0xb0, 64, 0], '4 10.00 0.00 30.0 dB false'], [[0xb0, 64, 127], '4 10.00 0.00 30.0 dB true'],
    [[0xb0, 1, 127], '4 10.00 0.00 30.0 dB true'], // not learnt yet
    ['learn On', '4 10.00 0.00 30.0 dB true'],
    [[0xb0, 1, 127], '4 10.00 0.00 30.0 dB true'], // teaches
    [[0xb0, 1, 0], '4 10.00 0.00 30.0 dB true'],
    [[0xb0, 1, 127], '4 10.00 0.00 30.0 dB false'], // presses
    [[0xb0, 1, 0], '4 10.00 0.00 30.0 dB false'],
    [[0xb0, 1, 127], '4 10.00 0.00 30.0 dB true'],
    ['forget', '4 10.00 0.00 30.0 dB true'],
    [[0xb0, 1, 0], '4 10.00 0.00 30.0 dB true'],
    [[0xb0, 1, 127], '4 10.00 0.00 30.0 dB true'], // does nothing any more
  ];
  for (const [message, expected] of rows) {
    if (message === 'learn On') await page.select('#learn', 'on');
    else if (message === 'forget') await press(page, 'Forget');
    else await page.evaluate((bytes) => window.send(...bytes), message);
    assert.equal(await state(), expected, String(message));
  }
});

test('what goes wrong is said beside the control', async (t) => {
  const refuse = (/** @type {string} */ name) => `navigator.mediaDevices.getUserMedia = async () => { throw new DOMException('', '${name}'); }`;
  /** @type {[string, string, string, string, RegExp, typeof PHONE?][]} */
  const rows = [
    ['no permission', refuse('NotAllowedError'), 'plug', 'plug-note', /may not listen/],
    ['no input', refuse('NotFoundError'), 'plug', 'plug-note', /no input/],
    ['an input in use', refuse('NotReadableError'), 'plug', 'plug-note', /Another program/],
    ['no input at all here', 'Object.defineProperty(navigator, "mediaDevices", { value: undefined })', 'plug', 'plug-note', /https/],
    ['no worklet', 'delete BaseAudioContext.prototype.audioWorklet', 'play', 'recording-note', /no AudioWorklet/],
    ['a suspended context', 'AudioContext.prototype.resume = () => new Promise(() => {}); ' +
      'Object.defineProperty(AudioContext.prototype, "state", { get: () => "suspended" })', 'play', 'recording-note', /holds the sound/],
    ['no MIDI', 'delete Navigator.prototype.requestMIDIAccess', 'midi', 'midi-note', /no MIDI/],
    ['a context that stops', `const { resume } = AudioContext.prototype;
      AudioContext.prototype.resume = function () { setTimeout(() => this.suspend(), 700); return resume.call(this); }`, 'play',
      'recording-note', /holds the sound/],
    ['nothing kept', 'Storage.prototype.setItem = () => { throw new DOMException("", "QuotaExceededError"); }', 'on', 'bank-note', /stores nothing/, PHONE],
  ];
  for (const [name, before, id, note, says, viewport] of rows) {
    await t.test(name, async () => {
      const page = await bench.page(bench.urls.file, { before, viewport });
      await page.click(`#${id}`);
      await reads(page, note, says);
      assert.equal(await page.$eval(`#${id}`, (e) => e.ariaPressed ?? 'false'), 'false');
    });
  }
  await t.test('a file that is no recording', async () => {
    const broken = join(bench.folder, 'broken.wav');
    await writeFile(broken, 'RIFFxxxxWAVEfmt ');
    const page = await bench.page(bench.urls.file);
    await openRecording(page, broken);
    await reads(page, 'recording-note', /broken.wav is not a recording/);
    assert.equal(await text(page, 'name'), 'Riff');
    assert.deepEqual(page.faults, []);
  });
  await t.test('no effect in the worklet: dry sound', async () => {
    const page = await bench.page(bench.urls.file, {
      before: () => {
        const Node = AudioWorkletNode;
        window.AudioWorkletNode = class extends Node {
          /** @param {BaseAudioContext} context @param {string} name @param {any} options */
          constructor(context, name, options) {
            super(context, name, { ...options, processorOptions: { ...options.processorOptions, wasm: new ArrayBuffer(8) } });
          }
        };
      },
    });
    await press(page, 'Play');
    await reads(page, 'effect-note', /you hear the dry sound/);
    await turn(page, 'Volume', 0); // silences an effect
    await played(page, 3);
    await loud(page);
  });
  await t.test('a refusal by the browser itself', async () => {
    const strict = await Bench.open('--deny-permission-prompts');
    const page = await strict.page(strict.urls.http);
    await press(page, 'Plug in');
    await reads(page, 'plug-note', /may not listen/);
    await strict.close();
  });
});

test('it is for everybody: themes, phone, less motion', async (t) => {
  const axe = await readFile(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');
  const small = { ...PHONE, width: 320, height: 664 };
  for (const [theme, viewport] of /** @type {[string, typeof DESK][]} */ ([['light', DESK], ['dark', DESK], ['light', PHONE], ['dark', PHONE], ['dark', small]])) {
    await t.test(`${theme}, ${viewport.width}`, async () => {
      const page = await bench.page(bench.urls.file, { viewport });
      await page.emulateMediaFeatures([{ name: 'prefers-color-scheme', value: theme }, { name: 'prefers-reduced-motion', value: 'reduce' }]);
      const { width, height, room } = await page.evaluate(() => ({ width: document.documentElement.scrollWidth,
        height: document.documentElement.scrollHeight, room: innerHeight }));
      const { y = 0, height: own = 0 } = (await (await page.$('#play'))?.boundingBox()) ?? {};
      assert.equal(width, viewport.width);
      assert.ok((viewport === small ? y + own : height) <= room, `${height} of ${room}`);
      await page.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));
      const still = await picture(page);
      await press(page, 'Play');
      await reads(page, 'time', /^0:0[1-8]/);
      assert.equal(await picture(page), still);
      await page.$eval('details#more', (e) => (e.open = true));
      await page.$eval('#recording-note', (e) => (e.classList.add('bad'), (e.textContent = 'A note.')));
      // In a world of its own, because the page's policy forbids scripts from elsewhere.
      const world = /** @type {any} */ (page.mainFrame()).isolatedRealm();
      /** @type {Awaited<ReturnType<Window['axe']['run']>>} */
      const { violations } = await world.evaluate(`${axe}; axe.run()`);
      assert.deepEqual(violations.map(({ id, nodes }) => [id, nodes.map(({ html }) => html)]), []);
    });
  }
});
