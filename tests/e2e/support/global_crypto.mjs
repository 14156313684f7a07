// Preloaded into servers that others wrote: Node 18 keeps this to itself, and they name their
// sessions with it.
import { webcrypto } from 'node:crypto';

globalThis.crypto ??= webcrypto;
