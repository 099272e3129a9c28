// SPDX-License-Identifier: MIT

/**
 * A guitar loudspeaker of 12 inches in a closed box, in front of its centre, for listening: the resonance of the box, a dip
 * where the cone begins to break up, the presence peak, and the steep end of its range. Shaped by ear and by the curves that
 * makers print, after no particular one. Of Q, that of `lowpass` and `highpass` is in dB, as browsers have it.
 * @type {BiquadFilterOptions[]}
 */
export const SPEAKER = [
  { type: 'highpass', frequency: 75, Q: 0 },
  { type: 'peaking', frequency: 115, Q: 1.3, gain: 4 },
  { type: 'peaking', frequency: 450, Q: 0.8, gain: -4 },
  { type: 'peaking', frequency: 2600, Q: 1.2, gain: 7 },
  { type: 'lowpass', frequency: 4800, Q: -5.3 }, // with the next one: Butterworth of the fourth order
  { type: 'lowpass', frequency: 4800, Q: 2.3 },
];

/** Connects the loudspeaker's filters after `from`; returns the last one. @param {AudioNode} from */
export function speakerBehind(from) {
  let last = from;
  for (const options of SPEAKER) {
    const filter = new BiquadFilterNode(from.context, options);
    last.connect(filter);
    last = filter;
  }
  return last;
}
