// Arguments and variables of config.json, as local servers get them.
import assert from 'node:assert/strict';
import { readdir, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { windowsPath } from '../../tools/wine/prefix.mjs';
import { kChild, kClosed, ownProfile, withLocalServers } from './support/mcp_children.mjs';
import { startServer } from './support/server.mjs';

const kArguments = 2000; // generated, each way
const kOfAProgram = 200; // the system takes lines of 32,767 characters
const kOfABatchFile = 100; // cmd.exe takes lines of 8,191

let server;
before(async () => {
  server = await startServer({ '/': '<!doctype html><title>mcp</title>' });
});
after(() => server?.close());

// Its Windows path.
async function makeBatchFile(profile) {
  const file = join(profile, 'shim & more.cmd');
  await writeFile(file, `@ECHO off\r\n"${kChild}" %*\r\n`);
  return windowsPath(file);
}

const textOfToolsOf = (host) => async (name, tool, args) =>
  (await host.page.call('mcpCall', [name, tool, args])).value.text;
const lines = (words) => words.map((word) => `${word}\n`).join('');

test('arguments and variables reach a program and a batch file as they were written', async (t) => {
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

// The same arguments for the same seed.
function* generatedArguments(seed) {
  let state = seed;
  const below = (limit) => {
    state = (Math.imul(state, 1664525) + 1013904223) >>> 0; // Knuth's and Lewis' linear congruence
    return Math.floor((state / 2 ** 32) * limit);
  };
  for (;;) yield Array.from({ length: below(10) }, () => kPieces[below(kPieces.length)]).join('');
}
const take = (generator, count) => Array.from({ length: count }, () => generator.next().value);

// Wine's cmd.exe expands variables once more where %* stands; Windows' does not. Line breaks are
// refused.
const forABatchFile = (argument) => argument.replace(/[%\r\n]/g, '');

test('two thousand arguments reach programs and batch files, and nothing else comes of them', async (t) => {
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
  // The same once more, that end at once: whatever else a line makes cmd.exe do comes then.
  const brief = entries.map(([name, { command, args }]) =>
    [`brief ${name}`, { command, args: ['exit', '0', ...args] }]);
  await withLocalServers(server, Object.fromEntries([...entries, ...brief]), async (host) => {
    const textOf = textOfToolsOf(host);
    for (const [name, { args }] of entries) assert.equal(await textOf(name, 'args'), lines(args), name);
    for (const [name] of brief) await host.waitForLine(`[MCP ${name}] ${kClosed}`);
    assert.ok(!(await readdir(profile)).includes('pwned.txt')); // where the servers work
  }, { profile });
});
