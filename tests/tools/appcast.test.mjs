// Tests tools/appcast and its modules: keys, signatures, the resources of the built program, and
// the two readings of a feed: the program's and WinSparkle's.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, statSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { after, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import {
  compareAsLibrary,
  compareAsProgram,
  findTrouble,
  readAsLibrary,
  readAsProgram,
} from '../../tools/release/feed.mjs';
import { programFacts, resourcesOf } from '../../tools/release/resources.mjs';
import { isSignedBy, newSeed, publicKeyOf, signatureOf } from '../../tools/release/signature.mjs';

const kRoot = join(dirname(fileURLToPath(import.meta.url)), '../..');
const kProgram = join(kRoot, 'build/windows/bin/wendra.exe');
const kDevelopmentKey = 'hkV2NDNseC0m3GZKIVorQX9keGxS1YMN4sp5x++xwg8=';
const kSignature = `${'A'.repeat(86)}==`;

const folder = mkdtempSync(join(tmpdir(), 'wendra-appcast-'));
after(() => rmSync(folder, { recursive: true }));
const scratch = (name) => join(folder, name);

function appcast(...args) {
  const { status, stdout, stderr } = spawnSync(join(kRoot, 'tools/appcast'), args, { encoding: 'utf8' });
  return { status, out: stdout.trim(), error: stderr.trim() };
}

// A copy of the built program with `publicKey` in the place of the development key.
function programWithKey(publicKey) {
  const bytes = Buffer.from(readFileSync(kProgram));
  const at = bytes.indexOf(kDevelopmentKey, 'latin1');
  assert.notEqual(at, -1);
  bytes.write(publicKey, at, 'latin1');
  const file = scratch('other.exe');
  writeFileSync(file, bytes);
  return file;
}

const item = ({ version = '1.4.0.0', url = 'https://x.test/a.exe', signature = kSignature, extra = '' } = {}) =>
  `<item><sparkle:version>${version}</sparkle:version><enclosure url="${url}" sparkle:edSignature="${signature}"${extra}/></item>`;
const feed = (...items) =>
  `<?xml version="1.0"?><!-- updates --><rss version="2.0"><channel><title>W &amp; W</title>${items.join('')}</channel></rss>`;

test('the resources of the built program are read from its file', () => {
  const file = readFileSync(kProgram);
  assert.deepEqual(programFacts(file), {
    company: 'Wendra',
    product: 'Wendra',
    fileVersion: '0.1.0.0',
    productVersion: '0.1.0.0',
    fixedFileVersion: '0.1.0.0',
    fixedProductVersion: '0.1.0.0',
    publicKey: kDevelopmentKey,
  });
  const resources = resourcesOf(file);
  const [kIcon, kIconGroup, kManifest] = [3, 14, 24];
  const group = resources.find(({ type, name }) => type === kIconGroup && name === 1).bytes;
  assert.equal(group.readUInt16LE(4), 9);
  assert.equal(resources.filter(({ type }) => type === kIcon).length, 9);
  const manifest = resources.find(({ type, name }) => type === kManifest && name === 1).bytes;
  assert.equal(manifest.toString(), readFileSync(join(kRoot, 'resources/wendra.manifest'), 'utf8'));
  assert.equal(resources.find(({ type }) => type === 'EDDSA').bytes.length, 44);
  assert.throws(() => programFacts(Buffer.alloc(1000)), /no Windows program/);
});

test('signatures equal those of OpenSSL and hold for the exact bytes and the right key only', () => {
  const seed = newSeed();
  const publicKey = publicKeyOf(seed);
  assert.equal(publicKey.length, 44);
  const bytes = Buffer.from('installer');
  const signature = signatureOf(bytes, seed);
  assert.equal(signature.length, 88);
  assert.ok(isSignedBy(bytes, signature, publicKey));
  assert.ok(!isSignedBy(Buffer.from('installeR'), signature, publicKey));
  assert.ok(!isSignedBy(bytes, signature, publicKeyOf(newSeed())));
  assert.ok(!isSignedBy(bytes, signature.slice(0, -1), publicKey));
  assert.ok(!isSignedBy(bytes, '', publicKey));

  const der = Buffer.concat([
    Buffer.from('302e020100300506032b657004220420', 'hex'), Buffer.from(seed, 'base64'),
  ]);
  writeFileSync(scratch('key.der'), der);
  writeFileSync(scratch('installer'), bytes);
  const theirs = execFileSync('openssl', [
    'pkeyutl', '-sign', '-rawin', '-inkey', scratch('key.der'), '-keyform', 'DER', '-in', scratch('installer'),
  ]);
  assert.equal(theirs.toString('base64'), signature);
});

test('the seed of the RFC gives the public key and signature of the RFC', () => {
  // RFC 8032, 7.1, test 2.
  const base64 = (hex) => Buffer.from(hex, 'hex').toString('base64');
  const seed = base64('4ccd089b28ff96da9db6c346ec114e0f5b8a319f35aba624da8cf6ed4fb8a6fb');
  assert.equal(publicKeyOf(seed), base64('3d4017c3e843895a92b70aa74d1b7ebc9c982ccf2ec4968cc0cd55f12af4660c'));
  assert.equal(
    signatureOf(Buffer.from([0x72]), seed),
    base64('92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da085ac1e43e15996e458f3613d0f11d8c387b2eaeb4302aeeb00d291612bb0c00'),
  );
  for (const bad of ['', 'AAAA', `${seed}AAAA`, 'not base64 at all']) {
    assert.throws(() => publicKeyOf(bad), /is not the base64 of 32 bytes/);
  }
});

test('versions are compared as the program does it and as the library does it', () => {
  for (const [a, b, asProgram, asLibrary] of [
    ['1.4', '1.4.0.0', 0, -1],
    ['1.4.0.0', '1.4.0.0', 0, 0],
    ['1.10', '1.9', 1, 1],
    ['1.5.1', '1.5', 1, 1],
    ['1.5', '1.5b3', 0, 1],
    ['1.2.0', '1.2rc1', 0, 1],
    ['v2', '1', -1, -1],
    ['2147483648', '0', -1, 1],
    ['4294967296', '1', -1, 1],
    ['1.2.3-beta', '1.2.3', 0, -1],
  ]) {
    assert.equal(compareAsProgram(a, b), asProgram, `${a} ${b}`);
    assert.equal(compareAsProgram(b, a), asProgram === 0 ? 0 : -asProgram, `${b} ${a}`);
    assert.equal(compareAsLibrary(a, b), asLibrary, `${a} ${b}`);
    assert.equal(compareAsLibrary(b, a), asLibrary === 0 ? 0 : -asLibrary, `${b} ${a}`);
  }
});

test('a feed is read as the program does it and as the library does it', () => {
  const two = feed(item(), item({ version: '1.5.0.0', url: 'https://x.test/b.exe?c&amp;d' }));
  assert.deepEqual(readAsProgram(two), { version: '1.4.0.0', shown: '', url: 'https://x.test/a.exe' });
  const { version, url } = readAsLibrary(two);
  assert.deepEqual([version, url], ['1.5.0.0', 'https://x.test/b.exe?c&d']);
  assert.equal(readAsLibrary(feed(item({ extra: ' sparkle:os="macos"' }))), undefined);
  const attribute = feed('<item><enclosure url="u" sparkle:version="1.6"/></item>');
  assert.equal(readAsLibrary(attribute).version, '1.6');
  assert.equal(readAsProgram(attribute).version, '');
  const cdata = feed('<item><sparkle:version><![CDATA[1.7]]></sparkle:version><link>l</link></item>');
  assert.equal(readAsLibrary(cdata).version, '1.7');
});

test('the check of a feed names each difference between the two readings', () => {
  const same = { fileVersion: '1.4.0.0', productVersion: '1.4.0.0' };
  const cases = [
    ['nothing wrong, newer', feed(item({ version: '1.5.0.0' }), item()), same, []],
    ['nothing wrong, equal', feed(item()), same, []],
    ['the highest is not the first', feed(item(), item({ version: '1.5.0.0' })), same,
      [/looks at the first version, 1\.4\.0\.0; WinSparkle takes "1\.5\.0\.0"/, /the same version, to WinSparkle newer/]],
    ['fewer numbers', feed(item({ version: '1.4' })), same, [/is not four numbers/, /the same version, to WinSparkle older/]],
    ['attribute form', feed(`<item><enclosure url="https://x.test/a.exe" sparkle:version="1.5.0.0" sparkle:edSignature="${kSignature}"/></item>`),
      same, [/finds no <sparkle:version> element/]],
    ['two versions of the program', feed(item({ version: '1.5.0.0' })), { fileVersion: '1.4.0.0', productVersion: '1.4.1.0' },
      [/FileVersion 1\.4\.0\.0, WinSparkle with its ProductVersion 1\.4\.1\.0/]],
    ['whitespace', feed(item({ version: ' 1.5.0.0' })), same, [/WinSparkle takes " 1\.5\.0\.0"/, /has whitespace/, /newer, to WinSparkle older/]],
    ['no signature', feed(item({ version: '1.5.0.0', signature: '' })), same, [/has no signature/]],
    ['an entity in the address', feed(item({ version: '1.5.0.0', url: 'https://x.test/?a&amp;b' })), same, [/names the download/]],
    ['no item', feed(), same, [/finds no item/, /finds no <sparkle:version>/]],
    ['no XML', '<rss><channel>', same, [/cannot read the feed: <channel> is not closed/]],
    ['too long', feed(item({ version: '1.5.0.0' })) + ' '.repeat(1_048_576), same, [/1 MiB/]],
  ];
  for (const [why, text, program, expected] of cases) {
    const found = findTrouble(text, program);
    assert.equal(found.length, expected.length, `${why}: ${found.join(' | ')}`);
    expected.forEach((pattern, at) => assert.match(found[at], pattern, why));
  }
});

test('tools/appcast makes a key, a feed item and a signature, and checks the feed', () => {
  const [key, installer] = [scratch('seed'), scratch('setup.exe')];
  writeFileSync(installer, 'the installer');
  const made = appcast('new-key', key);
  assert.equal(made.status, 0);
  assert.equal(statSync(key).mode & 0o777, 0o600);
  assert.notEqual(appcast('new-key', key).status, 0, 'never over an old key');
  assert.equal(appcast('public-key', key).out, made.out);

  const makeItem = (exe, url) => appcast('item', '--exe', exe, '--key', key, '--url', url, '--arguments', '/S', installer);
  const foreign = makeItem(kProgram, 'https://x.test/setup.exe');
  assert.equal(foreign.status, 1);
  assert.match(foreign.error, /the key does not match/);
  assert.equal(foreign.out, '');

  const exe = programWithKey(made.out);
  assert.match(makeItem(exe, 'http://x.test/setup.exe').error, /needs an https address/);
  const good = makeItem(exe, 'https://x.test/setup.exe');
  assert.equal(good.status, 0, good.error);
  const [{ version, signature, length }] = [readAsLibrary(feed(good.out))];
  assert.deepEqual([version, length], ['0.1.0.0', '13']);
  assert.equal(appcast('verify', '--exe', exe, '--signature', signature, installer).out, 'good');
  assert.equal(appcast('verify', '--exe', kProgram, '--signature', signature, installer).status, 1);
  assert.equal(appcast('sign', '--key', key, installer).out, signature);

  writeFileSync(scratch('appcast.xml'), feed(good.out));
  const checked = appcast('check', '--exe', exe, scratch('appcast.xml'));
  assert.equal(checked.out, 'both read version 0.1.0.0 at https://x.test/setup.exe', checked.error);
  writeFileSync(scratch('bad.xml'), feed(item({ version: '0.1' })));
  assert.equal(appcast('check', '--exe', exe, scratch('bad.xml')).status, 1);
  for (const wrong of [[], ['unknown', 'x'], ['item', installer], ['check'], ['sign', '--none', 'x']]) {
    assert.equal(appcast(...wrong).status, 2, wrong.join(' '));
  }
});
