// Standard base64 (RFC 4648, with padding, no line breaks).
#pragma once

#include <string>
#include <string_view>

namespace wendra {

// 4 characters for every 3 bytes begun.
std::string EncodeBase64(std::string_view bytes);

}  // namespace wendra
