// Makes the elements that the views share.

/**
 * A DOM element with properties and children.
 * @template {keyof HTMLElementTagNameMap} K
 * @param {K} name
 * @param {Partial<HTMLElementTagNameMap[K]>} [properties]
 * @param {...(Node | string)} children
 * @returns {HTMLElementTagNameMap[K]}
 */
export function element(name, properties = {}, ...children) {
  const made = Object.assign(document.createElement(name), properties);
  made.append(...children);
  return made;
}

/**
 * A control below its label.
 * @param {string} text @param {HTMLElement} control
 */
export const field = (text, control) => element('label', {}, text, control);

/**
 * A text field for paths, names and commands, without spell checking.
 * @param {string} id @param {Partial<HTMLInputElement>} [properties]
 */
export const lineInput = (id, properties = {}) =>
  element('input', { id, spellcheck: false, autocomplete: 'off', ...properties });

/**
 * A button that does not send its form.
 * @param {string} text @param {() => void} act @param {Partial<HTMLButtonElement>} [properties]
 */
export const button = (text, act, properties = {}) =>
  element('button', { type: 'button', textContent: text, onclick: act, ...properties });

/** The place where a view shows an error. Hidden while it is empty. */
export class Problem {
  place = element('p', { className: 'problem', hidden: true, role: 'alert' });

  clear() {
    this.place.hidden = true;
  }

  /** @param {unknown} error */
  show(error) {
    this.place.textContent = error instanceof Error ? error.message : String(error);
    this.place.hidden = false;
  }

  /**
   * Runs `work`, disables `control` meanwhile, and shows the error that `work` throws.
   * @param {HTMLButtonElement} control @param {() => Promise<void>} work
   */
  async during(control, work) {
    if (control.disabled) return;
    this.clear();
    const hadFocus = document.activeElement === control;
    control.disabled = true;
    try {
      await work();
    } catch (error) {
      this.show(error);
    } finally {
      control.disabled = false;
      if (hadFocus && document.activeElement === document.body) control.focus();
    }
  }
}

/**
 * Calls `work` when the user sends the form, with its button or with Enter.
 * @param {HTMLFormElement} form @param {() => void} work
 */
export function onSubmit(form, work) {
  form.addEventListener('submit', (event) => {
    event.preventDefault();
    work();
  });
}

/** @param {number} count @param {string} what */
export const counted = (count, what) =>
  `${count.toLocaleString('en')} ${what}${count === 1 ? '' : 's'}`;

/** @param {number} milliseconds */
export const duration = (milliseconds) =>
  milliseconds < 10_000
    ? `${Math.max(1, Math.round(milliseconds))} ms`
    : `${(milliseconds / 1000).toFixed(1)} s`;
