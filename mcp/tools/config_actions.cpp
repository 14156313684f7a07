#include "mcp/tools/config_actions.h"

#include <string>
#include <string_view>
#include <utility>

#include "json/objects.h"

namespace wendra {
namespace {

// An empty string counts as an argument: it is no JSON, and the reply says so.
bool HasStringArgument(const Json& args) {
  return args.kind == kJsonArray && !args.items.empty() && args.items[0].kind == kJsonString;
}

}  // namespace

Action McpReadConfigAction(Replies& replies, ConfigStore& config) {
  return {"mcpReadConfig", [&](const std::string& reqId, const Json&) {
            config.EnsureDefaultConfig();
            replies.Succeed(reqId, MakeObject({{"path", config.ConfigPathText()},
                                               {"content", config.ReadConfigText()}}));
          }};
}

Action McpWriteConfigAction(Replies& replies, ConfigStore& config, Log& log,
                            std::function<void()> reload) {
  return {"mcpWriteConfig",
          [&, reload = std::move(reload)](const std::string& reqId, const Json& args) {
            if (!HasStringArgument(args)) {
              return replies.Fail(reqId, "mcpWriteConfig expects [content]");
            }
            const std::string_view content = StringArgument(args, 0);
            if (content.size() > kMaxConfigBytes) {
              return replies.Fail(reqId, "config.json may not be larger than 1 MiB");
            }
            if (!ParseJsonObject(content)) {
              return replies.Fail(reqId, "Invalid JSON — the file must contain a JSON object");
            }
            if (!config.WriteConfigAtomically(content)) {
              return replies.Fail(reqId, "could not write config");
            }
            log.Line("[MCP] config saved — restarting local MCP servers");
            reload();
            replies.Succeed(reqId, MakeObject({{"ok", true}}));
          }};
}

}  // namespace wendra
