// The number of a JSON text: its grammar and its conversion, the same with every compiler.
#pragma once

namespace wendra {

// Reads the number that starts at `begin`: an optional "-", digits (leading zeros are welcome),
// optionally "." and digits, optionally an exponent. Returns where it ends and stores its double,
// correctly rounded; null if there is none, or if it breaks off in the middle ("-", "1.", "1e+").
// Throws std::out_of_range("stod argument out of range") if the double would be infinite, or zero
// for a literal that is not zero. Subnormal doubles are in range.
const char* ReadNumber(const char* begin, const char* end, double& value);

}  // namespace wendra
