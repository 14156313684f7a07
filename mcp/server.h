// One configured MCP server: what config.json says of it, and how far its session is.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "mcp/transport.h"

namespace wendra {

enum class TransportKind { kStdio = 0, kHttp = 1 };

using NamedValues = std::vector<std::pair<std::string, std::string>>;

// Made by the registry and kept until the program ends: threads and waiting requests may hold a
// stopped record. UI thread only, but for `shared` and what a thread copied at its start.
struct McpServer {
  std::string name;  // the key in config.json
  TransportKind kind = TransportKind::kStdio;
  std::string command;  // stdio: full path of the program that is started
  std::string url;      // http: normalised
  std::vector<std::string> args;
  NamedValues env;      // stdio, in the order of config.json
  NamedValues headers;  // http, in the order of config.json

  // The transport can be used. For http from creation on, for stdio once the child runs; cleared by
  // a stop and by the end of the child's output.
  bool running = false;
  bool exited = false;       // the child's output has ended by itself
  bool initialized = false;  // the handshake is done

  // What HTTP threads read and write too: copied under the mutex, used without it.
  struct Shared {
    std::mutex mutex;
    std::string sessionId;        // "" until a response has brought one
    std::string protocolVersion;  // agreed in the handshake; "" before
  } shared;

  std::unique_ptr<Transport> transport;  // null when the child could not be started
};

}  // namespace wendra
