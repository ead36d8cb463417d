// SPDX-License-Identifier: MIT
// The list of cameras.
import { $, make } from './dom.js';
import { goToLogin } from './connection.js';

const PERIOD = 2000;
const ACTIVITIES = { none: 'ready', live: 'live view', capture: 'capturing' };

function stateOf({ link, activity, capture }) {
  if (link === 'absent') return 'unplugged';
  if (link === 'closed') return 'ready';
  if (link === 'opening') return 'is being opened';
  return activity === 'capture' && capture ? capture : ACTIVITIES[activity];
}

const card = (camera) =>
  make('li', {}, make('a', { href: `/camera/${camera.number}`, className: 'card' },
    make('span', { className: 'dot', data: { link: camera.link, activity: camera.activity } }),
    make('span', { className: 'name' }, camera.label || camera.name),
    make('span', { className: 'state' }, stateOf(camera)),
    make('span', { className: 'number' }, `camera ${camera.number}`)));

let shown = '';

async function refresh() {
  try {
    const answer = await fetch('/cameras', { signal: AbortSignal.timeout(2 * PERIOD) });
    if (answer.status === 401) return goToLogin();
    const cameras = await answer.json();
    $('banner').hidden = true;
    $('none').hidden = cameras.length > 0;
    if (shown !== JSON.stringify(cameras)) {
      const focused = document.activeElement?.getAttribute('href');
      $('cameras').replaceChildren(...cameras.map(card));
      if (focused) $('cameras').querySelector(`[href="${CSS.escape(focused)}"]`)?.focus();
      shown = JSON.stringify(cameras);
    }
  } catch {
    $('banner').textContent = 'The server cannot be reached. Trying again …';
    $('banner').hidden = false;
  }
  setTimeout(refresh, PERIOD);
}

refresh();
