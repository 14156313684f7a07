#include "bridge/resolve_script.h"

namespace wendra {

std::string ResolveScript(std::string_view reqId, ReplyStatus status, const Json& value) {
  std::string script = "window.__wendra && window.__wendra.__resolve ? window.__wendra.__resolve('";
  script += reqId;
  script += status == ReplyStatus::kSucceeded ? "', 1, " : "', 0, ";
  Serialize(value, script);
  script += ") : 0;";
  return script;
}

}  // namespace wendra
