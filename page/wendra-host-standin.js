// Stands in for the host while a page is developed in an ordinary browser: answers requests from
// memory, with the host's own error texts. Never runs inside Wendra.
import './wendra-host.js'; // installs __resolve, which takes the replies

/** @typedef {typeof import('./wendra-host-standin.js')} Typings */
/** @typedef {import('./wendra-host-standin.js').StandInOptions} Options */
/** @typedef {import('./wendra-host-standin.js').StandInServer} StandInServer */
/** @typedef {(first: string, second: string, third: unknown) => unknown} Action its arguments as the host reads them */

const kMaxFileBytes = 16 * 1024 * 1024;
const kMaxConfigBytes = 1024 * 1024;
const kDefaultConfig = '{\r\n  "mcpServers": {}\r\n}\r\n';
const kAccessDenied = 5; // error numbers of Windows
const kPathNotFound = 3;
const kInvalidName = 123;

// A request that the host answers with an error.
class Refusal extends Error {}

/** @param {string} text @returns {never} */
function refuse(text) {
  throw new Refusal(text);
}

// The parts of a path as the file system compares them: in lower case, without "." and "..".
/** @param {string} path */
function partsOf(path) {
  const parts = [];
  for (const part of path.toLowerCase().split(/[\\/]+/)) {
    if (part === '..') parts.pop();
    else if (part !== '' && part !== '.') parts.push(part);
  }
  return parts;
}

class MemoryDisk {
  /** @type {Map<string, Uint8Array>} */
  #files = new Map();
  #folders = new Set(['c:']);

  /** @param {string} path */
  read(path) {
    const key = partsOf(path).join('\\');
    if (this.#folders.has(key)) refuse('is a directory');
    const bytes = this.#files.get(key) ?? refuse('no such file');
    return bytes.length > kMaxFileBytes ? refuse('file too large') : bytes;
  }

  /** @param {string} path @param {Uint8Array} bytes */
  write(path, bytes) {
    const parts = partsOf(path);
    const key = parts.join('\\');
    if (/[<>"|?*\0]/.test(key)) this.#refuseToCreate(kInvalidName);
    this.#makeFolders(parts.slice(0, -1));
    if (this.#folders.has(key)) this.#refuseToCreate(kAccessDenied);
    this.#files.set(key, bytes);
  }

  /** @param {string} path */
  makeFolder(path) {
    this.#makeFolders(partsOf(path));
  }

  /** @param {string[]} parts */
  #makeFolders(parts) {
    for (let count = 1; count <= parts.length; count += 1) {
      const key = parts.slice(0, count).join('\\');
      if (this.#files.has(key)) this.#refuseToCreate(kPathNotFound);
      this.#folders.add(key);
    }
  }

  /** @param {number} error @returns {never} */
  #refuseToCreate(error) {
    refuse(`could not create file (${error})`);
  }
}

// Ids are compared without letter case; an id keeps the spelling with which it was first set.
class ProjectDirs {
  /** @type {Map<string, { id: string, path: string }>} */
  #entries = new Map();

  /** @param {string} id @param {string} path */
  set(id, path) {
    const key = id.toLowerCase();
    if (path) this.#entries.set(key, { id: this.#entries.get(key)?.id ?? id, path });
    else this.#entries.delete(key);
  }

  all() {
    return Object.fromEntries(Array.from(this.#entries.values(), ({ id, path }) => [id, path]));
  }
}

const toBytes = (/** @type {string | Uint8Array} */ content) =>
  typeof content === 'string' ? new TextEncoder().encode(content) : content;

const toText = (/** @type {Uint8Array} */ bytes) =>
  new TextDecoder('utf-8', { ignoreBOM: true }).decode(bytes);

/** @param {Uint8Array} bytes */
function toBase64(bytes) {
  let binary = '';
  for (let at = 0; at < bytes.length; at += 0x8000) {
    binary += String.fromCharCode(...bytes.subarray(at, at + 0x8000));
  }
  return btoa(binary);
}

/** @param {unknown} value @returns {value is Record<string, unknown>} */
const isObject = (value) => typeof value === 'object' && value !== null && !Array.isArray(value);

// The object that a JSON text holds; null if it holds no object.
/** @param {string} text */
function parsedObject(text) {
  try {
    const value = JSON.parse(text);
    return isObject(value) ? value : null;
  } catch {
    return null;
  }
}

/** @param {unknown} value */
const textOf = (value) => (typeof value === 'string' ? value : '');

// The address as the host completes it; "" if the host does not accept it.
/** @param {string} text */
function normalisedUrl(text) {
  const trimmed = text.trim();
  const url = (trimmed.includes('://') ? trimmed : `https://${trimmed}`).replace(/\/+$/, '');
  return /^https?:\/\/[^/?#]/i.test(url) ? url : '';
}

// A server's name as mcpServers shows it.
/** @param {string} name */
const reduced = (name) =>
  name
    .replace(/[A-Z]/g, (letter) => letter.toLowerCase())
    .replace(/[^a-z0-9_-]/gu, '_');

// One server of config.json as the host would load it; null if the host skips it.
/** @param {string} name @param {unknown} entry @param {StandInServer | undefined} played */
function loadedServer(name, entry, played) {
  if (!isObject(entry) || entry.enabled === false || entry.enabled === 0) return null;
  const [url, command] = [normalisedUrl(textOf(entry.url)), textOf(entry.command)];
  if (textOf(entry.url)) return url ? { name, command: '', url, played } : null;
  return command ? { name, command, url, played } : null;
}

// The servers of config.json. `played` holds, by name, the servers that the page's author gave.
class PlayedServers {
  #played;
  /** @type {NonNullable<ReturnType<typeof loadedServer>>[]} */
  #loaded = [];

  /** @param {Record<string, StandInServer>} played */
  constructor(played) {
    this.#played = played;
  }

  // The text of a config.json that lists all played servers.
  config() {
    const entries = Object.entries(this.#played).map(([name, { config }]) => [
      name,
      config ?? { command: name },
    ]);
    if (entries.length === 0) return kDefaultConfig;
    const text = JSON.stringify({ mcpServers: Object.fromEntries(entries) }, null, 2);
    return `${text}\n`.replaceAll('\n', '\r\n');
  }

  /** @param {string} configText */
  load(configText) {
    const entries = parsedObject(configText)?.mcpServers;
    this.#loaded = Object.entries(isObject(entries) ? entries : {}).flatMap(([name, entry]) => {
      const played = Object.hasOwn(this.#played, name) ? this.#played[name] : undefined;
      return loadedServer(name, entry, played) ?? [];
    });
  }

  list() {
    return this.#loaded.map(({ name, command, url, played }) => ({
      name: reduced(name),
      command,
      ...(url && { url }),
      ...this.#failure(name, played) ?? { tools: played?.tools ?? [] },
    }));
  }

  /** @param {string} name @param {string} tool @param {unknown} args */
  call(name, tool, args) {
    const server =
      this.#loaded.find((one) => one.name === name) ??
      this.#loaded.find((one) => reduced(one.name) === name);
    if (!server) return { error: `unknown MCP server '${name}'` };
    const failure = this.#failure(server.name, server.played);
    if (failure) return failure;
    const answer = server.played?.call;
    return answer ? answer(tool, isObject(args) ? args : {}) : { error: 'MCP call failed' };
  }

  // Why the server fails; null if it works. A server that is not played counts as not running.
  /** @param {string} name @param {StandInServer | undefined} played */
  #failure(name, played) {
    const error = played ? played.error : `MCP server '${name}' is not running`;
    return error === undefined ? null : { error };
  }
}

const askForFolder = (/** @type {string} */ home) => (/** @type {string} */ title) =>
  window.prompt(`${title || 'Choose a folder'} (stand-in: type a path)`, home) || null;

const cannotRun = (/** @type {string} */ _dir, /** @type {string} */ command) => ({
  exit: -1,
  stdout: '',
  stderr: `The stand-in host cannot run commands: ${command}`,
});

// The host's actions, from memory, in the host's order.
/** @param {Options} options @returns {Record<string, Action>} */
function makeActions(options) {
  const home = options.platform?.home ?? 'C:\\Users\\developer';
  const config = `${home}\\.config\\wendra\\config.json`;
  const { pickDirectory = askForFolder(home), exec = cannotRun } = options;
  const disk = new MemoryDisk();
  const servers = new PlayedServers(options.mcpServers ?? {});
  disk.makeFolder(home);
  disk.write(config, toBytes(servers.config()));
  for (const [path, content] of Object.entries(options.files ?? {})) {
    disk.write(path, toBytes(content));
  }
  servers.load(toText(disk.read(config)));
  const dirs = new ProjectDirs();
  for (const [id, path] of Object.entries(options.projectDirs ?? {})) dirs.set(id, path);

  return {
    async pickDirectory(title) {
      const path = await pickDirectory(title);
      if (path) disk.makeFolder(path);
      return path || null;
    },
    platform: () => ({
      name: 'Windows',
      version: '0.0.0',
      user: 'developer',
      home,
      ...options.platform,
    }),
    getProjectDirs: () => dirs.all(),
    setProjectDir(projectId, path) {
      if (!projectId) refuse('setProjectDir expects [projectId, path]');
      dirs.set(projectId, path);
      return 'ok';
    },
    readFile: (path) => toText(disk.read(path || refuse('readFile expects [path]'))),
    readFileBase64: (path) => toBase64(disk.read(path || refuse('readFileBase64 expects [path]'))),
    writeFile(path, content) {
      disk.write(path || refuse('writeFile expects [path, content]'), toBytes(content));
      return 'ok';
    },
    exec: (dir, command) => exec(dir, command || refuse('exec expects [dir, command]')),
    mcpServers: () => servers.list(),
    mcpReadConfig: () => ({ path: config, content: toText(disk.read(config)) }),
    mcpWriteConfig(content) {
      const bytes = toBytes(content);
      if (bytes.length > kMaxConfigBytes) refuse('config.json may not be larger than 1 MiB');
      if (!parsedObject(content)) {
        refuse('Invalid JSON — the file must contain a JSON object');
      }
      disk.write(config, bytes);
      servers.load(content);
      setTimeout(() => document.dispatchEvent(new CustomEvent('mcpConfigChanged')));
      return { ok: true };
    },
    mcpCall: (server, tool, args) => servers.call(server, tool, args),
    checkForUpdates: () => 'ok',
  };
}

// The host reads an argument that is not a string as "". The third argument is an object.
/** @param {unknown} args @returns {[string, string, unknown]} */
function argumentsOf(args) {
  const given = Array.isArray(args) ? args : [];
  const text = (/** @type {number} */ at) => (typeof given[at] === 'string' ? given[at] : '');
  return [text(0), text(1), given[2]];
}

/** @param {Record<string, Action>} actions @param {string} name @param {unknown} args */
async function run(actions, name, args) {
  if (!Object.hasOwn(actions, name)) refuse(`unknown native action '${name}'`);
  if (name === 'mcpWriteConfig' && !(Array.isArray(args) && typeof args[0] === 'string')) {
    refuse('mcpWriteConfig expects [content]'); // only this action accepts an empty string
  }
  return actions[name]?.(...argumentsOf(args));
}

// Page and host do not share objects: arguments and results are copied.
const copyAsJson = (/** @type {unknown} */ value) => JSON.parse(JSON.stringify(value));

/** @type {Typings['installStandIn']} */
export const installStandIn = (options = {}) => {
  if (window.__wendraHost) return false;
  const actions = makeActions(options);
  const bridge = (window.__wendra ??= {});
  /** @param {any} request */
  const answer = async ({ __reqId, name, args }) => {
    try {
      const value = await run(actions, name, args);
      bridge.__resolve?.(__reqId, 1, copyAsJson(value));
    } catch (error) {
      if (!(error instanceof Refusal)) throw error;
      bridge.__resolve?.(__reqId, 0, error.message);
    }
  };
  bridge.__standIn = { postMessage: (request) => void answer(copyAsJson(request)) };
  console.warn(
    '[wendra-host] STAND-IN: this page is not in Wendra. Requests are answered from memory; ' +
      'no file is read or written, no command runs.',
  );
  return true;
};
