#include "tests/bench/documents.h"

#include <cstdint>
#include <cstdio>
#include <random>
#include <string_view>

namespace wendra {

namespace {

using namespace std::string_view_literals;

// Random choices. The standard distributions are not used: they give other numbers with other
// standard libraries.
class Choice {
 public:
  explicit Choice(std::uint64_t seed) : random_(seed) {}
  std::uint64_t Bits() { return random_(); }
  std::size_t Below(std::size_t limit) { return static_cast<std::size_t>(random_() % limit); }
  template <std::size_t N>
  std::string_view Of(const std::string_view (&list)[N]) {
    return list[Below(N)];
  }

 private:
  std::mt19937_64 random_;
};

constexpr std::string_view kWords[] = {
    "read"sv,   "the"sv,     "content"sv,  "of"sv,    "a"sv,        "file"sv,    "folder"sv,
    "and"sv,    "return"sv,  "list"sv,     "each"sv,  "matching"sv, "entry"sv,   "with"sv,
    "its"sv,    "size"sv,    "in"sv,       "bytes"sv, "relative"sv, "to"sv,      "project"sv,
    "search"sv, "pattern"sv, "optional"sv, "limit"sv, "number"sv,   "results"sv, "newest"sv,
};

std::string Sentence(Choice& choice, std::size_t words) {
  std::string text;
  for (std::size_t i = 0; i < words; ++i) {
    if (i > 0) text += ' ';
    text += choice.Of(kWords);
  }
  return text + '.';
}

std::string Name(Choice& choice, char joint) {
  return std::string(choice.Of(kWords)) + joint + std::string(choice.Of(kWords));
}

std::string FileRequest(std::string_view name, const std::string& content) {
  return R"({"__reqId":"r-4711","name":"writeFile","args":{"path":")" + std::string(name) +
         R"(","content":")" + content + R"("}})";
}

// One line of program text, escaped for JSON.
std::string SourceLine(Choice& choice) {
  constexpr std::string_view kLines[] = {
      R"(#include \"json/json.h\")"sv,
      R"(  const auto found = std::find_if(list.begin(), list.end(), [&](const Entry& entry) {)"sv,
      R"(\treturn entry.name == name; // the first one wins)"sv,
      R"(\t\tlog.Write(\"could not read \\\"%s\\\": %d\\n\", path.c_str(), code);)"sv,
      R"(})"sv,
      R"()"sv,
      R"(  if (position == std::string::npos || text[position] == '\\\\') break;)"sv,
      R"(      for (std::size_t index = 0; index < values.size(); ++index) total += values[index];)"sv,
      R"(    std::regex expression(R\"(\\s*(\\w+)\\s*=\\s*(\\d+))\");)"sv,
      R"(// Schl\u00fcssel und Wert, durch ein Gleichheitszeichen getrennt)"sv,
      R"(static_assert(sizeof(Header) == 24, \"the file format depends on it\");)"sv,
      R"(  return Outcome<Record>(std::move(record));)"sv,
  };
  return std::string(choice.Of(kLines));
}

// A property of a tool's schema.
std::string SchemaProperty(Choice& choice) {
  constexpr std::string_view kTypes[] = {"string"sv, "number"sv, "boolean"sv, "integer"sv};
  std::string text = "\"" + Name(choice, '_') + R"(":{"type":")" + std::string(choice.Of(kTypes)) +
                     R"(","description":")" + Sentence(choice, 4 + choice.Below(12)) + "\"";
  if (choice.Below(3) == 0) text += R"(,"default":)" + std::to_string(choice.Below(1000));
  if (choice.Below(4) == 0) text += R"(,"enum":["ascending","descending","none"])";
  return text + "}";
}

std::string Tool(Choice& choice, std::size_t number) {
  std::string text = R"({"name":")" + Name(choice, '_') + std::to_string(number) +
                     R"(","description":")" + Sentence(choice, 12 + choice.Below(50)) +
                     R"(\n\n\"Example\": )" + Sentence(choice, 5) +
                     R"(","inputSchema":{"type":"object","properties":{)";
  const std::size_t properties = 1 + choice.Below(6);
  for (std::size_t i = 0; i < properties; ++i) text += (i ? "," : "") + SchemaProperty(choice);
  return text + R"(},"required":["path"],"additionalProperties":false},)" +
         R"("annotations":{"readOnlyHint":true,"openWorldHint":false}})";
}

std::string Double(Choice& choice) {
  // 53 random bits, scaled to at most 1e-3, 1, 180 or 1e6
  constexpr double kScales[] = {1e-3, 1.0, 180.0, 1e6};
  const double unit = static_cast<double>(choice.Bits() >> 11) / 9007199254740992.0;
  char text[32];
  std::snprintf(text, sizeof text, "%.17g", unit * kScales[choice.Below(4)]);
  return text;
}

// A random decimal with two digits after the point.
std::string ShortDecimal(Choice& choice) {
  const std::string digits = std::to_string(1000 + choice.Below(90'000));
  return digits.substr(0, digits.size() - 2) + "." + digits.substr(digits.size() - 2);
}

std::string Measurement(Choice& choice) {
  std::string text = R"({"id":)" + std::to_string(choice.Below(100'000)) + R"(,"at":[)" +
                     Double(choice) + "," + Double(choice) + R"(],"samples":[)";
  for (int i = 0; i < 12; ++i) {
    text += (i ? "," : "") + (i % 3 == 0   ? std::to_string(choice.Below(5000))
                              : i % 3 == 1 ? ShortDecimal(choice)
                                           : "-" + ShortDecimal(choice));
  }
  return text + "]}";
}

std::string ShortRecord(Choice& choice) {
  std::string text = R"({"name":")" + Name(choice, ' ') + R"(","role":")" +
                     std::string(choice.Of(kWords)) + R"(","city":")" +
                     std::string(choice.Of(kWords)) + R"(","mail":")" + Name(choice, '.') +
                     R"(@mail.example","tags":[)";
  const std::size_t tags = 2 + choice.Below(6);
  for (std::size_t i = 0; i < tags; ++i) {
    text += (i ? ",\"" : "\"") + std::string(choice.Of(kWords)) + "\"";
  }
  return text + R"(],"note":"","state":"open"})";
}

// A JSON array of made elements, of at least `bytes` bytes.
template <typename Make>
std::string ListOf(std::size_t bytes, Make&& make) {
  std::string text = "[";
  while (text.size() < bytes) {
    if (text.size() > 1) text += ',';
    text += make();
  }
  return text + "]";
}

// The compact JSON text, indented on many lines. It must be well-formed and have no empty
// container.
std::string Indented(std::string_view compact) {
  std::string text;
  std::size_t depth = 0;
  bool inString = false;
  const auto breakLine = [&] { text += "\n" + std::string(2 * depth, ' '); };
  for (std::size_t i = 0; i < compact.size(); ++i) {
    const char c = compact[i];
    if (inString) {
      text += c;
      if (c == '\\') text += compact[++i];
      if (c == '"') inString = false;
      continue;
    }
    if (c == '}' || c == ']') {
      --depth;
      breakLine();
    }
    text += c;
    if (c == '"') inString = true;
    if (c == ':') text += ' ';
    if (c == '{' || c == '[') ++depth;
    if (c == '{' || c == '[' || c == ',') breakLine();
  }
  return text;
}

}  // namespace

std::vector<std::string> SmallBridgeRequests() {
  return {
      R"({"__reqId":"1","name":"getVersion","args":{}})",
      R"({"__reqId":"2","name":"readFile","args":{"path":"C:\\Users\\someone\\Documents\\notes.txt"}})",
      R"({"__reqId":"3","name":"writeFile","args":{"path":"D:\\work\\todo.md","content":"# Today\n\n- call back\n- write it down\n"}})",
      R"({"__reqId":"4","name":"listFiles","args":{"path":"C:\\Users\\someone","recursive":false,"limit":100}})",
      R"({"__reqId":"5","name":"exec","args":{"command":"git status --short","cwd":"D:\\work\\project","timeoutMs":30000}})",
      R"({"__reqId":"6","name":"mcpListServers","args":null})",
      R"({"__reqId":"7","name":"mcpCall","args":{"server":"files","tool":"search_files","arguments":{"pattern":"*.cpp","paths":["src","tests"],"maxResults":50}}})",
      R"({"__reqId":"8","name":"mcpListTools","args":{"server":"everything"}})",
      R"({"__reqId":"9","name":"openExternal","args":{"url":"https://docs.wendra.example/start?lang=de#top"}})",
      R"({"__reqId":"10","name":"log","args":{"level":"info","message":"page is ready after 812 ms","at":1718000000123}})",
  };
}

std::string SourceFileRequest(std::size_t bytes) {
  Choice choice(1);
  std::string content;
  while (content.size() < bytes) content += SourceLine(choice) + R"(\r\n)";
  return FileRequest("D:\\\\work\\\\all.cpp", content);
}

std::string Base64FileRequest(std::size_t bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  Choice choice(2);
  std::string content;
  while (content.size() < bytes) content += kDigits[choice.Below(kDigits.size())];
  return FileRequest("D:\\\\work\\\\picture.png", content);
}

std::string ToolsListResult(std::size_t tools) {
  Choice choice(3);
  std::string text = R"({"jsonrpc":"2.0","id":"4711","result":{"tools":[)";
  for (std::size_t i = 0; i < tools; ++i) text += (i ? "," : "") + Tool(choice, i);
  return text + "]}}";
}

std::string IndentedToolsListResult(std::size_t tools) { return Indented(ToolsListResult(tools)); }

std::string NumbersDocument(std::size_t bytes) {
  Choice choice(4);
  return ListOf(bytes, [&] { return Measurement(choice); });
}

std::string ShortStringsDocument(std::size_t bytes) {
  Choice choice(5);
  return ListOf(bytes, [&] { return ShortRecord(choice); });
}

}  // namespace wendra
