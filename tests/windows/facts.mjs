// Questions to the machine that need cmd.exe or a running host. Each is [name, function]; the
// function gives the answer or throws. questions.mjs says what we expect.
import { execFileSync, spawnSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { startHost } from '../e2e/support/host.mjs';

const kShellSettings = 'HKCU\\Software\\Microsoft\\Command Processor';
const kArgument = 'a%PATH%b!c!^d';

// What a program gets from a batch file that passes on its arguments, as npx.cmd does, when the host's
// way to protect percent signs is used.
function argumentOfBatchFile() {
  const folder = mkdtempSync(join(tmpdir(), 'wendra-check-'));
  try {
    const [batch, script, shown] = ['run.cmd', 'record.mjs', 'arguments.json'].map((name) => join(folder, name));
    writeFileSync(script,
      `import { writeFileSync } from 'node:fs';\n` +
      `writeFileSync(${JSON.stringify(shown)}, JSON.stringify(process.argv.slice(2)));\n`);
    writeFileSync(batch, `@"${process.execPath}" "${script}" %*\r\n`);
    const line = `"${batch}" "${kArgument.replaceAll('%', '%%cd:~,%')}"`;
    execFileSync('cmd.exe', ['/d', '/e:on', '/v:off', '/s', '/c', `"${line}"`], {
      windowsVerbatimArguments: true,
    });
    const [got] = JSON.parse(readFileSync(shown, 'utf8'));
    return got === kArgument ? 'the argument arrives as it was given' : `it becomes ${got}`;
  } finally {
    rmSync(folder, { recursive: true, force: true });
  }
}

function withShellSetting(name, value, ask) {
  if (spawnSync('reg', ['query', kShellSettings, '/v', name]).status === 0) {
    throw new Error('this account has such a setting of its own');
  }
  execFileSync('reg', ['add', kShellSettings, '/v', name, '/t', 'REG_DWORD', '/d', value, '/f'], { stdio: 'ignore' });
  try {
    return ask();
  } finally {
    execFileSync('reg', ['delete', kShellSettings, '/v', name, '/f'], { stdio: 'ignore' });
  }
}

async function namesOfPrompt() {
  const host = await startHost({ env: { WENDRA_DEV_NO_RUNTIME: '1' } });
  try {
    await host.window('WendraServerPrompt');
    const { controls } = await host.probe('controls', 'WendraServerPrompt');
    return controls.filter(({ visible }) => visible)
      .map((control) => `${control.class}: '${control.accessibleName}'`).join(', ');
  } finally {
    await host.close();
  }
}

export const kFacts = [
  ['cmd: a protected percent sign', argumentOfBatchFile],
  ['cmd: with delayed expansion set in the registry',
    () => withShellSetting('DelayedExpansion', '1', argumentOfBatchFile)],
  ['cmd: with extensions switched off in the registry',
    () => withShellSetting('EnableExtensions', '0', argumentOfBatchFile)],
  ['names for screen readers', namesOfPrompt],
];
