// SPDX-License-Identifier: MIT
// Snapshots, sequences and videos into the server's folder, and the list of its files.
import { $, fillSelect, make, setText } from './dom.js';
import { notice, perform } from './notices.js';
import { bytesText, durationText, parseExposure, timeText } from './units.js';

const FORMATS = {
  images: [['fits', 'FITS'], ['png', 'PNG']],
  video: [['ser', 'SER']],
};
const ASKED_FOR = 4000;

/** Seconds of a field: null if it is empty, NaN if it cannot be read. */
function seconds(field) {
  if (!field.value.trim()) return null;
  const microseconds = parseExposure(field.value, 's');
  return microseconds === null ? NaN : microseconds / 1e6;
}

function request() {
  const kind = $('capture-kind').value;
  const isVideo = kind === 'video';
  const count = $('capture-count').value.trim();
  return {
    do: 'capture', kind, format: $('capture-format').value,
    count: isVideo || !count ? null : Number(count),
    seconds: isVideo ? seconds($('capture-seconds')) : null,
    interval: isVideo ? 0 : seconds($('capture-interval')) ?? 0,
    exposure: isVideo ? null : seconds($('capture-exposure')),
    name: $('capture-name').value.trim(), object: $('capture-object').value.trim(),
    frameKind: $('capture-frame').value,
  };
}

/** Why a request cannot be sent, or null. */
function problemOf({ count, seconds: length, interval, exposure }) {
  if (count !== null && !(Number.isInteger(count) && count > 0)) return 'Count is a whole number.';
  const areTimes = ![length, interval, exposure].some(Number.isNaN);
  return areTimes ? null : 'A time is written as in "30 s" or "500 ms".';
}

function describe({ what, done, count, lost, remaining, exposureLeft, bytes, file }) {
  const parts = [what, count === null ? `${done} done` : `${done} of ${count}`];
  if (exposureLeft > 1) parts.push(`this image ${durationText(exposureLeft)}`);
  if (remaining !== null) parts.push(`remaining ${durationText(remaining)}`);
  if (lost) parts.push(`${lost} lost`);
  if (bytes) parts.push(bytesText(bytes));
  if (file) parts.push(file);
  return parts.join(' · ');
}

export function startCapture(link) {
  const isVideo = () => $('capture-kind').value === 'video';
  $('capture-kind').addEventListener('change', () => {
    fillSelect($('capture-format'), FORMATS[$('capture-kind').value]);
    for (const element of document.querySelectorAll('#capture [data-kind]')) {
      element.hidden = (element.dataset.kind === 'video') !== isVideo();
    }
  });
  $('capture').addEventListener('submit', async (event) => {
    event.preventDefault();
    const wanted = request();
    const problem = problemOf(wanted);
    if (problem) return notice(problem, 'bad');
    $('capture-start').disabled = true;
    await perform(link, wanted);
    show(link.last.captures);
  });
  $('capture-stop').addEventListener('click', () => perform(link, { do: 'stop-capture' }));

  function show(captures) {
    const running = captures?.running ?? null;
    $('capture-start').disabled = running !== null;
    $('capture-stop').disabled = running === null;
    $('capture-progress').hidden = running === null;
    if (running) {
      setText($('capture-text'), describe(running));
      const begun = Date.now() / 1000 - running.begun;
      const share = running.count ? running.done / running.count
        : running.remaining !== null ? begun / Math.max(begun + running.remaining, 1e-3) : null;
      if (share === null) $('capture-bar').removeAttribute('value');
      else $('capture-bar').value = Math.min(share, 1);
    }
    const { last } = captures ?? {};
    setText($('capture-last'), running || !last ? ''
      : last.message ? `${last.what}: ${last.message}` : `${last.what}: ${last.done} done`);
    $('capture-last').classList.toggle('bad', Boolean(last?.message));
  }
  link.on('captures', show);
  link.on('files', (message) => showFiles(link, message));
}

/** A file goes only when the button is pressed twice. */
function deleteButton(link, name) {
  const aria = { label: `Delete ${name}` };
  const button = make('button', { type: 'button', className: 'quiet', aria }, '✕');
  button.addEventListener('click', () => {
    if (button.dataset.asked) return perform(link, { do: 'delete', name });
    button.dataset.asked = '1';
    button.textContent = 'Delete?';
    setTimeout(() => {
      delete button.dataset.asked;
      button.textContent = '✕';
    }, ASKED_FOR);
  });
  return button;
}

function showFiles(link, { folder, free, files }) {
  setText($('free'), `${bytesText(free)} free`);
  $('free').title = folder;
  const rows = new Map([...$('files').children].map((row) => [row.dataset.key, row]));
  const keyOf = ({ name, bytes, time }) => `${name} ${bytes} ${time}`;
  $('files').replaceChildren(...files.map((file) => rows.get(keyOf(file)) ??
    make('li', { data: { key: keyOf(file) } },
      make('a', { href: `/files/${encodeURIComponent(file.name)}`, download: '' }, file.name),
      make('small', {}, `${bytesText(file.bytes)} · ${timeText(file.time)}`),
      deleteButton(link, file.name))));
  if (!files.length) $('files').append(make('li', { className: 'note' }, 'None yet'));
}
