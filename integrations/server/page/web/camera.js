// SPDX-License-Identifier: MIT
// The page of a camera: its picture, its state, and what the panels share.
import { Connection } from './connection.js';
import { $, setText, throttled } from './dom.js';
import { startCapture } from './capture.js';
import { EXPOSURE, startControls } from './controls.js';
import { startCooling } from './cooling.js';
import { startCorrections } from './corrections.js';
import { startEvents } from './notices.js';
import { startFocus } from './focus.js';
import { startFrame } from './frame.js';
import { startGestures } from './gestures.js';
import { startGuide } from './guide.js';
import { Overlay } from './overlay.js';
import { startPanels } from './panels.js';
import { startState } from './state.js';
import { Picture } from './picture.js';
import { startStretch } from './stretch.js';
import { celsiusText, exposureText, significant } from './units.js';
import { View } from './view.js';

const STEP = 1.25;
const link = new Connection(Number(location.pathname.split('/')[2]));
const view = new View(viewChanged);
const overlay = new Overlay($('overlay'), view);
const magnified = startFocus(link, overlay);
const picture = new Picture($('picture'), view, {
  seen: ({ message }) => link.tell({ do: 'seen', message }),
  magnified,
});
let pointer = null;

/** Tells the server what this browser wants to see. */
const tellView = throttled(100, () => {
  const { width, height } = view.image;
  const window = view.window();
  const scale = view.scale * devicePixelRatio;
  const [wide, high] = window ? [window[2], window[3]]
    : width ? [width, height] : [view.stage.width / view.scale, view.stage.height / view.scale];
  const size = [wide, high].map((length) => Math.min(Math.max(1, Math.ceil(length * scale)), 8192));
  link.tell({ do: 'view', window, size, shown: !document.hidden });
});
const tellPointer = throttled(100, () => {
  link.tell({ do: 'pointer', x: pointer?.x ?? null, y: pointer?.y ?? null });
});

function viewChanged() {
  picture.redraw();
  overlay.draw();
  tellView();
  $('view').classList.toggle('fitted', view.isFitted);
  const percent = Math.round(view.scale * devicePixelRatio * 100);
  setText($('zoom'), view.image.width ? `${percent} %` : '');
}

function point(position) {
  const { width, height } = view.image;
  const { x, y } = position ? view.toImage(position) : { x: -1, y: -1 };
  const isInside = x >= 0 && y >= 0 && x < width && y < height;
  pointer = isInside ? { x: Math.floor(x), y: Math.floor(y) } : null;
  if (!pointer) $('readout').value = '';
  tellPointer();
}

function startPicture() {
  const box = $('view');
  new ResizeObserver(() => view.setStage(box.clientWidth, box.clientHeight)).observe(box);
  document.addEventListener('visibilitychange', tellView);
  addEventListener('resize', viewChanged);
  startGestures(box, view, startFrame(link, view, overlay), point);
  $('fit').addEventListener('click', () => view.fit());
  $('one').addEventListener('click', () => view.zoomTo(1 / devicePixelRatio));
  $('in').addEventListener('click', () => view.zoomTo(view.scale * STEP));
  $('out').addEventListener('click', () => view.zoomTo(view.scale / STEP));
  $('crosshair').addEventListener('click', () => {
    overlay.hasCrosshair = !overlay.hasCrosshair;
    $('crosshair').setAttribute('aria-pressed', overlay.hasCrosshair);
    overlay.draw();
  });
  box.addEventListener('keydown', ({ key, ctrlKey }) => {
    if (key.toLowerCase() === 'c' && !ctrlKey) $('crosshair').click();
    if (key.toLowerCase() === 'r' && !ctrlKey) $('select').click();
  });

  link.on('open', tellView);
  link.on('hello', () => {
    tellView();
    tellPointer();
  });
  link.on('picture', (buffer) => picture.receive(buffer));
  link.on('statistics', ({ pixel }) => {
    if (!pixel || !pointer) return;
    $('readout').value = `x ${pixel.x}  y ${pixel.y}  ·  ${pixel.values.join('  ')}`;
  });
}

/** The figures below the picture. */
function startFigures() {
  let before = 0;
  setInterval(() => {
    setText($('shown'), `${picture.shown - before}/s`);
    before = picture.shown;
  }, 1000);
  link.on('status', (status) => {
    const { frameRate, lost, controls, temperature, width, height, bin, viewers } = status;
    setText($('rate'), status.activity === 'none' ? '–' : `${significant(frameRate)}/s`);
    setText($('lost'), String(lost));
    $('lost').classList.toggle('bad', lost > 0);
    setText($('exposure'), controls[EXPOSURE] ? exposureText(controls[EXPOSURE][0], 4) : '–');
    setText($('sensor'), celsiusText(temperature));
    setText($('size'), width ? `${width} × ${height}${bin > 1 ? ` · bin ${bin}` : ''}` : '–');
    setText($('viewers'), viewers > 1 ? `${viewers} browsers watch` : '');
  });
}

startPanels();
startState(link);
startPicture();
startFigures();
startStretch(link);
startControls(link);
startCooling(link);
startGuide(link);
startCorrections(link);
startCapture(link);
startEvents(link);
link.open();
