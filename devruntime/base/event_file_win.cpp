#include "devruntime/base/event_file_win.h"

#include "json/objects.h"
#include "win/file.h"

namespace wendra {

EventFile::EventFile(const std::wstring& path) {
  if (path.empty()) return;
  file_.Reset(CreateFileW(path.c_str(), FILE_APPEND_DATA,
                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                          OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

void EventFile::WriteLine(std::string line) const {
  if (!file_) return;
  line += '\n';
  // One call appends the whole line, so lines of several threads do not mix.
  (void)WriteBytes(file_, line);
}

void EventFile::Write(const Json& event) const {
  if (file_) WriteLine(ToText(event));
}

}  // namespace wendra
