// SPDX-License-Identifier: MIT
// The fields that controls are made of. Each has `element` and `show(value, isAuto)`, which leaves
// a field alone while the user is at it.
import { isEdited, latest, make } from './dom.js';
import { exposureText, parseExposure } from './units.js';

const STEPS = 1000;
/** Milliseconds in which the status follows the answer to a command. */
const SETTLING = 250;

/** How a slider's position, 0 to STEPS, and a text stand for a value. */
const linear = ({ min, max }, unit) => ({
  steps: max - min,
  toValue: (position) => min + position,
  toPosition: (value) => value - min,
  toText: (value) => (unit ? `${value} ${unit}` : `${value}`),
  toNumber: (text) => {
    const number = Number.parseFloat(text.replace(',', '.'));
    return Number.isFinite(number) ? Math.round(number) : null;
  },
});

/** Exposures reach from microseconds to minutes, so that each step is a factor. */
const logarithmic = ({ min, max }) => {
  const lowest = Math.max(min, 1);
  let unit = 'ms';
  return {
    steps: STEPS,
    toValue: (position) => {
      const value = lowest * (max / lowest) ** (position / STEPS);
      return Math.min(Math.max(Math.round(Number(value.toPrecision(3))), min), max);
    },
    toPosition: (value) =>
      Math.round(STEPS * Math.log(Math.max(value, lowest) / lowest) / Math.log(max / lowest)),
    toText: (value) => {
      const text = exposureText(value);
      [, unit] = text.split(' ');
      return text;
    },
    toNumber: (text) => parseExposure(text, unit),
  };
};

/** A slider with a number, its limits, and a switch if the camera can set it by itself. */
export function sliderField(control, { label, unit, isExposure }, send) {
  const scale = isExposure ? logarithmic(control) : linear(control, unit);
  const id = `control-${control.id}`;
  const slider = make('input', { type: 'range', min: 0, max: scale.steps, id: `${id}-slider`,
    ariaLabel: label });
  const number = make('input', { id, autocomplete: 'off', inputMode: 'text', className: 'number' });
  const auto = make('button', { type: 'button', className: 'auto', id: `${id}-auto`,
    aria: { pressed: false, label: `${label}: automatic` } }, 'Auto');
  let isAuto = false;
  let isHeld = false;
  let waiting = 0;
  let known = null;

  const submit = latest(async (wanted) => {
    waiting += 1;
    await send(wanted);
    setTimeout(() => {
      waiting -= 1;
      if (known) show(...known);
    }, SETTLING);
  });
  const isBusy = () => isHeld || waiting > 0;
  function display(value) {
    slider.value = scale.toPosition(value);
    slider.setAttribute('aria-valuetext', scale.toText(value));
    if (!isEdited(number)) number.value = scale.toText(value);
  }
  function show(value, automatic) {
    known = [value, automatic];
    if (isBusy()) return;
    isAuto = automatic;
    auto.setAttribute('aria-pressed', automatic);
    element.classList.toggle('automatic', automatic);
    display(value);
  }

  slider.addEventListener('input', () => {
    const value = scale.toValue(Number(slider.value));
    display(value);
    submit({ value, auto: false });
  });
  slider.addEventListener('pointerdown', () => { isHeld = true; });
  for (const type of ['pointerup', 'pointercancel', 'blur']) {
    slider.addEventListener(type, () => {
      isHeld = false;
      if (known) show(...known);
    });
  }
  number.addEventListener('change', () => {
    const value = scale.toNumber(number.value);
    if (value === null) return known && show(...known);
    const wanted = Math.min(Math.max(value, control.min), control.max);
    display(wanted);
    submit({ value: wanted, auto: false });
  });
  number.addEventListener('focus', () => number.select());
  // Leaving a field takes its text over, if that has changed.
  number.addEventListener('keydown', ({ key }) => {
    if (key === 'Escape' && known) number.value = scale.toText(known[0]);
    if (key === 'Escape' || key === 'Enter') number.blur();
  });
  number.addEventListener('blur', () => known && show(...known));
  auto.addEventListener('click', () => known && submit({ value: known[0], auto: !isAuto }));

  const element = make('div', { className: 'control' },
    make('div', { className: 'line' },
      make('label', { htmlFor: id, title: control.description }, label),
      ...(control.hasAuto ? [auto] : []), number),
    make('div', { className: 'line limits' },
      make('small', {}, scale.toText(control.min)), slider,
      make('small', {}, scale.toText(control.max))));
  return { element, show };
}

/** A switch for what is on or off. */
export function switchField(control, { label }, send) {
  const button = make('button', { type: 'button', role: 'switch', id: `control-${control.id}`,
    aria: { checked: false, label } });
  const show = (value) => button.setAttribute('aria-checked', value !== 0);
  button.addEventListener('click', () =>
    send({ value: button.getAttribute('aria-checked') === 'true' ? 0 : 1, auto: false }));
  const element = make('div', { className: 'setting' },
    make('span', { title: control.description }, label), button);
  return { element, show };
}

/** A choice of a few values, by name. */
export function choiceField(control, { label, choices }, send) {
  const id = `control-${control.id}`;
  const select = make('select', { id },
    ...choices.map((name, value) => make('option', { value }, name)));
  select.addEventListener('change', () => send({ value: Number(select.value), auto: false }));
  const element = make('div', { className: 'setting' },
    make('label', { htmlFor: id, title: control.description }, label), select);
  return { element, show: (value) => { select.value = value; } };
}

/** What the camera only tells. */
export function outputField(control, { label, unit }) {
  const output = make('output', { id: `control-${control.id}` });
  const element = make('div', { className: 'setting' },
    make('span', { title: control.description }, label), output);
  return { element, show: (value) => { output.value = unit ? `${value} ${unit}` : value; } };
}
