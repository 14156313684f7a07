// The interface through which other modules run script in the page.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

class PageScripts {
 public:
  virtual ~PageScripts() = default;

  // Runs `script` (UTF-8) in a document of `origin` (as OriginOf gives it), and in no other
  // document. The caller gets no result, and a script that fails is not run again. While a
  // navigation is under way, the script waits for its outcome. The script is dropped silently if
  // the document is of another origin, if the navigation takes too long, if too many scripts wait
  // already, or if there is no browser control. UI thread only.
  virtual void RunFor(std::string_view origin, std::string script) = 0;
};

}  // namespace wendra
