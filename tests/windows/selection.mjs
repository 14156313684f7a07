// Which end-to-end tests a Windows machine cannot answer, and why. Tests that ask the driver for
// something that Windows does not have need no row here: they end with NotHere.

// The file without ".test.mjs" -> the reason.
export const kFilesNotRun = {
  launch: 'tests tools/launch, which runs on Debian only',
  run: 'tests ./run, which runs on Debian only',
  log_output: 'tests tools/launch, which runs on Debian only',
};

// The file and the name of a test -> the reason.
export const kTestsNotRun = [];
