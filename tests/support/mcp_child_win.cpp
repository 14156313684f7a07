// An MCP server on standard input and output, for tests of MCP clients. It behaves correctly unless
// its command line says otherwise. The command line consists of moments and of actions for them.
//
// The moments:
//
//   start        before the server reads anything; also for actions before the first moment
//   initialize   at each request "initialize"
//   list         at each request "tools/list"
//   call         at each request "tools/call"
//   end          at the end of its input
//
// The actions after a moment are done in their order, instead of the correct response. A moment
// without actions gets no response: after "call", no call is answered. If a moment is given again,
// its actions are for the second time, and so on; the last ones are for all later times. For
// moments that are not given, the server sends the correct response, or ends at "end".
//
// The actions:
//
//   answer       answers the current request correctly
//   answer-of N  answers it in a line of exactly N bytes, line feed not counted
//   answer-as ID answers it correctly, but with another id, written as JSON: "x", 7, $BARE
//   result JSON  answers with this result, which is not checked
//   nest N       answers with N arrays, each inside the one before
//   error TEXT   answers with an error
//   line TEXT    writes TEXT and a line feed; $ID stands for the id of the current request as JSON,
//                $BARE for the same id without quotes
//   text TEXT    like line, but without the line feed
//   bytes HEX    writes these bytes
//   fill N       writes N bytes without a line feed
//   brackets N   writes N opening brackets
//   hold         from now on, keeps its output instead of writing it
//   flush        writes the output that it has kept, all at once, and ends hold
//   bytewise     from now on, writes each byte separately
//   close        closes its standard output
//   err N        writes N bytes to standard error
//   record FILE  from now on, appends every line that it reads to FILE
//   spawn        starts a copy of itself that inherits the standard streams and never ends
//   await NAME   waits until the event NAME is set
//   stay         waits for ever and reads nothing more
//   exit N       ends with this exit code
//   crash        ends by an access violation
//   times N      does the actions after it N times
//   rest         the words after it are ignored
//
// The tools are in mcp_child_tools_win.h.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/json.h"
#include "tests/support/mcp_child_tools_win.h"
#include "win/unique.h"
#include "win/wide.h"

#include <windows.h>

namespace wendra {
namespace {

std::string Text(const Json& json) {
  std::string text;
  Serialize(json, text);
  return text;
}

void WriteAll(DWORD stream, std::string_view bytes) {
  while (!bytes.empty()) {
    DWORD written = 0;
    if (!WriteFile(GetStdHandle(stream), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                   nullptr)) {
      return;  // the client has closed the pipe: the next action has to deal with it
    }
    bytes.remove_prefix(written);
  }
}

class McpChild {
 public:
  explicit McpChild(Words words);
  int Run();

 private:
  struct Step {
    std::string word, value;
  };
  using Steps = std::vector<Step>;
  struct Word {
    std::string_view name;
    bool takesValue;
    void (McpChild::*act)(const std::string& value);
  };
  static const Word kWords[];
  static constexpr const char* kMoments[] = {"start", "initialize", "list", "call", "end"};

  static const Word& FindWord(const std::string& name);
  void Do(const std::string& moment, const char* usually);
  void DoSteps(const Steps& steps);
  void Take(const std::string& line);
  void ReadToEnd();
  void Write(std::string_view bytes);
  void WriteResult(const std::string& id, const std::string& result);
  std::string WithId(std::string text) const;

  void Answer(const std::string&) { WriteResult(id_, Text(UsualResult(request_, words_))); }
  void AnswerOf(const std::string& bytes);
  void AnswerAs(const std::string& id) {
    WriteResult(WithId(id), Text(UsualResult(request_, words_)));
  }
  void Result(const std::string& json) { WriteResult(id_, json); }
  void Nest(const std::string& depth);
  void Error(const std::string& text);
  void Line(const std::string& text) { Plain(text + "\n"); }
  void Plain(const std::string& text) { Write(WithId(text)); }
  void Bytes(const std::string& hex);
  void Fill(const std::string& bytes) { Write(std::string(std::stoull(bytes), 'x')); }
  void Brackets(const std::string& count) { Write(std::string(std::stoull(count), '[')); }
  void Hold(const std::string&) { isHeld_ = true; }
  void Flush(const std::string&);
  void Bytewise(const std::string&) { isBytewise_ = true; }
  void Close(const std::string&) { CloseHandle(GetStdHandle(STD_OUTPUT_HANDLE)); }
  void Err(const std::string& bytes);
  void Record(const std::string& file);
  void Spawn(const std::string&);
  void Await(const std::string& name);
  void Stay(const std::string&) { Sleep(INFINITE); }
  void Exit(const std::string& code) { ExitProcess(static_cast<UINT>(std::stoul(code))); }
  void Crash(const std::string&);
  void Nothing(const std::string&) {}

  Words words_;
  std::map<std::string, std::vector<Steps>> steps_;  // by moment; one entry for each time
  std::map<std::string, size_t> times_;              // how many times each moment has come
  Json request_;                                     // the current request
  std::string id_;                                   // its id, as JSON
  std::string held_;
  bool isHeld_ = false;
  bool isBytewise_ = false;
  std::ofstream record_;
};

const McpChild::Word McpChild::kWords[] = {
    {"answer", false, &McpChild::Answer},     {"answer-of", true, &McpChild::AnswerOf},
    {"answer-as", true, &McpChild::AnswerAs}, {"result", true, &McpChild::Result},
    {"nest", true, &McpChild::Nest},          {"error", true, &McpChild::Error},
    {"line", true, &McpChild::Line},          {"text", true, &McpChild::Plain},
    {"bytes", true, &McpChild::Bytes},        {"fill", true, &McpChild::Fill},
    {"brackets", true, &McpChild::Brackets},  {"hold", false, &McpChild::Hold},
    {"flush", false, &McpChild::Flush},       {"bytewise", false, &McpChild::Bytewise},
    {"close", false, &McpChild::Close},       {"err", true, &McpChild::Err},
    {"record", true, &McpChild::Record},      {"spawn", false, &McpChild::Spawn},
    {"await", true, &McpChild::Await},        {"stay", false, &McpChild::Stay},
    {"exit", true, &McpChild::Exit},          {"crash", false, &McpChild::Crash},
    {"times", true, &McpChild::Nothing},      {"rest", false, &McpChild::Nothing},
};

const McpChild::Word& McpChild::FindWord(const std::string& name) {
  const auto* word = std::ranges::find(kWords, name, &Word::name);
  if (word != std::end(kWords)) return *word;
  WriteAll(STD_ERROR_HANDLE, "mcp_child: unknown: " + name + "\n");
  ExitProcess(97);
}

McpChild::McpChild(Words words) : words_(std::move(words)) {
  std::string moment = "start";
  for (size_t i = 0; i < words_.size(); ++i) {
    if (std::ranges::find(kMoments, words_[i]) != std::end(kMoments)) {
      moment = words_[i];
      steps_[moment].emplace_back();
      continue;
    }
    if (words_[i] == "rest") break;
    const Word& word = FindWord(words_[i]);
    if (steps_[moment].empty()) steps_[moment].emplace_back();
    steps_[moment].back().push_back(
        {words_[i], word.takesValue && i + 1 < words_.size() ? words_[++i] : std::string()});
  }
}

int McpChild::Run() {
  Do("start", nullptr);
  ReadToEnd();
  Do("end", nullptr);
  return 0;
}

void McpChild::Do(const std::string& moment, const char* usually) {
  const auto& times = steps_[moment];
  if (times.empty()) {
    if (usually) (this->*FindWord(usually).act)("");
    return;
  }
  DoSteps(times[std::min(times_[moment]++, times.size() - 1)]);
}

void McpChild::DoSteps(const Steps& steps) {
  auto first = steps.begin();  // the first step that "times" repeats
  unsigned long long repeats = 0;
  for (auto step = first; step != steps.end();) {
    if (step->word == "times") {
      repeats = std::stoull(step->value) - 1;
      first = step + 1;
    }
    (this->*FindWord(step->word).act)(step->value);
    if (++step == steps.end() && repeats > 0) {
      --repeats;
      step = first;
    }
  }
}

void McpChild::ReadToEnd() {
  std::string pending;
  std::vector<char> buffer(1 << 16);
  for (DWORD got = 0; ReadFile(GetStdHandle(STD_INPUT_HANDLE), buffer.data(),
                               static_cast<DWORD>(buffer.size()), &got, nullptr) &&
                      got > 0;) {
    size_t from = pending.size();
    pending.append(buffer.data(), got);
    for (size_t end; (end = pending.find('\n', from)) != pending.npos; from = 0) {
      const std::string line = pending.substr(0, end);
      pending.erase(0, end + 1);
      Take(line);
    }
  }
}

void McpChild::Take(const std::string& line) {
  if (record_.is_open()) record_ << line << std::endl;
  if (!Parse(line, request_)) return;
  const Json* id = request_.Find("id");
  const Json* name = request_.Find("method");
  if (!id || !name) return;
  id_ = Text(*id);
  const std::string& method = name->text;
  if (method == "initialize") return Do("initialize", "answer");
  if (method == "tools/list") return Do("list", "answer");
  if (method == "tools/call") return Do("call", "answer");
  Line("{\"jsonrpc\":\"2.0\",\"id\":$ID,\"error\":{\"code\":-32601,\"message\":\"no method\"}}");
}

void McpChild::Write(std::string_view bytes) {
  if (isHeld_) {
    held_ += bytes;
  } else if (isBytewise_) {
    for (size_t i = 0; i < bytes.size(); ++i) WriteAll(STD_OUTPUT_HANDLE, bytes.substr(i, 1));
  } else {
    WriteAll(STD_OUTPUT_HANDLE, bytes);
  }
}

void McpChild::WriteResult(const std::string& id, const std::string& result) {
  Write("{\"jsonrpc\":\"2.0\",\"id\":" + id + ",\"result\":" + result + "}\n");
}

void McpChild::AnswerOf(const std::string& bytes) {
  const std::string before = "{\"jsonrpc\":\"2.0\",\"id\":" + id_ +
                             ",\"result\":{\"content\":[{\"type\":\"text\",\"text\":\"";
  const std::string after = "\"}]}}";
  const size_t frame = before.size() + after.size();
  Write(before + std::string(std::max<size_t>(std::stoull(bytes), frame) - frame, 'x') + after +
        "\n");
}

void McpChild::Nest(const std::string& depth) {
  const size_t arrays = std::stoull(depth);
  WriteResult(id_, std::string(arrays, '[') + std::string(arrays, ']'));
}

void McpChild::Error(const std::string& text) {
  Write("{\"jsonrpc\":\"2.0\",\"id\":" + id_ +
        ",\"error\":{\"code\":-32000,\"message\":" + Text(Json(text)) + "}}\n");
}

std::string McpChild::WithId(std::string text) const {
  std::string bare = id_;
  std::erase(bare, '"');
  const std::pair<std::string_view, const std::string&> places[] = {{"$ID", id_}, {"$BARE", bare}};
  for (const auto& [place, id] : places) {
    for (size_t at = 0; (at = text.find(place, at)) != text.npos; at += id.size()) {
      text.replace(at, place.size(), id);
    }
  }
  return text;
}

void McpChild::Bytes(const std::string& hex) {
  std::string bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  Write(bytes);
}

void McpChild::Flush(const std::string&) {
  isHeld_ = false;
  Write(std::exchange(held_, {}));
}

void McpChild::Err(const std::string& bytes) {
  WriteAll(STD_ERROR_HANDLE, std::string(std::stoull(bytes), 'e'));
}

void McpChild::Record(const std::string& file) {
  record_.open(std::filesystem::path(Widen(file)), std::ios::binary | std::ios::app);
}

void McpChild::Spawn(const std::string&) {
  wchar_t self[MAX_PATH];
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  std::wstring commandLine = L"\"" + std::wstring(self) + L"\" stay";
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(self, commandLine.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                      nullptr, &startup, &process)) {
    ExitProcess(98);
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
}

void McpChild::Await(const std::string& name) {
  const KernelHandle event(CreateEventW(nullptr, TRUE, FALSE, Widen(name).c_str()));
  WaitForSingleObject(event.Get(), INFINITE);
}

void McpChild::Crash(const std::string&) {
  RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}

}  // namespace
}  // namespace wendra

int wmain(int count, wchar_t** arguments) {
  std::vector<std::string> words;
  for (int i = 1; i < count; ++i) words.push_back(wendra::Narrow(arguments[i]));
  return wendra::McpChild(std::move(words)).Run();
}
