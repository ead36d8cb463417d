// SPDX-License-Identifier: MIT
// The live picture on its canvas: the latest one wins.

const HEADER = 32;
const MAGNIFIER = 1;
const SHARP_FROM = 2;

function parse(buffer) {
  const header = new DataView(buffer, 0, HEADER);
  const word = (at) => header.getUint16(at, true);
  return {
    message: header.getUint32(0, true),
    frame: header.getUint32(4, true),
    x: word(8), y: word(10), width: word(12), height: word(14),
    imageWidth: word(16), imageHeight: word(18),
    isMagnifier: word(20) === MAGNIFIER,
    exposure: header.getFloat32(24, true),
    jpeg: buffer.slice(HEADER),
  };
}

/** Decodes one picture after the other, dropping those that are overtaken meanwhile. */
class Decoder {
  #next = null;
  #isBusy = false;
  #decoded;

  constructor(decoded) {
    this.#decoded = decoded;
  }

  async take(picture) {
    this.#next = picture;
    if (this.#isBusy) return;
    this.#isBusy = true;
    while (this.#next) {
      const current = this.#next;
      this.#next = null;
      try {
        const blob = new Blob([current.jpeg], { type: 'image/jpeg' });
        current.bitmap = await createImageBitmap(blob);
        this.#decoded(current);
      } catch {
        // A damaged picture is left out; another one follows.
      }
    }
    this.#isBusy = false;
  }
}

export class Picture {
  /** The picture that was received last: its part of the image, size, frame number, exposure. */
  current = null;
  /** Pictures that were shown in all. */
  shown = 0;
  #canvas;
  #view;
  #whole = null;
  #isDue = false;

  /** @param seen is told each picture that was received and shown; @param magnified the crops */
  constructor(canvas, view, { seen, magnified }) {
    this.#canvas = canvas;
    this.#view = view;
    this.pictures = new Decoder((picture) => {
      this.#take(picture);
      seen(picture);
    });
    this.crops = new Decoder((picture) => {
      magnified(picture);
      seen(picture);
    });
  }

  receive(buffer) {
    if (buffer.byteLength <= HEADER) return;
    const picture = parse(buffer);
    (picture.isMagnifier ? this.crops : this.pictures).take(picture);
  }

  /** Draws before the screen is refreshed next. */
  redraw() {
    if (this.#isDue) return;
    this.#isDue = true;
    requestAnimationFrame(() => {
      this.#isDue = false;
      this.#draw();
    });
  }

  #take(picture) {
    const { imageWidth, imageHeight } = picture;
    const isWhole = picture.width === imageWidth && picture.height === imageHeight;
    const { current: old } = this;
    const below = this.#whole;
    const isKept = !isWhole && below?.imageWidth === imageWidth &&
      below?.imageHeight === imageHeight;
    for (const gone of new Set([old, isKept ? null : below])) {
      if (gone && !(isKept && gone === below)) gone.bitmap.close();
    }
    this.current = picture;
    this.#whole = isWhole ? picture : isKept ? below : null;
    this.shown += 1;
    this.#view.setImage(imageWidth, imageHeight);
    this.redraw();
  }

  /** While the window moves, the last whole image shows below what has not been sent yet. */
  #draw() {
    const ratio = devicePixelRatio;
    const { stage } = this.#view;
    const [columns, rows] = [Math.round(stage.width * ratio), Math.round(stage.height * ratio)];
    if (this.#canvas.width !== columns) this.#canvas.width = columns;
    if (this.#canvas.height !== rows) this.#canvas.height = rows;
    const context = this.#canvas.getContext('2d');
    context.clearRect(0, 0, columns, rows);
    for (const picture of new Set([this.#whole, this.current])) {
      if (!picture) continue;
      const { x, y, width, height, bitmap } = picture;
      const from = this.#view.toScreen({ x, y });
      const to = this.#view.toScreen({ x: x + width, y: y + height });
      const left = Math.round(from.x * ratio);
      const top = Math.round(from.y * ratio);
      const [wide, high] = [Math.round(to.x * ratio) - left, Math.round(to.y * ratio) - top];
      context.imageSmoothingEnabled = bitmap.width < width || wide < SHARP_FROM * bitmap.width;
      context.imageSmoothingQuality = 'medium';
      context.drawImage(bitmap, left, top, wide, high);
    }
  }
}
