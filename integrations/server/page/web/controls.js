// SPDX-License-Identifier: MIT
// The camera's controls, made from its own list of them.
import { $ } from './dom.js';
import { choiceField, outputField, sliderField, switchField } from './fields.js';
import { perform } from './notices.js';

/** Names and units of the controls that are known; others appear as the camera names them. */
const KNOWN = {
  0: { label: 'Gain' },
  1: { label: 'Exposure', isExposure: true },
  2: { label: 'Gamma' },
  3: { label: 'White balance, red' },
  4: { label: 'White balance, blue' },
  5: { label: 'Offset' },
  6: { label: 'USB bandwidth', unit: '%', place: 'more' },
  7: { label: 'Overclocking', unit: '%', place: 'more' },
  9: { label: 'Flip', choices: ['none', 'horizontal', 'vertical', 'both'] },
  10: { label: 'Highest gain', place: 'automatic' },
  11: { label: 'Longest exposure', unit: 's', place: 'automatic' },
  12: { label: 'Brightness aimed at', place: 'automatic' },
  13: { label: 'Bin on the camera', place: 'more' },
  14: { label: 'High speed', place: 'more' },
};
export const EXPOSURE = 1;
export const FLIP = 9;
export const TARGET = 16;
/** Temperature, power, target and switch of the cooler have a panel of their own. */
const COOLING = new Set([8, 15, TARGET, 17]);
const ORDER = [EXPOSURE, 0, 5, 2, 3, 4, FLIP];

function fieldOf(control, send) {
  const meaning = KNOWN[control.id] ?? { label: control.name };
  if (!control.writable) return outputField(control, meaning);
  if (meaning.choices) return choiceField(control, meaning, send);
  if (control.min === 0 && control.max === 1) return switchField(control, meaning, send);
  return sliderField(control, meaning, send);
}

function rank({ id }) {
  const position = ORDER.indexOf(id);
  return position < 0 ? ORDER.length + id : position;
}

export function startControls(link) {
  const places = {
    main: $('controls'), automatic: $('controls-automatic'), more: $('controls-more'),
  };
  let fields = new Map();
  let made = '';

  function make(controls) {
    fields = new Map();
    for (const place of Object.values(places)) place.replaceChildren();
    const listed = controls.filter(({ id }) => !COOLING.has(id));
    for (const control of listed.sort((one, other) => rank(one) - rank(other))) {
      const field = fieldOf(control, async ({ value, auto }) => {
        const isDone = await perform(link, { do: 'control', control: control.id, value, auto });
        if (!isDone) show(link.last.status);
      });
      fields.set(control.id, field);
      places[KNOWN[control.id]?.place ?? 'main'].append(field.element);
    }
    for (const name of ['automatic', 'more']) $(name).hidden = !places[name].childElementCount;
  }

  function show(status) {
    for (const [id, state] of Object.entries(status?.controls ?? {})) {
      fields.get(Number(id))?.show(...state);
    }
  }

  link.on('hello', ({ controls }) => {
    if (!controls.length || made === JSON.stringify(controls)) return;
    made = JSON.stringify(controls);
    make(controls);
  });
  link.on('status', show);
}
