// Reads a number of a JSON text: checks its grammar and converts it to a double. The result is the
// same with every compiler.
#pragma once

namespace wendra {

// Reads the number that starts at `begin`: an optional "-", digits (leading zeros are allowed), an
// optional fraction ("." and digits), an optional exponent. Stores the correctly rounded double in
// `value` and returns where the number ends. Null if there is no number, or only the beginning of
// one ("-", "1.", "1e+").
// Throws std::out_of_range("stod argument out of range") if the double would be infinite, or if it
// would be zero although the literal is not. Subnormal doubles are in range.
const char* ReadNumber(const char* begin, const char* end, double& value);

}  // namespace wendra
