// Encodes bytes in standard base64 (RFC 4648, with padding, without line breaks).
#pragma once

#include <string>
#include <string_view>

namespace wendra {

// Returns 4 characters for each group of 3 bytes; the last group may be shorter.
std::string EncodeBase64(std::string_view bytes);

}  // namespace wendra
