#include "mcp/event_stream.h"

#include "base/ascii.h"

namespace wendra {
namespace {

constexpr std::string_view kData = "data:";
constexpr std::string_view kId = "id:";

void AddField(std::string_view line, std::vector<EventField>& fields) {
  if (line.starts_with(kData)) {
    const std::string_view message = TrimBlanks(line.substr(kData.size()));
    if (!message.empty()) fields.push_back({EventField::Kind::kMessage, std::string(message)});
  } else if (line.starts_with(kId)) {
    const std::string_view id = TrimBlanks(line.substr(kId.size()));
    fields.push_back({EventField::Kind::kEventId, std::string(id)});
  }
}

}  // namespace

std::vector<EventField> EventStream::Feed(std::string_view bytes) {
  std::vector<EventField> fields;
  for (const std::string& line : lines_.Feed(bytes)) AddField(line, fields);
  return fields;
}

std::vector<EventField> EventStream::Finish() {
  std::vector<EventField> fields;
  AddField(lines_.Finish(), fields);
  return fields;
}

}  // namespace wendra
