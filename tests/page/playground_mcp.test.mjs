// Tests those functions of the playground's MCP views that need no document.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { expected, inventory } from '../../page/playground/views/mcp_inventory.js';
import {
  argumentsFromJson,
  argumentsOf,
  fieldsOf,
} from '../../page/playground/views/tool_arguments.js';

const kTool = { name: 'echo' };
const config = (mcpServers) => JSON.stringify({ mcpServers });

// Name and state of each server, in order.
const states = (servers) => servers.map(({ name, state }) => `${name}: ${state}`);

test('every server of the configuration is shown, also one that the host does not list', () => {
  const text = config({
    One: { command: 'npx' },
    off: { command: 'npx', enabled: false },
    zero: { url: 'https://a.example', enabled: 0 },
    lost: { command: 'no-such-program' },
    remote: { url: 'a.example' },
    text: 'x',
  });
  const answers = [
    { name: 'remote', command: '', url: 'https://a.example', error: 'HTTP 401' },
    { name: 'one', command: 'C:\\npx.cmd', tools: [kTool] },
  ];
  assert.deepEqual(inventory(text, answers), [
    { name: 'One', state: 'ready', where: 'C:\\npx.cmd', why: '', tools: [kTool] },
    { name: 'off', state: 'off', where: 'npx', why: 'config.json has it switched off', tools: [] },
    {
      name: 'zero', state: 'off', where: 'https://a.example',
      why: 'config.json has it switched off', tools: [],
    },
    {
      name: 'lost', state: 'missing', where: 'no-such-program',
      why: 'not loaded: the log (Ctrl+L) says why', tools: [],
    },
    { name: 'remote', state: 'failed', where: 'https://a.example', why: 'HTTP 401', tools: [] },
    {
      name: 'text', state: 'missing', where: '',
      why: 'not loaded: the log (Ctrl+L) says why', tools: [],
    },
  ]); // prettier-ignore
  assert.deepEqual(states(expected(text)), [
    'One: asked', 'off: off', 'zero: off', 'lost: asked', 'remote: asked', 'text: asked',
  ]); // prettier-ignore
});

test('a server that the host lists by its safe name is shown with its full name', () => {
  const names = [['My Server', 'my_server'], ['a-B_9', 'a-b_9'], ['Übel 😀!', '_bel___'], ['', '']];
  for (const [name, reduced] of names) {
    const answers = [{ name: reduced, command: 'a', tools: [] }];
    const servers = inventory(config({ [name]: { command: 'a' } }), answers);
    assert.deepEqual(states(servers), [`${name}: ready`]);
  }
});

test('servers with the same safe name are told apart by kind, then by order', () => {
  const text = config({ 'a b': { command: 'x' }, A_B: { url: 'https://u' }, a_b: { command: 'y' } });
  const answers = [
    { name: 'a_b', command: '', url: 'https://u', tools: [] },
    { name: 'a_b', command: 'X', tools: [] },
    { name: 'a_b', command: 'Y', tools: [] },
  ];
  const found = inventory(text, answers).map(({ name, where }) => `${name}: ${where}`);
  assert.deepEqual(found, ['a b: X', 'A_B: https://u', 'a_b: Y']);
});

test('a listed server that the configuration does not have is shown after the others', () => {
  const answers = [{ name: 'old', command: 'x', tools: [] }];
  for (const text of ['', '{', '[]', 'null', '{"mcpServers":[]}', config({})]) {
    assert.deepEqual(states(inventory(text, answers)), ['old: ready'], text);
    assert.deepEqual(expected(text), [], text);
  }
  const servers = inventory(config({ new: { command: 'x' } }), answers);
  assert.deepEqual(states(servers), ['new: missing', 'old: ready']);
});

test('the properties of a schema become fields of the right kind', () => {
  const cases = [
    [{ type: 'string' }, { kind: 'text', start: '' }],
    [{ type: 'string', default: 'a' }, { kind: 'text', start: 'a' }],
    [{ type: 'string', default: 5 }, { kind: 'text', start: '5' }],
    [{ type: ['string', 'null'] }, { kind: 'text', start: '' }],
    [{ type: 'number', default: 0.5 }, { kind: 'number', start: '0.5' }],
    [{ type: 'integer' }, { kind: 'integer', start: '' }],
    [{ type: 'boolean', default: false }, { kind: 'boolean', start: 'false' }],
    [{ enum: ['a', 1, null], default: 1 }, { kind: 'choice', choices: ['a', 1, null], start: '1' }],
    [{ type: 'string', enum: ['a'], default: 'a' }, { kind: 'choice', choices: ['a'], start: '"a"' }],
    [{ const: 'x' }, { kind: 'choice', choices: ['x'], start: '' }],
    [{ type: 'array', default: [] }, { kind: 'json', start: '[]' }],
    [{ type: 'object' }, { kind: 'json', start: '' }],
    [{ anyOf: [] }, { kind: 'json', start: '' }],
    [{ type: ['string', 'number'] }, { kind: 'json', start: '' }],
    [{}, { kind: 'json', start: '' }],
    [true, { kind: 'json', start: '' }],
    [{ type: 'string', description: 'why' }, { kind: 'text', start: '', description: 'why' }],
  ];
  for (const [property, wanted] of cases) {
    const [field] = fieldsOf({ type: 'object', properties: { a: property }, required: ['a'] });
    const rest = { name: 'a', isRequired: true, description: '', choices: [] };
    assert.deepEqual(field, { ...rest, ...wanted }, JSON.stringify(property));
  }
});

test('a tool without parameters has no fields; a schema that no form can show gives null', () => {
  for (const schema of [undefined, {}, { type: 'object' }, { properties: 5 }, { properties: {} }]) {
    assert.deepEqual(fieldsOf(schema), [], JSON.stringify(schema));
  }
  for (const schema of [null, true, 'x', [], { oneOf: [] }, { $ref: '#/a' }]) {
    assert.equal(fieldsOf(schema), null, JSON.stringify(schema));
  }
});

const kFields = fieldsOf({
  properties: {
    text: { type: 'string' },
    count: { type: 'integer' },
    size: { type: 'number' },
    flag: { type: 'boolean' },
    unit: { enum: ['a', 2] },
    list: { type: 'array' },
  },
  required: ['text', 'count'],
});

test('texts in the fields become arguments of the right type', () => {
  const cases = [
    [['', '1'], { text: '', count: 1 }],
    [['5', '-3', '1.5e3', 'true', '"a"', '[1]'],
      { text: '5', count: -3, size: 1500, flag: true, unit: 'a', list: [1] }],
    [['a\nb', '0', '', 'false', '2', '{"x":null}'],
      { text: 'a\nb', count: 0, flag: false, unit: 2, list: { x: null } }],
  ]; // prettier-ignore
  for (const [texts, args] of cases) assert.deepEqual(argumentsOf(kFields, texts), args);
});

test('a field whose text cannot be sent is named', () => {
  const cases = [
    [['a'], /^count is missing$/],
    [['a', 'x'], /^count is not a number$/],
    [['a', ' '], /^count is not a number$/],
    [['a', '1.5'], /^count is not a whole number$/],
    [['a', '1', 'Infinity'], /^size is not a number$/],
    [['a', '1', '', '', '', '[1'], /^list is not JSON: ./],
  ];
  for (const [texts, message] of cases) {
    assert.throws(() => argumentsOf(kFields, texts), { message }, JSON.stringify(texts));
  }
});

test('arguments written as JSON must be an object', () => {
  assert.deepEqual(argumentsFromJson(' '), {});
  assert.deepEqual(argumentsFromJson('{"a":[1]}'), { a: [1] });
  for (const text of ['[]', 'null', '5']) {
    assert.throws(() => argumentsFromJson(text), { message: 'The arguments must be a JSON object' });
  }
  assert.throws(() => argumentsFromJson('{'), { message: /^The text is not JSON: ./ });
});
