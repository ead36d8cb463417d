// SPDX-License-Identifier: MIT
// Focus help: the brightest star's size, its course, and the star magnified.
import { $, cleared, setText, throttled } from './dom.js';
import { plot } from './plot.js';
import { significant } from './units.js';

const SPAN = 600;
const COLUMNS = { hfr: 1, fwhm: 2 };

/** @returns a function that shows a magnified picture */
export function startFocus(link, overlay) {
  const choices = [...document.querySelectorAll('[data-figure]')];
  let isOn = false;
  let figure = 'hfr';
  let stars = null;
  let course = [];

  const redraw = throttled(200, () => {
    const series = [{ column: COLUMNS[figure], colour: '--accent' }];
    if (!isOn || !$('panel-focus').open) return;
    plot($('course'), course, series, { span: SPAN, smallest: 1 });
  });
  function show() {
    const list = isOn && stars ? stars.stars : [];
    overlay.stars = list;
    overlay.draw();
    const star = list[0];
    setText($('focus-figure'), star ? `${significant(star[figure])} px` : '–');
    const count = stars?.count ?? 0;
    const found = count === 1 ? '1 star' : `${count} stars`;
    setText($('focus-text'), !stars ? 'Looking for stars …' : !star ? 'No star found'
      : star.saturated ? `${found}; the brightest is saturated: expose less` : found);
    redraw();
  }
  function set(on) {
    isOn = on;
    stars = null;
    course = [];
    $('focus').setAttribute('aria-pressed', on);
    $('focus-body').hidden = !on;
    link.tell({ do: 'focus', on });
    show();
  }

  $('focus').addEventListener('click', () => set(!isOn));
  for (const button of choices) {
    button.addEventListener('click', () => {
      figure = button.dataset.figure;
      for (const other of choices) other.setAttribute('aria-pressed', other === button);
      show();
    });
  }
  $('panel-focus').addEventListener('toggle', redraw);
  addEventListener('resize', redraw);
  link.on('hello', () => isOn && set(true));
  link.on('stars', (message) => {
    if (!isOn) return;
    stars = message;
    course.push(...message.course);
    while (course.length && course[0][0] < course.at(-1)[0] - SPAN) course.shift();
    show();
  });

  return ({ bitmap }) => {
    const { context, width, height } = cleared($('magnifier'));
    context.imageSmoothingEnabled = false;
    context.drawImage(bitmap, 0, 0, width, height);
    bitmap.close();
  };
}
