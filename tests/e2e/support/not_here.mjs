// Thrown when a test needs something that this machine cannot give. The check on Windows reports
// such a test as not run, with the reason.
export const kNotHere = 'not run here: ';

export class NotHere extends Error {
  constructor(reason) {
    super(kNotHere + reason);
  }
}
