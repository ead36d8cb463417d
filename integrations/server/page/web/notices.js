// SPDX-License-Identifier: MIT
// Short messages at the edge of the page, and the list of who changed what.
import { $, make } from './dom.js';
import { CommandError } from './connection.js';
import { timeText } from './units.js';

const SHOWN_FOR = 5000;

/** Shows a message for some seconds. */
export function notice(text, kind = '') {
  const toast = make('div', { className: `toast ${kind}` }, text);
  $('toasts').append(toast);
  while ($('toasts').childElementCount > 4) $('toasts').firstChild.remove();
  setTimeout(() => toast.remove(), SHOWN_FOR);
}

/** Sends a command and tells the user if it fails. @returns whether it has succeeded */
export async function perform(link, message) {
  try {
    await link.ask(message);
    return true;
  } catch (error) {
    if (!(error instanceof CommandError)) throw error;
    notice(error.message, 'bad');
    return false;
  }
}

/** The list of events; those of others are announced. */
export function startEvents(link) {
  let shown = null;
  link.on('lost', () => { shown = null; });
  link.on('status', ({ events }) => {
    const newest = events.at(-1)?.number ?? 0;
    if (newest === shown) return;
    const you = link.last.hello?.you;
    for (const { number, who, text } of shown === null ? [] : events) {
      if (number > shown && who !== you) notice(who ? `${who}: ${text}` : text);
    }
    shown = newest;
    $('events').replaceChildren(...events.toReversed().map(({ time, who, text }) =>
      make('li', {}, make('time', {}, timeText(time)),
        make('b', {}, who === you ? 'you' : who || 'camera'), make('span', {}, text))));
  });
}
