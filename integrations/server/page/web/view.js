// SPDX-License-Identifier: MIT
// Which part of the image is seen, and how large.

const LARGEST_SCALE = 32;

/** Scales are pixels of the screen (CSS) for each pixel of the image. */
export class View {
  image = { width: 0, height: 0 };
  stage = { width: 0, height: 0 };
  /** Whether the whole image is shown, whatever its size and that of the stage. */
  isFitted = true;
  #scale = 1;
  #centre = { x: 0, y: 0 };
  #changed;

  /** @param changed is called after each change */
  constructor(changed) {
    this.#changed = changed;
  }

  get scale() {
    return this.isFitted ? this.#fittingScale() : this.#scale;
  }

  get #position() {
    const { width, height } = this.image;
    return this.isFitted ? { x: width / 2, y: height / 2 } : this.#centre;
  }

  /** An image of another size fits the stage again: what was zoomed to is elsewhere. */
  setImage(width, height) {
    if (this.image.width === width && this.image.height === height) return;
    this.image = { width, height };
    this.isFitted = true;
    this.#changed();
  }

  setStage(width, height) {
    this.stage = { width, height };
    this.#changed();
  }

  toScreen({ x, y }) {
    const { width, height } = this.stage;
    const centre = this.#position;
    return {
      x: width / 2 + (x - centre.x) * this.scale, y: height / 2 + (y - centre.y) * this.scale,
    };
  }

  toImage({ x, y }) {
    const { width, height } = this.stage;
    const centre = this.#position;
    return {
      x: centre.x + (x - width / 2) / this.scale, y: centre.y + (y - height / 2) / this.scale,
    };
  }

  fit() {
    this.isFitted = true;
    this.#changed();
  }

  /** Zooms to a scale; the point of the stage stays where it is. */
  zoomTo(scale, point = { x: this.stage.width / 2, y: this.stage.height / 2 }) {
    const held = this.toImage(point);
    const fitting = this.#fittingScale();
    const smallest = Math.min(fitting, 1 / devicePixelRatio);
    this.#scale = Math.min(Math.max(scale, smallest), LARGEST_SCALE);
    this.isFitted = this.#scale === fitting;
    this.#centre = {
      x: held.x - (point.x - this.stage.width / 2) / this.#scale,
      y: held.y - (point.y - this.stage.height / 2) / this.#scale,
    };
    this.#settle();
  }

  moveBy(dx, dy) {
    const { scale } = this;
    const centre = this.#position;
    this.#scale = scale;
    this.#centre = { x: centre.x - dx / scale, y: centre.y - dy / scale };
    this.#settle();
  }

  /** What is seen of the image, in whole pixels, or null for all of it. */
  window() {
    const { width, height } = this.image;
    const begin = this.toImage({ x: 0, y: 0 });
    const end = this.toImage({ x: this.stage.width, y: this.stage.height });
    const x = Math.max(0, Math.floor(begin.x));
    const y = Math.max(0, Math.floor(begin.y));
    const right = Math.min(width, Math.ceil(end.x));
    const bottom = Math.min(height, Math.ceil(end.y));
    if (x === 0 && y === 0 && right === width && bottom === height) return null;
    return right > x && bottom > y ? [x, y, right - x, bottom - y] : null;
  }

  #fittingScale() {
    const { image, stage } = this;
    if (!image.width || !stage.width) return 1;
    return Math.min(stage.width / image.width, stage.height / image.height);
  }

  /** The image cannot be pushed off the stage, and what fits is in the middle. */
  #settle() {
    const within = (value, size, room) => {
      const half = Math.min(room / this.#scale, size) / 2;
      return Math.min(Math.max(value, half), size - half);
    };
    this.#centre.x = within(this.#centre.x, this.image.width, this.stage.width);
    this.#centre.y = within(this.#centre.y, this.image.height, this.stage.height);
    this.#changed();
  }
}
