// SPDX-License-Identifier: MIT
// Draws the page for docs/pictures: node bench/screenshots.mjs
import { join } from 'node:path';
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
await bench.close();
