// Builds the command line that starts a program or a batch file with given arguments. Pure.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace wendra {

// Returns `argument` as one word of a program's command line: CommandLineToArgvW and the C
// runtimes, old and new, give it back unchanged. Text without a special meaning to them gets no
// quotes.
std::wstring QuoteArgument(std::wstring_view argument);

// Whether the path's extension is .cmd or .bat, in any letter case: cmd.exe runs such files.
// Ignores dots and spaces at the end of the path, as the file system does.
bool IsBatchScript(std::wstring_view path);

// How the registry sets up cmd.exe.
enum class ShellSettings {
  kUsual,
  kSwitched,  // delayed expansion is on or extensions are off: the command line switches them back
};

// The command line that starts the file `program`: the program and its arguments, or cmd.exe with a
// batch file and its arguments. Nothing if a word holds a character that the command line cannot
// carry: a NUL, or for a batch file a carriage return or a line feed.
//
// The words of a batch file read the same to cmd.exe, to a line of the file that holds %*, and to
// the program that such a line starts: no word brings in a variable, an operator or a further
// command, and the program gets the arguments unchanged. Two cases are beyond our control. If the
// file itself switches delayed expansion on, cmd.exe takes "!" for the sign of a variable. And
// after an odd number of quotes in the arguments, cmd.exe takes the text behind %* on that line for
// quoted.
std::optional<std::wstring> ChildCommandLine(std::wstring_view program,
                                             const std::vector<std::wstring>& arguments,
                                             ShellSettings shell = ShellSettings::kUsual);

}  // namespace wendra
