// Runs an action that replies at once, and gives its reply.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "bridge/action.h"
#include "tests/support/recording_page.h"

namespace wendra {

// Runs `action` with `args`, a JSON text. The action replies on `page` with exactly one script.
// Returns the "ok, value" part of that script, for example `1, "C:\\"`.
inline std::string ReplyTo(const Action& action, const std::string& args, RecordingPage& page) {
  Json value;
  EXPECT_TRUE(Parse(args, value)) << args;
  page.scripts.clear();
  action.run("r", value);
  EXPECT_EQ(page.scripts.size(), 1u);
  const std::string head = "__resolve('r', ";
  const std::string& script = page.scripts.at(0);
  const size_t at = script.find(head) + head.size();
  return script.substr(at, script.rfind(") : 0;") - at);
}

}  // namespace wendra
