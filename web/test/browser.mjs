// SPDX-License-Identifier: MIT
// A browser with the built page in it, and how the tests reach what is on it: by role and accessible name.
import { execFile } from 'node:child_process';
import { mkdir, mkdtemp, readFile, readdir, rename, rm, stat } from 'node:fs/promises';
import { createServer } from 'node:http';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';
import puppeteer from 'puppeteer-core';

/** @typedef {import('puppeteer-core').Page & {faults: string[], downloads: string}} TestPage */

export const root = fileURLToPath(new URL('../..', import.meta.url));
export const pageFile = process.env.BRUMBLER_PAGE ?? join(root, 'build/wasm/brumbler.html');
export const command = process.env.BRUMBLER_COMMAND ?? join(root, 'build/release/brumbler');
export const run = promisify(execFile);
export const pause = (/** @type {number} */ milliseconds) => new Promise((done) => setTimeout(done, milliseconds));

const LIMIT = 60000; // milliseconds to wait for anything: a loaded machine is slow

const FLAGS = `--no-sandbox --headless --disable-gpu --disable-quic --no-first-run --disable-background-networking
  --disable-component-update --disable-sync --use-fake-device-for-media-stream`.split(/\s+/);

/** Taps the sound on its way to the device: window.heard() is its root mean square over the last 0.7 s. */
function tapOutput() {
  const { connect } = AudioNode.prototype;
  /** @this {AudioNode} @param {any[]} to */
  function tapped(...to) {
    if (to[0] instanceof AudioDestinationNode && this.context instanceof AudioContext) {
      const analyser = new AnalyserNode(this.context, { fftSize: 32768 });
      const samples = new Float32Array(analyser.fftSize);
      /** @type {any} */ (connect).call(this, analyser);
      window.soundTime = () => analyser.context.currentTime;
      window.heard = () => {
        analyser.getFloatTimeDomainData(samples);
        return Math.sqrt(samples.reduce((sum, x) => sum + x * x, 0) / samples.length);
      };
    }
    return /** @type {any} */ (connect).apply(this, to);
  }
  AudioNode.prototype.connect = /** @type {any} */ (tapped);
}

/** A folder and a browser of the test's own, and a server of the page. */
export class Bench {
  static count = 0;

  /** The context of the page that is open. @type {import('puppeteer-core').BrowserContext | undefined} */
  context = undefined;

  /** @param {string} folder @param {import('puppeteer-core').Browser} browser @param {string} html */
  constructor(folder, browser, html) {
    this.folder = folder;
    this.browser = browser;
    /** Addresses that the server was asked for. @type {string[]} */
    this.asked = [];
    this.server = createServer((request, response) => {
      this.asked.push(request.url ?? '');
      response.writeHead(request.url === '/' ? 200 : 404, { 'content-type': 'text/html' });
      response.end(request.url === '/' ? html : '');
    });
    this.urls = { file: `file://${pageFile}`, http: '' };
  }

  /** @param {...string} flags of the browser */
  static async open(...flags) {
    const folder = await mkdtemp(join(tmpdir(), 'brumbler-'));
    const browser = await puppeteer.launch({
      executablePath: process.env.BRUMBLER_BROWSER ?? '/usr/bin/chromium',
      userDataDir: join(folder, 'profile'),
      timeout: LIMIT,
      args: [...FLAGS, ...flags],
    });
    const bench = new Bench(folder, browser, await readFile(pageFile, 'utf8'));
    await new Promise((done) => bench.server.listen(0, '127.0.0.1', () => done(undefined)));
    const address = /** @type {import('node:net').AddressInfo} */ (bench.server.address());
    bench.urls.http = `http://127.0.0.1:${address.port}/`;
    return bench;
  }

  /**
   * A page that nobody has used before, in place of the one before. `faults` collects what no page may do: ask for anything, or complain.
   * @param {string} url
   * @param {{before?: string | (() => void), viewport?: import('puppeteer-core').Viewport}} options `before` runs in
   *   the page before its own scripts
   * @returns {Promise<TestPage>}
   */
  async page(url, { before, viewport = { width: 1280, height: 800 } } = {}) {
    await this.context?.close(); // it would go on playing
    const context = (this.context = await this.browser.createBrowserContext());
    const downloads = join(this.folder, `downloads-${(Bench.count += 1)}`);
    await mkdir(downloads);
    /** @type {string[]} */
    const faults = [];
    const page = Object.assign(await context.newPage(), { faults, downloads });
    page.setDefaultTimeout(LIMIT);
    page.on('pageerror', (error) => faults.push(String(error)));
    page.on('console', (message) => ['error', 'warn'].includes(message.type()) && faults.push(message.text()));
    page.on('request', (request) => {
      if (!/^(data|blob):/.test(request.url()) && request.url() !== url) faults.push(`asks for ${request.url()}`);
    });
    await page.evaluateOnNewDocument(tapOutput);
    if (before) await page.evaluateOnNewDocument(before);
    await page.setViewport(viewport);
    await page.goto(url);
    await page.waitForSelector('#unable[hidden]');
    const session = await this.browser.target().createCDPSession();
    await session.send('Browser.setDownloadBehavior', {
      behavior: 'allow',
      browserContextId: context.id,
      downloadPath: downloads,
    });
    return page;
  }

  async close() {
    await this.browser.close();
    this.server.close();
    await rm(this.folder, { recursive: true, force: true, maxRetries: 5 });
  }
}

/** Repeats a check until it passes; throws its last error if it does not. @param {() => unknown} check */
export async function eventually(check) {
  for (const end = Date.now() + LIMIT; ; await pause(50)) {
    try {
      return await check();
    } catch (error) {
      if (Date.now() > end) throw error;
    }
  }
}

/** The only control with this role and this name. @param {TestPage} page @param {string} role @param {string} name */
export async function control(page, role, name) {
  /** @type {import('puppeteer-core').ElementHandle<Element>[]} */
  let found = [];
  await eventually(async () => {
    found = await page.$$(`::-p-aria([name="${name}"][role="${role}"])`);
    if (found.length !== 1) throw new Error(`${found.length} controls are a ${role} "${name}"`);
  });
  return /** @type {import('puppeteer-core').ElementHandle<Element>} */ (found[0]);
}

/** @param {TestPage} page @param {string} name @param {string} role */
export const press = async (page, name, role = 'button') => (await control(page, role, name)).click();
/** @param {import('puppeteer-core').ElementHandle} element @param {string} name */
export const attribute = (element, name) => element.evaluate((e, n) => e.getAttribute(n), name);
/** @param {import('puppeteer-core').Page} page @param {string} id */
export const text = (page, id) => page.$eval(`#${id}`, (e) => e.textContent ?? '');

/** Waits until a control has this value. @param {TestPage} page @param {string} role @param {string} name @param {string} value */
export async function shows(page, role, name, value) {
  const named = role === 'switch' ? 'aria-checked' : 'aria-valuetext';
  const found = await control(page, role, name);
  await page.waitForFunction((e, n, v) => e.getAttribute(n) === v, {}, found, named, value).catch(async () => {
    throw new Error(`${name} is ${await attribute(found, named)}, not ${value}`);
  });
}

/** Waits until a text fits. @param {import('puppeteer-core').Page} page @param {string} id @param {RegExp} pattern */
export async function reads(page, id, pattern) {
  const fits = (/** @type {string} */ i, /** @type {string} */ p) => {
    const note = document.getElementById(i);
    return note?.checkVisibility() && new RegExp(p).test(note.textContent ?? '');
  };
  await page.waitForFunction(fits, {}, id, pattern.source).catch(async () => {
    throw new Error(`${id} reads "${await text(page, id)}", not ${pattern}`);
  });
}

/** Waits until `seconds` more were played, by the sound's own clock, which a slow machine slows down. @param {TestPage} page @param {number} seconds */
export async function played(page, seconds) {
  const from = await page.evaluate(() => window.soundTime());
  await page.waitForFunction((end) => window.soundTime() >= end, {}, from + seconds);
}

/** The level of the last 0.7 s that reached the device, in dB. @param {TestPage} page */
export const heard = async (page) => 20 * Math.log10((await page.evaluate(() => window.heard())) + 1e-9);

/** Types a number into the field of a knob. @param {TestPage} page @param {string} name @param {number} number */
export async function turn(page, name, number) {
  const field = await control(page, 'textbox', name === 'Trim' ? 'Trim in decibels' : `${name} as a number`);
  await field.focus();
  await page.keyboard.type(String(number));
  await page.keyboard.press('Enter');
}

/** Opens a file with one of the page's inputs for files. @param {import('puppeteer-core').Page} page @param {'file' | 'import'} id @param {string} path */
export async function choose(page, id, path) {
  const input = await page.waitForSelector(`input#${id}`);
  await input?.uploadFile(path);
}

/** Opens a recording and waits until it is read. @param {import('puppeteer-core').Page} page @param {string} path */
export async function openRecording(page, path) {
  await choose(page, 'file', path);
  await reads(page, 'recording-note', /^(?!Reading)./);
}

/** What the button saves: its name, where it lies now, and its bytes. @param {TestPage} page @param {string} name */
export async function saved(page, name) {
  await press(page, name);
  let [file, path] = ['', ''];
  await eventually(async () => {
    file = (await readdir(page.downloads)).find((found) => !/(crdownload|part)$|^\./.test(found)) ?? '';
    const from = join(page.downloads, file);
    if (file === '' || (await stat(from)).size === 0) throw new Error(`${name} saved nothing: ${await text(page, 'recording-note')}`);
    path = `${page.downloads}-${(Bench.count += 1)}-${file}`;
    await rename(from, path);
  });
  return { name: file, path, bytes: await readFile(path) };
}
