// The page's side of Wendra's bridge: one function for each action of the host, each returning a
// promise. The typings beside this file describe the functions.
//
// Importing it installs window.__wendra.__resolve, which the host calls with every reply.

/** @typedef {typeof import('./wendra-host.js')} Typings checked by the compiler */

class ActionError extends Error {
  /** @param {string} action @param {string} message */
  constructor(action, message) {
    super(message);
    this.action = action;
  }
}

export class HostError extends ActionError {
  /** @type {'HostError'} */
  name = 'HostError';
}

export class NoHostError extends ActionError {
  /** @type {'NoHostError'} */
  name = 'NoHostError';
}

/** @type {Map<string, (ok: boolean, value: any) => void>} request id to what settles its promise */
const waiting = new Map();

// The host puts an id between quotes unchanged, so an id holds only letters, digits and a hyphen.
// The random part differs for each copy of this module in a document and for each document, so that
// a copy does not take a reply that another copy or an earlier document has asked for.
const kCopy = Math.random().toString(36).slice(2);
let lastRequest = 0;

// There is no window when a server renders the page.
const page = typeof window === 'undefined' ? undefined : window;

/** @param {NonNullable<Window['__wendra']>} bridge */
function installResolve(bridge) {
  const earlier = bridge.__resolve; // of another copy of this module; settles the ids of that copy
  bridge.__resolve = (id, ok, value) => {
    const settle = waiting.get(id);
    if (!settle) return earlier?.call(bridge, id, ok, value);
    waiting.delete(id);
    return settle(ok === 1, value);
  };
}

if (page) installResolve((page.__wendra ??= {}));

/** @returns {{ postMessage(request: unknown): void } | undefined} */
const webview = () => /** @type {any} */ (page)?.chrome?.webview;

// The host neither receives messages of a framed document nor answers them.
const isTop = () => page?.top === page;

/** @type {Typings['isInsideHost']} */
export const isInsideHost = () => Boolean(page?.__wendraHost && webview() && isTop());

/** @type {Typings['isStandIn']} */
export const isStandIn = () => !isInsideHost() && Boolean(page?.__wendra?.__standIn);

/** @param {string} action */
function whoAnswers(action) {
  const found = isInsideHost() ? webview() : page?.__wendra?.__standIn;
  if (found) return found;
  const why =
    page && !isTop()
      ? "Wendra answers its window's top document only"
      : 'the page does not run in Wendra';
  throw new NoHostError(action, `'${action}' was not sent: ${why}`);
}

/** @type {Typings['call']} */
export const call = (name, args = []) =>
  new Promise((resolve, reject) => {
    const host = whoAnswers(name);
    lastRequest += 1;
    const id = `${kCopy}-${lastRequest}`;
    waiting.set(id, (ok, value) => (ok ? resolve(value) : reject(new HostError(name, value))));
    try {
      host.postMessage({ __reqId: id, name, args });
    } catch (error) {
      waiting.delete(id); // the request was not sent, so no reply will come
      throw error;
    }
  });

/** @type {(name: string, ...args: unknown[]) => Promise<any>} */
const ask = (name, ...args) => call(name, args);

/** @type {Typings['pickDirectory']} */
export const pickDirectory = (title = '') => ask('pickDirectory', title);

/** @type {Typings['platform']} */
export const platform = () => ask('platform');

/** @type {Typings['getProjectDirs']} */
export const getProjectDirs = () => ask('getProjectDirs');

/** @type {Typings['setProjectDir']} */
export const setProjectDir = (projectId, path) => ask('setProjectDir', projectId, path);

/** @type {Typings['readFile']} */
export const readFile = (path) => ask('readFile', path);

/** @type {Typings['readFileBase64']} */
export const readFileBase64 = (path) => ask('readFileBase64', path);

/** @type {Typings['writeFile']} */
export const writeFile = (path, content) => ask('writeFile', path, content);

/** @type {Typings['exec']} */
export const exec = (dir, command) => ask('exec', dir, command);

/** @type {Typings['mcpServers']} */
export const mcpServers = () => ask('mcpServers');

/** @type {Typings['mcpReadConfig']} */
export const mcpReadConfig = () => ask('mcpReadConfig');

/** @type {Typings['mcpWriteConfig']} */
export const mcpWriteConfig = (content) => ask('mcpWriteConfig', content);

/** @type {Typings['mcpCall']} */
export const mcpCall = (server, tool, args = {}) => ask('mcpCall', server, tool, args);

/** @type {Typings['checkForUpdates']} */
export const checkForUpdates = () => ask('checkForUpdates');

/** @type {Typings['onMcpConfigChanged']} */
export const onMcpConfigChanged = (listener) => {
  const receive = () => listener(); // one of its own, so that each subscription ends alone
  document.addEventListener('mcpConfigChanged', receive);
  return () => document.removeEventListener('mcpConfigChanged', receive);
};
