// docs/config.schema.json, which editors use, and the playground's own remarks: both know what the
// host does with a configuration.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import Ajv from 'ajv';
import { remarksOn } from '../../page/playground/views/config_remarks.js';
import { kBadFiles, kGoodFiles } from './config_files.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const schema = JSON.parse(readFileSync(join(kRoot, 'docs/config.schema.json'), 'utf8'));

const kForEditors = ['errorMessage']; // beyond the standard
const ajv = new Ajv({ strict: true, strictRequired: false, allowUnionTypes: true, allErrors: true });
ajv.addVocabulary(kForEditors);
const isValid = ajv.compile(schema);

test('the schema is one', () => {
  assert.ok(ajv.validateSchema(schema), ajv.errorsText());
});

for (const [why, file] of kGoodFiles) {
  test(`good: ${why}`, () => {
    assert.ok(isValid(file), ajv.errorsText(isValid.errors));
    assert.deepEqual(remarksOn(JSON.stringify(file)), []);
  });
}

for (const [why, file, remark] of kBadFiles) {
  test(`bad: ${why}`, () => {
    assert.equal(isValid(file), false);
    assert.deepEqual(remarksOn(JSON.stringify(file)), [remark]);
  });
}

test('a text that is no JSON is told apart', () => {
  for (const text of ['', '{', '{"a":1,}', '\ufeff{}', '// x\n{}']) {
    const [remark, ...others] = remarksOn(text);
    assert.match(remark, /^This is not JSON: ./, JSON.stringify(text));
    assert.deepEqual(others, []);
  }
});

test('every remark of a server is made, each under its name', () => {
  const a = { url: 'ws://x', command: 'npx', disabled: true, headers: { n: 1 } };
  assert.deepEqual(remarksOn(JSON.stringify({ mcpServers: { a, 'b c': 5 } })), [
    'a: "disabled" is not a key: write "enabled": false',
    'a: its "url" is no http or https address, and it is skipped',
    'a: "url" goes before "command", which is ignored',
    'a: of "headers", only texts are sent',
    'b c: it is no object, and is skipped',
  ]);
});

test('every key has a description for the editor', () => {
  const described = [schema.properties, schema.definitions.server.properties].flatMap(Object.entries);
  assert.ok(described.length >= 10);
  for (const [key, { description }] of described) assert.ok(description, key);
});
