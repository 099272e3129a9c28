// SPDX-License-Identifier: MIT

const SWEEP = 270; // degrees from the lowest to the highest value
const TRAVEL = 180; // pixels of dragging, likewise
const NOTCH = [100, 3, 1]; // of a wheel, in pixels, lines and pages
const DOUBLE = 350; // milliseconds between two taps

/** @param {number} value @param {number} least @param {number} most */
export const clamp = (value, least, most) => Math.min(Math.max(value, least), most);

/**
 * A knob: a range input for keys and screen readers, drawn as a knob for mouse, wheel and touch, and a field for a
 * number. A double click sets the default.
 */
export class Knob {
  /**
   * @param {HTMLElement} root with an input of type range in `.dial`, and one of type text
   * @param {{least: number, most: number, step: number, initial: number, text: (value: number) => string}} scale
   * @param {(value: number) => void} onTurn called with the value that the user sets
   */
  constructor(root, scale, onTurn) {
    this.root = root;
    this.scale = scale;
    this.onTurn = onTurn;
    this.value = scale.initial;
    this.dial = /** @type {HTMLElement} */ (root.querySelector('.dial'));
    this.range = /** @type {HTMLInputElement} */ (root.querySelector('input[type=range]'));
    this.field = /** @type {HTMLInputElement} */ (root.querySelector('input[type=text]'));
    this.range.min = String(scale.least);
    this.range.max = String(scale.most);
    this.range.step = 'any';
    this.range.addEventListener('input', () => this.turn(Number(this.range.value)));
    this.range.addEventListener('keydown', (event) => this.onKey(event));
    this.dial.addEventListener('wheel', (event) => this.onWheel(event), { passive: false });
    this.dial.addEventListener('pointerdown', (event) => this.onPress(event));
    this.field.addEventListener('blur', () => this.type());
    this.field.addEventListener('focus', () => this.field.select());
    this.field.addEventListener('keydown', (event) => {
      if (event.key === 'Escape') this.show(this.value); // so that leaving the field applies nothing
      if (event.key === 'Escape' || event.key === 'Enter') this.range.focus();
    });
    this.show(this.value);
  }

  /** Shows a value without telling anybody. @param {number} value */
  show(value) {
    const { least, most, text } = this.scale;
    this.value = clamp(value, least, most);
    this.range.value = String(this.value);
    this.range.setAttribute('aria-valuetext', text(this.value));
    this.field.value = text(this.value);
    this.root.style.setProperty('--turn', `${((this.value - least) / (most - least) - 0.5) * SWEEP}deg`);
  }

  /** @param {number} value @param {number} step what it is rounded to */
  turn(value, step = this.scale.step) {
    this.show(Number((Math.round(value / step) * step).toFixed(4)));
    this.onTurn(this.value);
  }

  /** Applies what was typed; called whenever the field is left. */
  type() {
    if (this.field.value === this.scale.text(this.value)) return;
    const number = Number.parseFloat(this.field.value.replace(',', '.').replace('−', '-'));
    if (Number.isFinite(number)) this.turn(number, 0.01);
    else this.show(this.value);
  }

  /** @param {KeyboardEvent} event */
  onKey(event) {
    const { least, most, step } = this.scale;
    const page = (most - least) / 10;
    /** @type {Record<string, number>} */
    const places = {
      ArrowUp: this.value + step,
      ArrowRight: this.value + step,
      ArrowDown: this.value - step,
      ArrowLeft: this.value - step,
      PageUp: this.value + page,
      PageDown: this.value - page,
      Home: least,
      End: most,
      Delete: this.scale.initial,
    };
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const place = places[event.key];
    if (place !== undefined) {
      event.preventDefault();
      this.turn(place);
    } else if (/^[-−\d.,]$/.test(event.key)) {
      event.preventDefault();
      this.field.focus();
      this.field.value = event.key;
    }
  }

  /** @param {WheelEvent} event */
  onWheel(event) {
    if (event.ctrlKey) return; // the browser's zoom
    event.preventDefault();
    const delta = event.deltaY || event.deltaX; // with Shift, the wheel scrolls sideways
    if (delta * this.wheeled < 0) this.wheeled = 0;
    this.wheeled += (delta / (NOTCH[event.deltaMode] ?? 1)) * (event.shiftKey ? 1 : 2);
    const steps = Math.trunc(this.wheeled);
    this.wheeled -= steps;
    if (steps !== 0) this.turn(this.value - steps * this.scale.step);
  }

  wheeled = 0; // the fraction of a step so far: a touch pad sends many small movements

  /** @param {PointerEvent} event */
  onPress(event) {
    if (event.button !== 0) return;
    event.preventDefault(); // the range would jump to the pointer
    this.range.focus({ preventScroll: true });
    const { least, most } = this.scale;
    const from = this.value;
    const { clientX, clientY, pointerId } = event;
    const drag = new AbortController();
    let moved = false;
    this.dial.setPointerCapture(pointerId);
    const on = (/** @type {string} */ type, /** @type {(event: any) => void} */ act) =>
      this.dial.addEventListener(type, act, { signal: drag.signal });
    on('pointermove', (move) => {
      const way = clientY - move.clientY + (move.clientX - clientX) / 2;
      moved ||= Math.abs(way) > 3;
      if (moved) this.turn(from + ((most - least) * way) / (move.shiftKey ? 8 * TRAVEL : TRAVEL));
    });
    on('pointercancel', () => drag.abort());
    on('pointerup', (up) => {
      drag.abort();
      if (moved) return;
      if (up.timeStamp - (this.tapped ?? -DOUBLE) < DOUBLE) this.turn(this.scale.initial);
      this.tapped = up.timeStamp;
    });
  }

  /** @type {number | undefined} */
  tapped = undefined;
}
