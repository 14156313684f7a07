#include "bridge/action.h"

namespace wendra {

std::string_view StringArgument(const Json& args, size_t index) {
  if (args.kind != kJsonArray || index >= args.items.size()) return {};
  const Json& item = args.items[index];
  return item.kind == kJsonString ? std::string_view(item.text) : std::string_view();
}

}  // namespace wendra
