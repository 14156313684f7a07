// Asks a Windows program of ours that reads commands line by line and answers each with a line of
// JSON, such as tests/support/window_probe_win.cpp.
import { createInterface } from 'node:readline';
import { inTime } from './waiting.mjs';

export class ProbeProgram {
  #child;
  #exit;
  #answers;
  #queue = Promise.resolve();

  // `child`: the running program, with pipes for its input and output.
  constructor(child) {
    this.#child = child;
    this.#exit = new Promise((resolve) => child.on('exit', resolve).on('error', resolve));
    child.stdin.on('error', () => {}); // the program may be ended together with the host
    this.#answers = createInterface({ input: child.stdout })[Symbol.asyncIterator]();
  }

  // Sends one command and gives the answer as an object. The program's comment lists the commands.
  ask(...words) {
    const answer = this.#queue.then(() => this.#ask(words.join(' ')));
    this.#queue = answer.catch(() => {});
    return answer;
  }

  async #ask(command) {
    this.#child.stdin.write(`${command}\n`);
    const { value, done } = await inTime(`the probe's answer to "${command}"`, this.#answers.next());
    if (done) throw new Error(`the probe has ended; it was asked "${command}"`);
    const answer = JSON.parse(value);
    if (answer.error) throw new Error(`${answer.error} (${command})`);
    return answer;
  }

  async close() {
    this.#child.stdin.end();
    await this.#exit;
  }
}
