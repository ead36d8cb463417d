// SPDX-License-Identifier: MIT
// Curves over time.
import { cleared, colour } from './dom.js';

const LEFT = 34;
const BOTTOM = 16;

/** Steps of an axis: 1, 2 or 5 times a power of ten, about `count` of them. */
function ticks(low, high, count) {
  const rough = (high - low) / count;
  const power = 10 ** Math.floor(Math.log10(rough));
  const step = [1, 2, 5, 10].map((factor) => factor * power).find((size) => size >= rough);
  const list = [];
  const first = Math.ceil(low / step - 1e-9);
  for (let position = first; position * step <= high; position += 1) list.push(position * step);
  return { list, digits: Math.max(0, -Math.floor(Math.log10(step) + 1e-9)) };
}

/**
 * @param samples rows of [time, value, value ...], times in seconds and rising
 * @param series `column`, `colour` (of the style sheet) and, of those with an axis of their own
 *        from 0 to 100 as filled areas, `isShare`
 * @param span seconds that are shown; @param smallest range of the axis
 */
export function plot(canvas, samples, series, { span, smallest }) {
  const { context, width, height } = cleared(canvas);
  if (width <= LEFT || !samples.length) return;
  const end = samples.at(-1)[0];
  const length = Math.min(span, Math.max(60, end - samples[0][0]));
  const shown = samples.filter(([time]) => time >= end - length);
  const values = series.filter(({ isShare }) => !isShare)
    .flatMap(({ column }) => shown.map((row) => row[column])).filter((value) => value !== null);
  if (!values.length) return;
  const middle = (Math.min(...values) + Math.max(...values)) / 2;
  const range = Math.max(smallest, (Math.max(...values) - Math.min(...values)) * 1.15);
  const [low, high] = [middle - range / 2, middle + range / 2];
  const x = (time) => LEFT + (width - LEFT) * (1 - (end - time) / length);
  const y = (value) => (height - BOTTOM) * (1 - (value - low) / (high - low));

  context.font = '11px system-ui, sans-serif';
  context.fillStyle = colour('--muted');
  context.strokeStyle = colour('--line');
  context.textAlign = 'right';
  context.textBaseline = 'middle';
  const { list, digits } = ticks(low, high, 4);
  for (const value of list) {
    context.strokeRect(LEFT, Math.round(y(value)) + 0.5, width - LEFT, 0);
    context.fillText(value.toFixed(digits).replace('-', '−'), LEFT - 6, Math.max(y(value), 7));
  }
  context.textBaseline = 'bottom';
  context.fillText('now', width, height);
  context.textAlign = 'left';
  const ago = length < 120 ? `${Math.round(length)} s ago` : `${Math.round(length / 60)} min ago`;
  context.fillText(ago, LEFT, height);

  context.lineJoin = 'round';
  for (const { column, colour: name, isShare } of series) {
    const level = isShare ? (value) => (height - BOTTOM) * (1 - value / 100) : y;
    context.beginPath();
    let isDown = false;
    for (const row of shown) {
      const value = row[column];
      if (value !== null) context[isDown ? 'lineTo' : 'moveTo'](x(row[0]), level(value));
      isDown = value !== null;
    }
    if (isShare) {
      context.lineTo(width, height - BOTTOM);
      context.lineTo(x(shown[0][0]), height - BOTTOM);
      context.globalAlpha = 0.18;
      context.fillStyle = colour(name);
      context.fill();
      context.globalAlpha = 1;
    } else {
      context.strokeStyle = colour(name);
      context.lineWidth = 1.75;
      context.stroke();
    }
  }
}
