#include "tests/support/mcp_child_tools_win.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <utility>

#include "win/wide.h"

#include <windows.h>

namespace wendra {
namespace {

std::string Echo(const Json& text, const Words&) { return text.text; }

std::string Fill(const Json& bytes, const Words&) {
  return std::string(static_cast<size_t>(std::max(0.0, bytes.number)), 'x');
}

std::string Env(const Json& name, const Words&) {
  const std::wstring wide = Widen(name.text);
  std::wstring value(GetEnvironmentVariableW(wide.c_str(), nullptr, 0), L'\0');
  const auto room = static_cast<DWORD>(value.size());
  value.resize(GetEnvironmentVariableW(wide.c_str(), value.data(), room));
  return Narrow(value);
}

std::string Args(const Json&, const Words& words) {
  std::string lines;
  for (const auto& word : words) lines += word + "\n";
  return lines;
}

std::string Cwd(const Json&, const Words&) {
  return Narrow(std::filesystem::current_path().wstring());
}

constexpr struct {
  const char* name;
  const char* argument;  // "" for none
  const char* type;
  std::string (*run)(const Json& argument, const Words& words);
} kTools[] = {
    {"echo", "text", "string", Echo},
    {"fill", "bytes", "integer", Fill},
    {"env", "name", "string", Env},
    {"args", "", "", Args},
    {"cwd", "", "", Cwd},
};

const Json& Member(const Json& object, std::string_view key) {
  static const Json kNone;
  const Json* member = object.Find(key);
  return member ? *member : kNone;
}

Json Object(std::vector<std::pair<std::string, Json>> members) {
  Json object = Json::Object();
  object.members = std::move(members);
  return object;
}

Json ArrayOf(std::vector<Json> items) {
  Json array = Json::Array();
  array.items = std::move(items);
  return array;
}

Json Greeting() {
  return Object({{"protocolVersion", "2024-11-05"},
                 {"capabilities", Object({{"tools", Json::Object()}})},
                 {"serverInfo", Object({{"name", "mcp_child"}, {"version", "1"}})}});
}

Json List() {
  std::vector<Json> tools;
  for (const auto& tool : kTools) {
    Json properties = Json::Object();
    if (*tool.argument) properties = Object({{tool.argument, Object({{"type", tool.type}})}});
    tools.push_back(Object(
        {{"name", tool.name},
         {"description", std::string("The tool ") + tool.name},
         {"inputSchema", Object({{"type", "object"}, {"properties", std::move(properties)}})}}));
  }
  return Object({{"tools", ArrayOf(std::move(tools))}});
}

Json TextResult(std::string text, bool isError) {
  Json content = ArrayOf({Object({{"type", "text"}, {"text", std::move(text)}})});
  Json result = Object({{"content", std::move(content)}});
  if (isError) result.members.emplace_back("isError", true);
  return result;
}

Json Call(const Json& params, const Words& words) {
  const std::string& name = Member(params, "name").text;
  for (const auto& tool : kTools) {
    if (name != tool.name) continue;
    return TextResult(tool.run(Member(Member(params, "arguments"), tool.argument), words), false);
  }
  return TextResult("no such tool: " + name, true);
}

}  // namespace

Json UsualResult(const Json& request, const Words& words) {
  const std::string& method = Member(request, "method").text;
  if (method == "tools/list") return List();
  if (method == "tools/call") return Call(Member(request, "params"), words);
  return Greeting();
}

}  // namespace wendra
