#include "mcp/tool_result.h"

#include <string>
#include <utility>

namespace wendra {
namespace {

const Json* FindOfKind(const Json& object, std::string_view key, std::uint32_t kind) {
  const Json* value = object.Find(key);
  return value && value->kind == kind ? value : nullptr;
}

const Json* FindString(const Json& object, std::string_view key) {
  return FindOfKind(object, key, kJsonString);
}

// The text pieces and pictures of a result, in the order of its content.
class Content {
 public:
  void Add(const Json& item) {
    const Json* type = FindString(item, "type");
    if (!type) return;
    if (type->text == "text") return AddText(item);
    if (type->text == "image") return AddImage(item);
    if (type->text == "resource") return AddResource(item);
    if (type->text == "resource_link") return AddLink(item);
  }

  void MoveInto(Json& result) {
    result.members.emplace_back("text", std::move(text_));
    if (!images_.items.empty()) result.members.emplace_back("images", std::move(images_));
  }

 private:
  static bool IsImage(const Json* mimeType) {
    return mimeType && mimeType->text.starts_with("image/");
  }

  void AddPiece(std::string_view piece) {
    if (hasText_) text_ += '\n';
    text_ += piece;
    hasText_ = true;
  }

  void AddPicture(std::string_view mimeType, std::string_view base64) {
    Json image = Json::Object();
    image.members.emplace_back("mimeType", mimeType);
    image.members.emplace_back("data", base64);
    images_.items.push_back(std::move(image));
  }

  void AddText(const Json& item) {
    if (const Json* text = FindString(item, "text")) AddPiece(text->text);
  }

  void AddImage(const Json& item) {
    const Json* data = FindString(item, "data");
    if (!data) return AddPiece("[image content could not be attached]");
    const Json* mimeType = FindString(item, "mimeType");
    AddPicture(IsImage(mimeType) ? mimeType->text : "image/png", data->text);
  }

  void AddResource(const Json& item) {
    const Json* resource = item.Find("resource");
    if (!resource) return AddPiece("[resource content]");
    if (const Json* text = FindString(*resource, "text")) return AddPiece(text->text);
    const Json* blob = FindString(*resource, "blob");
    if (!blob) return AddPiece("[resource content]");
    const Json* mimeType = FindString(*resource, "mimeType");
    if (IsImage(mimeType)) return AddPicture(mimeType->text, blob->text);
    AddPiece("[binary resource: " + (mimeType ? mimeType->text : "unknown type") + "]");
  }

  void AddLink(const Json& item) {
    const Json* name = FindString(item, "name");
    if (name && name->text.empty()) name = nullptr;
    const Json* shown = name ? name : FindString(item, "uri");
    AddPiece("[resource link: " + (shown ? shown->text : "unknown") + "]");
  }

  std::string text_;
  bool hasText_ = false;  // an empty piece counts too
  Json images_ = Json::Array();
};

std::string_view FailureText(const Json& error) {
  const Json* message = FindString(error, "message");
  return message ? std::string_view(message->text) : "MCP call failed";
}

}  // namespace

Json ToolResult(const Json& reply) {
  if (const Json* error = reply.Find("error")) return ToolFailure(FailureText(*error));
  Json converted = Json::Object();
  Content content;
  if (const Json* result = reply.Find("result")) {
    const Json* isError = FindOfKind(*result, "isError", kJsonBool);
    if (isError && isError->boolean) converted.members.emplace_back("isError", Json(true));
    if (const Json* structured = result->Find("structuredContent")) {
      converted.members.emplace_back("structuredContent", *structured);
    }
    if (const Json* items = FindOfKind(*result, "content", kJsonArray)) {
      for (const Json& item : items->items) content.Add(item);
    }
  }
  content.MoveInto(converted);
  return converted;
}

Json ToolFailure(std::string_view text) {
  Json failure = Json::Object();
  failure.members.emplace_back("error", text);
  return failure;
}

}  // namespace wendra
