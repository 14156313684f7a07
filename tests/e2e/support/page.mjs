// A DevTools session of the test on the page that the host shows. It reads and runs script only;
// screen.mjs plays what a user does.
import { readFile } from 'node:fs/promises';
import WebSocket from 'ws';
import { inTime, until } from './waiting.mjs';

// Runs in the page: posts a request as a page does, and keeps every reply.
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

  // `portFile`: Chromium's file DevToolsActivePort. `controlIsClient`: the host's control is a client
  // of the DevTools protocol too. Waits until the host has its page.
  static async connect(portFile, { controlIsClient, context }) {
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
    // Wait until a control that is a client is attached to the page: a test that attaches first
    // would take the page away from the control.
    const target = await until("the host's page", () => page.#hostTarget(controlIsClient), { context });
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

  // The value of an expression, or of a function that runs in the page with JSON arguments. Waits
  // for a promise. Throws what the page throws.
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

  // Waits until the expression is truthy, also across navigations.
  async waitFor(expression, options = {}) {
    return until(`the page to fulfil ${expression}`, () => this.evaluate(expression), {
      context: this.#context,
      ...options,
    });
  }

  // Waits until a document has loaded whose address contains the text or matches the expression.
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

  // Loads the address, even if it is the current one, and waits for its document.
  async visit(address) {
    await this.evaluate((url) => {
      window.isLeft = true;
      location.href = url;
    }, address);
    await this.waitFor('!window.isLeft');
    return this.loaded(address);
  }

  // Makes one request to the host. Resolves with {ok, value} as the page gets them. With `args`
  // undefined the message has no args.
  async call(action, args, { timeoutMs } = {}) {
    return inTime(`the reply to ${action}`, this.evaluate(postRequest, action, args), {
      context: this.#context,
      timeoutMs,
    });
  }

  // All replies in this document since its first `call`: {id, ok, value}.
  async replies() {
    return this.evaluate('window.__wendra?.testReplies ?? []');
  }

  // Posts any value as a web message and waits for no reply.
  async post(message) {
    await this.evaluate((value) => chrome.webview.postMessage(value), message);
  }

  // Scrolls to an element; gives its left, top, width, height and middle (x, y) in the page.
  async boxOf(selector) {
    return this.evaluate((wanted) => {
      const element = document.querySelector(wanted);
      if (!element) throw new Error(`no element ${wanted}`);
      element.scrollIntoView({ block: 'nearest' });
      const { left, top, width, height } = element.getBoundingClientRect();
      return { left, top, width, height, x: left + width / 2, y: top + height / 2 };
    }, selector);
  }

  // The text of every script that runs in the page during `action`, the host's scripts included.
  async scriptsDuring(action) {
    const texts = [];
    const textOf = async (scriptId) => {
      const { scriptSource } = await this.send('Debugger.getScriptSource', { scriptId });
      return scriptSource;
    };
    this.#onEvent = ({ method, params }) => {
      // Ask at once: a script is gone with its document. An error means that this has happened.
      if (method === 'Debugger.scriptParsed') texts.push(textOf(params.scriptId).catch(() => ''));
    };
    await this.send('Debugger.enable');
    texts.length = 0; // Debugger.enable reports the scripts that have run before
    await action();
    const scripts = await Promise.all(texts);
    await this.send('Debugger.disable');
    this.#onEvent = undefined;
    return scripts;
  }

  // Sends any command of the protocol in this page's session.
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

  async #hostTarget(mustBeAttached) {
    const { targetInfos } = await this.#call('Target.getTargets');
    const fits = ({ type, attached }) => type === 'page' && (attached || !mustBeAttached);
    return targetInfos.find(fits);
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
