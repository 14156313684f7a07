// Tests the playground's MCP views in an ordinary browser, where the stand-in host answers.
import assert from 'node:assert/strict';
import { after, before, beforeEach, test } from 'node:test';
import { startBrowser } from './browser.mjs';
import { startPlayground } from './playground_server.mjs';

let server;
let browser;

before(async () => {
  server = await startPlayground();
  browser = await startBrowser();
});

after(async () => {
  await browser?.close();
  await server?.close();
});

let visits = 0;

beforeEach(async () => {
  visits += 1; // a new address, so that the browser loads a new document for each test
  await browser.visit(`${server.address}?${visits}#servers`);
  await browser.waitFor('document.querySelector(".server.ready")');
});

const open = (view) => browser.evaluate((name) => void (location.hash = name), view);
const valueOf = (selector) =>
  browser.evaluate((wanted) => document.querySelector(wanted).value, selector);

// Waits until an element has the wanted text. When none gets it, the error shows their last texts.
async function says(selector, wanted) {
  let seen;
  const fits = async () => {
    seen = await browser.texts(selector);
    return wanted instanceof RegExp ? seen.some((text) => wanted.test(text)) : seen.includes(wanted);
  };
  await browser.until(`${selector} to say ${wanted}`, fits, () => `it says ${JSON.stringify(seen)}`);
}

const inTool = (name, selector) => `[data-tool="${name}"] ${selector}`;

async function call(tool, fields = {}) {
  await browser.click(inTool(tool, '> summary'));
  for (const [name, text] of Object.entries(fields)) {
    await browser.fill(inTool(tool, `[name="${name}"]`), text);
  }
  await browser.click(inTool(tool, '.call button'));
}

test('every server is listed with its state, its command or address, and its tools', async () => {
  assert.deepEqual(await browser.texts('.server > summary b'), ['Samples', 'remote', 'resting']);
  assert.deepEqual(await browser.texts('.server > summary .state'), ['ready · 4 tools', 'failed', 'off']);
  assert.deepEqual(await browser.texts('.server > .where'), ['npx', 'https://mcp.example/mcp', 'npx']);
  assert.deepEqual(await browser.texts('.server .problem'), ['request failed (offline?)']);
  assert.deepEqual(await browser.texts('.tool > summary b'), ['echo', 'forecast', 'draw', 'fail']);
  await says('#servers-status', '1 of 3 servers ready');
});

test('a tool is called through its form, and the answer has text and structured content', async () => {
  await call('forecast', { place: 'Köln', stations: '["a"]' });
  await says(inTool('forecast', '.calls .verdict'), /^ok, /);
  await says(inTool('forecast', '.calls .brief'), '{"place":"Köln","days":2,"stations":["a"]}');
  await says(inTool('forecast', '.calls pre'), 'Sunny in Köln for 2 days.');
  const [structured] = await browser.texts(inTool('forecast', '.calls .structured'));
  assert.deepEqual(JSON.parse(structured), { place: 'Köln', sky: 'sunny', days: 2 });
});

test('an image in an answer is shown as a picture', async () => {
  await call('draw');
  await says(inTool('draw', 'figcaption'), 'image/svg+xml · 240 × 120 pixels');
});

test('a tool that fails and a call without an answer look different', async () => {
  await call('fail');
  await says(inTool('fail', '.calls .verdict'), /^the tool failed, /);
  await says(inTool('fail', '.calls pre.stderr'), 'It was asked to fail, and did.');
  await browser.evaluate(async () => {
    const { host } = await import('./recorded_host.js');
    const { content } = await host.mcpReadConfig();
    await host.mcpWriteConfig(content.replace('"Samples"', '"Others"'));
  });
  await says('.server > summary b', 'Others');
  await says('.server .problem', "MCP server 'Others' is not running");
});

test('a field that cannot be sent is named, and no tool is called', async () => {
  await call('forecast', { place: 'x', days: '1.5' });
  await says(inTool('forecast', '.problem'), 'days is not a whole number');
  assert.deepEqual(await browser.texts(inTool('forecast', '.calls li')), []);
});

test("arguments may be written as JSON, which begins with the form's values", async () => {
  await browser.click(inTool('echo', '> summary'));
  await browser.fill(inTool('echo', '[name="message"]'), 'hi');
  await browser.click(inTool('echo', '.call .quiet'));
  assert.deepEqual(JSON.parse(await valueOf(inTool('echo', '[name="json"]'))), { message: 'hi' });
  await browser.fill(inTool('echo', '[name="json"]'), '{"message":"from JSON"}');
  await browser.click(inTool('echo', '.call button'));
  await says(inTool('echo', '.calls pre'), 'from JSON');
});

test('the configuration is read, changed and saved, and the list of servers follows', async () => {
  await open('config');
  await browser.waitFor('document.querySelector("#config-text").value');
  const text = await valueOf('#config-text');
  assert.deepEqual(Object.keys(JSON.parse(text).mcpServers), ['Samples', 'remote', 'resting']);
  await says('#config-path', 'C:\\Users\\developer\\.config\\wendra\\config.json');
  await browser.fill('#config-text', text.replace('"enabled": false', '"enabled": true'));
  await says('#config-status', /changed$/);
  await browser.click('#config-save');
  await says('#config-status', /in effect$/);
  await open('servers');
  await says('[data-server="resting"] .state', 'ready · 0 tools');
});

test('the editor shows what the host would ignore, and the error when the host refuses', async () => {
  await open('config');
  await browser.waitFor('document.querySelector("#config-text").value');
  await browser.fill('#config-text', '{"mcpServers":{"a":{"command":"x","disabled":true}}}');
  await says('#config-remarks li', 'a: "disabled" is not a key: write "enabled": false');
  await browser.fill('#config-text', '[]');
  await browser.click('#config-save');
  await says('#view-config .problem', 'Invalid JSON — the file must contain a JSON object');
  await browser.click('#config-read');
  await says('#config-status', /as in the file$/);
  assert.deepEqual(await browser.texts('#view-config .problem:not([hidden])'), []);
});

test('a change by another program is shown, but does not replace unsaved text', async () => {
  await open('config');
  await browser.waitFor('document.querySelector("#config-text").value');
  const write = (text) =>
    browser.evaluate(async (content) => {
      const { host } = await import('./recorded_host.js');
      await host.mcpWriteConfig(content);
    }, text);
  await write('{"by":"somebody else"}');
  await says('#config-status', /changed by someone else, and in effect$/);
  assert.equal(await valueOf('#config-text'), '{"by":"somebody else"}');
  await browser.fill('#config-text', '{"mine":1}');
  await write('{"by":"yet another"}');
  await says('#config-status', /the file has changed meanwhile; saving replaces it$/);
  assert.equal(await valueOf('#config-text'), '{"mine":1}');
});

test('a new list of servers keeps open forms and results', async () => {
  await call('echo', { message: 'kept' });
  await says(inTool('echo', '.calls pre'), 'kept');
  await browser.evaluate(async () => {
    const { host } = await import('./recorded_host.js');
    await host.mcpWriteConfig('{"mcpServers":{"Samples":{"command":"other"}}}');
  });
  await says('#servers-status', '1 of 1 server ready');
  assert.deepEqual(await browser.texts(inTool('echo', '.calls pre')), ['kept']);
  assert.equal(await valueOf(inTool('echo', '[name="message"]')), 'kept');
});

test('with an empty configuration the page says where to begin', async () => {
  await browser.evaluate(async () => {
    const { host } = await import('./recorded_host.js');
    await host.mcpWriteConfig('{}');
  });
  await says('#servers', /^config\.json names no server\./);
});

test('the button for updates sends checkForUpdates', async () => {
  await open('updates');
  await browser.click('#updates-check');
  await says('#updates-status', /^ok, at /);
  await says('#requests b', 'checkForUpdates');
});

test('the page writes no error to the console', () => {
  assert.deepEqual(browser.errors, []);
});
