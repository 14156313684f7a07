#include "bridge/project_dirs.h"

#include <utility>

#include "base/product.h"
#include "win/registry_key.h"
#include "win/wide.h"

namespace wendra {

std::wstring ProjectDirsKeyPath() {
  return std::wstring(L"Software\\") + kApplicationId + L"\\projectDirs";
}

Action GetProjectDirsAction(Replies& replies, std::wstring keyPath) {
  return {"getProjectDirs",
          [&replies, keyPath = std::move(keyPath)](const std::string& reqId, const Json&) {
            Json dirs = Json::Object();
            if (const RegistryKey key = OpenUserKey(keyPath)) {
              for (const auto& [id, path] : TextValues(key)) {
                dirs.members.emplace_back(Narrow(id), Json(Narrow(path)));
              }
            }
            replies.Succeed(reqId, dirs);
          }};
}

Action SetProjectDirAction(Replies& replies, std::wstring keyPath) {
  return {"setProjectDir",
          [&replies, keyPath = std::move(keyPath)](const std::string& reqId, const Json& args) {
            const std::wstring id = Widen(StringArgument(args, 0));
            const std::wstring path = Widen(StringArgument(args, 1));
            if (id.empty()) return replies.Fail(reqId, "setProjectDir expects [projectId, path]");
            if (const RegistryKey key = OpenUserKey(keyPath)) {
              // A failure is not reported: the page reads the stored folders with getProjectDirs.
              (void)(path.empty() ? DeleteValue(key, id) : SetTextValue(key, id, path));
            }
            replies.Succeed(reqId, Json("ok"));
          }};
}

}  // namespace wendra
