// The choice of the one server that this run shows. Pure: its sources are interfaces.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "base/log.h"
#include "config/server_prompt.h"

namespace wendra {

// config.json as the choice needs it.
class ServerStore {
 public:
  virtual ~ServerStore() = default;
  virtual std::string ReadConfigText() = 0;                 // "" when there is none
  virtual std::string ConfigPathText() = 0;                 // UTF-8, for the log
  virtual void SaveChosenServer(std::string_view url) = 0;  // logs its own outcome
};

class ServerChoice {
 public:
  // Borrows `store`, `prompt` and `log`. `commandLineAddress` is "" when there was no argument.
  ServerChoice(std::string commandLineAddress, ServerStore& store, ServerPrompt& prompt, Log& log)
      : commandLineAddress_(std::move(commandLineAddress)),
        store_(store),
        prompt_(prompt),
        log_(log) {}

  // The chosen address, or "" when nothing was chosen: the program then ends. Tries the command
  // line (the first time only), "server" in config.json, the prompt; logs every acceptance and
  // rejection. Only what the prompt gave is saved.
  std::string SelectServerAtStartup();

 private:
  std::string FromCommandLine();
  std::string FromConfig();
  std::string FromPrompt();

  std::string commandLineAddress_;
  bool commandLineConsumed_ = false;
  ServerStore& store_;
  ServerPrompt& prompt_;
  Log& log_;
};

}  // namespace wendra
