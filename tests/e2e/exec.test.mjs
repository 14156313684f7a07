// Tests shell commands from a real page.
import assert from 'node:assert/strict';
import { mkdir, readFile } from 'node:fs/promises';
import { dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { startHost } from './support/host.mjs';
import { windowsPath } from './support/machine.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const child = `"${windowsPath(join(kRoot, 'build/windows/bin/test_child.exe'))}"`;
const kShell = 'C:\\windows\\system32\\cmd.exe';

let server;
let host;
let page;

before(async () => {
  server = await startServer({
    '/': '<!doctype html><title>exec</title>',
    '/other': '<!doctype html><title>other</title>',
  });
  host = await startHost({ address: server.url });
  page = host.page;
});

after(async () => {
  await host?.close();
  await server?.close();
});

// The name of a Windows event that no other test uses.
let events = 0;
const newEvent = () => `wendra-e2e-${process.pid}-${(events += 1)}`;

async function exec(command, dir = '') {
  const { ok, value } = await page.call('exec', [dir, command]);
  assert.equal(ok, 1, JSON.stringify(value));
  return value;
}

test('a command answers with exit code and both streams', async () => {
  const cases = [
    ['echo hi', 0, 'hi\r\n', ''],
    [`${child} out 3 err 2 exit 7`, 7, 'xxx', 'xx'],
    ['echo "a" "b c"', 0, '"a" "b c"\r\n', ''],
    [`${child} args "two words" "a&b" "c^d"`, 0, 'two words\na&b\nc^d\n', ''],
    [`${child} out 5 | ${child} read`, 0, 'read 5 bytes\n', ''],
    [`${child} out 2 && ${child} out 1 && ${child} exit 9`, 9, 'xxx', ''],
    [`${child} err 2 2>&1`, 0, 'xx', ''],
    [`${child} args a^&b 100^% %NOT_SET%`, 0, 'a&b\n100%\n%NOT_SET%\n', ''],
    [`(${child} args "a ""quoted"" b" "say \\"hi\\"")`, 0, 'a "quoted" b\nsay "hi"\n', ''],
    [`${child} out 1 > NUL & ${child} exit 4`, 4, '', ''],
    ['echo %COMSPEC%', 0, `${kShell}\r\n`, ''],
    [`${child} read`, 0, 'read 0 bytes\n', ''],
    ['set /p name=', 1, undefined, ''],
    [`${child} ansi`, 0, 'äöü', ''],
    [`${child} bytes E697A5`, 0, '日', ''],
    [`${child} exit 4294967295`, -1, '', ''],
  ];
  for (const [command, exit, stdout, stderr] of cases) {
    const value = await exec(command);
    if (stdout !== undefined) assert.equal(value.stdout, stdout, command);
    if (command !== 'set /p name=') assert.equal(value.exit, exit, command);
    assert.equal(value.stderr, stderr, command);
  }
});

test('a command of 8,000 characters runs; one beyond the limit of the shell is answered', async () => {
  const longest = 'y'.repeat(8_000); // the shell takes 8,191 characters, including its own name
  assert.deepEqual(await exec(`${child} args ${longest}`), { exit: 0, stdout: `${longest}\n`, stderr: '' });
  for (const length of [8_192, 32_768, 100_000]) {
    const { exit, stdout } = await exec(`${child} args ${'y'.repeat(length)}`);
    assert.ok(exit !== 0 || !stdout.includes(longest), `${length}: exit ${exit}`); // refused or cut
  }
  assert.equal((await exec('echo still here')).stdout, 'still here\r\n');
});

test('a command of two lines runs its first line', async () => {
  for (const end of ['\n', '\r\n']) {
    const { exit, stdout } = await exec(`echo one${end}echo two`);
    assert.equal(exit, 0);
    assert.match(stdout, /^one/); // the shell decides about the rest
  }
});

test('a command that crashes has a negative exit code', async () => {
  assert.equal((await exec(`${child} crash`)).exit, -1073741819);
});

test('a request without a command fails and names the expected arguments', async () => {
  for (const args of [[], [''], ['C:\\'], ['', ''], ['', 5], null]) {
    assert.deepEqual(await page.call('exec', args), { ok: 0, value: 'exec expects [dir, command]' });
  }
});

test('a command runs in its folder; with a missing folder the reply has the command line', async () => {
  await mkdir(join(host.profile, 'Ordner ü'), { recursive: true });
  const value = await exec(`${child} out 4 > made.txt`, 'C:\\users\\wendra\\Ordner ü');
  assert.equal(value.exit, 0);
  assert.equal(await readFile(join(host.profile, 'Ordner ü/made.txt'), 'utf8'), 'xxxx');
  assert.deepEqual(await exec('echo "hi"', 'C:\\no\\such\\folder'), {
    exit: -1, stdout: '', stderr: `${kShell} /d /s /c "echo "hi""`,
  });
});

test('10 MiB on both streams at once arrive completely', async () => {
  const bytes = 10 << 20;
  const seen = await page.evaluate((command) => new Promise((resolve) => {
    const before = window.__wendra;
    window.__wendra = {
      __resolve: (id, ok, { exit, stdout, stderr }) => {
        window.__wendra = before;
        resolve([ok, exit, stdout.length, stderr.length, stdout === stderr]);
      },
    };
    chrome.webview.postMessage({ __reqId: 'both', name: 'exec', args: ['', command] });
  }), `${child} both ${bytes} exit 3`);
  assert.deepEqual(seen, [1, 3, bytes, bytes, true]);
});

test('a hundred commands at once are all answered', async () => {
  const codes = await page.evaluate(async (command) => {
    const waiting = new Map();
    window.__wendra = { __resolve: (id, ok, value) => waiting.get(id)(value.exit) };
    return Promise.all(Array.from({ length: 100 }, (_, i) => new Promise((resolve) => {
      waiting.set(`e${i}`, resolve);
      chrome.webview.postMessage({ __reqId: `e${i}`, name: 'exec', args: ['', `${command} exit ${i}`] });
    })));
  }, child);
  assert.deepEqual(codes, Array.from({ length: 100 }, (_, i) => i));
  await page.evaluate('location.reload()');
  await page.waitFor('!window.__wendra');
});

test('the reply waits for a child of the command that holds the streams', async () => {
  const event = newEvent();
  const answer = exec(`${child} out 1 hold ${event} exit 6`);
  assert.equal((await exec('echo meanwhile')).stdout, 'meanwhile\r\n');
  assert.equal((await page.replies()).filter(({ value }) => value.exit === 6).length, 0);
  await exec(`${child} set ${event}`);
  assert.deepEqual(await answer, { exit: 6, stdout: 'x', stderr: '' });
});

test('the reply to a page that navigates within its origin comes to the new page', async () => {
  const event = newEvent();
  await page.post({ __reqId: 'left', name: 'exec', args: ['', `${child} await ${event}`] });
  await host.waitForLine("action 'exec' (req left)");
  await page.evaluate('location.href = "/other"');
  await page.loaded('/other');
  await page.evaluate(`window.late = []; window.__wendra = { __resolve: (...reply) => late.push(reply) }`);
  await page.post({ __reqId: 'set', name: 'exec', args: ['', `${child} set ${event}`] });
  await page.waitFor('late.length === 2');
  assert.deepEqual((await page.evaluate('late.map(([id]) => id)')).sort(), ['left', 'set']);
  await page.evaluate('location.href = "/"');
  await page.loaded(`${server.url}/`);
});

test('thousands of mixed actions leak no handles and no threads', async () => {
  const round = (count) => page.evaluate(async (command, times) => {
    const waiting = new Map();
    window.__wendra = { __resolve: (id) => waiting.get(id)() };
    const ask = (id, name, args) => new Promise((resolve) => {
      waiting.set(id, resolve);
      chrome.webview.postMessage({ __reqId: id, name, args });
    });
    for (let i = 0; i < times; ++i) {
      await Promise.all([
        ask(`a${i}`, 'writeFile', ['C:\\users\\wendra\\h.txt', 'x'.repeat(i)]),
        ask(`b${i}`, 'readFile', ['C:\\users\\wendra\\h.txt']),
        ask(`c${i}`, 'readFileBase64', ['C:\\users\\wendra\\missing']),
        ask(`d${i}`, 'setProjectDir', ['p', `C:\\${i}`]),
        ask(`e${i}`, 'getProjectDirs', []),
        ask(`f${i}`, 'platform', []),
        ask(`g${i}`, 'exec', ['', `${command} exit 0`]),
        ask(`h${i}`, 'exec', ['C:\\no\\such\\folder', 'x']),
      ]);
    }
  }, child, count);
  // The system makes some handles only once and late, for example when two threads collide for the
  // first time. A leak grows with every thousand actions.
  await round(5);
  const counts = [];
  const count = async () => {
    const { handles, threads } = await host.probe('process');
    return { handles, threads };
  };
  const settled = (before) =>
    until('no more threads', async () => {
      const now = await count();
      return now.threads <= before.threads && now;
    }, { context: () => `before: ${JSON.stringify(before)}` });
  counts.push(await count());
  for (let thousands = 0; thousands < 3; ++thousands) {
    await round(125);
    const now = await settled(counts[0]);
    if (now.handles <= counts.at(-1).handles) return;
    counts.push(now);
  }
  assert.fail(`more handles after every thousand actions: ${JSON.stringify(counts)}`);
});

test('the program ends at once when its window is closed while commands run', async () => {
  const other = await startHost({ address: server.url });
  const event = newEvent();
  for (let i = 0; i < 10; ++i) {
    await other.page.post({ __reqId: `r${i}`, name: 'exec', args: ['', `${child} await ${event}`] });
  }
  await other.waitForLine('(req r9)');
  const start = Date.now();
  assert.equal(await other.close(), 0);
  assert.ok(Date.now() - start < 5_000);
});
