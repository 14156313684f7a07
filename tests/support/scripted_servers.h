// MCP servers without processes and without a network: the client's real transports, over pipes and
// HTTP exchanges in memory.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "config/config_store.h"
#include "mcp/client.h"
#include "mcp/http/http_transport.h"
#include "mcp/stdio/stdio_transport.h"
#include "tests/support/memory_http_server.h"
#include "tests/support/memory_pipe.h"

namespace wendra {

// The standard streams of a child process that the test plays.
struct ScriptedChild {
  std::shared_ptr<MemoryPipe> input = std::make_shared<MemoryPipe>();
  std::shared_ptr<MemoryPipe> output = std::make_shared<MemoryPipe>();
  std::shared_ptr<MemoryPipe> error = std::make_shared<MemoryPipe>();
};

// The process of a ScriptedChild. Terminate ends its output streams.
class ScriptedProcess : public ChildProcess {
 public:
  explicit ScriptedProcess(ScriptedChild child) : child_(std::move(child)) {}
  void Terminate() override {
    child_.output->End();
    child_.error->End();
  }
  void EndTree() override {}

 private:
  const ScriptedChild child_;
};

class ScriptedStarter : public ServerStarter {
 public:
  explicit ScriptedStarter(Log& log) : log_(log) {}

  std::string ResolveCommand(const std::string& command) override {
    return command == "missing" ? std::string() : command;
  }

  std::unique_ptr<Transport> Start(ServerId id, ServerSettings& settings,
                                   const std::shared_ptr<FlowControl>& flow) override {
    ids[settings.name] = id;
    if (settings.kind == TransportKind::kHttp) {
      return std::make_unique<HttpTransport>(
          id, settings, flow, [server = http] { return std::make_unique<MemoryExchange>(server); });
    }
    if (settings.command == "broken") return nullptr;
    ScriptedChild child;
    if (keepsChildren) children[settings.name] = child;
    McpChild ends{std::make_unique<ScriptedProcess>(child), child.input, child.output, child.error};
    return std::make_unique<StdioTransport>(id, settings.name, std::move(ends), flow, log_);
  }

  std::map<std::string, ServerId> ids;            // by name, of the latest server of that name
  std::map<std::string, ScriptedChild> children;  // the same
  bool keepsChildren = true;                      // whether `children` is filled
  std::shared_ptr<MemoryHttpServer> http;         // all remote servers are this one

 private:
  Log& log_;
};

// config.json in memory.
class ScriptedConfig : public ConfigStore {
 public:
  std::string ReadConfigText() override { return Read().text; }
  std::string ConfigPathText() override { return "config.json"; }
  void SaveChosenServer(std::string_view) override {}
  void EnsureDefaultConfig() override {}
  ConfigReading Read() const override {
    return isReadable ? ConfigReading{text, true} : ConfigReading{{}, false};
  }
  bool WriteConfigAtomically(std::string_view newText) override {
    text = newText;
    ++time;
    return true;
  }
  std::optional<std::uint64_t> LastWriteTime() const override { return time; }

  std::string text;
  std::uint64_t time = 1;
  bool isReadable = true;
};

}  // namespace wendra
