// Lists a folder with the shell's "dir", because the host has no action for it.
import { Problem, button, element, field, lineInput, onSubmit } from '../elements.js';

// Prints the folders, a line that cannot be a name, the files. Switches to UTF-8 first, because
// names may hold characters beyond the OEM code page.
const kListCommand = 'chcp 65001 >nul & dir /b /ad /on & echo ? & dir /b /a-d /on';

/** @param {string} output */
export function entriesOf(output) {
  const lines = output.split(/\r?\n/).map((line) => line.trimEnd());
  const border = lines.indexOf('?');
  const named = (/** @type {string[]} */ some) => some.filter((line) => line !== '');
  return { folders: named(lines.slice(0, border)), files: named(lines.slice(border + 1)) };
}

/** @param {string} folder @param {string} name */
export const joined = (folder, name) => `${folder.replace(/[\\/]+$/, '')}\\${name}`;

/** @param {string} folder */
export function parentOf(folder) {
  const parent = folder.replace(/[\\/]+$/, '').replace(/[\\/][^\\/]*$/, '');
  return /^[a-z]:$/i.test(parent) ? `${parent}\\` : parent;
}

export class FolderList {
  #host;
  #onFile;
  #problem = new Problem();
  #folder = lineInput('folder-path', { placeholder: 'C:\\folder' });
  #list = element('button', { id: 'folder-list', textContent: 'List' });
  #entries = element('ul', { id: 'folder-entries', className: 'entries' });

  /**
   * @param {import('../recorded_host.js').Host} host
   * @param {(path: string) => void} onFile
   */
  constructor(host, onFile) {
    this.#host = host;
    this.#onFile = onFile;
  }

  /** @param {HTMLElement} place */
  mount(place) {
    const choose = button('Choose…', () => this.#choose(choose), { className: 'quiet' });
    const up = button('Up', () => this.#go(parentOf(this.#folder.value)), { className: 'quiet' });
    const form = element(
      'form',
      { className: 'row' },
      field('Folder', this.#folder),
      choose,
      up,
      this.#list,
    );
    onSubmit(form, () => this.#go(this.#folder.value));
    place.append(form, this.#problem.place, this.#entries);
  }

  // Begins in the user's profile folder, when the view is first shown.
  async start() {
    if (this.#folder.value) return;
    const { home } = await this.#host.platform();
    if (!this.#folder.value) this.#folder.value = home;
  }

  /** @param {HTMLButtonElement} control */
  #choose(control) {
    void this.#problem.during(control, async () => {
      const folder = await this.#host.pickDirectory('Look into a folder');
      if (folder) this.#go(folder);
    });
  }

  /** @param {string} folder */
  #go(folder) {
    this.#folder.value = folder;
    void this.#problem.during(this.#list, async () => {
      if (this.#host.isStandIn()) throw new Error('the stand-in has no shell that lists a folder');
      const { stdout, stderr } = await this.#host.exec(folder, kListCommand);
      if (!stdout.includes('?')) throw new Error(`cannot list ${folder}: ${stderr}`);
      this.#show(folder, entriesOf(stdout));
    });
  }

  /** @param {string} folder @param {{ folders: string[], files: string[] }} entries */
  #show(folder, { folders, files }) {
    const entry = (/** @type {string} */ text, /** @type {() => void} */ act) =>
      element('li', {}, button(text, act));
    this.#entries.replaceChildren(
      ...folders.map((name) => entry(`${name}\\`, () => this.#go(joined(folder, name)))),
      ...files.map((name) => entry(name, () => this.#onFile(joined(folder, name)))),
    );
    if (folders.length + files.length === 0) {
      this.#entries.append(element('li', { className: 'note', textContent: 'Nothing is in it.' }));
    }
  }
}
