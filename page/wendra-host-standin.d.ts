// Answers a page's requests from memory, so that it can be developed in an ordinary browser.
import type { ExecResult, JsonValue, McpCallResult, McpTool, Platform } from './wendra-host.js';

/** An MCP server that the page's author plays. */
export interface StandInServer {
  /** Its entry in config.json; `{ command: NAME }` when left out. */
  config?: { [key: string]: JsonValue };
  /** What it lists; nothing when left out. */
  tools?: McpTool[];
  /** Why neither a list nor a call succeeds. */
  error?: string;
  /** Answers a call of any tool. Without it every call fails with "MCP call failed". */
  call?: (tool: string, args: Record<string, unknown>) => McpCallResult | Promise<McpCallResult>;
}

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
  /**
   * MCP servers, by name. config.json names them from the start, and decides, as it is rewritten,
   * which of them are there; an entry that nobody plays is a server that is not running.
   */
  mcpServers?: Record<string, StandInServer>;
}

/**
 * Lets the stand-in answer this document from now on, with a memory of its own that ends with the
 * document. Inside Wendra it does nothing and gives false: the host answers there.
 */
export function installStandIn(options?: StandInOptions): boolean;
