// Chooses the one server that this run shows. Pure: the sources are interfaces.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "base/log.h"
#include "config/server_prompt.h"

namespace wendra {

// The part of config.json that the choice needs.
class ServerStore {
 public:
  virtual ~ServerStore() = default;
  virtual std::string ReadConfigText() = 0;                 // "" if there is no file
  virtual std::string ConfigPathText() = 0;                 // UTF-8, for the log
  virtual void SaveChosenServer(std::string_view url) = 0;  // logs its own outcome
};

class ServerChoice {
 public:
  // Borrows `store`, `prompt` and `log`. `commandLineAddress` is the program's first argument; ""
  // if there is none.
  ServerChoice(std::string commandLineAddress, ServerStore& store, ServerPrompt& prompt, Log& log)
      : commandLineAddress_(std::move(commandLineAddress)),
        store_(store),
        prompt_(prompt),
        log_(log) {}

  // The chosen address; "" if the user chose none, and then the program ends. Tries in this order:
  // the command line (only in the first call), "server" in config.json, the prompt. Logs each
  // address that it accepts or rejects. Saves the address only if it comes from the prompt.
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
