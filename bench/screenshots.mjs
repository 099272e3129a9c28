// SPDX-License-Identifier: MIT
// Draws the page and its loudspeaker's response for docs/pictures: node bench/screenshots.mjs
import { writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { SPEAKER } from '../web/page/speaker.js';
import { Bench, control, root } from '../web/test/browser.mjs';

const bench = await Bench.open();
for (const [name, theme, viewport] of [
  ['page-light', 'light', { width: 1280, height: 800 }],
  ['page-dark', 'dark', { width: 1280, height: 800 }],
  ['page-phone', 'dark', { width: 390, height: 844, isMobile: true, hasTouch: true, deviceScaleFactor: 1.5 }],
]) {
  const page = await bench.page(bench.urls.file, { viewport });
  await page.emulateMediaFeatures([{ name: 'prefers-color-scheme', value: theme }]);
  await (await control(page, 'combobox', 'Preset')).select(theme === 'light' ? 'singing-lead' : 'guitar-straight-in');
  await page.focus('body');
  await (await control(page, 'button', 'Play')).click();
  await page.waitForFunction(() => document.getElementById('time').textContent.startsWith('0:05'));
  await page.screenshot({ path: join(root, `docs/pictures/${name}.png`) });
}

// Gain in dB at 200 frequencies, as the browser computes it.
const frequencies = Array.from({ length: 200 }, (_, i) => 40 * 2 ** (i / 22.4));
const blank = await bench.page(bench.urls.file);
const gains = await blank.evaluate((filters, f) => {
  const context = new OfflineAudioContext(1, 1, 48000);
  const all = filters.map((options) => {
    const magnitudes = new Float32Array(f.length);
    new BiquadFilterNode(context, options).getFrequencyResponse(Float32Array.from(f), magnitudes, new Float32Array(f.length));
    return magnitudes;
  });
  return f.map((_, i) => all.reduce((sum, magnitudes) => sum + 20 * Math.log10(magnitudes[i]), 0));
}, SPEAKER, frequencies);
const x = (frequency) => (60 + 700 * (Math.log2(frequency / 40) / Math.log2(20000 / 40))).toFixed(1);
const y = (gain) => (30 + (10 - gain) * 6).toFixed(1);
const grid = [50, 100, 200, 500, 1000, 2000, 5000, 10000].map((f) =>
  `<path class="grid" d="M${x(f)} 30V330"/><text x="${x(f)}" y="350" text-anchor="middle">${f < 1000 ? f : `${f / 1000} k`}</text>`);
for (let gain = 10; gain >= -40; gain -= 10) {
  grid.push(`<path class="grid" d="M60 ${y(gain)}H760"/><text x="52" y="${Number(y(gain)) + 4}" text-anchor="end">${gain}</text>`);
}
const curve = frequencies.map((f, i) => [f, gains[i]]).filter(([f, gain]) => f <= 20000 && gain >= -40);
await writeFile(join(root, 'docs/pictures/speaker.svg'), `<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 780 370" role="img">
<title>Gain of the page's loudspeaker in dB by frequency in Hz</title>
<style>text{font:13px sans-serif;fill:#554}.grid{stroke:#d8cfbd;fill:none}</style>
<rect width="780" height="370" fill="#fbf8f1"/>
${grid.join('\n')}
<path fill="none" stroke="#b04a00" stroke-width="2.5" d="M${curve.map(([f, gain]) => `${x(f)} ${y(gain)}`).join('L')}"/>
</svg>
`);
await bench.close();
