// Drives an X display: presses keys, moves the mouse, takes pictures.
import { execFile } from 'node:child_process';
import { promisify } from 'node:util';

const run = promisify(execFile);
const kTypable = /^[\n\t -~ÄÖÜßäöü€]*$/; // see tools/wine/keyboard.xkb

export class Screen {
  #environment;

  constructor(display) {
    // Without a UTF-8 locale xdotool takes text for ASCII.
    this.#environment = { ...process.env, DISPLAY: display, LC_ALL: 'C.UTF-8' };
  }

  // Key combinations with xdotool's names: 'ctrl+l', 'Return', 'alt+F4'.
  async keys(...combinations) {
    await this.#run('xdotool', 'key', ...combinations);
  }

  // The title of the window that has the keyboard. Throws while no window has it.
  async focusedWindow() {
    const { stdout } = await this.#run('xdotool', 'getwindowfocus', 'getwindowname');
    return stdout.trim();
  }

  async type(text) {
    if (!kTypable.test(text)) throw new Error(`no keys for ${text}`);
    await this.#run('xdotool', 'type', '--delay', '5', '--', text);
  }

  async moveMouse(x, y) {
    await this.#run('xdotool', 'mousemove', Math.round(x), Math.round(y));
  }

  // Buttons: 1 left, 2 middle, 3 right, 4 wheel up, 5 wheel down. `keys` are held down during it.
  async click(x, y, { button = 1, keys = [] } = {}) {
    await this.moveMouse(x, y);
    const down = keys.flatMap((key) => ['keydown', key]);
    const up = keys.flatMap((key) => ['keyup', key]);
    await this.#run('xdotool', ...down, 'click', button, ...up);
  }

  // Presses the left button and keeps it down.
  async press(x, y) {
    await this.moveMouse(x, y);
    await this.#run('xdotool', 'mousedown', 1);
  }

  async drag(from, to) {
    await this.press(...from);
    await this.moveMouse(...to);
    await this.#run('xdotool', 'mouseup', 1);
  }

  // The colour of a pixel of the screen, as '#RRGGBB'.
  async colorAt(x, y) {
    const place = `1x1+${Math.round(x)}+${Math.round(y)}`;
    const { stdout } = await this.#run('import', '-window', 'root', '-crop', place, '-depth', '8', 'txt:-');
    return /#[0-9A-F]{6}/.exec(stdout)[0];
  }

  close() {} // keeps nothing open

  async screenshot(file) {
    await this.#run('import', '-window', 'root', `png:${file}`);
  }

  async #run(command, ...args) {
    return run(command, args.map(String), { env: this.#environment });
  }
}
