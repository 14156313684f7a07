// Tests the end of the browser control.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { profileFiles } from '../../tools/wine/prefix.mjs';
import { makeProfile, removeProfile, startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';

test('the browser control is closed before its window is destroyed', async () => {
  const server = await startServer({ '/': '<!doctype html><title>start</title>' });
  const profile = await makeProfile();
  const host = await startHost({ address: server.url, profile });
  assert.equal(await host.close(), 0);
  const events = readFileSync(profileFiles(profile).events, 'utf8').trim().split('\n').map(JSON.parse);
  assert.deepEqual(events.filter(({ event }) => event === 'closed'), [{ event: 'closed', hasParent: true }]);
  await removeProfile(profile);
  await server.close();
});
