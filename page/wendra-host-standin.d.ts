// Answers a page's requests from memory, so that it can be developed in an ordinary browser.
import type { ExecResult, Platform } from './wendra-host.js';

export interface StandInOptions {
  /** Facts that differ from the stand-in's own (user "developer", version "0.0.0"). */
  platform?: Partial<Platform>;
  /** Files that exist from the start, by full path. */
  files?: Record<string, string | Uint8Array>;
  /** Project folders that are set from the start, by project id. */
  projectDirs?: Record<string, string>;
  /** Chooses a folder, or null. Without it the browser's own prompt asks for a path. */
  pickDirectory?: (title: string) => string | null | Promise<string | null>;
  /** Runs a command. Without it every command answers exit -1 and says why in `stderr`. */
  exec?: (dir: string, command: string) => ExecResult | Promise<ExecResult>;
}

/**
 * Lets the stand-in answer this document from now on, with a memory of its own that ends with the
 * document. Inside Wendra it does nothing and gives false: the host answers there.
 */
export function installStandIn(options?: StandInOptions): boolean;
