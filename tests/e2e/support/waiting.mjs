// Waits for conditions and promises, with a limit. No test waits for a fixed time.
import { setTimeout as sleep } from 'node:timers/promises';
import { NotHere } from './not_here.mjs';

const kStepMs = 20;

// How long a test waits before it gives up. Long enough for a busy machine.
export const kPatienceMs = 60_000;

// Polls until `condition()` gives something truthy, and returns that. An error of the condition
// counts as "not yet". When the time is over, throws an error that names `what` and shows
// `context()`.
export async function until(what, condition, { timeoutMs = kPatienceMs, context } = {}) {
  const end = Date.now() + timeoutMs;
  for (let reason = ''; ; ) {
    try {
      const value = await condition();
      if (value) return value;
    } catch (error) {
      if (error instanceof NotHere) throw error;
      reason = ` (${error.message})`;
    }
    if (Date.now() >= end) throw lateError(`${what}${reason}`, timeoutMs, context);
    await sleep(kStepMs);
  }
}

// The value of the promise. Throws an error that names `what` when the time is over before.
export async function inTime(what, promise, { timeoutMs = kPatienceMs, context } = {}) {
  const giveUp = new AbortController();
  const late = sleep(timeoutMs, undefined, { signal: giveUp.signal }).then(() => {
    throw lateError(what, timeoutMs, context);
  });
  late.catch(() => {}); // the promise was in time
  try {
    return await Promise.race([promise, late]);
  } finally {
    giveUp.abort();
  }
}

function lateError(what, timeoutMs, context) {
  const shown = context ? `\n${context()}` : '';
  return new Error(`waited ${timeoutMs} ms for ${what}${shown}`);
}
