// The actions getProjectDirs and setProjectDir: the registry keeps the user's folder for each
// project. Windows only.
#pragma once

#include <string>

#include "bridge/action.h"
#include "bridge/replies.h"

namespace wendra {

// The registry key below HKEY_CURRENT_USER that holds one text value for each project id.
std::wstring ProjectDirsKeyPath();

// Both actions borrow `replies` and reply before they return. `keyPath` is ProjectDirsKeyPath(),
// except in tests. An empty path argument of setProjectDir removes the project's value.
Action GetProjectDirsAction(Replies& replies, std::wstring keyPath);
Action SetProjectDirAction(Replies& replies, std::wstring keyPath);

}  // namespace wendra
