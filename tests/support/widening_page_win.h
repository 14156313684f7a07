// A page that widens each script to UTF-16, as the program does before it calls the control.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/page_scripts.h"
#include "win/wide.h"

namespace wendra {

class WideningPage : public PageScripts {
 public:
  void RunFor(std::string_view, std::string script) override { units += Widen(script).size(); }

  size_t units = 0;  // UTF-16 units of all scripts
};

}  // namespace wendra
