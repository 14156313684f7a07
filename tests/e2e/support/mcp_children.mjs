// Local MCP servers that do what their arguments say, and words for these arguments.
// tests/support/mcp_child_win.cpp lists all words.
import assert from 'node:assert/strict';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { windowsPath } from './machine.mjs';
import { makeProfile, removeProfile, startHost } from './host.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../../..');

export const kChild = windowsPath(join(kRoot, 'build/windows/bin/mcp_child.exe'));
export const kClosed = 'subprocess exited / closed stdout';

export const mcpChild = (...words) => ({ command: kChild, args: words });

export const request = (id, method) => `{"jsonrpc":"2.0","id":${id},"method":"${method}"}`;
export const notification = (rest) =>
  `{"jsonrpc":"2.0","method":"notifications/message"${rest}}`;
// Words with which a server sends a text that the host logs as "[MCP name] text", `times` times in
// one write.
export const says = (text, times = 1) =>
  ['line', Array(times).fill(notification(`,"params":{"message":${JSON.stringify(text)}}`)).join('\n')];
export const endlessly = (...words) => ['times', '1000000000', ...words];

// Starts a host on `page` with these servers, and ends it after `use(host)`. `wanted` has further
// members for startHost.
export async function withLocalServers(page, mcpServers, use, wanted = {}) {
  const host = await startHost({ address: page.url, config: { mcpServers }, ...wanted });
  try {
    await host.waitForLine('[MCP] loaded ');
    await use(host);
  } finally {
    assert.equal(await host.close(), 0);
  }
}

// A profile in which a test can make files before the host is started. Deleted after the test.
export async function ownProfile(t) {
  const profile = await makeProfile();
  t.after(() => removeProfile(profile));
  return profile;
}
