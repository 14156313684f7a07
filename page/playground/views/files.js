// Opens a file as text or as a picture, and saves text.
import { Problem, button, element, field, lineInput, onSubmit } from '../elements.js';
import { describe, forEditor, forFile, isFaithful } from './text_file.js';
import { FolderList } from './folder_list.js';

export const title = 'Files';
export const summary =
  'Read a text, edit it and save it; look at a picture: readFile, readFileBase64, writeFile.';

/** @type {Record<string, string>} a file name's extension to the image type */
const kPictures = {
  bmp: 'image/bmp',
  gif: 'image/gif',
  ico: 'image/x-icon',
  jpeg: 'image/jpeg',
  jpg: 'image/jpeg',
  png: 'image/png',
  svg: 'image/svg+xml',
  webp: 'image/webp',
};

/** @param {string} path */
const pictureType = (path) => kPictures[path.toLowerCase().split('.').at(-1) ?? ''];

class FileView {
  #host;
  #problem = new Problem();
  #path = lineInput('file-path', { placeholder: 'C:\\folder\\file.txt', required: true });
  #kind = element(
    'select',
    { id: 'file-kind' },
    ...['by name', 'text', 'picture'].map((text) => element('option', { textContent: text })),
  );
  #open = element('button', { id: 'file-open', textContent: 'Open' });
  #text = element('textarea', { id: 'file-text', spellcheck: false, rows: 14 });
  #save = button('Save', () => this.save(), { id: 'file-save' });
  #status = element('span', { id: 'file-status', className: 'note', role: 'status' });
  #picture = element('figure', { id: 'file-picture', hidden: true });
  #editor = element(
    'div',
    { className: 'stack', hidden: true },
    this.#text,
    element('div', { className: 'row' }, this.#save, this.#status),
  );
  #hasCrLf = false; // of the opened file: the editor itself uses only LF

  /** @param {import('../recorded_host.js').Host} host */
  constructor(host) {
    this.#host = host;
    this.#text.setAttribute('aria-label', 'Content');
    this.#text.addEventListener('input', () => this.#say('changed'));
  }

  /** @param {HTMLElement} section */
  mount(section) {
    const top = element(
      'form',
      { className: 'row' },
      field('Path', this.#path),
      field('As', this.#kind),
      this.#open,
    );
    onSubmit(top, () => this.open());
    section.append(top, this.#problem.place, this.#editor, this.#picture);
    section.addEventListener('keydown', (event) => {
      if (!event.ctrlKey || event.key !== 's') return;
      event.preventDefault();
      this.save();
    });
  }

  /** @param {string} [path] the path in the field by default */
  open(path = this.#path.value) {
    this.#path.value = path;
    const type = pictureType(path) ?? 'image/png';
    const isPicture =
      this.#kind.value === 'picture' || (this.#kind.value === 'by name' && pictureType(path));
    void this.#problem.during(this.#open, async () => {
      this.#show(null); // if opening fails, the old content must not be saved under the new path
      if (isPicture) return this.#showPicture(path, type);
      return this.#showText(path).catch((error) => this.#offerNew(error));
    });
  }

  save() {
    if (this.#editor.hidden || this.#text.readOnly) return;
    const content = forFile(this.#text.value, this.#hasCrLf);
    void this.#problem.during(this.#save, async () => {
      await this.#host.writeFile(this.#path.value, content);
      this.#say('saved');
    });
  }

  /** @param {string} path */
  async #showText(path) {
    this.#edit(await this.#host.readFile(path));
    this.#say(this.#text.readOnly ? 'not UTF-8 text: saving would damage it' : 'as in the file');
  }

  /** @param {Error} error */
  #offerNew(error) {
    if (error.message === 'no such file') {
      this.#edit('');
      this.#say('a new file, once it is saved');
    }
    throw error;
  }

  /** @param {string} content */
  #edit(content) {
    const { text, hasCrLf } = forEditor(content);
    this.#hasCrLf = hasCrLf;
    this.#text.value = text;
    this.#text.readOnly = !isFaithful(content);
    this.#save.disabled = this.#text.readOnly;
    this.#show(this.#editor);
  }

  /** @param {string} path @param {string} type */
  async #showPicture(path, type) {
    const data = await this.#host.readFileBase64(path);
    const image = element('img', { src: `data:${type};base64,${data}`, alt: path });
    await image.decode().catch(() => Promise.reject(new Error(`${path} is no picture`)));
    const size = `${image.naturalWidth} × ${image.naturalHeight} pixels`;
    this.#picture.replaceChildren(image, element('figcaption', { textContent: size }));
    this.#show(this.#picture);
  }

  /** @param {HTMLElement | null} shown */
  #show(shown) {
    for (const place of [this.#editor, this.#picture]) place.hidden = place !== shown;
  }

  /** @param {string} state */
  #say(state) {
    this.#status.textContent = `${describe(forFile(this.#text.value, this.#hasCrLf))} · ${state}`;
  }
}

/** @type {import('../playground.js').View['mount']} */
export function mount(section, host) {
  const file = new FileView(host);
  const folder = new FolderList(host, (path) => file.open(path));
  folder.mount(section);
  file.mount(section);
  return () => folder.start();
}
