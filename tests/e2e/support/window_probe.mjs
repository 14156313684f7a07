// Looks at the host's window with a second Windows program, tests/support/window_probe_win.cpp.
import { dirname, join } from 'node:path';
import { createInterface } from 'node:readline';
import { fileURLToPath } from 'node:url';
import { wineCommand } from '../../../tools/wine/prefix.mjs';
import { ended, spawnTied } from '../../../tools/wine/processes.mjs';
import { inTime } from './waiting.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../../..');
const kProgram = join(kRoot, 'build/windows/bin/window_probe.exe');

export class WindowProbe {
  #child;
  #answers;
  #queue = Promise.resolve();

  // `environment`: the environment of the Wine prefix in which the host runs.
  constructor(environment) {
    this.#child = spawnTied(...wineCommand(kProgram), {
      env: environment,
      stdio: ['pipe', 'pipe', 'ignore'],
    });
    this.#child.stdin.on('error', () => {}); // the probe is ended together with the host
    this.#answers = createInterface({ input: this.#child.stdout })[Symbol.asyncIterator]();
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
    const end = ended(this.#child);
    this.#child.stdin.end();
    if (this.#child.exitCode === null && this.#child.signalCode === null) await end;
  }
}
