// The page actions that show and replace config.json: mcpReadConfig and mcpWriteConfig.
#pragma once

#include <functional>

#include "base/log.h"
#include "bridge/action.h"
#include "bridge/replies.h"
#include "config/config_store.h"

namespace wendra {

// UI thread; all arguments are borrowed.
Action McpReadConfigAction(Replies& replies, ConfigStore& config);

// `reload` starts the servers anew from the file that has just been written.
Action McpWriteConfigAction(Replies& replies, ConfigStore& config, Log& log,
                            std::function<void()> reload);

}  // namespace wendra
