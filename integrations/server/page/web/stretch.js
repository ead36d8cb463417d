// SPDX-License-Identifier: MIT
// The panel of histogram and stretch.
import { $, latest, throttled } from './dom.js';
import { drawHistogram, showLevels } from './histogram.js';
import { perform } from './notices.js';

const SMALLEST_RANGE = 0.002;

export function startStretch(link) {
  const modes = [...document.querySelectorAll('[data-mode]')];
  const sliders = [$('black'), $('white'), $('strength')];
  let stretch = null;
  let statistics = null;
  let isChanging = false;

  const redraw = throttled(50, () => {
    const isOpen = $('panel-histogram').open;
    if (isOpen) drawHistogram($('histogram'), statistics, stretch, isLogarithmic());
  });
  const isLogarithmic = () => $('log').getAttribute('aria-pressed') === 'true';

  function show() {
    for (const button of modes) {
      button.setAttribute('aria-pressed', button.dataset.mode === stretch.mode);
    }
    $('strength-row').hidden = stretch.mode !== 'asinh';
    if (!isChanging) {
      $('black').value = stretch.black;
      $('white').value = stretch.white;
      $('strength').value = Math.log10(stretch.strength);
    }
    redraw();
  }

  const send = latest(async (wanted) => {
    const { mode, black, white, strength } = wanted;
    const isDone = await perform(link, { do: 'stretch', mode, black, white, strength });
    const now = link.last.stretch ?? link.last.hello?.stretch;
    if (!isDone && now) take(now);
  });
  function take(message) {
    stretch = message;
    show();
  }
  function change(changes) {
    if (!stretch) return;
    stretch = { ...stretch, ...changes };
    show();
    send(stretch);
  }

  for (const button of modes) {
    button.addEventListener('click', () => change({ mode: button.dataset.mode }));
  }
  // Moving a handle of the automatic stretch takes over from it.
  const asSet = () => ({ mode: stretch.mode === 'auto' ? 'linear' : stretch.mode });
  $('black').addEventListener('input', () => {
    const black = Math.min(Number($('black').value), stretch.white - SMALLEST_RANGE);
    change({ ...asSet(), black: Math.max(black, 0) });
  });
  $('white').addEventListener('input', () => {
    const white = Math.max(Number($('white').value), stretch.black + SMALLEST_RANGE);
    change({ ...asSet(), white: Math.min(white, 1) });
  });
  $('strength').addEventListener('input', () => change({ strength: 10 ** $('strength').value }));
  $('reset').addEventListener('click', () => change({ mode: 'linear', black: 0, white: 1 }));
  for (const slider of sliders) {
    slider.addEventListener('pointerdown', () => { isChanging = true; });
    for (const type of ['pointerup', 'pointercancel', 'blur']) {
      slider.addEventListener(type, () => { isChanging = false; });
    }
  }
  $('log').addEventListener('click', () => {
    $('log').setAttribute('aria-pressed', !isLogarithmic());
    redraw();
  });
  $('panel-histogram').addEventListener('toggle', redraw);
  addEventListener('resize', redraw);

  link.on('hello', (hello) => take(hello.stretch));
  link.on('stretch', take);
  link.on('statistics', (message) => {
    statistics = message;
    showLevels(message);
    redraw();
  });
}
