#include "bridge/platform.h"

#include "json/objects.h"

namespace wendra {

Json PlatformValue(const PlatformFacts& facts) {
  return MakeObject({{"name", "Windows"},
                     {"version", facts.version},
                     {"user", facts.user},
                     {"home", facts.home}});
}

}  // namespace wendra
