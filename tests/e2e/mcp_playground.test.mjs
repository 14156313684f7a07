// Uses the playground in the real window, with mouse and keyboard and a real MCP server. Pictures
// of the screen go to build/screenshots/.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { kNode, nodeServer } from './support/mcp_servers.mjs';
import { startPlayground } from './support/playground.mjs';

const kStartMs = 60_000;

let playground;

before(async () => {
  playground = await startPlayground({
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
  assert.equal(await playground?.close(), 0);
});

const says = (...args) => playground.says(...args);
const click = (selector) => playground.click(selector);
const fill = (selector, text) => playground.fill(selector, text);
const texts = (selector) => playground.texts(selector);

// Scrolls to the end of the element `selector`, then takes the picture.
async function takePicture(name, selector) {
  await playground.page.evaluate(
    (wanted) => document.querySelector(wanted).scrollIntoView({ block: 'end' }), selector);
  await playground.takePicture(name);
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

test('an image in an answer is shown', async () => {
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

test('the page shows why a tool cannot be called, and why it fails', async () => {
  await click(inTool('get-sum', '> summary'));
  await fill(inTool('get-sum', '[name="a"]'), 'x');
  await click(inTool('get-sum', '.call button'));
  await says(inTool('get-sum', '.problem'), 'a is not a number');
  await click(inTool('get-sum', '.call .quiet')); // arguments as JSON, which are not checked
  await fill(inTool('get-sum', '[name="json"]'), '{"a":"x"}');
  await click(inTool('get-sum', '.call button'));
  await says(inTool('get-sum', '.calls .verdict'), /^the tool failed, /);
  await says(inTool('get-sum', '.calls pre.stderr'), /expected number, received string/);
  await takePicture('mcp-error', inTool('get-sum', '.calls'));
});

test('the editor shows what the host refuses, and that a saved configuration is in effect', async () => {
  await click('a[href="#config"]');
  await playground.page.waitFor('document.querySelector("#config-text").value');
  await fill('#config-text', '[]');
  await click('#config-save');
  await says('#view-config .problem', 'Invalid JSON — the file must contain a JSON object');
  await takePicture('mcp-config-refused', '#config-remarks');
  await fill('#config-text', '{"mcpServers":{"gone":{"command":"gone.exe","disabled":true}}}');
  await says('#config-remarks li', 'gone: "disabled" is not a key: write "enabled": false');
  await playground.host.keys('ctrl+s');
  await says('#config-status', /in effect$/);
  assert.match(await playground.host.config(), /^\{"mcpServers":\{"gone"/);
  await takePicture('mcp-config-saved', '#config-remarks');
  await click('a[href="#servers"]');
  await says('.server > summary .state', 'not loaded');
  assert.deepEqual(await texts('.server > summary b'), ['gone']);
});

test('the editor shows at once what another program writes into config.json', async () => {
  await click('a[href="#config"]');
  await playground.page.evaluate(
    (content) => window.chrome.webview.postMessage({
      __reqId: 'other', name: 'writeFile',
      args: [document.querySelector('#config-path').textContent, content],
    }), '{"mcpServers":{}}');
  await says('#config-status', /changed by someone else, and in effect$/);
  assert.equal(await playground.page.evaluate('document.querySelector("#config-text").value'), '{"mcpServers":{}}');
});
