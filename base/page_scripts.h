// Running script in the page, as the rooms that answer the page see it.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

class PageScripts {
 public:
  virtual ~PageScripts() = default;

  // Runs `script` (UTF-8) in the page and forgets it: no result, no retry. It runs in a document of
  // `origin` (as OriginOf gives it) and nowhere else: while nobody knows which document comes next
  // it waits for a limited time, and where that one is of another origin it is dropped silently, as
  // it is without a browser control. UI thread only.
  virtual void RunFor(std::string_view origin, std::string script) = 0;
};

}  // namespace wendra
