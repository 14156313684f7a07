// Drives the screen of Windows: presses keys, moves the mouse, takes pictures. The members are those
// of ../debian/screen.mjs.
import { ProbeProgram } from '../probe_program.mjs';
import { until } from '../waiting.mjs';

export class Screen {
  #program;

  // `child`: a running screen.exe.
  constructor(child) {
    this.#program = new ProbeProgram(child);
  }

  async keys(...combinations) {
    await this.#program.ask('keys', ...combinations);
  }

  async focusedWindow() {
    return (await this.#program.ask('focused')).title;
  }

  async type(text) {
    await this.#program.ask('type', JSON.stringify(text));
  }

  async moveMouse(x, y) {
    await this.#program.ask('move', Math.round(x), Math.round(y));
  }

  async click(x, y, { button = 1, keys = [] } = {}) {
    await this.moveMouse(x, y);
    for (const key of keys) await this.#program.ask('hold', key);
    await this.#program.ask('press', button);
    await this.#program.ask('release', button);
    for (const key of keys) await this.#program.ask('free', key);
  }

  async press(x, y) {
    await this.moveMouse(x, y);
    await this.#program.ask('press', 1);
  }

  // From the frame of a window. The mouse moves when the window has noticed the button.
  async drag(from, to) {
    await this.press(...from);
    await until('the window to follow the mouse', async () => (await this.#program.ask('sizing')).sizing);
    await this.moveMouse(...to);
    await this.#program.ask('release', 1);
  }

  async colorAt(x, y) {
    return (await this.#program.ask('color', Math.round(x), Math.round(y))).color;
  }

  async screenshot(file) {
    await this.#program.ask('picture', JSON.stringify(file));
  }

  async close() {
    await this.#program.close();
  }
}
