// Running script in the page, as the rooms that answer the page see it.
#pragma once

#include <string_view>

namespace wendra {

class PageScripts {
 public:
  virtual ~PageScripts() = default;

  // Runs `script` (UTF-8) in the page's present document and forgets it: no result, no retry.
  // Without a browser control it is dropped silently. UI thread only.
  virtual void Run(std::string_view script) = 0;
};

}  // namespace wendra
