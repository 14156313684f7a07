#include "mcp/http/event_stream.h"

#include <utility>

#include "base/ascii.h"

namespace wendra {
namespace {

constexpr std::string_view kData = "data:";
constexpr std::string_view kId = "id:";

// The value after the field's name. It reuses the memory of the line, since messages can be long.
std::string ValueOf(std::string line, std::string_view name) {
  const std::string_view value = TrimWhitespace(std::string_view(line).substr(name.size()));
  if (value.empty()) return {};
  const auto start = static_cast<size_t>(value.data() - line.data());
  line.resize(start + value.size());
  line.erase(0, start);
  return line;
}

void AddField(std::string line, std::vector<EventField>& fields) {
  if (line.starts_with(kData)) {
    std::string message = ValueOf(std::move(line), kData);
    if (!message.empty()) fields.push_back({EventField::Kind::kMessage, std::move(message)});
  } else if (line.starts_with(kId)) {
    fields.push_back({EventField::Kind::kEventId, ValueOf(std::move(line), kId)});
  }
}

}  // namespace

std::vector<EventField> EventStream::Feed(std::string_view bytes) {
  std::vector<EventField> fields;
  for (std::string& line : lines_.Feed(bytes)) AddField(std::move(line), fields);
  return fields;
}

std::vector<EventField> EventStream::Finish() {
  std::vector<EventField> fields;
  AddField(lines_.Finish(), fields);
  return fields;
}

}  // namespace wendra
