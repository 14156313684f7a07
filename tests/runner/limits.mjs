// Loaded before a file of tests, or by what its tests use: no test holds up the file for ever, and
// the file ends after its last test whatever that has left open. Says on standard error which test
// runs, for the case that the file is ended from outside. Does nothing outside a test run.
import { writeSync } from 'node:fs';
import { createRequire, syncBuiltinESMExports } from 'node:module';

const testing = createRequire(import.meta.url)('node:test');

const fromEnvironment = (name, value) => Number(process.env[name] ?? value);
// Of one test and each part of it; tests/run.mjs says how long, this is for files run by hand.
const kTestLimitMs = fromEnvironment('WENDRA_DEV_TEST_LIMIT_MS', 150_000);
// From the end of the last test to the end of the file: hooks end what tests have started.
const kEndLimitMs = fromEnvironment('WENDRA_DEV_TEST_END_LIMIT_MS', 30_000);

// Node has an option of that kind only for whole files.
function withLimit(declare) {
  const declareWithLimit = (...given) => {
    const pick = (type) => given.find((one) => typeof one === type);
    const body = pick('function');
    return declare(pick('string') ?? body?.name, { timeout: kTestLimitMs, ...pick('object') }, body);
  };
  return Object.assign(declareWithLimit, declare);
}

const say = (text) => writeSync(2, `${text}\n`);

function endFileAfterLastTest() {
  const end = () => {
    const open = process.getActiveResourcesInfo().join(' ');
    say(`the file has not ended ${kEndLimitMs / 1000} s after its last test; still open: ${open}`);
    process.exit(1);
  };
  setTimeout(end, kEndLimitMs).unref(); // nothing open: the file ends by itself before
}

if (process.env.NODE_TEST_CONTEXT) {
  testing.test = withLimit(testing.test);
  syncBuiltinESMExports(); // to `import { test }`
  testing.beforeEach((t) => say(`begins: ${t.name}`));
  testing.afterEach((t) => say(`has ended: ${t.name}`));
  testing.after(endFileAfterLastTest);
}
