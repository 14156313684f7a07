#include "config/server_choice.h"

#include "base/product.h"
#include "config/server_address.h"
#include "config/settings.h"

namespace wendra {
namespace {

// An address from the command line or from config.json, and whether it may be loaded.
struct Candidate {
  explicit Candidate(std::string_view text) : url(ParseHttpUrl(NormalizeServerInput(text))) {}
  bool IsUsable() const { return !url.empty() && IsAllowedServerUrl(url); }

  // Why the address is not usable: the end of a log line.
  std::string Reason() const {
    if (url.empty()) return " (expected an http/https URL)";
    return std::string(" (only *.") + kServiceDomain + " or localhost servers are allowed)";
  }

  std::string url;
};

}  // namespace

std::string ServerChoice::SelectServerAtStartup() {
  if (std::string url = FromCommandLine(); !url.empty()) return url;
  if (std::string url = FromConfig(); !url.empty()) return url;
  return FromPrompt();
}

std::string ServerChoice::FromCommandLine() {
  if (std::exchange(commandLineConsumed_, true) || commandLineAddress_.empty()) return {};
  const Candidate candidate(commandLineAddress_);
  if (candidate.IsUsable()) {
    log_.Line("[Server] loading " + candidate.url + " (from command line)");
    return candidate.url;
  }
  const std::string what = candidate.url.empty() ? "invalid command-line URL" : "command-line URL";
  log_.Line("[Server] ignoring " + what + candidate.Reason());
  return {};
}

std::string ServerChoice::FromConfig() {
  const std::string text = store_.ReadConfigText();
  if (text.empty()) return {};
  const auto settings = ReadSettings(text);
  if (!settings) {
    log_.Line("[Server] config.json is not a JSON object — ignoring its \"server\" entry, if any");
    return {};
  }
  if (!settings->server) return {};
  const Candidate candidate(*settings->server);
  if (candidate.IsUsable()) {
    log_.Line("[Server] loading " + candidate.url + " (from \"server\" in " +
              store_.ConfigPathText() + ")");
    return candidate.url;
  }
  log_.Line("[Server] ignoring \"server\" value in " + store_.ConfigPathText() +
            candidate.Reason());
  return {};
}

std::string ServerChoice::FromPrompt() {
  std::string url = prompt_.Ask();
  if (url.empty()) {
    log_.Line("[Server] no server chosen — startup cancelled");
    return {};
  }
  store_.SaveChosenServer(url);
  log_.Line("[Server] loading " + url + " (chosen in the first-run prompt)");
  return url;
}

}  // namespace wendra
