// SPDX-License-Identifier: MIT
// The histogram, with what the stretch makes of it.
import { $, cleared, colour, make, setText } from './dom.js';
import { significant } from './units.js';

const COLOURS = { grey: '--text', red: '--red', green: '--green', blue: '--blue' };

function outline(context, counts, width, height, level) {
  context.beginPath();
  context.moveTo(0, height);
  counts.forEach((count, bin) => {
    const y = height - level(count) * (height - 4);
    context.lineTo(bin * width / counts.length, y);
    context.lineTo((bin + 1) * width / counts.length, y);
  });
  context.lineTo(width, height);
}

/** The brightness on the screen, 0 to 1, of a value between the black and the white point. */
function brightness({ mode, strength, midtone = 0.5 }, value) {
  if (mode === 'asinh') return Math.asinh(value * strength) / Math.asinh(strength);
  if (mode === 'auto') return (midtone - 1) * value / ((2 * midtone - 1) * value - midtone);
  return value;
}

function drawCurve(context, stretch, width, height) {
  const { black, white } = stretch;
  context.beginPath();
  for (let x = 0; x <= width; x += 1) {
    const value = Math.min(Math.max((x / width - black) / Math.max(white - black, 1e-6), 0), 1);
    context.lineTo(x, height - brightness(stretch, value) * (height - 4));
  }
  context.strokeStyle = colour('--accent');
  context.lineWidth = 1;
  context.stroke();
}

/** Draws the counts of all channels; the last column is marked where pixels are saturated. */
export function drawHistogram(canvas, statistics, stretch, isLogarithmic) {
  const { context, width, height } = cleared(canvas);
  if (!statistics) return;
  const { channels } = statistics;
  const scale = isLogarithmic ? Math.log1p : (count) => count;
  // A spike of a single value, such as a black sky, must not flatten all others.
  const heights = channels.flatMap(({ histogram }) => histogram.map(scale)).sort((a, b) => b - a);
  const top = isLogarithmic ? heights[0] : heights[Math.floor(heights.length / 200)];
  context.globalCompositeOperation = 'lighter';
  context.lineWidth = 1;
  for (const { name, histogram } of channels) {
    outline(context, histogram, width, height, (count) => Math.min(scale(count) / (top || 1), 1));
    context.fillStyle = context.strokeStyle = colour(COLOURS[name] ?? '--text');
    context.globalAlpha = 0.28;
    context.fill();
    context.globalAlpha = 0.9;
    context.stroke();
  }
  context.globalCompositeOperation = 'source-over';
  context.globalAlpha = 1;
  if (channels.some(({ saturated }) => saturated > 0)) {
    context.fillStyle = colour('--bad');
    context.fillRect(width - 3, 0, 3, height);
  }
  if (stretch) drawCurve(context, stretch, width, height);
}

/** A line of figures for each channel. */
export function showLevels({ channels }) {
  const box = $('levels');
  if (box.childElementCount !== channels.length) {
    box.replaceChildren(...channels.map(({ name }) =>
      make('p', { data: { channel: name } }, make('b', {}, name), make('span'), make('em'))));
  }
  channels.forEach(({ histogram, min, mean, max, saturated }, position) => {
    const [, figures, warning] = box.children[position].children;
    setText(figures, `min ${min}  mean ${significant(mean, mean < 1000 ? 3 : 5)}  max ${max}`);
    const share = 100 * saturated / histogram.reduce((sum, count) => sum + count, 0);
    const amount = share < 0.01 ? saturated : `${significant(share, 2)} %`;
    setText(warning, saturated ? `${amount} saturated` : '');
  });
}
