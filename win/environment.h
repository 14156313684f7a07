// Reads the environment variables of this process.
#pragma once

#include <string>

namespace wendra {

// The value of the variable. "" if the variable is missing or longer than 259 characters.
std::wstring EnvironmentText(const wchar_t* name);

// `text` with every %NAME% replaced by the value of that variable; unknown names stay as they are.
// "" if the system fails.
std::wstring ExpandEnvironment(const wchar_t* text);

}  // namespace wendra
