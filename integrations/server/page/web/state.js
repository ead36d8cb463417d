// SPDX-License-Identifier: MIT
// Whether server and camera are there, as the head of the page tells it.
import { $, setText } from './dom.js';

const LINKS = { absent: 'unplugged', closed: 'not open', opening: 'opening …', open: 'ready' };

export function startState(link) {
  let isUnknown = false;

  function banner(text, isStale = Boolean(text)) {
    $('banner').hidden = !text;
    setText($('banner'), text);
    document.body.classList.toggle('stale', isStale);
  }
  function chip(text, kind) {
    setText($('link'), text);
    $('link').dataset.kind = kind;
  }

  chip('connecting …', 'wait');
  link.on('unknown', () => { isUnknown = true; });
  link.on('lost', () => {
    chip('offline', 'bad');
    banner(isUnknown ? 'The server has no such camera. It appears here when it is plugged in.'
      : 'The connection to the server is lost. It comes back by itself.');
  });
  link.on('open', () => {
    isUnknown = false;
    banner('');
  });
  link.on('hello', ({ camera }) => {
    setText($('name'), camera.label || camera.name);
    document.title = `${camera.name} · Orvik`;
  });
  link.on('status', (status) => {
    const { link: state, activity, capture, problem } = status;
    if (state === 'absent') {
      banner('The camera is unplugged. The page goes on when it is plugged in again.');
    } else {
      banner(problem, state !== 'open');
    }
    if (state !== 'open') chip(LINKS[state], state === 'absent' ? 'bad' : 'wait');
    else if (activity === 'capture') chip(capture || 'capturing', 'busy');
    else chip(activity === 'live' ? 'live' : LINKS.open, 'good');
  });
  link.on('picture', () => { $('waiting').hidden = true; });
}
