// The playground in the real window, used by mouse and keyboard with a real MCP server. Pictures of
// what a person sees go to build/screenshots/.
import assert from 'node:assert/strict';
import { execFile, spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdirSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';
import { startHost } from './support/host.mjs';
import { kNode, nodeServer } from './support/mcp_servers.mjs';
import { until } from './support/waiting.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kPictures = join(kRoot, 'build/screenshots');
const kStartMs = 60_000;
const run = promisify(execFile);

let pages;
let host;

before(async () => {
  mkdirSync(kPictures, { recursive: true });
  pages = spawn(process.execPath, ['tools/serve.mjs', 'page', '/playground/'], {
    cwd: kRoot,
    stdio: ['pipe', 'pipe', 'inherit'],
  });
  const [line] = await once(pages.stdout, 'data');
  host = await startHost({
    address: String(line).trim(),
    config: {
      mcpServers: {
        everything: nodeServer('everything'),
        resting: { command: kNode, enabled: false },
        lost: { command: 'no-such-program' },
      },
    },
  });
});

after(async () => {
  assert.equal(await host?.close(), 0);
  pages?.stdin.end();
});

const texts = (selector) =>
  host.page.evaluate(
    (wanted) => [...document.querySelectorAll(wanted)].map((one) => one.innerText.trim()),
    selector,
  );

// Waits until an element says what it has to.
async function says(selector, wanted, timeoutMs) {
  let seen = [];
  const fits = async () => {
    seen = await texts(selector);
    return wanted instanceof RegExp ? seen.some((text) => wanted.test(text)) : seen.includes(wanted);
  };
  const context = () => `it says ${JSON.stringify(seen)}\n${host.context()}`;
  await until(`${selector} to say ${wanted}`, fits, { timeoutMs, context });
}

async function click(selector) {
  await host.page.waitFor(`document.querySelector(${JSON.stringify(selector)})?.offsetWidth`);
  await host.clickElement(selector);
}

// A click into a field, all of it chosen, and the keys.
async function fill(selector, text) {
  await click(selector);
  await host.keys('ctrl+a');
  await host.type(text);
  await host.page.waitFor(
    `document.querySelector(${JSON.stringify(selector)}).value === ${JSON.stringify(text)}`,
  );
}

// A spot in the page's corner, of a colour that it had not yet: what is painted with it is new.
let spots = 0;
async function paintSpot() {
  spots += 1;
  await host.page.evaluate((shade) => {
    const spot = document.querySelector('#spot') ?? document.createElement('i');
    spot.id = 'spot';
    spot.style = `position: fixed; inset: 0 auto auto 0; padding: 4px; background: rgb(${shade} 0 0)`;
    document.body.append(spot);
  }, spots);
  return spots;
}

// `selector`: what the picture is about; its end is brought into view. The window shows the page a
// moment late: the picture is taken again until the spot shows that it is not an older one.
async function takePicture(name, selector) {
  const file = join(kPictures, `${name}.png`);
  await host.page.evaluate(
    (wanted) => document.querySelector(wanted).scrollIntoView({ block: 'end' }), selector);
  const [left, top] = (await host.window()).client;
  const first = spots + 1;
  await until(`a picture for ${name}`, async () => {
    await paintSpot();
    await host.screenshot(file);
    const { stdout } = await run('convert', [file, '-crop', `1x1+${left + 2}+${top + 2}`, 'rgb:-'],
      { encoding: 'buffer' });
    const [red, green, blue] = stdout;
    return red >= first && red <= spots && green === 0 && blue === 0;
  }, { context: host.context });
}

const inTool = (name, selector) => `[data-tool="${name}"] ${selector}`;

test('the servers are listed with their state and their tools', async () => {
  await click('a[href="#servers"]');
  await says('.server > summary .state', /^ready · \d+ tools$/, kStartMs);
  assert.deepEqual(await texts('.server > summary b'), ['everything', 'resting', 'lost']);
  assert.deepEqual((await texts('.server > summary .state')).slice(1), ['off', 'not loaded']);
  await says('[data-server="everything"] > .where', kNode);
  await says('#servers-status', '1 of 3 servers ready');
  await takePicture('mcp-list', '#servers-status');
});

test('a tool is called with typed arguments, and its answer is shown', async () => {
  await click(inTool('echo', '> summary'));
  await fill(inTool('echo', '[name="message"]'), 'Grüße an alle');
  await click(inTool('echo', '.call button'));
  await says(inTool('echo', '.calls pre'), 'Echo: Grüße an alle');
  await click(inTool('echo', '> summary'));
});

test('a picture is seen', async () => {
  await click(inTool('get-tiny-image', '> summary'));
  await click(inTool('get-tiny-image', '.call button'));
  await says(inTool('get-tiny-image', 'figcaption'), 'image/png · 20 × 20 pixels');
  await takePicture('mcp-picture', inTool('get-tiny-image', '.calls'));
});

test('structured content is shown beside the text', async () => {
  await click(inTool('get-structured-content', '> summary'));
  await click(inTool('get-structured-content', '.call button'));
  await says(inTool('get-structured-content', '.structured'), /"conditions": "/);
  await takePicture('mcp-structured', inTool('get-structured-content', '.calls'));
});

test('a failed tool says why', async () => {
  await click(inTool('get-sum', '> summary'));
  await fill(inTool('get-sum', '[name="a"]'), 'x');
  await click(inTool('get-sum', '.call button'));
  await says(inTool('get-sum', '.problem'), 'a is not a number');
  await click(inTool('get-sum', '.call .quiet')); // as JSON, where anything may be sent
  await fill(inTool('get-sum', '[name="json"]'), '{"a":"x"}');
  await click(inTool('get-sum', '.call button'));
  await says(inTool('get-sum', '.calls .verdict'), /^the tool failed, /);
  await says(inTool('get-sum', '.calls pre.stderr'), /expected number, received string/);
  await takePicture('mcp-error', inTool('get-sum', '.calls'));
});

test('the editor shows what the host refuses, and what a saved configuration does', async () => {
  await click('a[href="#config"]');
  await host.page.waitFor('document.querySelector("#config-text").value');
  await fill('#config-text', '[]');
  await click('#config-save');
  await says('#view-config .problem', 'Invalid JSON — the file must contain a JSON object');
  await takePicture('mcp-config-refused', '#config-remarks');
  await fill('#config-text', '{"mcpServers":{"gone":{"command":"gone.exe","disabled":true}}}');
  await says('#config-remarks li', 'gone: "disabled" is not a key: write "enabled": false');
  await host.keys('ctrl+s');
  await says('#config-status', /in effect$/);
  assert.match(await host.config(), /^\{"mcpServers":\{"gone"/);
  await takePicture('mcp-config-saved', '#config-remarks');
  await click('a[href="#servers"]');
  await says('.server > summary .state', 'not loaded');
  assert.deepEqual(await texts('.server > summary b'), ['gone']);
});

test('what another program writes into the file is shown at once', async () => {
  await click('a[href="#config"]');
  await host.page.evaluate(
    (content) => window.chrome.webview.postMessage({
      __reqId: 'other', name: 'writeFile',
      args: [document.querySelector('#config-path').textContent, content],
    }), '{"mcpServers":{}}');
  await says('#config-status', /changed by someone else, and in effect$/);
  assert.equal(await host.page.evaluate('document.querySelector("#config-text").value'), '{"mcpServers":{}}');
});
