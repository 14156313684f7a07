// Finds the parts of a config.json that the host would skip or ignore without telling the page, so
// that the user sees them before saving.

/** @param {unknown} value @returns {value is Record<string, unknown>} */
const isObject = (value) => typeof value === 'object' && value !== null && !Array.isArray(value);

/** @param {unknown} value @returns {value is string} */
const isFilled = (value) => typeof value === 'string' && value !== '';

const kEntryKeys = ['args', 'command', 'enabled', 'env', 'headers', 'url'];

/** @param {unknown} value */
const isSwitch = (value) => typeof value === 'boolean' || typeof value === 'number';

/** @param {unknown} value */
const holdsTextsOnly = (value) =>
  isObject(value) && Object.values(value).every((one) => typeof one === 'string');

/** @param {unknown} value */
const isListOfTexts = (value) =>
  Array.isArray(value) && value.every((one) => typeof one === 'string');

// Whether the host accepts the address. The host puts "https://" in front if there is no scheme.
/** @param {string} url */
function isUsable(url) {
  const trimmed = url.trim();
  const whole = trimmed.includes('://') ? trimmed : `https://${trimmed}`;
  return /^https?:\/\/(?:[^/?#]*@)?[^/?#@]+(?:[/?#]|$)/i.test(whole.replace(/\/+$/, ''));
}

/** @param {Record<string, unknown>} entry @returns {string[]} */
function remarksOnTransport({ url, command, args, env, headers }) {
  if (!isFilled(url)) {
    return [
      ...(isFilled(command) ? [] : ['it has no "command" and no "url", and is skipped']),
      ...(headers === undefined ? [] : ['"headers" belong to a "url", and are ignored']),
    ];
  }
  return [
    ...(isUsable(url) ? [] : ['its "url" is no http or https address, and it is skipped']),
    ...(command === undefined ? [] : ['"url" goes before "command", which is ignored']),
    ...(args === undefined ? [] : ['"args" belong to a "command", and are ignored']),
    ...(env === undefined ? [] : ['"env" belongs to a "command", and is ignored']),
  ];
}

/** @param {Record<string, unknown>} entry @returns {string[]} */
function remarksOnValues({ args = [], env = {}, headers = {}, enabled = true }) {
  return [
    ...(isListOfTexts(args) ? [] : ['of "args", only texts in a list are passed on']),
    ...(holdsTextsOnly(env) ? [] : ['of "env", only texts are passed on']),
    ...(isObject(env) && '' in env ? ['a variable without a name is ignored'] : []),
    ...(holdsTextsOnly(headers) ? [] : ['of "headers", only texts are sent']),
    ...(isSwitch(enabled) ? [] : ['"enabled" is neither true nor false: the server is on']),
  ];
}

/** @param {Record<string, unknown>} entry @returns {string[]} */
function remarksOnKeys(entry) {
  const unknown = Object.keys(entry).filter((key) => !kEntryKeys.includes(key));
  return unknown.map((key) =>
    key === 'disabled'
      ? '"disabled" is not a key: write "enabled": false'
      : `"${key}" is not a key, and is ignored`,
  );
}

/** @param {[string, unknown]} entry */
function remarksOnEntry([name, value]) {
  const remarks = isObject(value)
    ? [...remarksOnKeys(value), ...remarksOnTransport(value), ...remarksOnValues(value)]
    : ['it is no object, and is skipped'];
  return remarks.map((remark) => `${name}: ${remark}`);
}

/** @param {string} text */
function parsed(text) {
  try {
    return { value: JSON.parse(text), problem: '' };
  } catch (error) {
    return { value: null, problem: /** @type {Error} */ (error).message };
  }
}

/**
 * Sentences for the user; none if the host skips and ignores nothing of the text.
 * @param {string} text
 */
export function remarksOn(text) {
  const { value, problem } = parsed(text);
  if (problem) return [`This is not JSON: ${problem}`];
  if (!isObject(value)) return ['This is no JSON object'];
  const { mcpServers = {}, server = '', updateFeed = '' } = value;
  return [
    ...(typeof server === 'string' ? [] : ['"server" is no text, and is ignored']),
    ...(typeof updateFeed === 'string' && /^(https?:\/\/|$)/.test(updateFeed)
      ? []
      : ['"updateFeed" does not begin with http:// or https://, and is ignored']),
    ...(isObject(mcpServers)
      ? Object.entries(mcpServers).flatMap(remarksOnEntry)
      : ['"mcpServers" is no object: there are no servers']),
  ];
}
