// Makes a self-signed certificate for localhost.
import { execFileSync } from 'node:child_process';
import { X509Certificate, createHash } from 'node:crypto';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { NotHere } from './not_here.mjs';

// {key, cert} for a server of node:https; a new one for each call, valid for one day.
export function makeCertificate() {
  if (process.platform === 'win32') throw new NotHere('needs the program openssl');
  const folder = mkdtempSync(join(tmpdir(), 'wendra-certificate-'));
  const [key, cert] = [join(folder, 'key.pem'), join(folder, 'cert.pem')];
  try {
    execFileSync('openssl', [
      'req', '-x509', '-newkey', 'ec', '-pkeyopt', 'ec_paramgen_curve:prime256v1', '-nodes',
      '-keyout', key, '-out', cert, '-days', '1',
      '-subj', '/CN=localhost', '-addext', 'subjectAltName=DNS:localhost',
    ], { stdio: 'ignore' });
    return { key: readFileSync(key), cert: readFileSync(cert) };
  } finally {
    rmSync(folder, { recursive: true });
  }
}

// The flag with which Chromium takes a certificate of this key for any host.
export function trustFlag({ cert }) {
  const key = new X509Certificate(cert).publicKey.export({ type: 'spki', format: 'der' });
  return `--ignore-certificate-errors-spki-list=${createHash('sha256').update(key).digest('base64')}`;
}
