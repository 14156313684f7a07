// The lines of a stream, kept in order, and waiting for one of them.
import { createInterface } from 'node:readline';
import { inTime } from './waiting.mjs';

function matches(line, pattern) {
  return typeof pattern === 'string' ? line.includes(pattern) : pattern.test(line);
}

export class Lines {
  all = [];
  #waiting = new Set();

  constructor(stream) {
    createInterface({ input: stream, crlfDelay: Infinity }).on('line', (line) => {
      this.all.push(line);
      for (const check of this.#waiting) check(line);
    });
  }

  // The first line that contains the text or matches the expression, from line number `from` on,
  // whether it has come already or not.
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
