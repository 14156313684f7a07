// Turns the host's debugger output, with "[Wendra] " before each line, into the lines of the log.
import { Transform } from 'node:stream';

const kPrefix = Buffer.from('[Wendra] ');
const kLineFeed = 0x0a;

// Removes the prefix at the start of a line and passes on every other byte at once. A log line that
// contains line feeds stays as it is, unless a part after a line feed begins with the prefix.
export class LogOutput extends Transform {
  #matched = 0; // how many bytes of the prefix this line has so far; -1 after the start of the line

  _transform(chunk, encoding, done) {
    let from = 0; // start of the bytes that have not been passed on
    for (let at = 0; at < chunk.length; ++at) {
      if (this.#matched >= 0 && chunk[at] === kPrefix[this.#matched]) {
        this.#matched += 1;
        from = at + 1;
        if (this.#matched === kPrefix.length) this.#matched = -1;
        continue;
      }
      this.#giveBack();
      if (chunk[at] === kLineFeed) {
        this.push(chunk.subarray(from, at + 1));
        from = at + 1;
        this.#matched = 0;
      }
    }
    if (from < chunk.length) this.push(chunk.subarray(from));
    done();
  }

  _flush(done) {
    this.#giveBack();
    done();
  }

  // Passes on the bytes that matched the start of the prefix but were not all of it.
  #giveBack() {
    if (this.#matched > 0) this.push(kPrefix.subarray(0, this.#matched));
    this.#matched = -1;
  }
}
