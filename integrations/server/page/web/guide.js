// SPDX-License-Identifier: MIT
// Guide lines, each on only while its button is held.
import { $ } from './dom.js';

const REPEAT = 300;

export function startGuide(link) {
  const buttons = [...document.querySelectorAll('[data-line]')];
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
    const line = Number(button.dataset.line);
    button.addEventListener('pointerdown', (event) => {
      if (event.button !== 0) return;
      // A finger is captured by what it touches, and would not leave it.
      if (button.hasPointerCapture(event.pointerId)) button.releasePointerCapture(event.pointerId);
      press(line);
    });
    for (const type of ['pointerleave', 'blur']) {
      button.addEventListener(type, () => release(line));
    }
    button.addEventListener('contextmenu', (event) => event.preventDefault());
    const isKey = ({ key }) => key === ' ' || key === 'Enter';
    button.addEventListener('keydown', (event) => {
      if (!isKey(event)) return;
      event.preventDefault();
      press(line);
    });
    button.addEventListener('keyup', (event) => isKey(event) && release(line));
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

  link.on('hello', ({ camera }) => { $('panel-guide').hidden = !camera.hasGuidePort; });
  link.on('status', ({ guide }) => {
    for (const button of buttons) button.setAttribute('aria-pressed', guide[button.dataset.line]);
  });
}
