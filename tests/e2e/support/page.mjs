// A DevTools session of our own on the page that the host shows. It only looks and runs script;
// what a user does comes through the screen.
import { readFile } from 'node:fs/promises';
import WebSocket from 'ws';
import { inTime, until } from './waiting.mjs';

// Runs in the page: posts a request as the page would, and keeps every reply that comes.
function postRequest(name, args) {
  const bridge = (window.__wendra ??= {});
  if (!bridge.testReplies) {
    const before = bridge.__resolve;
    bridge.testReplies = [];
    bridge.testWaiting = new Map();
    bridge.__resolve = (id, ok, value) => {
      bridge.testReplies.push({ id, ok, value });
      const resolve = bridge.testWaiting.get(id);
      if (!resolve) return before?.call(bridge, id, ok, value);
      bridge.testWaiting.delete(id);
      return resolve({ ok, value });
    };
  }
  const id = `test-${bridge.testReplies.length}-${Math.random().toString(36).slice(2)}`;
  return new Promise((resolve) => {
    bridge.testWaiting.set(id, resolve);
    chrome.webview.postMessage({ __reqId: id, name, args });
  });
}

export class Page {
  #socket;
  #session;
  #context;
  #lastId = 0;
  #waiting = new Map();
  #onEvent;

  // `portFile`: Chromium's DevToolsActivePort. Waits until the host has its page.
  static async connect(portFile, context) {
    const [port, path] = await until(
      'the browser',
      async () => {
        const lines = (await readFile(portFile, 'utf8')).trim().split('\n');
        return lines.length === 2 && lines;
      },
      { context },
    );
    const page = new Page(context);
    await page.#open(`ws://127.0.0.1:${port}${path}`);
    // The page that somebody is attached to: taking it first would take it away from the host.
    const target = await until("the host's page", () => page.#attachedTarget(), { context });
    const { sessionId } = await page.#call('Target.attachToTarget', {
      targetId: target.targetId,
      flatten: true,
    });
    page.#session = sessionId;
    return page;
  }

  constructor(context) {
    this.#context = context;
  }

  // The value of an expression, or of a function of the page called with JSON arguments; promises
  // are awaited. Throws what the page throws.
  async evaluate(expression, ...args) {
    const isFunction = typeof expression === 'function';
    const text = isFunction
      ? `(${expression})(${args.map((arg) => JSON.stringify(arg) ?? 'undefined').join(', ')})`
      : expression;
    const { result, exceptionDetails } = await this.send('Runtime.evaluate', {
      expression: text,
      awaitPromise: true,
      returnByValue: true,
    });
    if (exceptionDetails) {
      throw new Error(exceptionDetails.exception?.description ?? exceptionDetails.text);
    }
    return result.value;
  }

  // Until the expression is truthy, across navigations.
  async waitFor(expression, options = {}) {
    return until(`the page to fulfil ${expression}`, () => this.evaluate(expression), {
      context: this.#context,
      ...options,
    });
  }

  // Until a document whose address contains the text, or matches the expression, has loaded.
  async loaded(address = /^(?!about:blank)/) {
    const fits = (href) => (typeof address === 'string' ? href.includes(address) : address.test(href));
    return until(
      `the page ${address}`,
      async () => {
        const [href, state] = await this.evaluate('[location.href, document.readyState]');
        return fits(href) && state === 'complete' && href;
      },
      { context: this.#context },
    );
  }

  // Loads the address anew, even if it is the present one, and waits for its document.
  async visit(address) {
    await this.evaluate((url) => {
      window.isLeft = true;
      location.href = url;
    }, address);
    await this.waitFor('!window.isLeft');
    return this.loaded(address);
  }

  // One request to the host; resolves with {ok, value} as the page gets them. `args` is left out of
  // the message when undefined.
  async call(action, args, { timeoutMs } = {}) {
    return inTime(`the reply to ${action}`, this.evaluate(postRequest, action, args), {
      context: this.#context,
      timeoutMs,
    });
  }

  // Every reply since the first call, {id, ok, value}, so that a test can count them.
  async replies() {
    return this.evaluate('window.__wendra?.testReplies ?? []');
  }

  // Posts any value as a web message, awaiting nothing.
  async post(message) {
    await this.evaluate((value) => chrome.webview.postMessage(value), message);
  }

  // Left, top, width, height and middle of an element in the page, after scrolling to it.
  async boxOf(selector) {
    return this.evaluate((wanted) => {
      const element = document.querySelector(wanted);
      if (!element) throw new Error(`no element ${wanted}`);
      element.scrollIntoView({ block: 'nearest' });
      const { left, top, width, height } = element.getBoundingClientRect();
      return { left, top, width, height, x: left + width / 2, y: top + height / 2 };
    }, selector);
  }

  // The text of every script that was run in the page during `action`, however it got there.
  async scriptsDuring(action) {
    const texts = [];
    const textOf = async (scriptId) => {
      const { scriptSource } = await this.send('Debugger.getScriptSource', { scriptId });
      return scriptSource;
    };
    this.#onEvent = ({ method, params }) => {
      // At once: a script goes with its document. One that is gone already was of an older one.
      if (method === 'Debugger.scriptParsed') texts.push(textOf(params.scriptId).catch(() => ''));
    };
    await this.send('Debugger.enable');
    texts.length = 0; // enabling reports the scripts that are there already
    await action();
    const scripts = await Promise.all(texts);
    await this.send('Debugger.disable');
    this.#onEvent = undefined;
    return scripts;
  }

  // Any command of the protocol, in this page's session.
  async send(method, params = {}) {
    return this.#call(method, params, this.#session);
  }

  close() {
    this.#socket?.terminate();
  }

  async #open(address) {
    this.#socket = new WebSocket(address, { maxPayload: 0, perMessageDeflate: false });
    this.#socket.on('message', (data) => this.#receive(JSON.parse(data)));
    this.#socket.on('close', () => this.#failAll('the browser has gone'));
    await new Promise((resolve, reject) => {
      this.#socket.once('open', resolve);
      this.#socket.on('error', reject);
    });
  }

  async #attachedTarget() {
    const { targetInfos } = await this.#call('Target.getTargets');
    return targetInfos.find((target) => target.type === 'page' && target.attached);
  }

  #call(method, params = {}, sessionId = undefined) {
    const id = (this.#lastId += 1);
    return new Promise((resolve, reject) => {
      this.#waiting.set(id, { resolve, reject, method });
      this.#socket.send(JSON.stringify({ id, method, params, sessionId }));
    });
  }

  #receive({ id, result, error, method, params }) {
    const waiting = this.#waiting.get(id);
    if (!waiting) return this.#onEvent?.({ method, params });
    this.#waiting.delete(id);
    if (error) waiting.reject(new Error(`${waiting.method}: ${error.message}`));
    else waiting.resolve(result);
  }

  #failAll(reason) {
    for (const { reject, method } of this.#waiting.values()) reject(new Error(`${method}: ${reason}`));
    this.#waiting.clear();
  }
}
