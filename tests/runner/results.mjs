// Reads the result of a test program: how many tests passed, failed and were skipped, and which
// tests were running when the program was ended.
import { existsSync, readFileSync } from 'node:fs';

// The names that `begins` finds and `ends` does not: the tests that have begun and not ended.
const unended = (output, begins, ends) => {
  const names = (expression) => Array.from(output.matchAll(expression), (found) => found.at(-1).trim());
  const left = names(begins);
  for (const name of names(ends)) {
    const at = left.lastIndexOf(name);
    if (at >= 0) left.splice(at, 1);
  }
  return left;
};

const kDone = /^\[ +(OK|FAILED|SKIPPED) +\] (\S+) \(/gm;

// `resultsFile` is the file that GoogleTest was told to write. A program that leaves no such file
// has crashed or was ended. It counts as one failure, besides the results of the tests that had
// ended.
export function googleTestResults({ code, output, trouble }, resultsFile) {
  const text = output.replaceAll('\r', '');
  if (existsSync(resultsFile)) {
    const all = JSON.parse(readFileSync(resultsFile, 'utf8'));
    const skipped = all.disabled + all.testsuites.flatMap((suite) => suite.testsuite)
      .filter((one) => one.result === 'SKIPPED').length;
    const failed = all.failures + all.errors;
    const passed = all.tests - failed - skipped;
    return { passed, failed: failed || (code === 0 && !trouble ? 0 : 1), skipped, running: [] };
  }
  const done = Array.from(text.matchAll(kDone), ([, result]) => result);
  const count = (result) => done.filter((one) => one === result).length;
  return {
    passed: count('OK'),
    failed: 1 + count('FAILED'),
    skipped: count('SKIPPED'),
    running: unended(text, /^\[ RUN {6}\] (\S+)/gm, kDone),
  };
}

// For Node's test runner with the reporter "tap". The output of a run that was ended has no counts.
export function nodeTestResults({ code, output, trouble }) {
  const count = (what) => Number(new RegExp(`^# ${what} (\\d+)`, 'm').exec(output)?.[1] ?? 0);
  const failed = count('fail') + count('cancelled');
  return {
    passed: count('pass'),
    failed: failed || (code === 0 && !trouble ? 0 : 1),
    skipped: count('skipped'),
    running: /^# pass /m.test(output)
      ? []
      : unended(output, /^# begins: (.*)$/gm, /^# has ended: (.*)$/gm),
  };
}
