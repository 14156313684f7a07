// Where the commands of local servers are looked for. Pure: what the system says comes in through
// two interfaces.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace wendra {

// The variables of the running program.
class Environment {
 public:
  virtual ~Environment() = default;
  // The whole value; nothing when there is no such variable.
  virtual std::optional<std::wstring> Variable(const std::wstring& name) const = 0;
  // `text` with every %NAME% replaced by its value; unknown names stay as they are.
  virtual std::wstring Expand(const std::wstring& text) const = 0;
};

class FileProbe {
 public:
  virtual ~FileProbe() = default;
  // Whether something exists there that is no directory.
  virtual bool IsFile(const std::wstring& path) const = 0;
  // `path` made absolute, at most 259 characters; "" when that cannot be done.
  virtual std::wstring FullPath(const std::wstring& path) const = 0;
};

// The directories of PATH as they stand there, then well-known places of tools that a terminal
// often has in its PATH and a program started from the shell has not. Those below a folder whose
// variable is not set, or longer than 259 characters, are left out. None twice, letter case
// counting; nobody asks whether they exist.
std::vector<std::wstring> SearchDirectories(const Environment& environment);

// The entries of PATHEXT, none if it holds separators only; unset, those that Windows starts with.
std::vector<std::wstring> ExecutableExtensions(const Environment& environment);

// With one backslash between them, if the directory does not end in a separator by itself.
std::wstring JoinPath(const std::wstring& directory, const std::wstring& name);

// `path` + the first of ExecutableExtensions that makes it a file; "" when none does.
std::wstring FindWithExtension(const std::wstring& path, const Environment& environment,
                               const FileProbe& files);

// The full path of the file that `command` names; "" when there is none. A leading ~ and variables
// are expanded first. In each place the name as written comes before the name with an extension.
std::wstring ResolveCommand(const std::wstring& command, const Environment& environment,
                            const FileProbe& files);

}  // namespace wendra
