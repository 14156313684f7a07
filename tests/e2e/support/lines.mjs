// Keeps the lines of a stream in order, and waits for a line.
import { createInterface } from 'node:readline';
import { inTime } from './waiting.mjs';

function matches(line, pattern) {
  return typeof pattern === 'string' ? line.includes(pattern) : pattern.test(line);
}

export class Lines {
  all = [];
  whole; // resolves when the stream has ended and all of its lines are there
  #waiting = new Set();

  constructor(stream) {
    const lines = createInterface({ input: stream, crlfDelay: Infinity });
    this.whole = new Promise((resolve) => lines.on('close', resolve));
    lines.on('line', (line) => {
      this.all.push(line);
      for (const check of this.#waiting) check(line);
    });
  }

  // The first line at index `from` or later that contains the text or matches the expression. Waits
  // for it if it has not come yet.
  async waitFor(pattern, { from = 0, timeoutMs, context } = {}) {
    const present = this.all.slice(from).find((line) => matches(line, pattern));
    if (present !== undefined) return present;
    let check;
    const coming = new Promise((resolve) => {
      check = (line) => matches(line, pattern) && resolve(line);
      this.#waiting.add(check);
    });
    try {
      return await inTime(`the line ${pattern}`, coming, { timeoutMs, context });
    } finally {
      this.#waiting.delete(check);
    }
  }
}
