#include "mcp/starter_win.h"

#include <utility>

#include "mcp/http/http_transport.h"
#include "mcp/stdio/server_process_win.h"
#include "mcp/stdio/stdio_transport.h"
#include "mcp/stdio/system_win.h"
#include "win/winhttp_exchange.h"

namespace wendra {

std::string SystemServerStarter::ResolveCommand(const std::string& command) {
  return ResolveCommandOnSystem(command);
}

std::unique_ptr<Transport> SystemServerStarter::Start(ServerId id, ServerSettings& settings,
                                                      const std::shared_ptr<FlowControl>& flow) {
  if (settings.kind == TransportKind::kHttp) {
    return std::make_unique<HttpTransport>(id, settings, flow,
                                           [] { return std::make_unique<WinHttpExchange>(); });
  }
  auto child = StartStdioServer(settings, log_);
  if (!child) return nullptr;
  return std::make_unique<StdioTransport>(id, settings.name, std::move(*child), flow, log_);
}

}  // namespace wendra
