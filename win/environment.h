// The process's environment.
#pragma once

#include <string>

namespace wendra {

// The variable's value, at most 259 characters; a missing or longer one gives "".
std::wstring EnvironmentText(const wchar_t* name);

// `text` with every %NAME% replaced by its value; unknown names stay as they are.
std::wstring ExpandEnvironment(const wchar_t* text);

}  // namespace wendra
