// Calls of the system that fail in the real program; docs/runtime-webview2.md says how.
import { existsSync, renameSync, rmSync, writeFileSync } from 'node:fs';
import { mkdtemp, readFile, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { until } from './waiting.mjs';

// Makes the means for one host: `env` goes into its environment. `plan`: what fails from the very
// start.
export async function makeFailures(plan = '') {
  const folder = await mkdtemp(join(tmpdir(), 'wendra-failures-'));
  const file = join(folder, 'plan');
  const record = `${file}.made`;
  let plans = 0;

  // A plan counts anew when its text changes; a word that fits nothing makes it another text.
  const write = (text) => {
    writeFileSync(`${file}.new`, `${text} plan-${(plans += 1)}`);
    renameSync(`${file}.new`, file); // whoever reads sees the old or the new one, whole
  };
  // 'NAME' or 'NAME/DETAIL' of each call that was made to fail since the last plan, in order.
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
    // From now on, until the next one. Nothing fails with ''.
    plan: plan_,
    waitFor,
    // What fails during `action` is what `text` says; something has to.
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
