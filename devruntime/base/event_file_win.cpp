#include "devruntime/webview2/event_file_win.h"

#include <utility>

namespace wendra {

EventFile::EventFile(const std::wstring& path) {
  if (path.empty()) return;
  file_.Reset(CreateFileW(path.c_str(), FILE_APPEND_DATA,
                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                          OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

void EventFile::Write(const Json& event) const {
  if (!IsOn()) return;
  std::string line;
  Serialize(event, line);
  WriteLine(std::move(line));
}

void EventFile::WriteLine(std::string line) const {
  if (!IsOn()) return;
  line += '\n';
  DWORD written = 0;  // one append is one piece, whatever other threads do
  WriteFile(file_.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

}  // namespace wendra
