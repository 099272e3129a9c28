// SPDX-License-Identifier: MIT
import { button, clockText, download, element, input, onClick, onFile, say, showPressed } from './controls.js';
import { Playback, Trouble } from './engine.js';
import { Waveform, levelText } from './pictures.js';
import { interleave, lengthOf, openRecording, survey, wavFile } from './recording.js';
import { LoopPart } from './loopPart.js';
import { asHeard, render } from './render.js';

const STEP = 0.2; // seconds of the position while it plays
const KEY_STEPS = { ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1, PageDown: -5, PageUp: 5 }; // seconds

/** The recording: opening, playing and saving it. */
export class Listen {
  /** @param {import('./main.js').Page} page */
  constructor(page) {
    this.page = page;
    /** @type {import('./recording.js').Recording | undefined} */
    this.recording = undefined;
    /** @type {Playback | undefined} */
    this.playback = undefined;
    this.place = 0; // seconds from the start of the recording, while nothing plays
    this.starting = false; // Play was pressed and nothing sounds yet
    this.saving = false;
    this.opened = 0; // recordings that were chosen
    this.loaded = 0; // recordings that were decoded or recorded
    this.loops = true;
    this.waveform = new Waveform(element('wave'));
    this.part = new LoopPart(this);
  }

  showLoop() {
    showPressed('loop', this.loops);
    this.playback?.setLoop(this.loops, this.part.chosen);
    this.showPosition();
  }

  get plays() {
    return this.playback?.plays ?? false;
  }

  wire() {
    this.showLoop();
    this.part.wire();
    onClick('save-dry', () => this.saveDry());
    onClick('play', () => this.play());
    onClick('save', () => this.save());
    onClick('riff', () => (say('recording-note', ''), this.openRiff()));
    onClick('loop', () => ((this.loops = !this.loops), this.showLoop(), this.page.store.keep()));
    onFile('file', (file) => void this.open(file));
    input('position').addEventListener('input', () => this.seek(Number(input('position').value)));
    input('position').addEventListener('keydown', (event) => {
      const step = /** @type {Record<string, number>} */ (KEY_STEPS)[event.key];
      if (step === undefined) return;
      event.preventDefault();
      this.seek(Math.min(Math.max(this.position + step, 0), Number(input('position').max)));
    });
  }

  async play() {
    const { recording } = this;
    const { guitar, sound } = this.page;
    if (!recording || this.starting) return;
    if (this.plays) {
      this.stop();
      return;
    }
    this.starting = true;
    try {
      if (guitar.live) guitar.unplug();
      say('recording-note', '');
      const engine = await sound.engineAt(recording.rate, 0.02);
      await engine.wake();
      if (engine === sound.engine && recording === this.recording) {
        this.playback ??= new Playback(engine, recording, () => this.page.showPlaying());
        this.playback.offset = this.position;
        this.playback.setLoop(this.loops, this.part.chosen);
        this.playback.play();
      }
    } catch (error) {
      const why = error instanceof Trouble ? error.message : 'The sound cannot start in this browser.';
      if (!guitar.plugging && !guitar.live) say('recording-note', why, true); // otherwise the guitar has taken over
    }
    this.starting = false;
    this.page.showPlaying();
  }

  stop() {
    this.playback?.stop();
    this.page.showPlaying();
  }

  /** Seconds from the start of the recording, where it plays or would. */
  get position() {
    return this.playback?.position ?? this.place;
  }

  /** @param {number} seconds */
  seek(seconds) {
    this.place = seconds;
    this.playback?.seek(seconds);
    this.showPosition();
  }

  showPosition() {
    const { recording } = this;
    if (!recording) return;
    const length = lengthOf(recording) / recording.rate;
    this.place = this.position;
    const text = `${clockText(this.place)} of ${clockText(length)}`;
    const position = input('position');
    if (Number(position.max) !== length) position.max = String(length);
    if (Math.abs(Number(position.value) - this.place) >= STEP || !this.plays) position.value = String(this.place);
    if (element('time').textContent !== text) {
      element('time').textContent = text;
      position.setAttribute('aria-valuetext', text);
    }
    const { chosen } = this.part;
    this.waveform.draw(this.place / length, chosen && { from: chosen.from / length, to: chosen.to / length });
  }

  /** @param {import('./recording.js').Recording} recording */
  async load(recording) {
    const { page } = this;
    const loaded = (this.loaded += 1);
    const peaks = await survey(recording.channels);
    if (loaded !== this.loaded) return; // another one was chosen meanwhile
    const { plays } = this;
    this.playback?.stop();
    this.playback = undefined;
    this.place = 0;
    this.recording = recording;
    this.part.chosen = undefined;
    element('save-dry').hidden = !recording.isTake;
    page.trim.fit(peaks.reduce((most, peak) => Math.max(most, peak), 0));
    if (recording.isTake) page.trim.recording = page.trim.input; // it was played at the input's Trim
    element('name').textContent = recording.name;
    this.waveform.show(peaks);
    this.showPosition();
    page.showPlaying();
    if (plays) void this.play();
  }

  /** @param {File} file */
  async open(file) {
    const chosen = (this.opened += 1);
    say('recording-note', `Reading ${file.name} …`);
    try {
      const recording = await openRecording(file);
      if (chosen !== this.opened) return;
      if (lengthOf(recording) === 0) throw new Error('empty');
      await this.load(recording);
      if (chosen !== this.opened) return;
      const count = recording.channels.length;
      const kind = { 1: 'mono', 2: 'stereo' }[count] ?? `${count} channels`;
      const { rate, from } = recording;
      const rates = from && from !== rate ? `Converted from ${from} to ${rate} Hz` : `${rate} Hz`;
      say('recording-note', `${rates}, ${kind}, Trim set to fit its peak.`);
    } catch {
      if (chosen === this.opened) say('recording-note', `${file.name} is not a recording that this browser can read. Try WAV, FLAC, MP3 or Ogg.`, true);
    }
  }

  openRiff() {
    this.opened += 1;
    const { rate, samples } = this.page.module.riff();
    return this.load({ name: 'Riff', rate, channels: [samples] });
  }

  async save() {
    if (!this.recording || this.saving) return;
    const { page, recording } = this;
    const progress = /** @type {HTMLProgressElement} */ (element('progress'));
    this.saving = true;
    button('save').ariaDisabled = 'true'; // it keeps the keyboard focus
    progress.hidden = false;
    progress.value = 0;
    try {
      const begun = performance.now();
      const settings = { ...page.settings, trim: page.trim.recording };
      const { rate, channels } = recording;
      const rendered = await render(page.module, recording, settings, (done) => (progress.value = done));
      const { pieces, seconds, peak } = input('as-heard').checked
        ? await asHeard(rendered, rate, channels.length, (node) => page.sound.heard(node))
        : rendered;
      const wav = wavFile(pieces, rate, channels.length);
      const name = `${recording.name}-fuzzed.wav`;
      download(wav, name);
      const taken = (performance.now() - begun) / 1000;
      const over = peak > 1 ? ' It goes above full scale: lower Volume, or the level in your editor; nothing is lost.' : '';
      say('recording-note', `Saved ${name}: ${seconds.toFixed(1)} s in ${taken.toFixed(1)} s, 32-bit float, peak ${levelText(peak)}.${over}`);
    } catch (error) {
      const why = error instanceof RangeError ? 'It is too long for a WAV or for this browser.' : 'It cannot be rendered.';
      say('recording-note', `Nothing was saved. ${why}`, true);
    }
    this.saving = false;
    button('save').ariaDisabled = 'false';
    progress.hidden = true;
  }

  /** A take as it came from the input. */
  saveDry() {
    if (!this.recording) return;
    const { name, rate, channels } = this.recording;
    try {
      download(wavFile([interleave(channels)], rate, channels.length), `${name}.wav`);
      say('recording-note', `Saved ${name}.wav: dry, as it came from the input, 32-bit float.`);
    } catch {
      say('recording-note', 'Nothing was saved. It is too long for a WAV or for this browser.', true);
    }
  }
}
