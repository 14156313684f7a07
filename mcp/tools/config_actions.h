// The page actions that show and replace config.json: mcpReadConfig and mcpWriteConfig.
#pragma once

#include <functional>

#include "base/log.h"
#include "bridge/action.h"
#include "bridge/replies.h"
#include "config/config_store.h"

namespace wendra {

// Both actions run on the UI thread. They borrow `replies`, `config` and `log`.
Action McpReadConfigAction(Replies& replies, ConfigStore& config);

// `reload` stops the servers and starts those of the file that the action has just written.
Action McpWriteConfigAction(Replies& replies, ConfigStore& config, Log& log,
                            std::function<void()> reload);

}  // namespace wendra
