// Finds the programs of local servers on the search path. Pure: asks the system through two
// interfaces.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace wendra {

// The variables of the running program.
class Environment {
 public:
  virtual ~Environment() = default;
  // The whole value; nothing if there is no such variable.
  virtual std::optional<std::wstring> Variable(const std::wstring& name) const = 0;
  // `text` with every %NAME% replaced by its value; unknown names stay as they are.
  virtual std::wstring Expand(const std::wstring& text) const = 0;
};

class FileProbe {
 public:
  virtual ~FileProbe() = default;
  // Whether something exists at `path` and is no directory.
  virtual bool IsFile(const std::wstring& path) const = 0;
  // `path` made absolute, at most 259 characters; "" if that fails.
  virtual std::wstring FullPath(const std::wstring& path) const = 0;
};

// The directories of PATH as they stand there, then well-known directories of tools: a terminal
// often has them in its PATH, but a program that the desktop starts does not. Some of them lie
// below a folder that a variable names; they are left out if the variable is not set or longer than
// 259 characters. No directory comes twice; letter case counts. A directory need not exist.
std::vector<std::wstring> SearchDirectories(const Environment& environment);

// The entries of PATHEXT; none if it holds only separators. If PATHEXT is unset, the four that
// Windows starts with: .COM, .EXE, .BAT, .CMD.
std::vector<std::wstring> ExecutableExtensions(const Environment& environment);

// Puts a backslash between the two, unless `directory` is empty or ends in a separator.
std::wstring JoinPath(const std::wstring& directory, const std::wstring& name);

// `path` with the first of ExecutableExtensions for which that file exists; "" if there is none.
std::wstring FindWithExtension(const std::wstring& path, const Environment& environment,
                               const FileProbe& files);

// The full path of the file that `command` names; "" if there is none. A leading ~ and variables
// are expanded first. In each directory the name is tried as written, then with the extensions.
std::wstring ResolveCommand(const std::wstring& command, const Environment& environment,
                            const FileProbe& files);

}  // namespace wendra
