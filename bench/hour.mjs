// SPDX-License-Identifier: MIT
// Memory and the longest pause of the page with an hour of mono: node bench/hour.mjs
import { readFile } from 'node:fs/promises';
import { join } from 'node:path';
import { Bench, choose, press, reads, run } from '../web/test/browser.mjs';

const bench = await Bench.open();
const hour = join(bench.folder, 'hour.wav');
await run('sox', ['-n', '-r', '44100', '-c', '1', '-b', '16', hour, 'synth', '3600', 'pluck', '110', 'gain', '-12']);
const page = await bench.page(bench.urls.file, {
  before: () => {
    window.tasks = [];
    new PerformanceObserver((list) => list.getEntries().forEach(({ duration }) => window.tasks.push(duration))).observe({ type: 'longtask' });
  },
});
const { processInfo } = await (await bench.browser.target().createCDPSession()).send('SystemInfo.getProcessInfo');
/** Proportional memory of all processes of the browser, in GB. */
async function memory() {
  let sum = 0;
  for (const { id } of processInfo) {
    const rollup = await readFile(`/proc/${id}/smaps_rollup`, 'utf8').catch(() => '');
    sum += Number(/^Pss: +(\d+)/m.exec(rollup)?.[1] ?? 0) / 1e6;
  }
  return sum;
}
let peak = 0;
const watch = setInterval(async () => (peak = Math.max(peak, await memory())), 200);
async function measure(what, act) {
  await page.evaluate(() => (window.tasks = []));
  peak = 0;
  const begun = performance.now();
  await act();
  const longest = await page.evaluate(() => new Promise((done) => setTimeout(() => done(Math.max(0, ...window.tasks)), 500)));
  const seconds = (performance.now() - begun) / 1000;
  console.log(`${what}: ${seconds.toFixed(1)} s, at most ${peak.toFixed(2)} GB, longest task ${longest} ms`);
}
page.setDefaultTimeout(300000);
await measure('opening', async () => {
  await choose(page, 'file', hour);
  await reads(page, 'recording-note', /Trim set to fit/);
});
await measure('Play', async () => {
  await press(page, 'Play');
  await reads(page, 'time', /^0:01/);
});
await press(page, 'Stop');
await measure('saving', async () => {
  await press(page, 'Save WAV');
  await reads(page, 'recording-note', /^Saved/);
});
clearInterval(watch);
await bench.close();
