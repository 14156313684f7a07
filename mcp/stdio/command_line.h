// The command line that starts a program, or a batch file, with given arguments. Pure.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace wendra {

// `argument` as one word of a program's command line: CommandLineToArgvW and the C runtimes, old
// and new, give it back unchanged. Text that means nothing to them stays without quotes.
std::wstring QuoteArgument(std::wstring_view argument);

// Whether the path's extension is .cmd or .bat, in any letter case: cmd.exe runs such files. Dots
// and spaces at the end of the path are passed over, as the file system does.
bool IsBatchScript(std::wstring_view path);

// How the registry of this machine sets up cmd.exe.
enum class ShellSettings {
  kUsual,
  kSwitched,  // delayed expansion is on or extensions are off: the command line turns them back
};

// The command line that starts the file `program`: itself and its arguments, or cmd.exe with a
// batch file and its arguments. Nothing for what no command line can carry: a zero anywhere, a line
// break where cmd.exe reads.
//
// For a batch file every word reads the same to cmd.exe, to a line of the file that holds %*, and
// to the program that such a line starts: no word brings in a variable, an operator or a further
// command, and the program gets the arguments unchanged. Two things lie outside our reach: delayed
// expansion, if the file itself switches it on, takes ! for its own; and after an odd number of
// quotes in the arguments, cmd.exe takes what stands behind %* on its line for quoted.
std::optional<std::wstring> ChildCommandLine(std::wstring_view program,
                                             const std::vector<std::wstring>& arguments,
                                             ShellSettings shell = ShellSettings::kUsual);

}  // namespace wendra
