// Turns what the host sends to the debugger, "[Wendra] " before each line, into the log's lines.
import { Transform } from 'node:stream';

const kPrefix = Buffer.from('[Wendra] ');
const kLineFeed = 0x0a;

// Removes the prefix at the start of a line and passes on every other byte at once. A line that
// itself contains line feeds stays as it is, unless it continues with the very prefix.
export class LogOutput extends Transform {
  #matched = 0; // bytes of the prefix seen at the start of this line; -1 further on in the line

  _transform(chunk, encoding, done) {
    let from = 0; // start of what has not been passed on
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

  // What looked like the prefix was none.
  #giveBack() {
    if (this.#matched > 0) this.push(kPrefix.subarray(0, this.#matched));
    this.#matched = -1;
  }
}
