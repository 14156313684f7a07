#include "mcp/tools/tool_result.h"

#include <string>
#include <utility>

#include "json/objects.h"

namespace wendra {
namespace {

// Collects the texts and images of a result, in the order of its content. Moves them out of the
// items, since they can be long.
class Content {
 public:
  void Add(Json& item) {
    const std::string& type = TextOf(item, "type");
    if (type == "text") return AddText(item);
    if (type == "image") return AddImage(item);
    if (type == "resource") return AddResource(item);
    if (type == "resource_link") return AddLink(item);
  }

  void MoveInto(Json& result) {
    result.members.emplace_back("text", std::move(text_));
    if (!images_.items.empty()) result.members.emplace_back("images", std::move(images_));
  }

 private:
  static bool IsImage(const std::string& mimeType) { return mimeType.starts_with("image/"); }

  void AddPart(std::string part) {
    if (hasText_) {
      text_.append(1, '\n').append(part);
    } else {
      text_ = std::move(part);
    }
    hasText_ = true;
  }

  void AddPicture(std::string mimeType, std::string base64) {
    images_.items.push_back(
        MakeObject({{"mimeType", std::move(mimeType)}, {"data", std::move(base64)}}));
  }

  void AddText(Json& item) {
    if (std::string* text = FindString(item, "text")) AddPart(std::move(*text));
  }

  void AddImage(Json& item) {
    std::string* data = FindString(item, "data");
    if (!data) return AddPart("[image content could not be attached]");
    const std::string& mimeType = TextOf(item, "mimeType");
    AddPicture(IsImage(mimeType) ? mimeType : "image/png", std::move(*data));
  }

  void AddResource(Json& item) {
    Json* resource = item.Find("resource");
    if (!resource) return AddPart("[resource content]");
    if (std::string* text = FindString(*resource, "text")) return AddPart(std::move(*text));
    std::string* blob = FindString(*resource, "blob");
    if (!blob) return AddPart("[resource content]");
    const std::string* mimeType = FindString(*resource, "mimeType");
    if (mimeType && IsImage(*mimeType)) return AddPicture(*mimeType, std::move(*blob));
    AddPart("[binary resource: " + (mimeType ? *mimeType : "unknown type") + "]");
  }

  void AddLink(Json& item) {
    const std::string& name = TextOf(item, "name");
    const std::string* shown = name.empty() ? FindString(item, "uri") : &name;
    AddPart("[resource link: " + (shown ? *shown : "unknown") + "]");
  }

  std::string text_;
  bool hasText_ = false;  // an empty text counts too
  Json images_ = Json::Array();
};

std::string_view FailureText(const Json& error) {
  const std::string* message = FindString(error, "message");
  return message ? std::string_view(*message) : "MCP call failed";
}

}  // namespace

Json ToolResult(Json reply) {
  if (Json* error = reply.Find("error")) return ToolFailure(FailureText(*error));
  Json converted = Json::Object();
  Content content;
  if (Json* result = reply.Find("result")) {
    if (TruthOf(*result, "isError")) converted.members.emplace_back("isError", true);
    if (Json* structured = result->Find("structuredContent")) {
      converted.members.emplace_back("structuredContent", std::move(*structured));
    }
    if (Json* items = FindArray(*result, "content")) {
      for (Json& item : items->items) content.Add(item);
    }
  }
  content.MoveInto(converted);
  return converted;
}

Json ToolFailure(std::string_view text) { return MakeObject({{"error", text}}); }

}  // namespace wendra
