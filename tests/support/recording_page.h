// A page that keeps the scripts it is to run, for comparing them byte for byte.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/page_scripts.h"

namespace wendra {

class RecordingPage : public PageScripts {
 public:
  void Run(std::string_view script) override { scripts.emplace_back(script); }

  std::vector<std::string> scripts;
};

}  // namespace wendra
