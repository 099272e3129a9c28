// SPDX-License-Identifier: MIT
// Nanoseconds a sample at blocks of 128: natively, in Node, and on the audio thread of Chromium, in turn, in one run.
//   node bench/web.mjs        (bench/README.md says what to build first)
import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { Bench, root } from '../web/test/browser.mjs';

/** Times the module; `clock` in milliseconds. Runs in Node and, as text, in a worklet. */
function measure(bytes, clock, rounds, blocks) {
  const nothing = () => 0;
  const imports = { wasi_snapshot_preview1: new Proxy({}, { get: () => nothing }) };
  const { exports: calls } = new WebAssembly.Instance(new WebAssembly.Module(bytes), imports);
  calls._initialize();
  calls.prepare();
  const least = (silent) => {
    const best = [Infinity, Infinity, Infinity];
    for (let round = 0; round < rounds; ++round) {
      for (let run = 0; run < 3; ++run) {
        const start = clock();
        calls.play(run, blocks, silent);
        best[run] = Math.min(best[run], ((clock() - start) * 1e6) / (blocks * 128));
      }
    }
    return { effect: +(best[1] - best[0]).toFixed(1), plain: +(best[2] - best[0]).toFixed(1) };
  };
  const playing = least(0);
  for (let run = 1; run < 3; ++run) calls.play(run, 12000, 1); // 35 s of silence
  return { ...playing, silence: least(1) };
}

const wasm = readFileSync(`${root}/build/wasm/brumbler_blocks128.wasm`);
console.log('native  ', JSON.parse(execFileSync(`${root}/build/release/brumbler_blocks128`)));
console.log('Node    ', measure(wasm, () => performance.now(), 40, 500));
const bench = await Bench.open();
const page = await bench.page(bench.urls.file);
console.log('Chromium', await page.evaluate(async (base64, code) => {
  const context = new OfflineAudioContext(1, 128, 44100);
  const worklet = `registerProcessor('bench', class extends AudioWorkletProcessor {
    constructor({ processorOptions }) {
      super();
      this.port.postMessage((${code})(processorOptions, Date.now, 30, 4000)); // a clock of whole milliseconds
    }
    process() { return false; }
  });`;
  await context.audioWorklet.addModule(`data:text/javascript,${encodeURIComponent(worklet)}`);
  const processorOptions = Uint8Array.from(atob(base64), (c) => c.charCodeAt(0)).buffer;
  const node = new AudioWorkletNode(context, 'bench', { processorOptions });
  return new Promise((resolve) => (node.port.onmessage = ({ data }) => resolve(data)));
}, wasm.toString('base64'), measure.toString()));
await bench.close();
console.log('native  ', JSON.parse(execFileSync(`${root}/build/release/brumbler_blocks128`)));
