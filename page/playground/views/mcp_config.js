// An editor for config.json that shows what the host refuses and what it would ignore.
import { Problem, button, element } from '../elements.js';
import { remarksOn } from './config_remarks.js';
import { describe, forEditor, forFile, isFaithful } from './text_file.js';

export const title = 'Configuration';
export const summary =
  'config.json as a whole: mcpReadConfig, mcpWriteConfig. Saving starts all MCP servers anew.';

class ConfigView {
  #host;
  #problem = new Problem();
  #path = element('code', { id: 'config-path' });
  #text = element('textarea', { id: 'config-text', spellcheck: false, rows: 18 });
  #save = button('Save', () => this.save(), { id: 'config-save' });
  #read = button('Read again', () => this.read(), { id: 'config-read', className: 'quiet' });
  #status = element('span', { id: 'config-status', className: 'note', role: 'status' });
  #remarks = element('ul', { id: 'config-remarks', className: 'remarks' });
  #saved = ''; // the file's content when it was last read or saved
  #hasCrLf = false;
  #isRead = false;

  /** @param {import('../recorded_host.js').Host} host */
  constructor(host) {
    this.#host = host;
    this.#text.setAttribute('aria-label', 'Content of config.json');
    this.#text.addEventListener('input', () => this.#say(this.#isEdited() ? 'changed' : 'as saved'));
    host.onMcpConfigChanged(() => void this.#onChanged());
  }

  /** @param {HTMLElement} section */
  mount(section) {
    const buttons = element('div', { className: 'row' }, this.#save, this.#read, this.#status);
    section.append(this.#path, this.#text, this.#problem.place, buttons, this.#remarks);
    section.addEventListener('keydown', (event) => {
      if (!event.ctrlKey || event.key !== 's') return;
      event.preventDefault();
      this.save();
    });
  }

  start() {
    if (!this.#isRead) this.read();
  }

  read() {
    void this.#problem.during(this.#read, async () => {
      this.#show(await this.#host.mcpReadConfig());
      this.#say('as in the file');
    });
  }

  save() {
    if (this.#text.readOnly) return;
    const content = this.#content();
    void this.#problem.during(this.#save, async () => {
      await this.#host.mcpWriteConfig(content);
      this.#saved = content;
      this.#say('saved');
    });
  }

  // The host has restarted the servers, after a save in this view or because the file has changed.
  // Text that the user is editing is never replaced.
  async #onChanged() {
    if (!this.#isRead) return;
    try {
      const config = await this.#host.mcpReadConfig();
      if (config.content === this.#saved) return this.#say('in effect');
      if (this.#isEdited()) return this.#say('the file has changed meanwhile; saving replaces it');
      this.#show(config);
      this.#say('changed by someone else, and in effect');
    } catch (error) {
      this.#problem.show(error);
    }
  }

  /** @param {import('../../wendra-host.js').McpConfig} config */
  #show({ path, content }) {
    const { text, hasCrLf } = forEditor(content);
    this.#isRead = true;
    this.#saved = content;
    this.#hasCrLf = hasCrLf;
    this.#path.textContent = path;
    this.#text.value = text;
    this.#text.readOnly = !isFaithful(content);
    this.#save.disabled = this.#text.readOnly;
  }

  #content() {
    return forFile(this.#text.value, this.#hasCrLf);
  }

  #isEdited() {
    return this.#content() !== this.#saved;
  }

  /** @param {string} state */
  #say(state) {
    const how = this.#text.readOnly ? 'not UTF-8 text: saving would damage it' : state;
    this.#status.textContent = `${describe(this.#content())} · ${how}`;
    const items = remarksOn(this.#content()).map((textContent) => element('li', { textContent }));
    this.#remarks.replaceChildren(...items);
  }
}

/** @type {import('../playground.js').View['mount']} */
export function mount(section, host) {
  const view = new ConfigView(host);
  view.mount(section);
  return () => view.start();
}
