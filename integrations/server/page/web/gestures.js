// SPDX-License-Identifier: MIT
// Wheel, drag, pinch and keys on the picture.

const STEP = 1.25;
const KEY_MOVE = 60;

/**
 * @param select while it is active() drags are its begin(point), move(point), end() and cancel()
 * @param point is told where the pointer is, or null
 */
export function startGestures(element, view, select, point) {
  const pointers = new Map();
  const at = (event) => {
    const box = element.getBoundingClientRect();
    return { x: event.clientX - box.left, y: event.clientY - box.top };
  };
  const spread = () => {
    const [one, other] = [...pointers.values()];
    return { distance: Math.hypot(one.x - other.x, one.y - other.y),
      middle: { x: (one.x + other.x) / 2, y: (one.y + other.y) / 2 } };
  };

  const released = (event) => {
    const wasDown = pointers.delete(event.pointerId);
    if (!wasDown || pointers.size || !select.active()) return;
    if (event.type === 'pointerup') select.end();
    else select.cancel();
  };

  element.addEventListener('wheel', (event) => {
    event.preventDefault();
    const lines = event.deltaMode === WheelEvent.DOM_DELTA_LINE ? 40 : 1;
    const notches = Math.min(Math.max(event.deltaY * lines / 100, -3), 3);
    view.zoomTo(view.scale * STEP ** -notches, at(event));
  }, { passive: false });

  element.addEventListener('pointerdown', (event) => {
    if (event.button !== 0) return;
    element.setPointerCapture(event.pointerId);
    pointers.set(event.pointerId, at(event));
    if (pointers.size > 1) select.cancel();
    else if (select.active()) select.begin(at(event));
    point(at(event));
  });

  element.addEventListener('pointermove', (event) => {
    point(at(event));
    const before = pointers.get(event.pointerId);
    if (!before) return;
    if (!event.buttons) return released(event); // it was released elsewhere
    const now = at(event);
    if (pointers.size === 1) {
      if (select.active()) select.move(now);
      else view.moveBy(now.x - before.x, now.y - before.y);
    } else if (pointers.size === 2) {
      const old = spread();
      pointers.set(event.pointerId, now);
      const { distance, middle } = spread();
      view.moveBy(middle.x - old.middle.x, middle.y - old.middle.y);
      if (old.distance > 0) view.zoomTo(view.scale * distance / old.distance, middle);
    }
    pointers.set(event.pointerId, now);
  });

  element.addEventListener('pointerup', released);
  element.addEventListener('pointercancel', released);
  element.addEventListener('pointerleave', () => point(null));
  element.addEventListener('dblclick', (event) => {
    if (select.active()) return;
    if (view.isFitted) view.zoomTo(1 / devicePixelRatio, at(event));
    else view.fit();
  });

  const keys = {
    '+': () => view.zoomTo(view.scale * STEP),
    '=': () => view.zoomTo(view.scale * STEP),
    '-': () => view.zoomTo(view.scale / STEP),
    0: () => view.fit(),
    1: () => view.zoomTo(1 / devicePixelRatio),
    ArrowLeft: () => view.moveBy(KEY_MOVE, 0),
    ArrowRight: () => view.moveBy(-KEY_MOVE, 0),
    ArrowUp: () => view.moveBy(0, KEY_MOVE),
    ArrowDown: () => view.moveBy(0, -KEY_MOVE),
    Escape: () => select.cancel(),
  };
  element.addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey || !keys[event.key]) return;
    event.preventDefault();
    keys[event.key]();
  });
}
