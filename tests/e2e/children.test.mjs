// Tests what programs get from the host that starts them: the three standard streams only, and for
// batch files the system's shell with its default settings.
import assert from 'node:assert/strict';
import { copyFile, mkdir, writeFile } from 'node:fs/promises';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { callTool, kEcho } from './support/calls.mjs';
import { commandLineOf, processesNamed } from './support/holdings.mjs';
import { windowsPath } from './support/machine.mjs';
import { kChild, mcpChild, ownProfile, withLocalServers } from './support/mcp_children.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kTestChild = windowsPath(join(kRoot, 'build/windows/bin/test_child.exe'));

let page;
before(async () => {
  page = await startServer({ '/': '<!doctype html><title>children</title>' });
});
after(() => page?.close());

async function output(host, command) {
  const { value } = await host.page.call('exec', ['', command]);
  assert.equal(value.exit, 0, value.stderr);
  return value.stdout;
}

test('a command inherits its three streams and no other handle of the host', () =>
  withLocalServers(page, { one: mcpChild(), two: mcpChild() }, async (host) => {
    assert.deepEqual((await callTool(host, 'one')).value, kEcho);
    const many = Array(8).fill(`"${kTestChild}" handles`);
    const got = await Promise.all(many.map((command) => output(host, command)));
    assert.deepEqual(got, many.map(() => '3 inherited, 3 of them standard streams'));
  }));

// DelayedExpansion in the registry makes cmd.exe expand variables between exclamation marks, also
// in arguments; the host must turn that off.
test("a batch file runs in the system's shell with default settings", async (t) => {
  const profile = await ownProfile(t);
  const folder = join(profile, 'server');
  await mkdir(folder, { recursive: true });
  await writeFile(join(folder, 'server.cmd'), `@"${kChild}"\r\n`);
  await copyFile(join(kRoot, 'build/windows/bin/test_child.exe'), join(folder, 'cmd.exe'));
  const servers = { batch: { command: windowsPath(join(folder, 'server.cmd')) } };
  const setting = '"HKCU\\Software\\Microsoft\\Command Processor" /v DelayedExpansion /t REG_DWORD /f /d';
  await withLocalServers(page, servers, async (host) => {
    const shells = () => processesNamed(host, 'cmd.exe').map((pid) => commandLineOf(pid).join(' '));
    const shell = (pattern) => until(`a shell like ${pattern}`, () => shells().some((line) => pattern.test(line)), {
      context: () => shells().join('\n'),
    });
    assert.deepEqual((await callTool(host, 'batch')).value, kEcho);
    await shell(/^cmd\.exe \/d \/s \/c /i);
    await output(host, `reg add ${setting} 1`);
    const from = host.log.length;
    await host.page.call('mcpWriteConfig', [JSON.stringify({ mcpServers: servers })]);
    // The watch of config.json loads the servers a second time.
    await host.waitForLine('[MCP] config.json changed on disk', { from });
    await shell(/^cmd\.exe \/d \/e:on \/v:off \/s \/c /i);
    assert.deepEqual((await callTool(host, 'batch')).value, kEcho);
  }, { profile });
});
