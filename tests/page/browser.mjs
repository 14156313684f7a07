// Drives an ordinary browser with one page, over the pipe of Chromium's DevTools protocol.
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { ended, spawnTied } from '../../tools/wine/processes.mjs';
import { inTime, until } from '../e2e/support/waiting.mjs';

const kChromium = '/usr/lib/chromium/chromium-headless-shell'; // the file in /usr/bin is a wrapper
const kFlags = [
  '--no-sandbox', '--disable-gpu', '--disable-dev-shm-usage', '--no-first-run',
  '--disable-background-networking', '--remote-debugging-pipe', '--window-size=1260,900',
  'about:blank',
]; // prettier-ignore

export async function startBrowser() {
  const browser = new Browser();
  await browser.attach();
  return browser;
}

class Browser {
  #data = mkdtempSync(join(tmpdir(), 'wendra-browser-'));
  #child = spawnTied(kChromium, [`--user-data-dir=${this.#data}`, ...kFlags], {
    stdio: ['ignore', 'ignore', 'ignore', 'pipe', 'pipe'],
  });
  #waiting = new Map();
  #lastId = 0;
  #unread = '';
  #session;
  errors = []; // exceptions of the page's scripts and errors on its console

  async attach() {
    this.#child.stdio[3].on('error', () => {}); // the browser has ended; #send reports the time-out
    this.#child.stdio[4].setEncoding('utf8').on('data', (text) => this.#receive(text));
    const { targetInfos } = await this.#send('Target.getTargets');
    const { targetId } = targetInfos.find(({ type }) => type === 'page');
    const attached = await this.#send('Target.attachToTarget', { targetId, flatten: true });
    this.#session = attached.sessionId;
    await this.send('Runtime.enable');
  }

  // Sends any command of the protocol to the page.
  send(method, params = {}) {
    return this.#send(method, params, this.#session);
  }

  async visit(address) {
    await this.send('Page.navigate', { url: address });
    await this.waitFor(`document.readyState === "complete" && location.href === "${address}"`);
  }

  // The value of an expression, or of a function that runs in the page with JSON arguments.
  async evaluate(expression, ...args) {
    const given = args.map((arg) => JSON.stringify(arg)).join(', ');
    const { result, exceptionDetails } = await this.send('Runtime.evaluate', {
      expression: typeof expression === 'function' ? `(${expression})(${given})` : expression,
      awaitPromise: true,
      returnByValue: true,
    });
    if (exceptionDetails) throw new Error(exceptionDetails.exception?.description);
    return result.value;
  }

  // Waits until the condition gives something truthy.
  until(what, condition, context) {
    return until(what, condition, { context });
  }

  waitFor(expression) {
    return this.until(`the page to fulfil ${expression}`, () => this.evaluate(expression));
  }

  // The visible text of each element.
  async texts(selector) {
    return this.evaluate(
      (wanted) => [...document.querySelectorAll(wanted)].map((one) => one.innerText.trim()),
      selector,
    );
  }

  // Waits for the element, then clicks it.
  async click(selector) {
    const find = (wanted) => {
      const found = document.querySelector(wanted);
      found.scrollIntoView({ block: 'nearest' });
      const { left, top, width, height } = found.getBoundingClientRect();
      return width > 0 && { x: left + width / 2, y: top + height / 2 };
    };
    const place = await until(`the element ${selector}`, () => this.evaluate(find, selector));
    const press = { ...place, button: 'left', clickCount: 1 };
    await this.send('Input.dispatchMouseEvent', { type: 'mousePressed', ...press });
    await this.send('Input.dispatchMouseEvent', { type: 'mouseReleased', ...press });
  }

  // Replaces the text of a field, as a user does by typing.
  async fill(selector, text) {
    await this.click(selector);
    await this.evaluate((wanted) => document.querySelector(wanted).select(), selector);
    await this.send('Input.insertText', { text });
  }

  async close() {
    const end = ended(this.#child);
    this.#child.kill('SIGKILL');
    await end;
    rmSync(this.#data, { recursive: true, force: true, maxRetries: 5 });
  }

  #send(method, params = {}, sessionId = undefined) {
    const id = (this.#lastId += 1);
    this.#child.stdio[3].write(`${JSON.stringify({ id, method, params, sessionId })}\0`);
    const reply = new Promise((resolve, reject) => {
      this.#waiting.set(id, { method, resolve, reject });
    });
    return inTime(`the browser's reply to ${method}`, reply);
  }

  #receive(text) {
    const parts = (this.#unread + text).split('\0');
    this.#unread = parts.pop();
    for (const part of parts) this.#take(JSON.parse(part));
  }

  #take({ id, result, error, method, params }) {
    if (method === 'Runtime.exceptionThrown') this.errors.push(params.exceptionDetails.text);
    if (method === 'Runtime.consoleAPICalled' && params.type === 'error') {
      this.errors.push(params.args.map(({ value }) => value).join(' '));
    }
    const waiting = this.#waiting.get(id);
    if (!waiting) return;
    this.#waiting.delete(id);
    if (error) waiting.reject(new Error(`${waiting.method}: ${error.message}`));
    else waiting.resolve(result);
  }
}
