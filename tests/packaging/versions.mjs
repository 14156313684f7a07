// Gives a built program another version, as if it had been built with it.

const kOld = '0.1.0.0';

// All texts of the version resource and its two binary versions. Versions are as long as the old one.
export function withVersion(program, version) {
  if (version.length !== kOld.length) throw new Error(`${version} is not as long as ${kOld}`);
  const bytes = Buffer.from(program);
  replaceAll(bytes, Buffer.from(kOld, 'utf16le'), Buffer.from(version, 'utf16le'));
  const binary = (text) => {
    const [a, b, c, d] = text.split('.').map(Number);
    const numbers = Buffer.alloc(8);
    [b, a, d, c].forEach((number, at) => numbers.writeUInt16LE(number, 2 * at));
    return Buffer.concat([numbers, numbers]); // the file's version and the product's
  };
  replaceAll(bytes, binary(kOld), binary(version));
  return bytes;
}

function replaceAll(bytes, from, to) {
  let found = 0;
  for (let at = bytes.indexOf(from); at >= 0; at = bytes.indexOf(from, at + from.length)) {
    to.copy(bytes, at);
    found += 1;
  }
  if (found === 0) throw new Error('the program has another version');
}
