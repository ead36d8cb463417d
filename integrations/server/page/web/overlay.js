// SPDX-License-Identifier: MIT
// What is drawn over the picture: crosshair, marks of stars, the region that is being dragged.
import { cleared, colour } from './dom.js';

const SMALLEST_RING = 8;

export class Overlay {
  hasCrosshair = false;
  /** Stars in pixels of the image: x, y, hfr. */
  stars = [];
  /** The region that is being dragged: two `corners`, in pixels of the image, and a `label`. */
  region = null;
  #canvas;
  #view;

  constructor(canvas, view) {
    this.#canvas = canvas;
    this.#view = view;
  }

  draw() {
    const { context, width, height } = cleared(this.#canvas);
    if (!this.#view.image.width) return;
    if (this.hasCrosshair) this.#drawCrosshair(context, width, height);
    this.#drawStars(context);
    if (this.region) this.#drawRegion(context, width, height);
  }

  /** Through the middle of the image, with a gap so that a star there can be seen. */
  #drawCrosshair(context, width, height) {
    const { image } = this.#view;
    const { x, y } = this.#view.toScreen({ x: image.width / 2, y: image.height / 2 });
    const [column, row] = [Math.round(x) + 0.5, Math.round(y) + 0.5];
    context.strokeStyle = colour('--mark');
    context.lineWidth = 1;
    context.beginPath();
    for (const [x1, y1, x2, y2] of [[0, row, column - 12, row], [column + 12, row, width, row],
      [column, 0, column, row - 12], [column, row + 12, column, height]]) {
      context.moveTo(x1, y1);
      context.lineTo(x2, y2);
    }
    for (const radius of [24, 60]) {
      context.moveTo(column + radius, row);
      context.arc(column, row, radius, 0, 2 * Math.PI);
    }
    context.stroke();
  }

  #drawStars(context) {
    context.lineWidth = 1.5;
    this.stars.forEach((star, position) => {
      const { x, y } = this.#view.toScreen({ x: star.x + 0.5, y: star.y + 0.5 });
      context.strokeStyle = colour(star.saturated ? '--bad' : position ? '--mark' : '--accent');
      context.beginPath();
      context.arc(x, y, Math.max(SMALLEST_RING, 2.5 * star.hfr * this.#view.scale), 0, 2 * Math.PI);
      context.stroke();
    });
  }

  #drawRegion(context, width, height) {
    const [one, other] = this.region.corners.map((corner) => this.#view.toScreen(corner));
    const [left, top] = [Math.min(one.x, other.x), Math.min(one.y, other.y)];
    const [wide, high] = [Math.abs(one.x - other.x), Math.abs(one.y - other.y)];
    context.fillStyle = '#0009';
    context.fillRect(0, 0, width, height);
    context.clearRect(left, top, wide, high);
    context.strokeStyle = colour('--accent');
    context.lineWidth = 1.5;
    context.strokeRect(left, top, wide, high);
    context.fillStyle = colour('--accent');
    context.font = '13px system-ui, sans-serif';
    context.fillText(this.region.label, left, top > 20 ? top - 7 : top + high + 17);
  }
}
