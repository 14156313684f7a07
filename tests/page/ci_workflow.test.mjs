// Checks the workflow of the CI service against the schema that is published for such files.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { validateWorkflow } from '@action-validator/core';

const kFile = join(dirname(fileURLToPath(import.meta.url)), '../../.github/workflows/ci.yml');
const workflow = readFileSync(kFile, 'utf8');

test("the workflow has the form that its schema asks for", () => {
  assert.deepEqual(validateWorkflow(workflow).errors, []);
});

test('a mistake in the workflow is noticed', () => {
  const cases = [
    ['runs-on:', 'run-on:'], ['on: [push, pull_request]', 'on: [pushed]'], ['- run:', '- runs:'],
    ['    steps:', '    step:'], ['timeout-minutes: 90', 'timeout-minutes: soon'],
  ];
  for (const [from, to] of cases) {
    assert.ok(workflow.includes(from), from);
    assert.notDeepEqual(validateWorkflow(workflow.replace(from, to)).errors, [], to);
  }
});
