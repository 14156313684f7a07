// The playground, served from page/ and used in the host's window as a person would.
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

// `wanted`: as for startHost, but for the address.
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

  // What stands in the elements, one text each.
  texts(selector) {
    return this.page.evaluate(
      (wanted) => [...document.querySelectorAll(wanted)].map((one) => one.innerText.trim()),
      selector,
    );
  }

  // Waits until one of the elements says what it has to.
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

  // A click into a field, all of it chosen, and the keys.
  async fill(selector, text) {
    await this.click(selector);
    await this.host.keys('ctrl+a');
    await this.host.type(text);
    await this.page.waitFor(
      `document.querySelector(${JSON.stringify(selector)}).value === ${JSON.stringify(text)}`,
    );
  }

  // A picture of the screen in build/screenshots/. The window shows the page a moment late: the
  // picture is taken again until a spot in the page's corner shows that it is not an older one.
  async takePicture(name) {
    mkdirSync(kPictures, { recursive: true });
    const file = join(kPictures, `${name}.png`);
    const [left, top] = (await this.host.window()).client;
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

  // In a colour that it had not yet.
  async #paintSpot() {
    this.#spots += 1;
    await this.page.evaluate((shade) => {
      const spot = document.querySelector('#spot') ?? document.createElement('i');
      spot.id = 'spot';
      spot.style = `position: fixed; inset: 0 auto auto 0; padding: 4px; background: rgb(${shade} 0 0)`;
      document.documentElement.append(spot); // outside of what a test zooms
    }, this.#spots);
  }

  // The host's exit code.
  async close() {
    const code = await this.host.close();
    this.#endPages();
    return code;
  }
}
