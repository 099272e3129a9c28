// SPDX-License-Identifier: MIT
// Sixteen programs, and bank files, in the command's format.

/** @typedef {import('./effect.js').Program} Program */
/**
 * An entry of the catalog's parameters; without a name it is not one of the effect's.
 * @typedef {{name?: string, symbol: string, label: string, scale: 'switch' | 'knob' | 'decibels', minimum: number,
 *   maximum: number, default: number, steps: number, controllers: number[], does: string}} Parameter
 */

export const PROGRAMS = 16;
const LONGEST_NAME = 23; // bytes
const TOP = 10; // of a knob; the effect's values end at 1

/** The effect's value where a knob shows `knob`. @param {number} knob */
export const valueAtKnob = (knob) => Math.fround(knob / TOP);

/** What a knob shows for an effect's value, in the value's own shortest digits. @param {number} value */
export function knobAtValue(value) {
  for (let digits = 1; digits < 10; ++digits) {
    const [mantissa, exponent] = value.toExponential(digits - 1).split('e');
    const knob = Number(`${mantissa}e${Number(exponent) + 1}`);
    if (valueAtKnob(knob) === Math.fround(value)) return knob;
  }
  return value * TOP;
}

/** The effect's initial value. @param {Parameter} parameter */
export function initialValue(parameter) {
  return parameter.scale === 'switch' ? parameter.default : valueAtKnob(parameter.default);
}

/** Replaces lone surrogates, which no file can contain, by U+FFFD. @param {string} text */
const wellFormed = (text) => text.replace(/\p{Surrogate}/gu, '\ufffd');

/** The longest beginning of a name that the effect can store. @param {string} name */
export function fittingName(name) {
  let fitting = '';
  for (const character of wellFormed(name)) {
    if (new TextEncoder().encode(fitting + character).length > LONGEST_NAME) break;
    fitting += character;
  }
  return fitting;
}

/** @param {Program[]} programs @param {Parameter[]} parameters */
export function bankText(programs, parameters) {
  const list = programs.map((program) => ({
    name: program.name,
    ...Object.fromEntries(
      parameters.map((parameter, p) => {
        const value = program.values[p] ?? initialValue(parameter);
        return [parameter.name, parameter.scale === 'switch' ? value : knobAtValue(value)];
      }),
    ),
  }));
  return `${JSON.stringify({ programs: list }, null, 2)}\n`;
}

/**
 * The programs of a bank; programs and values that it leaves out are taken from `before`. Throws an Error with a
 * message for the player.
 * @param {string} text
 * @param {Program[]} before
 * @param {Parameter[]} parameters
 * @returns {Program[]}
 */
export function readBank(text, before, parameters) {
  /** @param {string} what @returns {never} */
  const fail = (what) => {
    throw new Error(what);
  };
  /** @type {any} */
  let bank;
  try {
    bank = JSON.parse(text);
  } catch {
    fail('This is no bank: the file is not JSON.');
  }
  if (!Array.isArray(bank?.programs)) fail('This is no bank: it has no list "programs".');
  for (const key of Object.keys(bank)) {
    if (key !== 'programs' && key !== '$schema') fail(`A bank has no "${key}".`);
  }
  if (bank.programs.length > PROGRAMS) fail(`A bank has at most ${PROGRAMS} programs.`);
  return before.map((old, index) => {
    const entry = bank.programs[index];
    if (entry === undefined) return old;
    const where = `Program ${index + 1}`;
    if (entry === null || typeof entry !== 'object' || Array.isArray(entry)) fail(`${where} must be an object.`);
    const program = { name: old.name, values: [...old.values] };
    for (const [key, value] of Object.entries(entry)) {
      const p = parameters.findIndex(({ name }) => name === key);
      const parameter = parameters[p];
      if (key === 'name') {
        if (typeof value !== 'string') fail(`${where}: the name must be a text in quotes.`);
        program.name = fittingName(value);
        if (program.name !== wellFormed(value)) fail(`${where}: a name has at most ${LONGEST_NAME} bytes; letters with accents take two.`);
      } else if (parameter === undefined) {
        fail(`${where} has an unknown "${key}".`);
      } else if (parameter.scale === 'switch') {
        if (value !== 0 && value !== 1) fail(`${where}: "${key}" must be 0 (off) or 1 (on).`);
        program.values[p] = value;
      } else {
        if (typeof value !== 'number' || !(value >= 0 && value <= TOP)) {
          fail(`${where}: "${key}" must be a number from 0 to ${TOP}.`);
        }
        program.values[p] = valueAtKnob(value);
      }
    }
    return program;
  });
}
