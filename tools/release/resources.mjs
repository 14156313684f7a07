// Reads the versions and the update key of a built program from its file. Names of the file's
// structures are those of Microsoft's documentation of the PE format.

const kResourceDirectory = 2; // its index in the list of data directories
const kVersionType = 16; // RT_VERSION

// Each section's place in the file and in memory.
function sectionsOf(file, header) {
  const count = file.readUInt16LE(header + 6);
  const first = header + 24 + file.readUInt16LE(header + 20);
  return Array.from({ length: count }, (_, index) => {
    const at = first + index * 40;
    return {
      address: file.readUInt32LE(at + 12),
      size: file.readUInt32LE(at + 16),
      offset: file.readUInt32LE(at + 20),
    };
  });
}

function nameAt(file, at) {
  return file.toString('utf16le', at + 2, at + 2 + 2 * file.readUInt16LE(at));
}

// All resources: {type, name, bytes}. Types and names are numbers or strings.
export function resourcesOf(file) {
  const header = file.readUInt32LE(0x3c);
  if (file.toString('latin1', header, header + 4) !== 'PE\0\0') throw new Error('no Windows program');
  if (file.readUInt16LE(header + 24) !== 0x20b) throw new Error('no 64-bit program');
  const address = file.readUInt32LE(header + 24 + 112 + 8 * kResourceDirectory);
  const sections = sectionsOf(file, header);
  const offsetOf = (wanted) => {
    const section = sections.find(({ address: from, size }) => wanted >= from && wanted < from + size);
    if (!section) throw new Error('no resources');
    return section.offset + wanted - section.address;
  };
  const root = offsetOf(address);

  const found = [];
  const walk = (directory, path) => {
    const count = file.readUInt16LE(directory + 12) + file.readUInt16LE(directory + 14);
    for (let index = 0; index < count; ++index) {
      const entry = directory + 16 + 8 * index;
      const id = file.readUInt32LE(entry);
      const name = id & 0x80000000 ? nameAt(file, root + (id & 0x7fffffff)) : id;
      const target = file.readUInt32LE(entry + 4);
      if (target & 0x80000000) {
        walk(root + (target & 0x7fffffff), [...path, name]);
      } else {
        const from = offsetOf(file.readUInt32LE(root + target));
        const bytes = file.subarray(from, from + file.readUInt32LE(root + target + 4));
        found.push({ type: path[0], name: path[1], bytes });
      }
    }
  };
  walk(root, []);
  return found;
}

const aligned = (at) => (at + 3) & ~3;

// One block of a version resource: {key, value, children, end}.
function blockAt(bytes, at) {
  const end = at + bytes.readUInt16LE(at);
  const valueLength = bytes.readUInt16LE(at + 2) * (bytes.readUInt16LE(at + 4) === 1 ? 2 : 1);
  let next = at + 6;
  while (bytes.readUInt16LE(next) !== 0) next += 2;
  const key = bytes.toString('utf16le', at + 6, next);
  next = aligned(next + 2);
  const value = bytes.subarray(next, Math.min(next + valueLength, end));
  const children = [];
  for (next = aligned(next + valueLength); next + 6 < end; ) {
    const child = blockAt(bytes, next);
    children.push(child);
    next = aligned(child.end);
  }
  return { key, value, children, end };
}

// The strings of the first language, where WinSparkle looks, and the fixed version numbers.
function versionOf(bytes) {
  const root = blockAt(bytes, 0);
  const child = (block, key) =>
    block?.children.find((one) => one.key.toLowerCase() === key.toLowerCase());
  const translation = child(child(root, 'VarFileInfo'), 'Translation')?.value;
  if (!translation || translation.length < 4) throw new Error('the version resource names no language');
  const hex = (at) => translation.readUInt16LE(at).toString(16).padStart(4, '0');
  const table = child(child(root, 'StringFileInfo'), hex(0) + hex(2));
  const text = (key) => child(table, key)?.value.toString('utf16le').split('\0')[0] ?? '';
  const four = (at) =>
    [at + 2, at, at + 6, at + 4].map((where) => root.value.readUInt16LE(where)).join('.');
  return {
    company: text('CompanyName'),
    product: text('ProductName'),
    fileVersion: text('FileVersion'),
    productVersion: text('ProductVersion'),
    fixedFileVersion: four(8),
    fixedProductVersion: four(16),
  };
}

// The file version of a program or a library; undefined if it has none.
export function fileVersionOf(file) {
  const version = resourcesOf(file).find(({ type }) => type === kVersionType);
  return version && versionOf(version.bytes).fixedFileVersion;
}

// The program's versions, and `publicKey`, its update key: 44 characters of base64.
export function programFacts(file) {
  const resources = resourcesOf(file);
  const version = resources.find(({ type }) => type === kVersionType);
  const key = resources.find(({ type, name }) => type === 'EDDSA' && name === 'EDDSAPUB');
  if (!version) throw new Error('the program has no version resource');
  if (!key) throw new Error('the program has no update key');
  return {
    ...versionOf(version.bytes),
    publicKey: key.bytes.toString('latin1').replace(/\0+$/, ''),
  };
}
