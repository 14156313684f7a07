// Tests that docs/config.schema.json, which editors use, and the remarks of the playground's editor
// agree with what the host does with a configuration.
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

const kForEditors = ['errorMessage']; // a keyword that the JSON Schema standard does not have
const ajv = new Ajv({ strict: true, strictRequired: false, allowUnionTypes: true, allErrors: true });
ajv.addVocabulary(kForEditors);
const isValid = ajv.compile(schema);

test('the schema is a valid JSON schema', () => {
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

test('a text that is not JSON gets one remark that says so', () => {
  for (const text of ['', '{', '{"a":1,}', '\ufeff{}', '// x\n{}']) {
    const [remark, ...others] = remarksOn(text);
    assert.match(remark, /^This is not JSON: ./, JSON.stringify(text));
    assert.deepEqual(others, []);
  }
});

test('a server gets all its remarks, each with the name of the server', () => {
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
