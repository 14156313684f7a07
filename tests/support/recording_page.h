// A page that keeps the scripts that it should run and their origins, so that a test can compare
// them byte for byte.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/page_scripts.h"

namespace wendra {

class RecordingPage : public PageScripts {
 public:
  void RunFor(std::string_view origin, std::string script) override {
    origins.emplace_back(origin);
    scripts.push_back(std::move(script));
  }

  std::vector<std::string> scripts;
  std::vector<std::string> origins;  // of each script
};

}  // namespace wendra
