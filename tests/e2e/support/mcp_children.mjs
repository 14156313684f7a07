// Local servers that do as they are told (tests/support/mcp_child_win.cpp lists the words), and what
// they may be told.
import assert from 'node:assert/strict';
import { rm } from 'node:fs/promises';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { windowsPath } from '../../../tools/wine/prefix.mjs';
import { makeProfile, startHost } from './host.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../../..');

export const kChild = windowsPath(join(kRoot, 'build/windows/bin/mcp_child.exe'));
export const kClosed = 'subprocess exited / closed stdout';

export const mcpChild = (...words) => ({ command: kChild, args: words });

export const request = (id, method) => `{"jsonrpc":"2.0","id":${id},"method":"${method}"}`;
export const notification = (rest) =>
  `{"jsonrpc":"2.0","method":"notifications/message"${rest}}`;
// Words by which a server says something that the host logs as "[MCP name] text", so many times in
// one write.
export const says = (text, times = 1) =>
  ['line', Array(times).fill(notification(`,"params":{"message":${JSON.stringify(text)}}`)).join('\n')];
export const endlessly = (...words) => ['times', '1000000000', ...words];

// Starts a host on `page` with those servers and ends it after `use(host)`. `wanted` is what startHost
// takes besides.
export async function withLocalServers(page, mcpServers, use, wanted = {}) {
  const host = await startHost({ address: page.url, config: { mcpServers }, ...wanted });
  try {
    await host.waitForLine('[MCP] loaded ');
    await use(host);
  } finally {
    assert.equal(await host.close(), 0);
  }
}

// A profile into which a test puts files before the host is started.
export async function ownProfile(t) {
  const profile = await makeProfile();
  t.after(() => rm(profile, { recursive: true, force: true }));
  return profile;
}
