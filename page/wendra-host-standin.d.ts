// Answers a page's requests from memory, so that you can develop the page in an ordinary browser.
import type { ExecResult, JsonValue, McpCallResult, McpTool, Platform } from './wendra-host.js';

/** An MCP server that the stand-in plays. */
export interface StandInServer {
  /** Its entry in config.json; the default is `{ command: NAME }`. */
  config?: { [key: string]: JsonValue };
  /** The tools that it lists; the default is none. */
  tools?: McpTool[];
  /** With this text both the list and every call fail. */
  error?: string;
  /** Answers a call of any tool. Without it every call fails with "MCP call failed". */
  call?: (tool: string, args: Record<string, unknown>) => McpCallResult | Promise<McpCallResult>;
}

export interface StandInOptions {
  /** Facts that replace the stand-in's own (user "developer", version "0.0.0"). */
  platform?: Partial<Platform>;
  /** Files that exist from the start, by full path. */
  files?: Record<string, string | Uint8Array>;
  /** Project folders that are stored from the start, by project id. */
  projectDirs?: Record<string, string>;
  /** Returns the chosen folder, or null. Without it the browser's own prompt asks for a path. */
  pickDirectory?: (title: string) => string | null | Promise<string | null>;
  /** Runs a command. Without it every command gives exit -1 and a reason in `stderr`. */
  exec?: (dir: string, command: string) => ExecResult | Promise<ExecResult>;
  /**
   * MCP servers, by name. At the start config.json lists them all. When the page rewrites
   * config.json, only the servers that it lists exist; one that is not among these is not running.
   */
  mcpServers?: Record<string, StandInServer>;
}

/**
 * From now on the stand-in answers this document, from a memory that lasts as long as the document.
 * Inside Wendra the function does nothing and returns false, because the host answers there.
 */
export function installStandIn(options?: StandInOptions): boolean;
