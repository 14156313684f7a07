// The environment variables that control the development runtime. Their names begin with
// WENDRA_DEV_.
#pragma once

#include <optional>
#include <string>

namespace wendra {

// The value, of any length; "" when the variable is missing. Any thread, as the functions below.
std::wstring DevVariable(const wchar_t* name);

// The value as a Windows path. A path that begins with "/" is one of the Unix system, for Wine
// shows that system's files as drive Z.
std::wstring DevFile(const wchar_t* name);

// The value as a decimal number, 0 when it is none; nothing when the variable is missing or empty.
std::optional<long long> DevNumber(const wchar_t* name);

// Whether the value is not "0"; `otherwise` when the variable is missing or empty.
bool DevFlag(const wchar_t* name, bool otherwise);

}  // namespace wendra
