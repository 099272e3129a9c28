// SPDX-License-Identifier: MIT

/** @typedef {'fuzz' | 'volume' | 'trim' | 'on'} Target */

/** @typedef {{previous_controller: number, next_controller: number}} Steps the controllers that choose a program */

/** Foot switches and knobs that speak MIDI. */
export class Midi {
  /**
   * @param {Record<number, Target>} learnt learned controllers, which come before the others
   * @param {Record<number, Target>} usual controllers that need no learning
   * @param {Steps} steps
   * @param {{program: (index: number) => void, step: (by: number) => void, turn: (target: Target, share: number) => void,
   *   set: (on: boolean) => void, press: () => void, learn: (target: Target, controller: number) => void}} on `share` is 0 to 1
   */
  constructor(learnt, usual, steps, on) {
    this.learnt = learnt;
    this.usual = usual;
    this.steps = steps;
    this.on = on;
    /** @type {Target | undefined} */
    this.learning = undefined;
    /** @type {Set<number>} */
    this.held = new Set();
  }

  /** Asks the browser; answers the names of what is connected. Throws a DOMException when it is refused. */
  async connect() {
    const access = await navigator.requestMIDIAccess();
    const listen = () => {
      access.inputs.forEach((input) => {
        input.onmidimessage = (message) => this.receive(/** @type {Uint8Array} */ (message.data));
      });
    };
    listen();
    access.onstatechange = listen;
    return [...access.inputs.values()].map((input) => input.name ?? 'MIDI');
  }

  /** @param {Uint8Array} message of any channel */
  receive([status = 0, number = 0, value = 0]) {
    if (status >> 4 === 0xc) this.on.program(number);
    if (status >> 4 !== 0xb) return;
    if (number >= 120) return; // channel mode messages: no controllers
    if (this.learning !== undefined) {
      this.learnt[number] = this.learning;
      this.on.learn(this.learning, number);
      this.learning = undefined;
      this.held.add(number); // the press that it was learned from does nothing else
      return;
    }
    const isPress = value >= 64 && !this.held.has(number);
    if (value >= 64) this.held.add(number);
    else this.held.delete(number);
    const target = this.learnt[number] ?? this.usual[number];
    if (target === undefined) {
      if (isPress && number === this.steps.previous_controller) this.on.step(-1);
      if (isPress && number === this.steps.next_controller) this.on.step(1);
    } else if (target !== 'on') {
      this.on.turn(target, value / 127);
    } else if (this.learnt[number] === undefined) {
      this.on.set(value >= 64);
    } else if (isPress) {
      this.on.press(); // the learned control may be a momentary pedal, so each press switches
    }
  }
}
