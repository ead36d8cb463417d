// SPDX-License-Identifier: MIT
// Region, bin and type of the image, by fields or by dragging in the picture.
import { $, fillSelect, isEdited } from './dom.js';
import { FLIP } from './controls.js';
import { perform } from './notices.js';

const SMALLEST_DRAG = 6;
const TYPES = {
  raw8: 'Raw, 8 bit', raw16: 'Raw, 16 bit', rgb24: 'Colour, 8 bit', y8: 'Luminance, 8 bit',
};

/** The part of the sensor that a rectangle of the image shows. Flips mirror within the region. */
export function sensorRegion({ x, y, width, height }, { region, bin, controls, ...image }) {
  const flip = controls[FLIP]?.[0] ?? 0;
  const column = flip & 1 ? image.width - x - width : x;
  const row = flip & 2 ? image.height - y - height : y;
  return [region[0] + column * bin, region[1] + row * bin, width * bin, height * bin];
}

export function startFrame(link, view, overlay) {
  const fields = ['x', 'y', 'width', 'height'].map((name) => $(`region-${name}`));
  // Changes that no status shows yet: a request names the whole format, and must not undo them.
  let pending = {};
  let unanswered = 0;
  const set = async (changes) => {
    const { region, bin, imageType } = link.last.status;
    pending = { ...pending, ...changes };
    unanswered += 1;
    const isDone = await perform(link, { do: 'format', region, bin, imageType, ...pending });
    unanswered -= 1;
    if (!isDone && unanswered === 0) pending = {};
  };
  const whole = () => {
    const { width, height } = link.last.hello.camera;
    return set({ region: [0, 0, width, height] });
  };

  link.on('hello', ({ camera }) => {
    fillSelect($('bin'), camera.bins.map((bin) => [bin, `${bin} × ${bin}`]));
    fillSelect($('type'), camera.types.map((type) => [type, TYPES[type] ?? type]));
    [camera.width, camera.height, camera.width, camera.height].forEach((limit, position) => {
      fields[position].title = `0 to ${limit}`;
    });
  });
  link.on('lost', () => { pending = {}; });
  link.on('status', ({ region, bin, imageType }) => {
    if (unanswered === 0) pending = {};
    $('bin').value = bin;
    $('type').value = imageType;
    region.forEach((value, position) => {
      if (!isEdited(fields[position])) fields[position].value = value;
    });
  });
  $('bin').addEventListener('change', () => set({ bin: Number($('bin').value) }));
  $('type').addEventListener('change', () => set({ imageType: $('type').value }));
  $('region').addEventListener('submit', (event) => {
    event.preventDefault();
    document.activeElement.blur();
    set({ region: fields.map(({ value }) => Math.round(Number(value))) });
  });
  $('whole').addEventListener('click', whole);

  return selection(view, overlay, (rectangle) => {
    if (link.last.status) set({ region: sensorRegion(rectangle, link.last.status) });
  });
}

/** The whole pixels between two corners. */
function rectangle([one, other]) {
  const [x, y] = ['x', 'y'].map((axis) => Math.round(Math.min(one[axis], other[axis])));
  const [right, bottom] = ['x', 'y'].map((axis) => Math.round(Math.max(one[axis], other[axis])));
  return { x, y, width: right - x, height: bottom - y };
}

/** Dragging of a rectangle, in pixels of the image. */
function selection(view, overlay, chosen) {
  const button = $('select');
  let isActive = false;
  let corners = null;

  function show(region) {
    overlay.region = region;
    overlay.draw();
  }
  function activate(on) {
    isActive = on;
    button.setAttribute('aria-pressed', on);
    $('view').classList.toggle('selecting', on);
    if (!on) cancel();
  }
  function cancel() {
    corners = null;
    show(null);
  }
  const within = (point) => {
    const { x, y } = view.toImage(point);
    const { width, height } = view.image;
    return { x: Math.min(Math.max(x, 0), width), y: Math.min(Math.max(y, 0), height) };
  };
  button.addEventListener('click', () => activate(!isActive));

  return {
    active: () => isActive,
    toggle: () => activate(!isActive),
    begin(point) {
      corners = [within(point), within(point)];
    },
    move(point) {
      if (!corners) return;
      corners[1] = within(point);
      const { width, height } = rectangle(corners);
      show({ corners, label: `${width} × ${height}` });
    },
    end() {
      if (!corners) return;
      const dragged = rectangle(corners);
      cancel();
      if (Math.min(dragged.width, dragged.height) * view.scale < SMALLEST_DRAG) return;
      activate(false);
      chosen(dragged);
    },
    cancel,
  };
}
