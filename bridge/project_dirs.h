// The actions getProjectDirs and setProjectDir: where the user keeps each project, in the registry.
// Windows only.
#pragma once

#include <string>

#include "bridge/action.h"
#include "bridge/replies.h"

namespace wendra {

// Below HKEY_CURRENT_USER; one text value for each project id.
std::wstring ProjectDirsKeyPath();

// They borrow `replies`, and answer before they return. `keyPath`: normally ProjectDirsKeyPath().
Action GetProjectDirsAction(Replies& replies, std::wstring keyPath);
Action SetProjectDirAction(Replies& replies, std::wstring keyPath);

}  // namespace wendra
