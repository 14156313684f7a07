// Ed25519 keys and signatures in the form of the update library: base64, over the exact bytes of
// the installer. The file of a private key holds the base64 of its 32-byte seed.
import { createPrivateKey, createPublicKey, generateKeyPairSync, sign, verify } from 'node:crypto';

// The bytes before the raw key in the DER form of a key (RFC 8410).
const kPrivatePrefix = Buffer.from('302e020100300506032b657004220420', 'hex');
const kPublicPrefix = Buffer.from('302a300506032b6570032100', 'hex');

function rawKey(text, what) {
  const raw = Buffer.from(text.trim(), 'base64');
  if (raw.length !== 32 || raw.toString('base64') !== text.trim()) {
    throw new Error(`${what} is not the base64 of 32 bytes`);
  }
  return raw;
}

const privateKeyOf = (seed) =>
  createPrivateKey({
    key: Buffer.concat([kPrivatePrefix, rawKey(seed, 'the private key')]),
    format: 'der',
    type: 'pkcs8',
  });

const publicKeyFrom = (text) =>
  createPublicKey({
    key: Buffer.concat([kPublicPrefix, rawKey(text, 'the public key')]),
    format: 'der',
    type: 'spki',
  });

// The seed of a new private key, in base64.
export function newSeed() {
  const { privateKey } = generateKeyPairSync('ed25519');
  return privateKey.export({ format: 'der', type: 'pkcs8' }).subarray(-32).toString('base64');
}

// The public key of a seed: 44 characters.
export function publicKeyOf(seed) {
  const key = createPublicKey(privateKeyOf(seed));
  return key.export({ format: 'der', type: 'spki' }).subarray(-32).toString('base64');
}

// The signature of the bytes: 88 characters.
export const signatureOf = (bytes, seed) => sign(null, bytes, privateKeyOf(seed)).toString('base64');

export function isSignedBy(bytes, signature, publicKey) {
  const raw = Buffer.from(signature, 'base64');
  if (raw.length !== 64 || raw.toString('base64') !== signature) return false;
  return verify(null, bytes, publicKeyFrom(publicKey), raw);
}
