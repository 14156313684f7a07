// Tests tools/launch: exit codes, how it ends, profiles, languages, screenshots. Tests that do not
// need the host itself start Windows' command interpreter instead.
import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import { existsSync, readFileSync } from 'node:fs';
import { rm, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { after, test } from 'node:test';
import { promisify } from 'node:util';
import { hasSteadyPlaces } from '../../tools/wine/prefix.mjs';
import { isAlive } from '../../tools/wine/processes.mjs';
import { processesNamed } from './support/holdings.mjs';
import { makeProfile, removeProfile, startHost } from './support/host.mjs';
import { startServer } from './support/server.mjs';
import { until } from './support/waiting.mjs';

const run = promisify(execFile);
// A command that keeps the processor busy, has no window, and does not react to WM_CLOSE.
const kEndless = 'for /L %i in (1,0,2) do @rem'.split(' ');

const colored = (color) => `<!doctype html><title>${color}</title><body style="background:${color}">`;
const server = await startServer({ '/': colored('rgb(200,40,60)') });
after(() => server.close());

function startCommand(command, wanted = {}) {
  return startHost({
    args: ['/c', ...command],
    ...wanted,
    env: {
      WENDRA_DEV_HOST: 'C:\\windows\\system32\\cmd.exe',
      WENDRA_DEV_NO_RUNTIME: '1',
      ...wanted.env,
    },
  });
}

// The log of a command that ends by itself.
async function outputOf(command, wanted) {
  const host = await startCommand(command, wanted);
  await host.ended();
  return host.log;
}

// A profile for several hosts; deleted after the test.
async function profileFor(t) {
  const profile = await makeProfile();
  t.after(() => removeProfile(profile));
  return profile;
}

async function pixelOf(file) {
  const format = '%[fx:int(255*p{600,400}.r)],%[fx:int(255*p{600,400}.g)],%[fx:int(255*p{600,400}.b)]';
  return (await run('convert', [file, '-format', format, 'info:'])).stdout;
}

const unsteady = !hasSteadyPlaces && 'the kernel does not allow it';
test('Windows programs run without random addresses', { skip: unsteady }, async () => {
  const noRandomPlaces = 0x0040000; // ADDR_NO_RANDOMIZE of <sys/personality.h>
  const host = await startCommand(['echo', 'up&', ...kEndless]);
  await host.waitForLine('up');
  const [program, ...others] = processesNamed(host, 'cmd.exe');
  assert.deepEqual(others, []);
  const personality = readFileSync(`/proc/${program}/personality`, 'latin1');
  assert.equal(Number.parseInt(personality, 16), noRandomPlaces);
  await host.kill();
});

const kExitCodes = [
  [0, 0],
  [7, 7],
  [255, 255],
  [70000, 112], // modulo 256
];
for (const [code, want] of kExitCodes) {
  test(`launch ends with the host's exit code: ${code}`, async () => {
    const host = await startCommand(['exit', String(code)]);
    assert.equal(await host.ended(), want);
    assert.deepEqual(host.log, []);
  });
}

// When a process has told Wine's server its exit code and has not ended half a second later, the
// server kills it. That happens on a busy machine; this library makes it happen.
const kSlowEnd = `
#include <stdio.h>
#include <string.h>
#include <unistd.h>
__attribute__((destructor)) static void End(void) {
  char name[32] = "";
  FILE* file = fopen("/proc/self/comm", "r");
  if (!file || !fgets(name, sizeof name, file)) return;
  if (strcmp(name, "wendra.exe\\n") == 0) sleep(20); /* the test fails if nobody kills it */
}
`;

test('launch gives the exit code of a host that Wine kills because it ends too slowly', async (t) => {
  const folder = await profileFor(t);
  const library = join(folder, 'slow_end.so');
  const source = join(folder, 'slow_end.c');
  await writeFile(source, kSlowEnd);
  await run('cc', ['-shared', '-fPIC', '-o', library, source]);
  const env = { WENDRA_DEV_NO_RUNTIME: '1', LD_PRELOAD: library };
  const host = await startHost({ args: ['localhost'], env });
  await host.window();
  assert.equal(await host.close(), 0);
  const killed = await startHost({ args: ['localhost'], env });
  await killed.window();
  const [program] = processesNamed(killed, 'wendra.exe');
  process.kill(program, 'SIGKILL'); // killed by the test: there is no exit code
  assert.equal(await killed.ended(), 1);
  assert.deepEqual(killed.messages, ['launch: the host was killed by SIGKILL']);
});

test('launch writes only the lines of the host to standard output', async () => {
  assert.deepEqual(await outputOf(['echo', 'first&', 'echo', 'second']), ['first', 'second']);
});

test('launch passes on a last line without a line feed', async () => {
  assert.deepEqual(await outputOf(['set', '/p', 'x=last']), ['last']);
});

test('launch passes arguments on unchanged', async () => {
  const [line] = await outputOf(['echo', 'a b', '--lang', 'x=y', '']);
  assert.equal(line.trimEnd(), '"a b" --lang x=y ""');
});

test('launch refuses unknown options and a missing profile', async () => {
  const launch = join(import.meta.dirname ?? new URL('.', import.meta.url).pathname, '../../tools/launch');
  for (const args of [[], ['--nonsense'], ['--profile'], ['--profile', '/tmp', '--lang', 'fr']]) {
    await assert.rejects(run(launch, args), { code: 2 }, args.join(' '));
  }
});

const kLanguages = [
  ['de', 'Aktive Codepage'],
  ['en', 'Active code page'],
];
for (const [lang, words] of kLanguages) {
  test(`launch --lang ${lang} gives Windows that language`, async () => {
    const [line] = await outputOf(['chcp'], { lang });
    assert.ok(line.startsWith(words), line);
  });
}

test('launch makes the profile folder the Windows profile', async (t) => {
  const profile = await profileFor(t);
  await outputOf(['echo', 'here>%USERPROFILE%\\a.txt&', 'echo', 'there>%LOCALAPPDATA%\\b.txt'], { profile });
  assert.equal(readFileSync(join(profile, 'a.txt'), 'latin1').trim(), 'here');
  assert.equal(readFileSync(join(profile, 'AppData/Local/b.txt'), 'latin1').trim(), 'there');
});

test('launch keeps the registry with the profile', async (t) => {
  const profile = await profileFor(t);
  await outputOf(['reg', 'add', 'HKCU\\Software\\Kept', '/v', 'it', '/d', 'stays'], { profile });
  const lines = await outputOf(['reg', 'query', 'HKCU\\Software\\Kept', '/v', 'it'], { profile });
  assert.match(lines.join('\n'), /it\s+REG_SZ\s+stays/);
});

test('launch keeps profiles apart', async (t) => {
  const other = await profileFor(t);
  await outputOf(['reg', 'add', 'HKCU\\Software\\Kept', '/v', 'it', '/d', 'stays']);
  const lines = await outputOf(['reg', 'query', 'HKCU\\Software\\Kept', '/v', 'it'], { profile: other });
  assert.doesNotMatch(lines.join('\n'), /stays/);
});

test('launch refuses a profile that another launch uses', async (t) => {
  const profile = await profileFor(t);
  const first = await startCommand(['echo', 'up&', ...kEndless], { profile });
  await first.waitForLine('up');
  const second = await startCommand(['exit', '0'], { profile });
  const { code } = await second.exit;
  assert.equal(code, 1);
  await second.waitForMessage('is in use by another launch');
  await first.kill();
});

test('launch records the addresses for the default browser in the profile', async () => {
  const host = await startCommand(['start', 'http://elsewhere.test/a?b=c', '&', ...kEndless]);
  await host.waitForOpenedInBrowser('http://elsewhere.test/a?b=c');
  await host.kill();
});

test('launch leaves no process when it is killed, not even a busy one', async () => {
  const host = await startHost({ address: server.url });
  const busy = await startCommand(['echo', 'busy&', ...kEndless]);
  await busy.waitForLine('busy');
  for (const one of [host, busy]) {
    const processes = one.processes();
    assert.ok(processes.length > 4, `${processes}`);
    one.signal('SIGKILL');
    await until('their end', () => !processes.some(isAlive));
    await one.kill();
  }
});

test('launch kills a host that does not close, and ends with code 1', async () => {
  const host = await startCommand(['echo', 'up&', ...kEndless]);
  await host.waitForLine('up');
  assert.equal(await host.close(), 1);
  await host.waitForMessage('did not close within 10 seconds');
});

for (const signal of ['SIGTERM', 'SIGINT']) {
  test(`launch closes the window the normal way at ${signal}`, async () => {
    const host = await startHost({ address: server.url });
    host.signal(signal);
    assert.equal(await host.ended(), 0);
    assert.deepEqual(host.messages, []);
  });
}

test('launch ends by itself when the window is closed', async () => {
  const host = await startHost({ address: server.url });
  await host.probe('post', 'window', 0x10, 0, 0); // WM_CLOSE
  assert.equal(await host.ended(), 0);
});

test('launch starts the host without an argument when there is no address', async () => {
  const host = await startHost({ config: { server: server.url }, page: true });
  await host.waitForLine(`[Server] loading ${server.url} (from "server" in C:\\`);
  assert.equal(await host.close(), 0);
});

test('launch runs two hosts side by side', async () => {
  server.routes['/one'] = colored('blue');
  server.routes['/two'] = colored('green');
  const hosts = await Promise.all(
    ['one', 'two'].map((name) => startHost({ address: `${server.url}/${name}` })),
  );
  const titles = await Promise.all(hosts.map((host) => host.page.evaluate('document.title')));
  assert.deepEqual(titles, ['blue', 'green']);
  await hosts[0].close();
  assert.equal(await hosts[1].page.evaluate('document.title'), 'green');
  await hosts[1].close();
});

test('launch keeps what the page stores with the profile', async (t) => {
  const profile = await profileFor(t);
  const first = await startHost({ address: server.url, profile });
  await first.page.evaluate("localStorage.setItem('it', 'stays')");
  await first.page.evaluate("document.cookie = 'it=stays; max-age=3600'");
  await first.close();
  const second = await startHost({ address: server.url, profile });
  assert.equal(await second.page.evaluate("localStorage.getItem('it')"), 'stays');
  assert.equal(await second.page.evaluate('document.cookie'), 'it=stays');
  await second.close();
});

test('launch takes a screenshot of the painted page, at SIGUSR1, and before it closes', async (t) => {
  const file = join(await profileFor(t), 'picture.png');
  const host = await startHost({ address: server.url, options: ['--screenshot', file] });
  await host.waitForMessage(`screenshot ${file} (the page is there)`);
  assert.equal(await pixelOf(file), '200,40,60');

  const painted = () => host.page.evaluate(() => new Promise((resolve) => {
    document.body.style.background = 'rgb(10,120,30)';
    requestAnimationFrame(() => requestAnimationFrame(() => resolve(true)));
  })); // prettier-ignore
  await painted();
  await until('the new colour', async () => {
    const from = host.messages.length;
    host.signal('SIGUSR1');
    await until('the message', () => host.messages.length > from);
    return (await pixelOf(file)) === '10,120,30';
  });

  await rm(file);
  await host.close();
  assert.ok(existsSync(file));
});

test('launch takes a screenshot of the window when there is no browser', async (t) => {
  const file = join(await profileFor(t), 'picture.png');
  const host = await startHost({
    address: server.url,
    env: { WENDRA_DEV_NO_RUNTIME: '1' },
    options: ['--screenshot', file],
  });
  await host.waitForMessage(`screenshot ${file} (the page is there)`);
  const commands = host.processes().map((pid) => readFileSync(`/proc/${pid}/cmdline`, 'latin1'));
  assert.ok(!commands.some((command) => command.includes('chromium')), `${commands}`);
  await host.close();
});

