// SPDX-License-Identifier: MIT
// A browser with the built page in it, and how the tests reach what is on it: by role and accessible name.
import { execFile } from 'node:child_process';
import { mkdir, mkdtemp, readFile, readdir, rename, rm, stat } from 'node:fs/promises';
import { createServer } from 'node:http';
import { tmpdir } from 'node:os';
import { join, resolve } from 'node:path';
import { promisify } from 'node:util';
import puppeteer from 'puppeteer-core';

export const root = resolve(import.meta.dirname ?? new URL('.', import.meta.url).pathname, '../..');
export const pageFile = process.env.BRUMBLER_PAGE ?? join(root, 'build/wasm/brumbler.html');
export const command = process.env.BRUMBLER_COMMAND ?? join(root, 'build/release/brumbler');
export const run = promisify(execFile);
export const pause = (milliseconds) => new Promise((done) => setTimeout(done, milliseconds));

const FLAGS = `--no-sandbox --headless --disable-gpu --disable-quic --no-first-run --disable-background-networking
  --disable-component-update --disable-sync --use-fake-device-for-media-stream`.split(/\s+/);

/** A folder and a browser of the test's own, and a server of the page. */
export class Bench {
  static count = 0;

  static async open(...flags) {
    const bench = new Bench();
    bench.folder = await mkdtemp(join(tmpdir(), 'brumbler-'));
    bench.browser = await puppeteer.launch({
      executablePath: process.env.BRUMBLER_BROWSER ?? '/usr/bin/chromium',
      userDataDir: join(bench.folder, 'profile'),
      args: [...FLAGS, ...flags],
    });
    const html = await readFile(pageFile);
    bench.asked = [];
    bench.server = createServer((request, response) => {
      bench.asked.push(request.url);
      response.writeHead(request.url === '/' ? 200 : 404, { 'content-type': 'text/html' });
      response.end(request.url === '/' ? html : '');
    });
    await new Promise((done) => bench.server.listen(0, '127.0.0.1', done));
    bench.urls = { file: `file://${pageFile}`, http: `http://127.0.0.1:${bench.server.address().port}/` };
    return bench;
  }

  /** A page that nobody has used before. `faults` collects what no page may do: ask for anything, or complain. */
  async page(url, { before, viewport = { width: 1280, height: 800 } } = {}) {
    const context = await this.browser.createBrowserContext();
    const page = await context.newPage();
    page.faults = [];
    page.on('pageerror', (error) => page.faults.push(error.message));
    page.on('console', (message) => ['error', 'warn'].includes(message.type()) && page.faults.push(message.text()));
    page.on('request', (request) => {
      if (!/^(data|blob):/.test(request.url()) && request.url() !== url) page.faults.push(`asks for ${request.url()}`);
    });
    if (before) await page.evaluateOnNewDocument(before);
    await page.setViewport(viewport);
    await page.goto(url);
    await page.waitForSelector('#unable[hidden]');
    page.downloads = join(this.folder, `downloads-${(Bench.count += 1)}`);
    await mkdir(page.downloads);
    const session = await this.browser.target().createCDPSession();
    await session.send('Browser.setDownloadBehavior', {
      behavior: 'allow',
      browserContextId: context.id,
      downloadPath: page.downloads,
    });
    return page;
  }

  async close() {
    await this.browser.close();
    this.server.close();
    await rm(this.folder, { recursive: true, force: true, maxRetries: 5 });
  }
}

/** The only control with this role and this name. */
export async function control(page, role, name) {
  const found = await page.$$(`::-p-aria([name="${name}"][role="${role}"])`);
  if (found.length !== 1) throw new Error(`${found.length} controls are a ${role} "${name}"`);
  return found[0];
}

export const attribute = (element, name) => element.evaluate((e, n) => e.getAttribute(n), name);
export const text = (page, id) => page.$eval(`#${id}`, (e) => e.textContent);

/** Waits until a note that can be seen says something that fits. */
export async function noted(page, id, pattern) {
  await page.waitForFunction((i, p) => {
    const note = document.getElementById(i);
    return note.checkVisibility() && new RegExp(p).test(note.textContent);
  }, {}, id, pattern.source);
}

/** Types a number into the field of a knob. */
export async function turn(page, name, number) {
  const field = await control(page, 'textbox', name === 'Trim' ? 'Trim in decibels' : `${name} as a number`);
  await field.focus();
  await page.keyboard.type(String(number));
  await page.keyboard.press('Enter');
}

/** Hands a file to the input that opens recordings, as the page's own button does. */
export async function openRecording(page, path) {
  await (await page.$('input[aria-label="Recording"]')).uploadFile(path);
  await noted(page, 'recording-note', /^(?!Reading)./);
}

/** What the button saves: its name, where it lies now, and its bytes. */
export async function saved(page, name) {
  await (await control(page, 'button', name)).click();
  for (let tries = 0; tries < 600; ++tries) {
    const [file] = (await readdir(page.downloads)).filter((found) => !/(crdownload|part)$|^\./.test(found));
    if (file !== undefined && (await stat(join(page.downloads, file))).size > 0) {
      const path = `${page.downloads}-${(Bench.count += 1)}-${file}`;
      await rename(join(page.downloads, file), path);
      return { name: file, path, bytes: await readFile(path) };
    }
    await pause(50);
  }
  throw new Error(`${name} saved nothing: ${await text(page, 'recording-note')}`);
}
