// SPDX-License-Identifier: MIT
// Dark frame and hot pixels.
import { $, setText } from './dom.js';
import { perform } from './notices.js';

export function startCorrections(link) {
  const isOn = (button) => button.getAttribute('aria-checked') === 'true';
  /** Recording takes as long as several exposures. */
  const whileDisabled = (button, message) => async () => {
    button.disabled = true;
    await perform(link, message);
    button.disabled = false;
  };

  for (const [id, command] of [['dark', 'dark'], ['hot', 'hot-pixels']]) {
    $(id).addEventListener('click', () => perform(link, { do: command, use: !isOn($(id)) }));
  }
  $('dark-record').addEventListener('click',
    whileDisabled($('dark-record'), { do: 'dark', record: true }));
  $('hot-detect').addEventListener('click',
    whileDisabled($('hot-detect'), { do: 'hot-pixels', detect: true }));

  link.on('status', ({ dark, hotPixels }) => {
    $('dark').setAttribute('aria-checked', dark.uses);
    $('hot').setAttribute('aria-checked', hotPixels.uses);
    setText($('dark-text'), dark.has ? 'Dark frame' : 'Dark frame: none yet');
    setText($('hot-text'), `Hot pixels: ${hotPixels.count || 'none known'}`);
  });
}
