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
      button.setPointerCapture(event.pointerId);
      press(line);
    });
    // A captured pointer does not leave by itself: where it is decides.
    button.addEventListener('pointermove', ({ clientX, clientY }) => {
      if (!button.contains(document.elementFromPoint(clientX, clientY))) release(line);
    });
    for (const type of ['pointerup', 'pointercancel', 'lostpointercapture', 'blur']) {
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
  addEventListener('blur', releaseAll);
  addEventListener('pagehide', releaseAll);
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
