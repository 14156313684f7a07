// Writes a PNG to one file: of the virtual display, or of the host's window on a real display.
import { execFile } from 'node:child_process';
import { readFile, rename, writeFile } from 'node:fs/promises';
import { setTimeout as sleep } from 'node:timers/promises';
import { promisify } from 'node:util';

const run = promisify(execFile);
const kRestLimitMs = 3000; // a page with an animation never comes to rest
const kPageLimitMs = 5000; // there may be no page but a prompt or a dialog
const kStepMs = 50;

export class Screenshots {
  #file;
  #display;
  #program;
  #wholeScreen;
  #queue = Promise.resolve();

  // `program`: the file name of the host, which is also the X class of its windows.
  constructor(file, { display, program, wholeScreen }) {
    this.#file = file;
    this.#display = display;
    this.#program = program;
    this.#wholeScreen = wholeScreen;
  }

  // Takes a picture when the page has been painted, and one before, without the page, when that
  // takes too long. `eventsFile`: the file in which the control reports that it has loaded and
  // painted a page; empty without a browser.
  async takeFirst(eventsFile, signal) {
    await this.#until(() => this.#findWindow(), Infinity, signal);
    if (eventsFile) {
      const painted = () => hasPainted(eventsFile);
      if (!(await this.#until(painted, kPageLimitMs, signal))) {
        await this.take('no page has been painted yet');
        await this.#until(painted, Infinity, signal);
      }
    }
    await this.take('the page is there', { atRest: true });
  }

  // Takes a picture; several calls take theirs one after the other.
  take(reason, { atRest = false } = {}) {
    this.#queue = this.#queue.then(() => this.#take(reason, atRest)).catch((error) => {
      console.error(`launch: no screenshot (${reason}): ${error.message.split('\n')[0]}`);
    });
    return this.#queue;
  }

  async #take(reason, atRest) {
    const picture = atRest ? await this.#captureAtRest() : await this.#capture();
    const fresh = `${this.#file}.new`;
    await writeFile(fresh, picture);
    await rename(fresh, this.#file);
    console.error(`launch: screenshot ${this.#file} (${reason})`);
  }

  async #captureAtRest() {
    const end = Date.now() + kRestLimitMs;
    let picture = await this.#capture();
    while (Date.now() < end) {
      await sleep(kStepMs);
      const next = await this.#capture();
      if (next.equals(picture)) break;
      picture = next;
    }
    return picture;
  }

  async #capture() {
    const target = this.#wholeScreen ? 'root' : await this.#findWindow();
    if (!target) throw new Error('there is no window');
    // Without the time chunks, two pictures of the same screen have the same bytes.
    const options = ['-window', target, '-define', 'png:exclude-chunks=date,time', 'png:-'];
    const { stdout } = await run('import', ['-display', this.#display, ...options], {
      encoding: 'buffer',
      maxBuffer: 256 << 20,
    });
    return stdout;
  }

  // The id of the host's visible top window, or ''.
  async #findWindow() {
    const search = ['search', '--onlyvisible', '--class', this.#program];
    const environment = { ...process.env, DISPLAY: this.#display };
    const { stdout } = await run('xdotool', search, { env: environment }).catch(() => ({ stdout: '' }));
    return stdout.trim().split('\n').at(-1);
  }

  async #until(condition, limitMs, signal) {
    const end = Date.now() + limitMs;
    while (!(await condition())) {
      if (Date.now() >= end) return false;
      await sleep(kStepMs, undefined, { signal });
    }
    return true;
  }
}

async function hasPainted(eventsFile) {
  const lines = (await readFile(eventsFile, 'utf8').catch(() => '')).split('\n');
  const names = lines.flatMap((line) => /"event":\s*"(\w+)"/.exec(line)?.[1] ?? []);
  const loaded = names.indexOf('loaded');
  return loaded >= 0 && names.indexOf('painted', loaded) >= 0;
}
