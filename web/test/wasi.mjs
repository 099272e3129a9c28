// SPDX-License-Identifier: MIT
// Runs a WebAssembly program in Node, with this machine's files: node wasi.mjs PROGRAM.wasm [ARGUMENTS]
import { readFile } from 'node:fs/promises';
import { argv, exit } from 'node:process';
import { WASI } from 'node:wasi';

const options = { version: 'preview1', args: argv.slice(2), preopens: { '/': '/' }, returnOnExit: true };
const wasi = new WASI(options); // Node 18's types do not know `version`
const program = Uint8Array.from(await readFile(argv[2] ?? ''));
const { instance } = await WebAssembly.instantiate(program, { wasi_snapshot_preview1: wasi.wasiImport });
exit(Number(wasi.start(instance)));
