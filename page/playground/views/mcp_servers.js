// Shows the user's MCP servers with their state, and for every tool a form that calls it.
import { Problem, button, counted, element } from '../elements.js';
import { expected, inventory } from './mcp_inventory.js';
import { ToolForm } from './tool_form.js';
import { addCall } from './tool_result.js';

export const title = 'MCP servers';
export const summary =
  'What the servers of config.json offer, and a form for each tool: mcpServers, mcpCall.';

/** @typedef {import('./mcp_inventory.js').Server} Server */
/** @typedef {import('../../wendra-host.js').McpTool} McpTool */
/** @typedef {import('../recorded_host.js').Host} Host */

/** @type {Record<Server['state'], string>} */
const kStates = {
  asked: 'asking…',
  ready: 'ready',
  failed: 'failed',
  off: 'off',
  missing: 'not loaded',
};

/** @param {string} text @param {unknown} value */
const folded = (text, value) =>
  element(
    'details',
    { className: 'schema' },
    element('summary', { textContent: text }),
    element('pre', { textContent: JSON.stringify(value, null, 2) }),
  );

// Makes its content when the user first opens it: there may be hundreds of tools.
/** @param {Host} host @param {string} server @param {McpTool} tool */
function toolOf(host, server, tool) {
  const about = (tool.description ?? '').trim();
  const line = element(
    'summary',
    {},
    element('b', { textContent: tool.name }),
    element('span', { className: 'brief', textContent: about }),
  );
  const place = element('details', { className: 'tool' }, line);
  place.dataset.tool = tool.name;
  const fill = () => {
    const list = element('ol', { className: 'calls' });
    const form = new ToolForm(tool, async (args) => {
      const show = addCall(list, args);
      show(await host.mcpCall(server, tool.name, args).catch((error) => ({ error: error.message })));
    });
    const schema = tool.inputSchema === undefined ? [] : [folded('Schema', tool.inputSchema)];
    place.append(
      element('p', { className: 'note', textContent: about || 'No description.' }),
      form.place,
      ...schema,
      list,
    );
  };
  place.addEventListener('toggle', fill, { once: true });
  return place;
}

class ServersView {
  #host;
  #problem = new Problem();
  #again = button('Ask again', () => this.ask(), { id: 'servers-ask', className: 'quiet' });
  #status = element('span', { id: 'servers-status', className: 'note', role: 'status' });
  #list = element('div', { id: 'servers', className: 'stack' });
  #shown = ''; // the servers that are shown, as JSON text
  #isAsked = false;
  #isLate = false; // the servers have changed since the last request
  /** @type {Map<string, HTMLElement>} forms and results stay when a new list has the same tools */
  #tools = new Map();
  /** @type {Set<string>} */
  #folded = new Set();

  /** @param {Host} host */
  constructor(host) {
    this.#host = host;
  }

  /** @param {HTMLElement} section */
  mount(section) {
    const top = element('div', { className: 'row' }, this.#again, this.#status);
    section.append(top, this.#problem.place, this.#list);
    this.#host.onMcpConfigChanged(() => {
      if (this.#isAsked) this.ask();
    });
  }

  // When the view is first shown.
  start() {
    if (!this.#isAsked) this.ask();
  }

  ask() {
    this.#isAsked = true;
    if (this.#again.disabled) {
      this.#isLate = true;
      return;
    }
    void this.#problem.during(this.#again, () => this.#ask()).then(() => {
      if (!this.#isLate) return;
      this.#isLate = false;
      this.ask();
    });
  }

  async #ask() {
    this.#status.textContent = 'Asking…';
    const answers = this.#host.mcpServers();
    answers.catch(() => {}); // handled below, even if reading the configuration fails first
    const { content } = await this.#host.mcpReadConfig();
    if (this.#shown === '') this.#show(expected(content));
    this.#show(inventory(content, await answers));
  }

  /** @param {Server[]} servers */
  #show(servers) {
    const ready = servers.filter(({ state }) => state === 'ready').length;
    const isAsking = servers.some(({ state }) => state === 'asked');
    const count = `${ready} of ${counted(servers.length, 'server')} ready`;
    this.#status.textContent = isAsking ? 'Asking…' : count;
    const text = JSON.stringify(servers);
    if (text === this.#shown) return; // keeps the forms that the user is filling in
    this.#shown = text;
    this.#list.replaceChildren(...servers.map((server) => this.#card(server)));
    if (servers.length > 0) return;
    const none = 'config.json names no server. “Configuration” is the place to add one.';
    this.#list.append(element('p', { className: 'note', textContent: none }));
  }

  /** @param {Server} server */
  #card({ name, state, where, why, tools }) {
    const count = state === 'ready' ? ` · ${counted(tools.length, 'tool')}` : '';
    const line = element(
      'summary',
      {},
      element('b', { textContent: name }),
      element('span', { className: 'state', textContent: `${kStates[state]}${count}` }),
    );
    const place = element('span', { className: 'where', textContent: where });
    const problem = element('p', { className: state === 'failed' ? 'problem' : 'note', textContent: why });
    const list = tools.map((tool) => this.#tool(name, tool));
    const card = element(
      'details',
      { className: `server ${state}`, open: !this.#folded.has(name) },
      line,
      place,
      ...(why ? [problem] : []),
      ...list,
    );
    card.dataset.server = name;
    card.addEventListener('toggle', () => {
      if (card.open) this.#folded.delete(name);
      else this.#folded.add(name);
    });
    return card;
  }

  /** @param {string} server @param {McpTool} tool */
  #tool(server, tool) {
    const key = JSON.stringify([server, tool]);
    const known = this.#tools.get(key) ?? toolOf(this.#host, server, tool);
    this.#tools.set(key, known);
    return known;
  }
}

/** @type {import('../playground.js').View['mount']} */
export function mount(section, host) {
  const view = new ServersView(host);
  view.mount(section);
  return () => view.start();
}
