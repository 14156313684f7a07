// The form that calls a tool: a field for each member of its inputSchema, or the arguments as JSON.
import { Problem, button, element, onSubmit } from '../elements.js';
import { argumentsFromJson, argumentsOf, fieldsOf } from './tool_arguments.js';

/** @typedef {import('../../wendra-host.js').McpTool} McpTool */
/** @typedef {import('./tool_arguments.js').Field} Field */

/** @type {Record<Field['kind'], string>} a hint about the value of each kind of field */
const kHints = {
  text: 'text',
  number: 'number',
  integer: 'whole number',
  boolean: 'true or false',
  choice: 'one of these',
  json: 'JSON',
};

/** @param {Field} field */
function choiceControl({ kind, choices, start, isRequired }) {
  const texts = kind === 'boolean' ? ['true', 'false'] : choices.map((one) => JSON.stringify(one));
  const option = (/** @type {string} */ value) =>
    element('option', { value, textContent: value.replace(/^"(.*)"$/, '$1') });
  const none = isRequired ? [] : [element('option', { value: '', textContent: '(not sent)' })];
  const control = element('select', {}, ...none, ...texts.map(option));
  if (start) control.value = start;
  return control;
}

/** @param {Field} field */
function controlOf(field) {
  if (field.kind === 'choice' || field.kind === 'boolean') return choiceControl(field);
  const common = { value: field.start, spellcheck: false };
  return field.kind === 'json' || field.kind === 'text'
    ? element('textarea', { ...common, rows: field.kind === 'json' ? 3 : 1 })
    : element('input', { ...common, autocomplete: 'off', inputMode: 'decimal' });
}

/** @param {Field} field */
function labelled(field) {
  const control = Object.assign(controlOf(field), { name: field.name });
  const name = element('b', { textContent: field.name });
  const hint = element('span', {
    textContent: [kHints[field.kind], ...(field.isRequired ? ['required'] : [])].join(', '),
  });
  const title = element('span', { className: 'title' }, name, hint);
  const about = field.description ? [element('span', { textContent: field.description })] : [];
  return { label: element('label', {}, title, ...about, control), control };
}

export class ToolForm {
  #problem = new Problem();
  #fields;
  #controls;
  #filled = element('div', { className: 'stack' });
  #json = element('textarea', { name: 'json', rows: 5, spellcheck: false });
  #written = element('label', { hidden: true }, 'Arguments (JSON)', this.#json);
  #send = element('button', { textContent: 'Call' });
  #switch = button('', () => this.#toggle(), { className: 'quiet' });
  place = element('form', { className: 'call' });

  /** @param {McpTool} tool @param {(args: Record<string, unknown>) => Promise<void>} call */
  constructor(tool, call) {
    const fields = fieldsOf(tool.inputSchema);
    const labels = (fields ?? []).map(labelled);
    this.#fields = fields ?? [];
    this.#controls = labels.map(({ control }) => control);
    this.#filled.append(...labels.map(({ label }) => label));
    const buttons = element('div', { className: 'row' }, this.#send, this.#switch);
    this.place.append(this.#filled, this.#written, this.#problem.place, buttons);
    this.#switch.hidden = fields === null; // there are no fields to switch to
    this.#showJson(fields === null);
    this.#json.value = '{}';
    onSubmit(this.place, () => this.#problem.during(this.#send, () => this.#call(call)));
    this.place.addEventListener('keydown', (event) => {
      if (event.ctrlKey && event.key === 'Enter') this.place.requestSubmit();
    });
  }

  /** @param {(args: Record<string, unknown>) => Promise<void>} call */
  async #call(call) {
    await call(this.#written.hidden ? this.#arguments() : argumentsFromJson(this.#json.value));
  }

  #arguments() {
    return argumentsOf(this.#fields, this.#controls.map(({ value }) => value));
  }

  // From fields to JSON the values are copied. Back from JSON the fields are as they were before.
  #toggle() {
    this.#problem.clear();
    if (this.#written.hidden) {
      try {
        this.#json.value = JSON.stringify(this.#arguments(), null, 2);
      } catch {
        // A field is missing or wrong: the JSON from before stays.
      }
    }
    this.#showJson(this.#written.hidden);
  }

  /** @param {boolean} isJson */
  #showJson(isJson) {
    this.#filled.hidden = isJson;
    this.#written.hidden = !isJson;
    this.#switch.textContent = isJson ? 'As a form' : 'As JSON';
  }
}
