// SPDX-License-Identifier: MIT
// Short forms for what every panel does with the document.

export const $ = (id) => document.getElementById(id);

/** Makes an element; properties are set as such, except `data` (data-*) and `aria` (aria-*). */
export function make(tag, { data = {}, aria = {}, ...properties } = {}, ...children) {
  const element = Object.assign(document.createElement(tag), properties);
  Object.assign(element.dataset, data);
  for (const [name, value] of Object.entries(aria)) element.setAttribute(`aria-${name}`, value);
  element.append(...children);
  return element;
}

/** Sets an element's text, if it is another one. */
export function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

/** Fills a select with [value, text] pairs, keeping the choice. */
export function fillSelect(select, options) {
  const wanted = JSON.stringify(options);
  if (select.dataset.filled === wanted) return;
  const chosen = select.value;
  select.replaceChildren(...options.map(([value, text]) => make('option', { value }, text)));
  if (options.some(([value]) => String(value) === chosen)) select.value = chosen;
  select.dataset.filled = wanted;
}

/** Whether the user is at this field: then its text is his. */
export const isEdited = (field) => document.activeElement === field;

/** One request at a time: while one is under way only the latest further value is kept. */
export function latest(send) {
  let isBusy = false;
  let next = null;
  return async (value) => {
    next = { value };
    if (isBusy) return;
    isBusy = true;
    while (next) {
      const { value: current } = next;
      next = null;
      await send(current);
    }
    isBusy = false;
  };
}

/** Calls a function at most every `interval` milliseconds, the last time after the last request. */
export function throttled(interval, action) {
  let timer = 0;
  let previous = -Infinity;
  return () => {
    if (timer) return;
    timer = setTimeout(() => {
      timer = 0;
      previous = performance.now();
      action();
    }, Math.max(0, previous + interval - performance.now()));
  };
}

/** A drawing context in CSS pixels for a canvas that fills its box, cleared. */
export function cleared(canvas) {
  const { clientWidth: width, clientHeight: height } = canvas;
  const ratio = devicePixelRatio;
  const [columns, rows] = [Math.round(width * ratio), Math.round(height * ratio)];
  if (canvas.width !== columns) canvas.width = columns;
  if (canvas.height !== rows) canvas.height = rows;
  const context = canvas.getContext('2d');
  context.setTransform(ratio, 0, 0, ratio, 0, 0);
  context.clearRect(0, 0, width, height);
  return { context, width, height };
}

/** A colour of the style sheet. */
export const colour = (name) => getComputedStyle(document.documentElement).getPropertyValue(name);
