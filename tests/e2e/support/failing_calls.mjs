// Makes system calls fail in the real program; docs/runtime-webview2.md says how that works.
import { existsSync, renameSync, rmSync, writeFileSync } from 'node:fs';
import { mkdtemp, readFile, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { until } from './waiting.mjs';

// For one host, which gets `env` of the result in its environment. `plan` names the calls that fail
// from the host's start on.
export async function makeFailures(plan = '') {
  const folder = await mkdtemp(join(tmpdir(), 'wendra-failures-'));
  const file = join(folder, 'plan');
  const record = `${file}.made`;
  let plans = 0;

  // Calls are counted anew when the text of the plan changes. The last word names no call: it makes
  // each text different from the one before.
  const write = (text) => {
    writeFileSync(`${file}.new`, `${text} plan-${(plans += 1)}`);
    renameSync(`${file}.new`, file); // the host never reads a half-written plan
  };
  // The calls that have failed since the last plan, in order, as 'NAME' or 'NAME/DETAIL'.
  const made = async () =>
    existsSync(record) ? (await readFile(record, 'utf8')).split('\n').slice(0, -1) : [];
  const plan_ = (text) => {
    rmSync(record, { force: true });
    write(text);
  };
  plan_(plan);

  const waitFor = (call, count = 1) =>
    until(`${count} × ${call} to fail`, async () =>
      (await made()).filter((one) => one === call || one.startsWith(`${call}/`)).length >= count,
    { context: () => `failed so far: ${existsSync(record) ? 'some' : 'none'}` });

  return {
    env: { WENDRA_DEV_FAILURES: file },
    made,
    // Sets the plan that holds until the next one. With '' nothing fails.
    plan: plan_,
    waitFor,
    // Runs `action` under the plan `text`. Throws if a function that the plan names did not fail.
    async during(text, action) {
      plan_(text);
      try {
        return await action();
      } finally {
        const calls = await made();
        plan_('');
        const names = new Set(text.split(/[ ,]/).map((word) => word.split(/[/:=]/)[0]));
        for (const name of names) {
          if (!calls.some((call) => call.split('/')[0] === name)) {
            throw new Error(`${name} was not called, or did not fail; failed: ${calls}`);
          }
        }
      }
    },
    close: () => rm(folder, { recursive: true, force: true }),
  };
}
