// SPDX-License-Identifier: MIT
// The sound of the page: a source, the effect in its worklet, the loudspeakers, and analysers before and after it.
import { ceiling } from './level.js';
import { speakerBehind } from './speaker.js';

const FADE = 0.005; // seconds, of everything that starts or stops
export const FADED = 50; // milliseconds, after which a fade is certainly over

/** A failure that the page can explain; `message` is for the player. */
export class Trouble extends Error {}

export const HELD = 'The browser holds the sound back, or no loudspeaker is connected. Try once more.';

/**
 * One audio context with the effect in it. The sample rate of a context never changes.
 */
export class Engine {
  /** @param {AudioContext} context @param {number} hint */
  constructor(context, hint) {
    this.context = context;
    this.hint = hint;
    this.output = new GainNode(context);
    this.level = new GainNode(context);
    this.silence = new GainNode(context);
    this.direct = new GainNode(context);
    this.spoken = new GainNode(context, { gain: 0 });
    const { first, last } = ceiling(context);
    this.output.connect(this.level).connect(this.silence).connect(this.direct).connect(first);
    speakerBehind(this.silence).connect(this.spoken).connect(first);
    last.connect(context.destination);
    this.dry = this.analysers();
    this.wet = this.analysers();
    /** @type {AudioWorkletNode | undefined} */
    this.node = undefined;
    this.awake = false;
    /** Called with each piece that the worklet has recorded. @type {(piece: import('./recorder.js').Piece) => void} */
    this.onRecorded = () => {};
  }

  /**
   * @param {{rate?: number, wasm: ArrayBuffer, worklet: string, settings: import('./effect.js').Settings,
   *   hint: number, onFault: () => void, onHalt: () => void}} options `rate` in Hz, none: the device's; `hint`: seconds
   *   of latency; `onHalt` is called when the browser stops the sound by itself, as for a telephone call
   */
  static async open({ rate, wasm, worklet, settings, hint, onFault, onHalt }) {
    const context = new AudioContext({ sampleRate: rate, latencyHint: hint });
    if (context.audioWorklet === undefined) {
      await context.close();
      throw new Trouble(
        window.isSecureContext
          ? 'This browser has no AudioWorklet. Use a current Firefox, Chrome, Edge or Safari.'
          : 'Browsers play this page only from your own disk, from this machine or over https.',
      );
    }
    context.resume().catch(() => {}); // some browsers allow it only during the click itself; wake() checks
    const engine = new Engine(context, hint);
    context.onstatechange = () => {
      if (!engine.awake || context.state === 'running') return;
      engine.awake = false;
      onHalt();
    };
    await context.audioWorklet.addModule(`data:text/javascript;charset=utf-8,${encodeURIComponent(worklet)}`);
    engine.node = new AudioWorkletNode(context, 'brumbler', {
      channelCountMode: 'explicit',
      channelCount: 1,
      processorOptions: { wasm, settings },
    });
    engine.node.port.onmessage = ({ data }) => (data.fault === undefined ? engine.onRecorded(data) : onFault());
    engine.node.onprocessorerror = onFault;
    engine.node.connect(engine.output);
    engine.tap(engine.node, engine.wet);
    return engine;
  }

  /** One for each channel. @returns {[AnalyserNode, AnalyserNode]} */
  analysers() {
    const analyser = () => new AnalyserNode(this.context, { fftSize: 4096, smoothingTimeConstant: 0.6 });
    return [analyser(), analyser()];
  }

  /** @param {AudioNode} from @param {AnalyserNode[]} to one a channel */
  tap(from, to) {
    const splitter = new ChannelSplitterNode(this.context, { numberOfOutputs: 2 });
    from.connect(splitter);
    to.forEach((analyser, channel) => splitter.connect(analyser, channel));
    return splitter;
  }

  /** @param {object} message @param {Transferable[]} moved transferred to the worklet */
  tell(message, moved = []) {
    this.node?.port.postMessage(message, moved);
  }

  /** Mutes the output, or unmutes it. @param {boolean} is */
  mute(is) {
    this.silence.gain.setTargetAtTime(is ? 0 : 1, this.context.currentTime, FADE / 3);
  }

  /** Sends the sound through a guitar loudspeaker or past it. @param {boolean} is */
  speak(is) {
    const now = this.context.currentTime;
    this.spoken.gain.setTargetAtTime(is ? 1 : 0, now, FADE / 3);
    this.direct.gain.setTargetAtTime(is ? 0 : 1, now, FADE / 3);
  }

  /** Selects another output; throws a DOMException if it is gone. @param {string} device empty: the system's own */
  async sendTo(device) {
    const context = /** @type {AudioContext & {setSinkId?: (id: string) => Promise<void>, sinkId?: string}} */ (this.context);
    if (context.setSinkId && context.sinkId !== device) await context.setSinkId(device);
  }

  /**
   * Fades a source of `channels` channels into the effect. The function it returns fades it out again and disconnects it.
   * @param {AudioNode} source
   * @param {number} channels
   */
  plug(source, channels) {
    const node = /** @type {AudioWorkletNode} */ (this.node);
    node.channelCount = Math.min(channels, 2);
    const fader = new GainNode(this.context, { gain: 0 });
    fader.gain.setValueAtTime(0, this.context.currentTime);
    fader.gain.linearRampToValueAtTime(1, this.context.currentTime + FADE);
    source.connect(fader).connect(node);
    const splitter = this.tap(fader, this.dry);
    return () => {
      const { gain } = fader;
      gain.cancelScheduledValues(0);
      gain.setValueAtTime(gain.value, this.context.currentTime);
      gain.linearRampToValueAtTime(0, this.context.currentTime + FADE);
      setTimeout(() => [source, fader, splitter].forEach((part) => part.disconnect()), FADED);
    };
  }

  /** Starts the sound; throws Trouble if the browser blocks it. */
  async wake() {
    if (this.awake) return;
    const late = new Promise((resolve) => setTimeout(resolve, 1500));
    await Promise.race([this.context.resume(), late]);
    if (this.context.state !== 'running') throw new Trouble(HELD);
    this.awake = true;
  }

  /** Uses no processor time until the next wake(). */
  sleep() {
    this.awake = false;
    this.context.suspend().catch(() => {}); // already closed
  }

  /** From the output to the ear, and the buffers before it, in seconds. */
  get latency() {
    return (this.context.baseLatency || 0) + (this.context.outputLatency || 0);
  }

  close() {
    this.awake = false;
    this.output.gain.setTargetAtTime(0, this.context.currentTime, FADE / 3);
    setTimeout(() => this.context.state !== 'closed' && void this.context.close(), FADED);
  }
}

/** @param {import('./recording.js').Recording} recording */
function bufferOf({ rate, channels }) {
  const buffer = new AudioBuffer({ length: channels[0]?.length ?? 1, sampleRate: rate, numberOfChannels: channels.length });
  channels.forEach((channel, c) => buffer.copyToChannel(/** @type {Float32Array<ArrayBuffer>} */ (channel), c));
  return buffer;
}

/** A recording that plays through an engine, from any position, once or in a loop. */
export class Playback {
  /**
   * @param {Engine} engine
   * @param {import('./recording.js').Recording} recording
   * @param {() => void} onEnd called when it has reached its end
   */
  constructor(engine, recording, onEnd) {
    this.engine = engine;
    this.onEnd = onEnd;
    this.buffer = recording.buffer ?? bufferOf(recording);
    this.loops = false;
    /** The part that a loop repeats, in seconds. */
    this.part = { from: 0, to: this.buffer.duration };
    this.offset = 0; // seconds
    this.begun = 0; // of the context's clock, at the offset
    /** @type {AudioBufferSourceNode | undefined} */
    this.source = undefined;
    this.unplug = () => {};
  }

  get plays() {
    return this.source !== undefined;
  }

  /** Seconds from the start of the recording. */
  get position() {
    if (!this.plays) return this.offset;
    const at = this.offset + this.engine.context.currentTime - this.begun;
    const { from, to } = this.part;
    if (!this.loops) return Math.min(at, this.buffer.duration);
    return at < to ? at : from + ((at - from) % (to - from));
  }

  /** @param {boolean} loops @param {{from: number, to: number} | undefined} part all of it, if there is none */
  setLoop(loops, part) {
    this.offset = this.position;
    this.begun = this.engine.context.currentTime;
    this.loops = loops;
    this.part = part ?? { from: 0, to: this.buffer.duration };
    const { from, to } = this.part;
    if (loops && (this.offset < from || this.offset >= to)) this.seek(from);
    if (this.source) Object.assign(this.source, { loop: loops, loopStart: from, loopEnd: to });
  }

  play() {
    this.stop();
    if (this.offset >= this.buffer.duration - 0.01) this.offset = 0;
    const source = new AudioBufferSourceNode(this.engine.context, {
      buffer: this.buffer,
      loop: this.loops,
      loopStart: this.part.from,
      loopEnd: this.part.to,
    });
    this.unplug = this.engine.plug(source, this.buffer.numberOfChannels);
    source.onended = () => {
      if (this.source !== source) return;
      this.stop();
      this.offset = 0;
      this.onEnd();
    };
    source.start(0, this.offset);
    this.begun = this.engine.context.currentTime;
    this.source = source;
  }

  /** Keeps its position. */
  stop() {
    this.offset = this.position;
    const { source } = this;
    this.source = undefined;
    this.unplug();
    source?.stop(this.engine.context.currentTime + FADE);
    this.unplug = () => {};
  }

  /** @param {number} seconds */
  seek(seconds) {
    const { plays } = this;
    this.stop();
    this.offset = seconds;
    if (plays && !this.loops && seconds >= this.buffer.duration) this.onEnd();
    else if (plays) this.play();
  }
}
