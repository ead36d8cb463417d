// SPDX-License-Identifier: MIT
// Guide lines, each on only while its button is held.
import { $ } from './dom.js';

const REPEAT = 300;

export function startGuide(link) {
  const buttons = [...document.querySelectorAll('[data-direction]')];
  /** The line of each direction: north, south, east, west. */
  let lines = [0, 1, 2, 3];
  const lineOf = (button) => lines[button.dataset.direction];
  /** Timer of each line that is held. */
  const held = new Map();

  function press(line) {
    if (held.has(line)) return;
    const tell = () => link.tell({ do: 'guide', line, on: true });
    held.set(line, setInterval(tell, REPEAT));
    tell();
  }
  function release(line) {
    if (!held.has(line)) return;
    clearInterval(held.get(line));
    held.delete(line);
    link.tell({ do: 'guide', line, on: false });
  }
  const releaseAll = () => [...held.keys()].forEach(release);

  for (const button of buttons) {
    button.addEventListener('pointerdown', (event) => {
      if (event.button !== 0) return;
      // A finger is captured by what it touches, and would not leave it.
      if (button.hasPointerCapture(event.pointerId)) button.releasePointerCapture(event.pointerId);
      press(lineOf(button));
    });
    for (const type of ['pointerleave', 'blur']) {
      button.addEventListener(type, () => release(lineOf(button)));
    }
    button.addEventListener('contextmenu', (event) => event.preventDefault());
    const isKey = ({ key }) => key === ' ' || key === 'Enter';
    button.addEventListener('keydown', (event) => {
      if (!isKey(event)) return;
      event.preventDefault();
      press(lineOf(button));
    });
    button.addEventListener('keyup', (event) => isKey(event) && release(lineOf(button)));
  }
  for (const type of ['pointerup', 'pointercancel', 'blur', 'pagehide']) {
    addEventListener(type, releaseAll);
  }
  document.addEventListener('visibilitychange', () => document.hidden && releaseAll());
  $('panel-guide').addEventListener('toggle', releaseAll);
  link.on('lost', () => {
    releaseAll();
    for (const button of buttons) button.setAttribute('aria-pressed', false);
  });

  link.on('hello', ({ camera }) => {
    $('panel-guide').hidden = !camera.hasGuidePort;
    lines = camera.guideLines;
  });
  link.on('status', ({ guide }) => {
    for (const button of buttons) button.setAttribute('aria-pressed', guide[lineOf(button)]);
  });
}
