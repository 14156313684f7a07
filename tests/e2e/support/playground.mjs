// Serves the playground from page/ and uses it in the host's window as a user does.
import { execFile, spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdirSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';
import { startHost } from './host.mjs';
import { endsWithFile } from './leftovers.mjs';
import { until } from './waiting.mjs';

const run = promisify(execFile);
const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../../..');
const kPictures = join(kRoot, 'build/screenshots');

// `wanted`: as for startHost, without the address.
export async function startPlayground(wanted) {
  const pages = spawn(process.execPath, ['tools/serve.mjs', 'page', '/playground/'], {
    cwd: kRoot,
    stdio: ['pipe', 'pipe', 'inherit'],
  });
  const endPages = endsWithFile(() => pages.stdin.end());
  const [line] = await once(pages.stdout, 'data');
  const host = await startHost({ ...wanted, address: String(line).trim() });
  return new Playground(host, endPages);
}

class Playground {
  #endPages;
  #spots = 0;

  constructor(host, endPages) {
    this.host = host;
    this.page = host.page;
    this.#endPages = endPages;
  }

  // The visible text of each element.
  texts(selector) {
    return this.page.evaluate(
      (wanted) => [...document.querySelectorAll(wanted)].map((one) => one.innerText.trim()),
      selector,
    );
  }

  // Waits until one of the elements has the wanted text.
  async says(selector, wanted, timeoutMs) {
    let seen = [];
    const fits = async () => {
      seen = await this.texts(selector);
      return wanted instanceof RegExp ? seen.some((text) => wanted.test(text)) : seen.includes(wanted);
    };
    const context = () => `it says ${JSON.stringify(seen)}\n${this.host.context()}`;
    await until(`${selector} to say ${wanted}`, fits, { timeoutMs, context });
  }

  async click(selector) {
    await this.page.waitFor(`document.querySelector(${JSON.stringify(selector)})?.offsetWidth`);
    await this.host.clickElement(selector);
  }

  // Clicks into a field, selects all of its text, and types the new text.
  async fill(selector, text) {
    await this.click(selector);
    await this.host.keys('ctrl+a');
    await this.host.type(text);
    await this.page.waitFor(
      `document.querySelector(${JSON.stringify(selector)}).value === ${JSON.stringify(text)}`,
    );
  }

  // Takes a picture of the screen to build/screenshots/. The window shows changes of the page a
  // moment late. Therefore each try paints a spot in a new colour into the page's corner, until the
  // picture has the colour of one of these tries.
  async takePicture(name) {
    mkdirSync(kPictures, { recursive: true });
    const file = join(kPictures, `${name}.png`);
    const [left, top] = (await this.host.window()).client;
    if (process.platform === 'win32') return this.host.screenshot(file); // has no program to look at it
    const first = this.#spots + 1;
    const isNew = async () => {
      await this.#paintSpot();
      await this.host.screenshot(file);
      const place = `1x1+${left + 2}+${top + 2}`;
      const { stdout } = await run('convert', [file, '-crop', place, 'rgb:-'], { encoding: 'buffer' });
      const [red, green, blue] = stdout;
      return red >= first && red <= this.#spots && green === 0 && blue === 0;
    };
    await until(`a picture for ${name}`, isNew, { context: this.host.context });
  }

  // Paints the spot in a colour that it has not had yet.
  async #paintSpot() {
    this.#spots += 1;
    await this.page.evaluate((shade) => {
      const spot = document.querySelector('#spot') ?? document.createElement('i');
      spot.id = 'spot';
      spot.style = `position: fixed; inset: 0 auto auto 0; padding: 4px; background: rgb(${shade} 0 0)`;
      document.documentElement.append(spot); // outside the body, which a test may zoom
    }, this.#spots);
  }

  // Ends the host and the server of the playground; gives the host's exit code.
  async close() {
    const code = await this.host.close();
    this.#endPages();
    return code;
  }
}
