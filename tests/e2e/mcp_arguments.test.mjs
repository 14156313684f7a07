// Tests that local servers get the arguments and variables of config.json unchanged.
import assert from 'node:assert/strict';
import { readdir, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { windowsPath } from './support/machine.mjs';
import { kChild, kClosed, ownProfile, withLocalServers } from './support/mcp_children.mjs';
import { startServer } from './support/server.mjs';

const kArguments = 2000; // generated, for programs and for batch files each
const kOfAProgram = 200; // per server; a command line of Windows has at most 32,767 characters
const kOfABatchFile = 100; // per server; a command line of cmd.exe has at most 8,191 characters

let server;
before(async () => {
  server = await startServer({ '/': '<!doctype html><title>mcp</title>' });
});
after(() => server?.close());

// Makes a batch file that starts the test's server; gives its Windows path.
async function makeBatchFile(profile) {
  const file = join(profile, 'shim & more.cmd');
  await writeFile(file, `@ECHO off\r\n"${kChild}" %*\r\n`);
  return windowsPath(file);
}

const textOfToolsOf = (host) => async (name, tool, args) =>
  (await host.page.call('mcpCall', [name, tool, args])).value.text;
const lines = (words) => words.map((word) => `${word}\n`).join('');

test('arguments and variables reach a program and a batch file unchanged', async (t) => {
  const profile = await ownProfile(t);
  const script = await makeBatchFile(profile);
  const words = [
    'rest', '', 'two words', '"', 'a"b', '\\', 'C:\\dir\\', '{"a b":"c&d"}', '& echo x > pwned.txt',
    '"&calc', '!x!', '^', '(', '|', '*', 'ü 日本',
  ];
  const programWords = [...words, '%COMSPEC%', '100%', 'a\r\nb'];
  const env = { Wendra_Test: 'grün & blau', PATH: 'C:\\only' };
  const batch = (args) => ({ command: script, args, env });
  const servers = {
    program: { command: kChild, args: programWords, env },
    batch: batch(words),
    refused: batch(['a\nb']),
    zero: { command: kChild, args: ['a\0b'] },
  };
  await withLocalServers(server, servers, async (host) => {
    const textOf = textOfToolsOf(host);
    assert.equal(await textOf('program', 'args'), lines(programWords));
    assert.equal(await textOf('batch', 'args'), lines(words));
    for (const name of ['program', 'batch']) {
      assert.equal(await textOf(name, 'env', { name: 'WENDRA_TEST' }), 'grün & blau');
      assert.equal(await textOf(name, 'env', { name: 'PATH' }), 'C:\\only');
      assert.equal(await textOf(name, 'cwd'), await textOf(name, 'env', { name: 'USERPROFILE' }));
    }
    await host.waitForLine('[MCP refused] launch failed: a batch file takes no argument with a ' +
      `line break or a zero: ${script}`);
    await host.waitForLine(`[MCP zero] launch failed: a program takes no argument with a zero: ${kChild}`);
  }, { profile });
});

const kPieces = [
  '"', '"', '\\', '\\', '\\\\', '%', '%%', '!', '^', '^^', '&', '&&', '|', '||', '<', '>', '(', ')',
  ' ', '  ', '\t', "'", '`', '~', ',', ';', '=', '*', '?', '@', ':', '/', '\n', '\r\n', 'a', '1', 'ü',
  '日本', '😀', '%PATH%', '%*', '%1', '!x!', '{}', '%cd:~,', '& echo x > pwned.txt', '"&echo x>pwned.txt&"', ' -y ', 'C:\\dir\\',
];

// Random arguments; the same seed gives the same ones.
function* generatedArguments(seed) {
  let state = seed;
  const below = (limit) => {
    state = (Math.imul(state, 1664525) + 1013904223) >>> 0; // a linear congruential generator
    return Math.floor((state / 2 ** 32) * limit);
  };
  for (;;) yield Array.from({ length: below(10) }, () => kPieces[below(kPieces.length)]).join('');
}
const take = (generator, count) => Array.from({ length: count }, () => generator.next().value);

// Wine's cmd.exe expands variables once more in place of %*; that of Windows does not. The host
// refuses line breaks.
const forABatchFile = (argument) => argument.replace(/[%\r\n]/g, '');

test('two thousand arguments reach programs and batch files, and do nothing else', async (t) => {
  const profile = await ownProfile(t);
  const script = await makeBatchFile(profile);
  const generator = generatedArguments(7);
  const entries = [];
  const add = (command, count, change) => {
    for (let i = 0; i < kArguments / count; ++i) {
      const args = ['rest', ...take(generator, count).map(change)];
      entries.push([`s${entries.length}`, { command, args }]);
    }
  };
  add(kChild, kOfAProgram, (argument) => argument);
  add(script, kOfABatchFile, forABatchFile);
  // The same once more, with servers that end at once: if a command line makes cmd.exe do something
  // else, cmd.exe does it after the server's end.
  const brief = entries.map(([name, { command, args }]) =>
    [`brief ${name}`, { command, args: ['exit', '0', ...args] }]);
  await withLocalServers(server, Object.fromEntries([...entries, ...brief]), async (host) => {
    const textOf = textOfToolsOf(host);
    for (const [name, { args }] of entries) assert.equal(await textOf(name, 'args'), lines(args), name);
    for (const [name] of brief) await host.waitForLine(`[MCP ${name}] ${kClosed}`);
    assert.ok(!(await readdir(profile)).includes('pwned.txt')); // the servers' working folder
  }, { profile });
});
