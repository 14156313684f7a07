// Combines, for every MCP server, its entry in config.json and the host's answer. The host's answer
// alone lacks the servers that are disabled or could not be loaded, and its names are reduced.

/** @typedef {import('../../wendra-host.js').McpServerEntry} McpServerEntry */
/** @typedef {import('../../wendra-host.js').McpTool} McpTool */
/** @typedef {'asked' | 'ready' | 'failed' | 'off' | 'missing'} State */
/**
 * @typedef {object} Server
 * @property {string} name as in config.json
 * @property {State} state
 * @property {string} where the program, or the address
 * @property {string} why for a server that is not ready, the reason
 * @property {McpTool[]} tools
 */

/** @param {unknown} value @returns {value is Record<string, unknown>} */
const isObject = (value) => typeof value === 'object' && value !== null && !Array.isArray(value);

/** @param {string} text */
function configured(text) {
  try {
    const servers = JSON.parse(text).mcpServers;
    return isObject(servers) ? Object.entries(servers) : [];
  } catch {
    return [];
  }
}

// A server's name as the host's answer shows it.
/** @param {string} name */
const reduced = (name) =>
  name
    .replace(/[A-Z]/g, (letter) => letter.toLowerCase())
    .replace(/[^a-z0-9_-]/gu, '_');

/** @param {unknown} entry */
const isOff = (entry) => isObject(entry) && (entry.enabled === false || entry.enabled === 0);

/** @param {unknown} entry */
const isRemote = (entry) => isObject(entry) && typeof entry.url === 'string' && entry.url !== '';

/** @param {unknown} value */
const textOf = (value) => (typeof value === 'string' ? value : '');

/** @param {string} name @param {McpServerEntry} answer @returns {Server} */
function answered(name, { command, url, tools, error }) {
  const where = url ?? command;
  return tools
    ? { name, state: 'ready', where, why: '', tools }
    : { name, state: 'failed', where, why: error, tools: [] };
}

/** @param {string} name @param {unknown} entry @returns {Server} */
function unanswered(name, entry) {
  const where = isObject(entry) ? textOf(entry.url) || textOf(entry.command) : '';
  return isOff(entry)
    ? { name, state: 'off', where, why: 'config.json has it switched off', tools: [] }
    : { name, state: 'missing', where, why: 'not loaded: the log (Ctrl+L) says why', tools: [] };
}

/**
 * The servers that can be shown before the host has answered.
 * @param {string} configText @returns {Server[]}
 */
export const expected = (configText) =>
  configured(configText).map(([name, entry]) => {
    const server = unanswered(name, entry);
    return isOff(entry) ? server : { ...server, state: 'asked', why: '' };
  });

/**
 * One server for each entry of config.json, in its order; after them the answers that belong to no
 * entry, for example because the file has just changed.
 * @param {string} configText @param {McpServerEntry[]} answers @returns {Server[]}
 */
export function inventory(configText, answers) {
  const rest = [...answers];
  const servers = configured(configText).map(([name, entry]) => {
    const at = isOff(entry) ? -1 : rest.findIndex((answer) =>
      answer.name === reduced(name) && (answer.url !== undefined) === isRemote(entry));
    const [answer] = at < 0 ? [] : rest.splice(at, 1);
    return answer ? answered(name, answer) : unanswered(name, entry);
  });
  return [...servers, ...rest.map((answer) => answered(answer.name, answer))];
}
