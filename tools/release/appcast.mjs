// Makes keys, signatures and feed items for releases, and checks feeds. See docs/releasing.md.
import { readFileSync, writeFileSync } from 'node:fs';
import { parseArgs } from 'node:util';
import { findTrouble, makeItem, readAsLibrary, readAsProgram } from './feed.mjs';
import { programFacts } from './resources.mjs';
import { isSignedBy, newSeed, publicKeyOf, signatureOf } from './signature.mjs';

const kUsage = `usage: tools/appcast new-key KEYFILE
       tools/appcast public-key KEYFILE
       tools/appcast sign --key KEYFILE INSTALLER
       tools/appcast verify --exe PROGRAM --signature TEXT INSTALLER
       tools/appcast item --exe PROGRAM --key KEYFILE --url ADDRESS [--notes ADDRESS]
                          [--arguments TEXT] INSTALLER
       tools/appcast check [--exe PROGRAM] FEED`;

class Refused extends Error {}

const text = (file) => readFileSync(file, 'utf8').trim();

function factsOf(file) {
  const facts = programFacts(readFileSync(file));
  const versions = [facts.productVersion, facts.fixedFileVersion, facts.fixedProductVersion];
  if (versions.some((version) => version !== facts.fileVersion)) {
    throw new Refused(`${file} has more than one version: ${[facts.fileVersion, ...versions].join(', ')}`);
  }
  return facts;
}

const commands = {
  'new-key': ({}, [file]) => {
    const seed = newSeed();
    writeFileSync(file, `${seed}\n`, { mode: 0o600, flag: 'wx' }); // fails if the file exists
    return publicKeyOf(seed);
  },
  'public-key': ({}, [file]) => publicKeyOf(text(file)),
  sign: ({ key }, [file]) => signatureOf(readFileSync(file), text(key)),
  verify: ({ exe, signature }, [file]) => {
    const { publicKey } = programFacts(readFileSync(exe));
    if (!isSignedBy(readFileSync(file), signature, publicKey)) {
      throw new Refused('the signature does not fit the installer and the key in the program');
    }
    return 'good';
  },
  item: ({ exe, key, url, notes, arguments: installerArguments }, [file]) => {
    if (!/^https:\/\//.test(url)) throw new Refused('the download needs an https address');
    const facts = factsOf(exe);
    const seed = text(key);
    if (publicKeyOf(seed) !== facts.publicKey) {
      throw new Refused(`the key does not match the one in ${exe}: installed programs would refuse the update`);
    }
    const installer = readFileSync(file);
    return makeItem({
      title: `${facts.product} ${facts.fileVersion}`,
      date: new Date(),
      version: facts.fileVersion,
      notes,
      url,
      signature: signatureOf(installer, seed),
      bytes: installer.length,
      installerArguments,
    }).trimEnd();
  },
  check: ({ exe }, [file]) => {
    const feed = readFileSync(file, 'utf8');
    const trouble = findTrouble(feed, exe && programFacts(readFileSync(exe)));
    if (trouble.length) throw new Refused(trouble.join('\n'));
    const [program, library] = [readAsProgram(feed), readAsLibrary(feed)];
    return `both read version ${program.version} at ${library.url}`;
  },
};

const kNeeded = {
  'new-key': [], 'public-key': [], sign: ['key'], verify: ['exe', 'signature'],
  item: ['exe', 'key', 'url'], check: [],
};

function main() {
  const option = { type: 'string' };
  let given;
  try {
    const options = { exe: option, key: option, url: option, notes: option, arguments: option, signature: option };
    given = parseArgs({ options, allowPositionals: true });
  } catch (error) {
    console.error(`appcast: ${error.message}\n${kUsage}`);
    return 2;
  }
  const { values, positionals: [name, ...files] } = given;
  const isComplete = kNeeded[name]?.every((needed) => needed in values) && files.length === 1;
  if (!isComplete) {
    console.error(kUsage);
    return 2;
  }
  try {
    console.log(commands[name](values, files));
    return 0;
  } catch (error) {
    for (const line of error.message.split('\n')) console.error(`appcast: ${line}`);
    return 1;
  }
}

process.exitCode = main();
