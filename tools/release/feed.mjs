// Reads an appcast feed in the two ways in which it is read later: as the program's feed check does
// (update/appcast.h, update/version.h), and as the update library does. Also makes feed items.

// As the program does.

const trimmed = (text) => text.replace(/^[ \t\r\n]+|[ \t\r\n]+$/g, '');

function elementText(feed, name) {
  const start = new RegExp(`<${name}[> \\t\\r\\n/]`).exec(feed);
  if (!start) return '';
  const from = feed.indexOf('>', start.index + 1 + name.length) + 1;
  const end = from === 0 ? -1 : feed.indexOf(`</${name}>`, from);
  return end < 0 ? '' : trimmed(feed.slice(from, end));
}

function downloadAddress(feed) {
  const tag = /<enclosure(?=[> \t\r\n/])([^>]*)>/.exec(feed);
  return (tag && /[ \t\r\n]url="([^"]*)"/.exec(tag[1])?.[1]) ?? '';
}

export const readAsProgram = (feed) => ({
  version: elementText(feed, 'sparkle:version'),
  shown: elementText(feed, 'sparkle:shortVersionString'),
  url: downloadAddress(feed),
});

// Compares versions; gives -1, 0 or 1. Numbers wrap at 32 bits and are compared as signed numbers.
export function compareAsProgram(a, b) {
  const numbers = (text) =>
    text.split('.').map((part) => Number(BigInt.asIntN(32, BigInt(/^\d*/.exec(part)[0] || '0'))));
  const [left, right] = [numbers(a), numbers(b)];
  for (let at = 0; at < Math.max(left.length, right.length); ++at) {
    const difference = (left[at] ?? 0) - (right[at] ?? 0);
    if (difference !== 0) return Math.sign(difference);
  }
  return 0;
}

// As the update library does.

const kEntities = { lt: '<', gt: '>', amp: '&', quot: '"', apos: "'" };

const decoded = (text) =>
  text.replace(/&(?:#x([0-9a-f]+)|#(\d+)|(\w+));/gi, (whole, hex, decimal, name) => {
    if (hex) return String.fromCodePoint(parseInt(hex, 16));
    if (decimal) return String.fromCodePoint(Number(decimal));
    if (name in kEntities) return kEntities[name];
    throw new Error(`unknown entity ${whole}`);
  });

const attributesOf = (text) =>
  Object.fromEntries(
    Array.from(text.matchAll(/([\w:.-]+)\s*=\s*(?:"([^"]*)"|'([^']*)')/g), ([, name, a, b]) => [
      name,
      decoded(a ?? b),
    ]),
  );

// The root of the document: {name, attributes, text, children}. `text` is the element's own text,
// without that of its children.
export function parseXml(source) {
  const token =
    /<!--[\s\S]*?-->|<!\[CDATA\[([\s\S]*?)\]\]>|<\?[\s\S]*?\?>|<!DOCTYPE[^>]*>|<\/([\w:.-]+)\s*>|<([\w:.-]+)((?:[^>"']|"[^"]*"|'[^']*')*?)(\/?)>|([^<]+)/gy;
  const root = { name: '', attributes: {}, text: '', children: [] };
  const open = [root];
  let at = 0;
  for (let found; at < source.length && (found = token.exec(source)); at = token.lastIndex) {
    const [, cdata, closed, opened, attributes, empty, text] = found;
    const top = open.at(-1);
    if (cdata !== undefined) top.text += cdata;
    if (text !== undefined) top.text += decoded(text);
    if (closed !== undefined && open.pop().name !== closed) throw new Error(`</${closed}> is out of place`);
    if (opened !== undefined) {
      const element = { name: opened, attributes: attributesOf(attributes), text: '', children: [] };
      top.children.push(element);
      if (!empty) open.push(element);
    }
  }
  if (at < source.length) throw new Error(`not XML at "${source.slice(at, at + 20)}"`);
  if (open.length > 1) throw new Error(`<${open.at(-1).name}> is not closed`);
  return root;
}

const kOperatingSystems = ['', 'windows', 'windows-x64'];

function readItem(element) {
  const child = (name) => element.children.find((one) => one.name === name);
  const enclosure = child('enclosure')?.attributes ?? {};
  return {
    version: child('sparkle:version')?.text ?? enclosure['sparkle:version'] ?? '',
    shown: (child('sparkle:shortVersionString')?.text ?? '') + (enclosure['sparkle:shortVersionString'] ?? ''),
    url: enclosure.url ?? '',
    link: child('link')?.text ?? '',
    signature: enclosure['sparkle:edSignature'] ?? '',
    length: enclosure.length ?? '',
    os: enclosure['sparkle:os'] ?? '',
  };
}

// All items, in order. `usable`: the library may offer the item on this system.
export function readItems(feed) {
  const rss = parseXml(feed).children.find(({ name }) => name === 'rss');
  const channel = rss?.children.find(({ name }) => name === 'channel');
  if (!channel) throw new Error('no <rss> with a <channel>');
  return channel.children
    .filter(({ name }) => name === 'item')
    .map(readItem)
    .map((item) => ({
      ...item,
      usable:
        item.version !== '' && (item.url || item.link) !== '' && kOperatingSystems.includes(item.os),
    }));
}

// Compares versions; gives -1, 0 or 1. A version is cut into runs of digits, of dots, and of other
// characters. Digits are compared as numbers. If one version is the start of the other, the longer
// one is newer, unless it goes on with other characters (1.5 is newer than 1.5b3).
export function compareAsLibrary(a, b) {
  const parts = (text) => text.match(/\d+|\.+|[^\d.]+/g) ?? [];
  const kind = (part) => (/^\d/.test(part) ? 'number' : part.startsWith('.') ? 'dot' : 'text');
  const [left, right] = [parts(a), parts(b)];
  const shared = Math.min(left.length, right.length);
  for (let at = 0; at < shared; ++at) {
    const [x, y] = [left[at], right[at]];
    if (kind(x) !== kind(y)) {
      if (kind(x) === 'text') return -1;
      if (kind(y) === 'text') return 1;
      return kind(x) === 'number' ? 1 : -1;
    }
    const difference = kind(x) === 'number' ? Number(x) - Number(y) : x < y ? -1 : x > y ? 1 : 0;
    if (difference !== 0 && kind(x) !== 'dot') return Math.sign(difference);
  }
  if (left.length === right.length) return 0;
  const longer = left.length > right.length ? 1 : -1;
  return kind((longer === 1 ? left : right)[shared]) === 'text' ? -longer : longer;
}

// The item that the library would offer, or undefined.
export function readAsLibrary(feed) {
  const usable = readItems(feed).filter((item) => item.usable);
  return usable.reduce(
    (best, item) => (!best || compareAsLibrary(item.version, best.version) > 0 ? item : best),
    undefined,
  );
}

// Both readings.

const kNames = { '-1': 'older', 0: 'the same version', 1: 'newer' };

// What is wrong with the feed, one sentence each; [] when both readings agree. `program`, which may
// be missing: {fileVersion, productVersion} of the program that the feed is checked for.
export function findTrouble(feed, program) {
  const trouble = [];
  const ours = readAsProgram(feed);
  let theirs;
  let items = [];
  try {
    items = readItems(feed);
    theirs = readAsLibrary(feed);
  } catch (error) {
    return [`WinSparkle cannot read the feed: ${error.message}`];
  }
  if (Buffer.byteLength(feed) > 1_048_576) trouble.push('the program reads 1 MiB of the feed only');
  if (!theirs) trouble.push('WinSparkle finds no item for this system');
  if (!ours.version) trouble.push('the program finds no <sparkle:version> element');
  if (theirs && ours.version && ours.version !== theirs.version) {
    trouble.push(
      `the program looks at the first version, ${ours.version}; WinSparkle takes ${JSON.stringify(theirs.version)}`,
    );
  }
  if (theirs && ours.url !== theirs.url) {
    trouble.push(`the program names the download ${ours.url || '(none)'}; WinSparkle loads ${theirs.url || '(none)'}`);
  }
  for (const { version } of items.filter((item) => item.version !== trimmed(item.version))) {
    trouble.push(`the version ${JSON.stringify(version)} has whitespace, which WinSparkle keeps`);
  }
  for (const item of items.filter(({ version }) => !/^\d+(\.\d+){3}$/.test(trimmed(version)))) {
    trouble.push(`the version ${JSON.stringify(item.version)} is not four numbers`);
  }
  for (const item of items.filter(({ signature }) => !/^[A-Za-z0-9+/]{86}==$/.test(signature))) {
    trouble.push(`version ${item.version} has no signature of 88 characters`);
  }
  if (program && program.fileVersion !== program.productVersion) {
    trouble.push(
      `the program compares with its FileVersion ${program.fileVersion}, WinSparkle with its ProductVersion ${program.productVersion}`,
    );
  }
  if (program && theirs && ours.version) {
    const one = compareAsProgram(ours.version, program.fileVersion);
    const other = compareAsLibrary(theirs.version, program.productVersion);
    if (one !== other) {
      trouble.push(`to the program the feed is ${kNames[one]}, to WinSparkle ${kNames[other]}`);
    }
  }
  return trouble;
}

// Writing.

const escaped = (text) =>
  text.replace(/[&<>"]/g, (c) => ({ '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;' })[c]);

// One item with its version as an element. It belongs in front of the other items.
export function makeItem({ title, date, version, notes, url, signature, bytes, installerArguments }) {
  const enclosure = {
    url,
    'sparkle:edSignature': signature,
    length: `${bytes}`,
    type: 'application/octet-stream',
    'sparkle:os': 'windows-x64',
    ...(installerArguments && { 'sparkle:installerArguments': installerArguments }),
  };
  const attributes = Object.entries(enclosure).map(([name, value]) => `${name}="${escaped(value)}"`);
  return [
    '    <item>',
    `      <title>${escaped(title)}</title>`,
    `      <pubDate>${date.toUTCString()}</pubDate>`,
    `      <sparkle:version>${escaped(version)}</sparkle:version>`,
    '      <sparkle:minimumSystemVersion>10.0.18362</sparkle:minimumSystemVersion>',
    ...(notes ? [`      <sparkle:releaseNotesLink>${escaped(notes)}</sparkle:releaseNotesLink>`] : []),
    `      <enclosure ${attributes.join('\n                 ')}/>`,
    '    </item>',
    '',
  ].join('\n');
}
