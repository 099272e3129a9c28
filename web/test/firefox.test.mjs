// SPDX-License-Identifier: MIT
// The built page in Firefox: what differs most between browsers.
import assert from 'node:assert/strict';
import { existsSync } from 'node:fs';
import { mkdtemp, readFile, rm } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import puppeteer from 'puppeteer-core';
import { command, openRecording, pageFile, reads, run, saved } from './browser.mjs';

const FIREFOX = '/usr/bin/firefox-esr';
const GUITAR = '/usr/share/sonic-pi/samples/guit_em9.flac';
const withFirefox = existsSync(FIREFOX) ? {} : { skip: `no ${FIREFOX}` };

let folder = '';
/** @type {import('puppeteer-core').Browser} */
let browser;
/** @type {import('./browser.mjs').TestPage} */
let page;
before(async () => {
  if ('skip' in withFirefox) return;
  folder = await mkdtemp(join(tmpdir(), 'brumbler-'));
  browser = await puppeteer.launch({
    browser: 'firefox',
    executablePath: FIREFOX,
    headless: true,
    timeout: 60000,
    extraPrefsFirefox: {
      'browser.download.alwaysOpenPanel': false, // it would take the keyboard
      'browser.download.dir': folder,
      'browser.download.folderList': 2,
      'media.autoplay.default': 0,
      'media.navigator.permission.disabled': true,
      'media.navigator.streams.fake': true,
    },
  });
  page = Object.assign(await browser.newPage(), { faults: [], downloads: folder });
  page.setDefaultTimeout(60000);
  await page.setViewport({ width: 1280, height: 800 });
  await page.goto(`file://${pageFile}`);
  await page.waitForSelector('#unable[hidden]');
});
after(async () => {
  await browser?.close();
  if (folder) await rm(folder, { recursive: true, force: true });
});

test('Firefox saves what the command renders', { ...withFirefox }, async () => {
  const out = `${folder}-command.wav`;
  for (const recording of [undefined, GUITAR].filter((path) => path === undefined || existsSync(path))) {
    const dry = `${folder}-dry.wav`;
    if (recording) await openRecording(page, recording);
    const plain = recording ?? `${folder}-riff.wav`;
    if (!recording) await run(command, ['riff', plain, '--force']);
    await run('sox', [plain, '-e', 'floating-point', '-b', '32', dry]);
    const ours = await saved(page, 'Save WAV');
    await run(command, ['render', dry, out, '--force', '--trim', 'auto']);
    assert.match((await run(command, ['compare', ours.path, out])).stdout, /difference +none/);
    for (const path of [dry, out, ours.path]) await rm(path);
  }
});

test('Firefox turns knobs, plays, plugs in, and pleases axe', { ...withFirefox }, async (t) => {
  await page.focus('#fuzz input[type=range]');
  await page.keyboard.press('7');
  await page.keyboard.press('Enter');
  await page.waitForSelector('#fuzz input[aria-valuetext="7.00"]');
  await page.evaluate(await readFile(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8'));
  const { violations } = await page.evaluate(() => window.axe.run());
  assert.deepEqual(violations.map(({ id, nodes }) => [id, nodes.map(({ html }) => html)]), []);
  if (!existsSync('/dev/snd')) return t.diagnostic('Play and Plug in were not tried: Firefox plays nothing without a sound card.');
  const loud = () => page.waitForFunction(() => Number(document.querySelector('#output [role=meter]')?.getAttribute('aria-valuenow')) > -50);
  await page.click('#play');
  await loud();
  await page.click('#plug');
  await reads(page, 'plug-note', /Plugged in/);
  await loud();
  await page.click('#plug');
});
