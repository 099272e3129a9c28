// SPDX-License-Identifier: MIT
// What an AudioWorkletGlobalScope has and TypeScript's DOM library leaves out.
declare const sampleRate: number;
declare class AudioWorkletProcessor {
  readonly port: MessagePort;
}
declare function registerProcessor(name: string, processor: new (options: any) => AudioWorkletProcessor): void;
