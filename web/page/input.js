// SPDX-License-Identifier: MIT
// The guitar: an audio input of this machine, as the browser provides it.
import { FADED, Trouble } from './engine.js';

/** @type {Record<string, string>} */
const REASONS = {
  NotAllowedError: 'The browser may not listen. Allow the microphone for this page beside its address, then plug in.',
  SecurityError: 'The browser may not listen from this page. Open it from your own disk or over https.',
  NotFoundError: 'There is no input. Connect an audio interface or a microphone, then plug in.',
  NotReadableError: 'Another program holds this input, or the system does not let go of it. Close that and plug in.',
  OverconstrainedError: 'This input is gone. Choose another one.',
  NotSupportedError: 'This browser cannot bring this input to the effect. Set the interface to 44100 or 48000 Hz.',
};

/** @param {unknown} error */
export function inputTrouble(error) {
  if (error instanceof Trouble) return error.message;
  return REASONS[/** @type {Error} */ (error)?.name] ?? 'The input cannot be opened. Choose another one.';
}

/** The inputs of this machine; without names until one was allowed. */
export async function listInputs() {
  const devices = (await navigator.mediaDevices?.enumerateDevices?.()) ?? [];
  return devices.filter((device) => device.kind === 'audioinput' && device.deviceId !== '');
}

/** The outputs of this machine, if the browser can use others than the system's own. */
export async function listOutputs() {
  if (!('setSinkId' in AudioContext.prototype)) return [];
  const devices = (await navigator.mediaDevices?.enumerateDevices?.()) ?? [];
  return devices.filter((device) => device.kind === 'audiooutput' && !['', 'default'].includes(device.deviceId));
}

/**
 * The unprocessed sound, without what browsers do for telephone calls.
 * @param {string} deviceId empty: the system's choice
 */
export async function openInput(deviceId) {
  if (navigator.mediaDevices === undefined) {
    throw new Trouble('Browsers give inputs to pages from your own disk, from this machine or over https alone.');
  }
  return navigator.mediaDevices.getUserMedia({
    audio: {
      deviceId: deviceId === '' ? undefined : { exact: deviceId },
      echoCancellation: false,
      noiseSuppression: false,
      autoGainControl: false,
      channelCount: { ideal: 2 },
    },
  });
}

/** An input in an engine: one of its jacks, or the first two as a stereo pair. */
export class LiveInput {
  /** @param {import('./engine.js').Engine} engine @param {MediaStream} stream */
  constructor(engine, stream) {
    this.engine = engine;
    this.stream = stream;
    const [track] = stream.getAudioTracks();
    if (track === undefined) throw new Trouble('This input has no sound. Choose another one.');
    this.track = track;
    this.source = new MediaStreamAudioSourceNode(engine.context, { mediaStream: stream });
    this.splitter = new ChannelSplitterNode(engine.context, { numberOfOutputs: 2 });
    this.source.connect(this.splitter);
    this.unplug = () => {};
    this.channels = 1;
    /** @type {AudioNode} */
    this.chosen = this.splitter;
  }

  /** Connects the chosen jack to `node`; the function it returns disconnects it. @param {AudioNode} node */
  listen(node) {
    this.listener = node;
    this.chosen.connect(node);
    return () => {
      if (this.listener !== node) return;
      this.listener = undefined;
      this.chosen.disconnect(node);
    };
  }

  /** @type {AudioNode | undefined} */
  listener = undefined;

  /** Whether it has one jack alone, as far as the browser tells. */
  get single() {
    return this.track.getSettings().channelCount === 1;
  }

  /** From the string to the ear, in seconds; `whole` when the browser told the input's share, too. */
  get latency() {
    const { latency } = /** @type {MediaTrackSettings & {latency?: number}} */ (this.track.getSettings());
    return { seconds: this.engine.latency + (latency ?? 0), whole: latency !== undefined };
  }

  /** @param {'first' | 'second' | 'both'} jack */
  choose(jack) {
    this.unplug();
    const { context } = this.engine;
    if (jack === 'both') {
      const merger = new ChannelMergerNode(context, { numberOfInputs: 2 });
      this.splitter.connect(merger, 0, 0);
      this.splitter.connect(merger, 1, 1);
      const out = this.engine.plug(merger, 2);
      [this.chosen, this.channels] = [merger, 2];
      this.unplug = out;
    } else {
      const mono = new GainNode(context, { channelCount: 1, channelCountMode: 'explicit' });
      this.splitter.connect(mono, jack === 'second' ? 1 : 0);
      const out = this.engine.plug(mono, 1);
      [this.chosen, this.channels] = [mono, 1];
      this.unplug = out;
    }
    if (this.listener) this.chosen.connect(this.listener);
  }

  close() {
    this.listener = undefined;
    this.unplug();
    // After it has faded out.
    setTimeout(() => {
      this.source.disconnect();
      this.stream.getTracks().forEach((track) => track.stop());
    }, FADED);
  }
}
