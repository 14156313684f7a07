// Tests that the real host answers like the stand-in host: it gets the requests with which
// tests/page/standin.test.mjs tests the stand-in.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { conversations } from '../page/conversations.mjs';
import { startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';

const kShown = 200; // so many characters of a value are shown in an error

// Sorts the members of an object: their order is not compared.
const sorted = (value) =>
  value !== null && typeof value === 'object' && !Array.isArray(value)
    ? Object.fromEntries(Object.entries(value).sort())
    : value;

test('the real host answers as the stand-in does', async () => {
  const server = await startServer({ '/': '<!doctype html><title>page</title>' });
  const host = await startHost({ address: server.url });
  for (const { why, steps } of conversations('C:\\users\\wendra')) {
    for (const [name, args, { ok, value }] of steps) {
      const reply = await host.page.call(name, args);
      const [seen, wanted] = [reply, { ok, value }].map((one) => [one.ok, JSON.stringify(sorted(one.value))]);
      const shown = `${why}: ${name} ${JSON.stringify(args)?.slice(0, kShown)}: ${String(seen).slice(0, kShown)}`;
      assert.ok(seen[0] === wanted[0] && seen[1] === wanted[1], shown);
    }
  }
  assert.equal(await host.close(), 0);
  await server.close();
});
