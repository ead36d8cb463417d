// SPDX-License-Identifier: MIT
// The cooler and the course of the sensor's temperature.
import { $, setText, throttled } from './dom.js';
import { TARGET } from './controls.js';
import { perform } from './notices.js';
import { plot } from './plot.js';
import { celsiusText } from './units.js';

const SPAN = 1800;
const NEAR = 1;
const SERIES = [
  { column: 3, colour: '--blue', isShare: true },
  { column: 2, colour: '--muted' },
  { column: 1, colour: '--accent' },
];

function describe({ on, target, rampEnd, warmingUp, power, fault }, temperature) {
  if (fault) return fault;
  if (!on) return 'The cooler is off.';
  const aim = rampEnd ?? target;
  const isThere = temperature !== null && Math.abs(temperature - aim) < NEAR;
  const doing = warmingUp ? 'Warming up' : `${isThere ? 'Holding' : 'On the way to'} ${aim} °C`;
  return `${doing.replace('-', '−')} · power ${power}\u00a0%`;
}

export function startCooling(link) {
  let samples = [];
  const redraw = throttled(200, () => {
    if (!$('panel-cooling').open) return;
    plot($('temperatures'), samples, SERIES, { span: SPAN, smallest: 2 });
  });

  link.on('hello', ({ camera, controls, temperatures }) => {
    $('panel-cooling').hidden = !camera.hasCooler;
    samples = temperatures;
    const limits = controls.find(({ id }) => id === TARGET);
    if (limits) Object.assign($('cool-target'), { min: limits.min, max: limits.max });
    redraw();
  });
  link.on('temperature', ({ sample }) => {
    samples.push(sample);
    while (samples[0][0] < sample[0] - SPAN) samples.shift();
    redraw();
  });
  link.on('status', ({ temperature, cooling }) => {
    setText($('temperature'), celsiusText(temperature));
    if (!cooling) return;
    setText($('cooling-text'), describe(cooling, temperature));
    $('cooling-text').classList.toggle('bad', Boolean(cooling.fault));
    $('warm').disabled = $('cooler-off').disabled = !cooling.on;
  });

  const rate = () => Number($('cool-rate').value);
  $('cool').addEventListener('submit', (event) => {
    event.preventDefault();
    perform(link, { do: 'cool', target: Number($('cool-target').value), rate: rate() });
  });
  $('warm').addEventListener('click', () => perform(link, { do: 'warm', rate: rate() }));
  $('cooler-off').addEventListener('click', () => perform(link, { do: 'cooler-off' }));
  $('panel-cooling').addEventListener('toggle', redraw);
  addEventListener('resize', redraw);
}
