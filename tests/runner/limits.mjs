// Gives each test a time limit, and ends a file of tests after its last test even if something is
// still open. Loaded before the file, or imported by the modules that its tests use. Writes to
// standard error which test begins and ends, so that the test that was running is known when the
// file is ended from outside. Does nothing outside a test run.
import { writeSync } from 'node:fs';
import { createRequire, syncBuiltinESMExports } from 'node:module';

const testing = createRequire(import.meta.url)('node:test');

const fromEnvironment = (name, value) => Number(process.env[name] ?? value);
// The limit of one test and of each part of it. tests/run.mjs sets it; the default is for files
// that are run by hand.
const kTestLimitMs = fromEnvironment('WENDRA_DEV_TEST_LIMIT_MS', 150_000);
// From the end of the last test to the end of the file. In this time the hooks end what the tests
// have started.
const kEndLimitMs = fromEnvironment('WENDRA_DEV_TEST_END_LIMIT_MS', 30_000);

// Adds the time limit to each test that `declare` declares: Node has such an option only for whole
// files.
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
  setTimeout(end, kEndLimitMs).unref(); // with nothing open the file ends by itself before this
}

if (process.env.NODE_TEST_CONTEXT) {
  testing.test = withLimit(testing.test);
  syncBuiltinESMExports(); // passes the new `test` on to `import { test }`
  testing.beforeEach((t) => say(`begins: ${t.name}`));
  testing.afterEach((t) => say(`has ended: ${t.name}`));
  testing.after(endFileAfterLastTest);
}
