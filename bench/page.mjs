// SPDX-License-Identifier: MIT
// Processor time of the page while it plays, with its pictures and without: node bench/page.mjs
import { readFile, readdir } from 'node:fs/promises';
import { Bench, pause, press, reads } from '../web/test/browser.mjs';

const SECONDS = 20;
const TICKS = 100; // of a second, in /proc

const bench = await Bench.open();

/** The processes of the browser. */
async function processes() {
  const ids = (await readdir('/proc')).filter((name) => /^\d+$/.test(name));
  const all = await Promise.all(ids.map(async (id) => {
    const stat = await readFile(`/proc/${id}/stat`, 'utf8').catch(() => '');
    const [, parent = 0, ...rest] = stat.replace(/.*\) /s, '').split(' ').map(Number);
    return { id: Number(id), parent, ticks: (rest[9] ?? 0) + (rest[10] ?? 0) };
  }));
  const ours = new Set([bench.browser.process()?.pid]);
  for (let size = 0; size !== ours.size; ) {
    size = ours.size;
    for (const { id, parent } of all) if (ours.has(parent)) ours.add(id);
  }
  return all.filter(({ id }) => ours.has(id));
}
const seconds = async () => (await processes()).reduce((sum, { ticks }) => sum + ticks / TICKS, 0);

/** @param {boolean} drawn */
async function share(drawn, view = 'wave') {
  const page = await bench.page(bench.urls.http, drawn ? {} : { before: () => (window.requestAnimationFrame = () => 1) });
  if (view === 'spectrum') await press(page, 'Spectrum');
  await press(page, 'Play');
  await reads(page, 'play', /Stop/);
  await pause(2000);
  const [before, begun] = [await seconds(), performance.now()];
  await pause(SECONDS * 1000);
  return (await seconds() - before) / ((performance.now() - begun) / 1000);
}

for (let round = 0; round < 2; ++round) {
  const plain = await share(false);
  for (const view of ['wave', 'spectrum']) {
    const drawn = await share(true, view);
    console.log(`${view}: ${drawn.toFixed(3)} of a core, without pictures ${plain.toFixed(3)}: ${(drawn - plain).toFixed(3)} for drawing`);
  }
}
await bench.close();
