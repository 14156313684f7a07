// Preloaded into servers of other authors: Node 18 has no global `crypto`, and they make their
// session ids with it.
import { webcrypto } from 'node:crypto';

globalThis.crypto ??= webcrypto;
