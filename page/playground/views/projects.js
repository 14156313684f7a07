// Lists, sets and clears the project folders that the host stores for the user.
import { Problem, button, element, field, lineInput, onSubmit } from '../elements.js';

export const title = 'Project folders';
export const summary =
  'A folder for each project, kept with the Windows user: getProjectDirs, setProjectDir.';

class ProjectsView {
  #host;
  #problem = new Problem();
  #id = lineInput('project-id', { placeholder: 'my-project' });
  #path = lineInput('project-path', { placeholder: 'C:\\folder' });
  #set = element('button', { id: 'project-set', textContent: 'Set' });
  #rows = element('tbody', { id: 'projects' });

  /** @param {import('../recorded_host.js').Host} host */
  constructor(host) {
    this.#host = host;
  }

  /** @param {HTMLElement} section */
  mount(section) {
    const choose = button('Choose…', () => this.#choose(choose), { className: 'quiet' });
    const form = element(
      'form',
      { className: 'row' },
      field('Project id', this.#id),
      field('Folder; none clears it', this.#path),
      choose,
      this.#set,
    );
    onSubmit(form, () => this.#keep(this.#set, this.#id.value, this.#path.value));
    const heads = ['Project id', 'Folder', ''].map((text) => element('th', { textContent: text }));
    const table = element(
      'table',
      {},
      element('thead', {}, element('tr', {}, ...heads)),
      this.#rows,
    );
    section.append(form, this.#problem.place, table);
  }

  async show() {
    try {
      this.#list(await this.#host.getProjectDirs());
    } catch (error) {
      this.#problem.show(error);
    }
  }

  /** @param {Record<string, string>} dirs */
  #list(dirs) {
    const ids = Object.keys(dirs).sort();
    this.#rows.replaceChildren(...ids.map((id) => this.#row(id, dirs[id] ?? '')));
    if (ids.length > 0) return;
    const none = element('td', { className: 'note', colSpan: 3, textContent: 'None is set.' });
    this.#rows.append(element('tr', {}, none));
  }

  /** @param {string} id @param {string} path */
  #row(id, path) {
    const edit = button('Edit', () => this.#edit(id, path), { className: 'quiet' });
    const clear = button('Clear', () => this.#keep(clear, id, ''), { className: 'quiet' });
    clear.setAttribute('aria-label', `Clear ${id}`);
    return element(
      'tr',
      {},
      element('td', {}, element('code', { textContent: id })),
      element('td', {}, element('code', { textContent: path })),
      element('td', { className: 'row' }, edit, clear),
    );
  }

  /** @param {string} id @param {string} path */
  #edit(id, path) {
    this.#id.value = id;
    this.#path.value = path;
    this.#path.select();
  }

  /** @param {HTMLButtonElement} control */
  #choose(control) {
    void this.#problem.during(control, async () => {
      this.#path.value = (await this.#host.pickDirectory('Project folder')) ?? this.#path.value;
    });
  }

  /** @param {HTMLButtonElement} control @param {string} id @param {string} path */
  #keep(control, id, path) {
    void this.#problem.during(control, async () => {
      await this.#host.setProjectDir(id, path);
      this.#list(await this.#host.getProjectDirs());
    });
  }
}

/** @type {import('../playground.js').View['mount']} */
export function mount(section, host) {
  const view = new ProjectsView(host);
  view.mount(section);
  return () => void view.show();
}
