// SPDX-License-Identifier: MIT
// The WebSocket of a camera: messages in both directions, and coming back after a loss.

const SHORTEST_DELAY = 250;
const LONGEST_DELAY = 5000;
const SILENCE = 6000;

/** A command that the server has refused or could not be asked; its message is for users. */
export class CommandError extends Error {}

/**
 * Events are the types of the server's text messages, `picture` with an ArrayBuffer, `open`
 * and `lost`, and `unknown` when the server has no such camera.
 */
export class Connection {
  /** The last message of each type since the connection was opened. */
  last = {};
  isOpen = false;
  #number;
  #socket = null;
  #listeners = new Map();
  #answers = new Map();
  #nextId = 1;
  #delay = SHORTEST_DELAY;
  #timer = 0;
  #heard = 0;

  /** @param number of the camera */
  constructor(number) {
    this.#number = number;
    setInterval(() => this.#watch(), SILENCE / 2);
    addEventListener('online', () => this.#hurry());
    document.addEventListener('visibilitychange', () => document.hidden || this.#hurry());
  }

  on(type, listener) {
    if (!this.#listeners.has(type)) this.#listeners.set(type, []);
    this.#listeners.get(type).push(listener);
  }

  #connect() {
    const url = new URL(`/camera/${this.#number}/live`, location.href);
    url.protocol = url.protocol.replace('http', 'ws');
    const socket = new WebSocket(url);
    socket.binaryType = 'arraybuffer';
    socket.onopen = () => {
      this.isOpen = true;
      this.#delay = SHORTEST_DELAY;
      this.#emit('open');
    };
    socket.onmessage = ({ data }) => this.#received(data);
    socket.onclose = () => this.#lost();
    this.#heard = performance.now();
    this.#socket = socket;
  }

  /** Sends a message that has no answer; it is dropped without a connection. */
  tell(message) {
    if (this.isOpen) this.#socket.send(JSON.stringify(message));
  }

  /** Sends a command. @throws CommandError */
  ask(message) {
    if (!this.isOpen) return Promise.reject(new CommandError('The server cannot be reached.'));
    const id = this.#nextId++;
    this.#socket.send(JSON.stringify({ ...message, id }));
    return new Promise((resolve, reject) => this.#answers.set(id, { resolve, reject }));
  }

  #emit(type, detail) {
    for (const listener of this.#listeners.get(type) ?? []) listener(detail);
  }

  #received(data) {
    this.#heard = performance.now();
    if (typeof data !== 'string') return this.#emit('picture', data);
    const message = JSON.parse(data);
    if (message.type === 'done' || message.type === 'failed') return this.#answered(message);
    this.last[message.type] = message;
    this.#emit(message.type, message);
  }

  #answered({ id, type, message }) {
    const answer = this.#answers.get(id);
    this.#answers.delete(id);
    if (type === 'done') answer?.resolve();
    else answer?.reject(new CommandError(message));
  }

  /** A line that went dead closes nothing by itself, so silence is questioned. */
  async #watch() {
    if (!this.#socket || performance.now() - this.#heard < SILENCE) return;
    const socket = this.#socket;
    try {
      await fetch('/cameras', { signal: AbortSignal.timeout(SILENCE / 2) });
      if (this.isOpen) this.#heard = performance.now();
    } catch {
      if (socket === this.#socket) this.#lost();
    }
  }

  #lost() {
    if (!this.#socket) return;
    this.#socket.onopen = this.#socket.onmessage = this.#socket.onclose = null;
    this.#socket.close();
    this.#socket = null;
    this.isOpen = false;
    this.last = {};
    for (const { reject } of this.#answers.values()) {
      reject(new CommandError('The connection to the server was lost.'));
    }
    this.#answers.clear();
    this.#emit('lost');
    this.#timer = setTimeout(() => this.open(), this.#delay);
    this.#delay = Math.min(this.#delay * 2, LONGEST_DELAY) * (0.8 + 0.4 * Math.random());
  }

  #hurry() {
    if (this.#socket || !this.#timer) return;
    clearTimeout(this.#timer);
    this.open();
  }

  /** A WebSocket does not tell why it was refused, but the list of cameras does. */
  async open() {
    this.#timer = 0;
    try {
      const answer = await fetch('/cameras', { signal: AbortSignal.timeout(LONGEST_DELAY) });
      if (answer.status === 401) return goToLogin();
      const cameras = await answer.json();
      if (!cameras.some(({ number }) => number === this.#number)) this.#emit('unknown');
    } catch {
      // The server is away: connecting fails, too, and is tried again later.
    }
    this.#connect();
  }
}

export function goToLogin() {
  location.replace(`/login?to=${encodeURIComponent(location.pathname)}`);
}
