// SPDX-License-Identifier: MIT
// Access to the controls in the page, by id.

/** @template {HTMLElement} T @param {string} id @returns {T} */
export const element = (id) => /** @type {T} */ (document.getElementById(id));
/** @param {string} id */
export const button = (id) => /** @type {HTMLButtonElement} */ (element(id));
/** @param {string} id */
export const select = (id) => /** @type {HTMLSelectElement} */ (element(id));
/** @param {string} id */
export const input = (id) => /** @type {HTMLInputElement} */ (element(id));

/** Shows a message in the note `id`, beside the control that it is about. @param {string} id @param {string} text @param {boolean} bad */
export function say(id, text, bad = false) {
  element(id).textContent = text;
  element(id).classList.toggle('bad', bad);
}

/** @param {number} value dB */
export const decibelText = (value) => `${value.toFixed(1).replace('-', '−')} dB`;

/** Calls `act` when the button is pressed. @param {string} id @param {() => unknown} act */
export const onClick = (id, act) => button(id).addEventListener('click', () => void act());

/** Shows whether a button is pressed. @param {string} id @param {boolean} is */
export const showPressed = (id, is) => button(id).setAttribute('aria-pressed', String(is));

/** Calls `use` with each file that is chosen with the file input `id`. @param {string} id @param {(file: File) => void} use */
export function onFile(id, use) {
  input(id).addEventListener('change', () => {
    const file = input(id).files?.[0];
    if (file) use(file);
    input(id).value = ''; // so that the same file can be chosen again
  });
}

/** Minutes and seconds. @param {number} seconds */
export const clockText = (seconds) => `${Math.floor(seconds / 60)}:${String(Math.floor(seconds % 60)).padStart(2, '0')}`;

/** Saves a file through the browser. @param {Blob} blob @param {string} name */
export function download(blob, name) {
  const link = document.createElement('a');
  link.href = URL.createObjectURL(blob);
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 60000);
}
