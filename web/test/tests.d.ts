// SPDX-License-Identifier: MIT
// What the tests put into the page's window.
interface Window {
  axe: { run(): Promise<{ violations: { id: string; nodes: { html: string }[] }[] }> };
  copied: string;
  /** Root mean square of what reached the device in the last 0.7 s. */
  heard(): number;
  opened: AudioContext[];
  send(...bytes: number[]): void;
  sinks: string[];
  /** The clock of the context that plays, in seconds. */
  soundTime(): number;
  wanted: MediaTrackConstraints;
}
