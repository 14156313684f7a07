// Makes the fields of a form from a tool's inputSchema, and the tool's arguments from the fields.

/** @typedef {import('../../wendra-host.js').JsonValue} JsonValue */
/** @typedef {'text' | 'number' | 'integer' | 'boolean' | 'choice' | 'json'} Kind */
/**
 * @typedef {object} Field
 * @property {string} name
 * @property {Kind} kind
 * @property {boolean} isRequired
 * @property {string} description
 * @property {JsonValue[]} choices
 * @property {string} start the text that the field holds at first
 */

/** @param {unknown} value @returns {value is Record<string, any>} */
const isObject = (value) => typeof value === 'object' && value !== null && !Array.isArray(value);

/** @param {Record<string, any>} schema */
function choicesOf(schema) {
  if (Array.isArray(schema.enum)) return schema.enum;
  return 'const' in schema ? [schema.const] : [];
}

// Of several types, the one that is not null: an empty field takes the place of null.
/** @param {Record<string, any>} schema @returns {Kind} */
function kindOf(schema) {
  if (choicesOf(schema).length > 0) return 'choice';
  const types = [schema.type].flat().filter((type) => type !== 'null');
  if (types.length !== 1) return 'json';
  if (types[0] === 'string') return 'text';
  return ['number', 'integer', 'boolean'].includes(types[0]) ? types[0] : 'json';
}

/** @param {Kind} kind @param {unknown} value as the field shows it */
const shown = (kind, value) =>
  kind === 'text' && typeof value === 'string' ? value : JSON.stringify(value);

/**
 * The fields of a schema of an object; null if a form cannot express the tool's arguments.
 * @param {unknown} schema @returns {Field[] | null}
 */
export function fieldsOf(schema) {
  if (schema === undefined) return [];
  if (!isObject(schema) || ['anyOf', 'oneOf', 'allOf', '$ref'].some((word) => word in schema)) {
    return null;
  }
  const required = Array.isArray(schema.required) ? schema.required : [];
  const properties = isObject(schema.properties) ? schema.properties : {};
  return Object.entries(properties).map(([name, value]) => {
    const property = isObject(value) ? value : {};
    const kind = kindOf(property);
    return {
      name,
      kind,
      isRequired: required.includes(name),
      description: typeof property.description === 'string' ? property.description : '',
      choices: choicesOf(property),
      start: property.default === undefined ? '' : shown(kind, property.default),
    };
  });
}

/** @param {string} name @param {string} text @returns {any} */
function fromJson(name, text) {
  try {
    return JSON.parse(text);
  } catch (error) {
    throw new Error(`${name} is not JSON: ${/** @type {Error} */ (error).message}`);
  }
}

/** @param {Field} field @param {string} text @returns {JsonValue} */
function valueOf({ name, kind }, text) {
  if (kind === 'text') return text;
  if (kind !== 'number' && kind !== 'integer') return fromJson(name, text);
  const number = Number(text);
  if (text.trim() === '' || !Number.isFinite(number)) throw new Error(`${name} is not a number`);
  if (kind === 'integer' && !Number.isInteger(number)) {
    throw new Error(`${name} is not a whole number`);
  }
  return number;
}

/**
 * The arguments to send. An empty field is left out, unless it is a text that the tool requires.
 * Throws an error that tells the user what is wrong with a field.
 * @param {Field[]} fields @param {string[]} texts one for each field
 */
export function argumentsOf(fields, texts) {
  const filled = fields.flatMap((field, at) => {
    const text = texts[at] ?? '';
    if (text !== '' || (field.isRequired && field.kind === 'text')) {
      return [[field.name, valueOf(field, text)]];
    }
    if (field.isRequired) throw new Error(`${field.name} is missing`);
    return [];
  });
  return Object.fromEntries(filled);
}

/**
 * The arguments that the user has written as JSON.
 * @param {string} text @returns {Record<string, JsonValue>}
 */
export function argumentsFromJson(text) {
  const value = text.trim() === '' ? {} : fromJson('The text', text);
  if (!isObject(value)) throw new Error('The arguments must be a JSON object');
  return value;
}
