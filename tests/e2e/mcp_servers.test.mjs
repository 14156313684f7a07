// Tests local MCP servers of other authors from a real page.
import assert from 'node:assert/strict';
import { mkdir, readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { makeProfile, startHost, writeConfig } from './support/host.mjs';
import { kNode, nodeServer, serverScript } from './support/mcp_servers.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kStartMs = 60_000; // five programs on a busy machine
const kHome = 'C:\\users\\wendra';
const kFiles = `${kHome}\\my files & more`;
const kShim = `${kHome}\\shims\\files.cmd`;
const kPlain = `${kHome}\\.local\\bin\\mcp-everything`; // the host looks for commands in .local\bin

// A picture of one pixel.
const kPixel = Buffer.from(
  'iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJggg==',
  'base64',
);

// A batch file as npm makes it for a program of a package.
const batchShim = (script) => `@ECHO off\r\nSETLOCAL\r\n"${kNode}" "${script}" %*\r\n`;

const kConfig = {
  mcpServers: {
    'Every Thing': nodeServer('everything', { env: { WENDRA_TEST: 'grün' } }),
    files: nodeServer('filesystem', { args: [kFiles] }),
    memory: nodeServer('memory', { env: { MEMORY_FILE_PATH: `${kHome}\\memory.jsonl` } }),
    shim: { command: kShim, args: [kFiles] },
    plain: { command: 'mcp-everything', args: ['stdio'] },
  },
};

let server;
let profile;
let host;

const inProfile = (...names) => join(profile, ...names);

before(async () => {
  server = await startServer({ '/': '<!doctype html><title>mcp</title>' });
  profile = await makeProfile();
  for (const folder of ['my files & more', 'shims', '.local/bin']) {
    await mkdir(inProfile(folder), { recursive: true });
  }
  await writeFile(inProfile('my files & more', 'grüße.txt'), 'Guten Tag\n');
  await writeFile(inProfile('my files & more', 'pixel.png'), kPixel);
  await writeFile(inProfile('shims', 'files.cmd'), batchShim(serverScript('filesystem')));
  // npm puts a shell script of the same name beside it, which Windows cannot start.
  await writeFile(inProfile('.local/bin', 'mcp-everything'), '#!/bin/sh\nexec node "$@"\n');
  await writeFile(inProfile('.local/bin', 'mcp-everything.cmd'), batchShim(serverScript('everything')));
  await writeConfig(profile, kConfig);
  host = await startHost({ address: server.url, profile });
});

after(async () => {
  assert.equal(await host?.close(), 0); // checks also that no server is left
  await server?.close();
});

async function callTool(name, tool, args) {
  const { ok, value } = await host.page.call('mcpCall', [name, tool, args], { timeoutMs: kStartMs });
  assert.equal(ok, 1);
  return value;
}

test('every server lists its tools, with its safe name and the program that was started', async () => {
  const { ok, value } = await host.page.call('mcpServers', [], { timeoutMs: kStartMs });
  assert.equal(ok, 1);
  const servers = Object.fromEntries(value.map((one) => [one.name, one]));
  const commands = value.map(({ name, command }) => [name, command]).sort();
  assert.deepEqual(commands, [
    ['every_thing', kNode], ['files', kNode], ['memory', kNode],
    ['plain', `${kPlain}.cmd`], ['shim', kShim],
  ]);
  const tools = (name) => servers[name].tools.map((tool) => tool.name);
  assert.deepEqual(tools('every_thing').slice(0, 3), ['echo', 'get-annotated-message', 'get-env']);
  assert.deepEqual(tools('plain'), tools('every_thing'));
  assert.ok(tools('files').includes('read_text_file'), tools('files').join());
  assert.deepEqual(tools('shim'), tools('files'));
  assert.deepEqual(tools('memory').slice(0, 2), ['create_entities', 'create_relations']);
  const [echo] = servers.every_thing.tools;
  assert.equal(echo.description, 'Echoes back the input string');
  assert.deepEqual(Object.keys(echo), ['name', 'description', 'inputSchema']);
  assert.deepEqual(echo.inputSchema.required, ['message']);
});

test('the log names the programs that were started', async () => {
  const started = host.log.filter((line) => line.includes('] started '));
  assert.deepEqual(started, [
    `[MCP Every Thing] started ${kNode}`,
    `[MCP files] started ${kNode}`,
    `[MCP memory] started ${kNode}`,
    `[MCP shim] started ${kShim}`,
    `[MCP plain] started ${kPlain}.cmd`,
  ]);
  await host.waitForLine('[MCP] loaded 5 server(s)');
});

test('every kind of tool result has the documented form', async () => {
  const isPng = ({ mimeType, data }) =>
    mimeType === 'image/png' && Buffer.from(data, 'base64').toString('latin1', 1, 4) === 'PNG';
  const cases = [
    ['echo', { message: 'Grüße 日本 😀 "\\\n\u2028' }, { text: 'Echo: Grüße 日本 😀 "\\\n\u2028' }],
    ['echo', { message: 'x'.repeat(900_000) }, { text: `Echo: ${'x'.repeat(900_000)}` }],
    ['get-sum', { a: 1, b: 2.5 }, { text: 'The sum of 1 and 2.5 is 3.5.' }],
    ['get-tiny-image', {}, {
      text: "Here's the image you requested:\nThe image above is the MCP logo.",
      images: [isPng],
    }],
    ['get-annotated-message', { messageType: 'success', includeImage: true }, {
      text: 'Operation completed successfully',
      images: [isPng],
    }],
    ['get-resource-links', { count: 2 }, {
      text: 'Here are 2 resource links to resources available in this server:\n' +
        '[resource link: Blob Resource 1]\n[resource link: Text Resource 2]',
    }],
    ['get-resource-reference', { resourceType: 'Text', resourceId: 7 }, {
      text: /\nResource 7: This is a plaintext resource created at .*\n/,
    }],
    ['get-resource-reference', { resourceType: 'Blob', resourceId: 7 }, {
      text: 'Returning resource reference for Resource 7:\n[binary resource: text/plain]\n' +
        'You can access this resource using the URI: demo://resource/dynamic/blob/7',
    }],
    ['gzip-file-as-resource', { name: 'a.gz', data: 'data:text/plain,x', outputType: 'resource' }, {
      text: '[binary resource: application/gzip]',
    }],
    ['gzip-file-as-resource', { name: 'a.gz', data: 'data:text/plain,x', outputType: 'resourceLink' }, {
      text: '[resource link: a.gz]',
    }],
    ['get-structured-content', { location: 'Chicago' }, {
      structuredContent: { temperature: 36, conditions: 'Light rain / drizzle', humidity: 82 },
      text: '{"temperature":36,"conditions":"Light rain / drizzle","humidity":82}',
    }],
    ['echo', {}, { isError: true, text: /^MCP error -32602: Input validation error: .* echo: / }],
    ['no-such-tool', {}, { isError: true, text: 'MCP error -32602: Tool no-such-tool not found' }],
  ]; // prettier-ignore
  for (const [tool, args, wanted] of cases) {
    const { text, images, ...rest } = await callTool('Every Thing', tool, args);
    const { text: wantedText, images: areWanted = [], ...wantedRest } = wanted;
    const about = `${tool} ${JSON.stringify(args).slice(0, 100)}: ${text.slice(0, 200)}`;
    assert.ok(wantedText instanceof RegExp ? wantedText.test(text) : wantedText === text, about);
    assert.equal(images?.length ?? 0, areWanted.length, about);
    assert.ok(areWanted.every((isWanted, at) => isWanted(images[at])), about);
    assert.deepEqual(rest, wantedRest, about);
  }
});

test('a server has the variables of its entry, and the widened search path', async () => {
  const { text } = await callTool('Every Thing', 'get-env', {});
  const environment = JSON.parse(text);
  assert.equal(environment.WENDRA_TEST, 'grün');
  assert.ok(environment.PATH.split(';').includes(`${kHome}\\.local\\bin`), environment.PATH);
});

test('the safe name in the list can be used for a call, other spellings cannot', async () => {
  assert.deepEqual(await callTool('every_thing', 'echo', { message: 'a' }), { text: 'Echo: a' });
  assert.deepEqual(await callTool('EVERY_THING', 'echo', { message: 'a' }), {
    error: "unknown MCP server 'EVERY_THING'",
  });
});

test('calls of one server and of several run at the same time', async () => {
  const slow = callTool('Every Thing', 'trigger-long-running-operation', { duration: 1, steps: 2 });
  let slowEnded = false;
  slow.then(() => (slowEnded = true));
  const names = ['Every Thing', 'plain', 'Every Thing', 'plain'];
  const echoes = names.map((name, i) => callTool(name, 'echo', { message: `${i}` }));
  const texts = (await Promise.all(echoes)).map(({ text }) => text);
  assert.deepEqual(texts, ['Echo: 0', 'Echo: 1', 'Echo: 2', 'Echo: 3']);
  assert.equal(slowEnded, false);
  assert.match((await slow).text, /^Long running operation completed\./);
});

for (const name of ['files', 'shim']) {
  test(`files are read and written by a server: ${name}`, async () => {
    const path = (file) => `${kFiles}\\${file}`;
    const read = await callTool(name, 'read_text_file', { path: path('grüße.txt') });
    assert.equal(read.text, 'Guten Tag\n');
    const content = `von ${name}: "%PATH%" & | ^ 日本\n`;
    await callTool(name, 'write_file', { path: path(`${name}.txt`), content });
    assert.equal(await readFile(inProfile('my files & more', `${name}.txt`), 'utf8'), content);
    const media = await callTool(name, 'read_media_file', { path: path('pixel.png') });
    assert.deepEqual(media.images, [{ mimeType: 'image/png', data: kPixel.toString('base64') }]);
    const allowed = await callTool(name, 'list_allowed_directories', {});
    assert.ok(allowed.text.split('\n').includes(kFiles), allowed.text);
    const refused = await callTool(name, 'read_text_file', { path: 'C:\\windows\\win.ini' });
    assert.equal(refused.isError, true);
    assert.match(refused.text, /^Access denied/);
  });
}

test('a server gets the file name that its entry has as a variable', async () => {
  const entities = [{ name: 'Wendra', entityType: 'Programm', observations: ['zeigt Seiten'] }];
  assert.equal((await callTool('memory', 'create_entities', { entities })).isError, undefined);
  const { structuredContent } = await callTool('memory', 'search_nodes', { query: 'seiten' });
  assert.deepEqual(structuredContent, { entities, relations: [] });
  const [line] = (await readFile(inProfile('memory.jsonl'), 'utf8')).split('\n');
  assert.deepEqual(JSON.parse(line), { type: 'entity', ...entities[0] });
});

test('after a reload the new servers answer, and the stderr lines of the old ones are logged', async () => {
  const config = { mcpServers: { next: kConfig.mcpServers['Every Thing'] } };
  const written = await host.page.call('mcpWriteConfig', [JSON.stringify(config)]);
  assert.deepEqual(written, { ok: 1, value: { ok: true } });
  for (const [name, text] of [
    ['Every Thing', 'Starting default (STDIO) server...'],
    ['shim', 'Secure MCP Filesystem Server running on stdio'],
  ]) {
    await host.waitForLine(`[MCP ${name}] stderr: ${text}`);
  }
  await until('the second reload', () =>
    host.log.filter((line) => line === '[MCP] loaded 1 server(s)').length === 2);
  assert.deepEqual(await callTool('next', 'echo', { message: 'b' }), { text: 'Echo: b' });
  assert.deepEqual(await callTool('Every Thing', 'echo', { message: 'c' }), {
    error: "unknown MCP server 'Every Thing'",
  });
});
