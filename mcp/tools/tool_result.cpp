#include "mcp/tools/tool_result.h"

#include <string>
#include <utility>

namespace wendra {
namespace {

Json* FindOfKind(Json& object, std::string_view key, std::uint32_t kind) {
  Json* value = object.Find(key);
  return value && value->kind == kind ? value : nullptr;
}

Json* FindString(Json& object, std::string_view key) {
  return FindOfKind(object, key, kJsonString);
}

// The text pieces and pictures of a result, in the order of its content. Takes texts out of the
// items, for they can be long.
class Content {
 public:
  void Add(Json& item) {
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

  void AddPiece(std::string piece) {
    if (hasText_) {
      text_.append(1, '\n').append(piece);
    } else {
      text_ = std::move(piece);
    }
    hasText_ = true;
  }

  void AddPicture(std::string mimeType, std::string base64) {
    Json image = Json::Object();
    image.members.emplace_back("mimeType", std::move(mimeType));
    image.members.emplace_back("data", std::move(base64));
    images_.items.push_back(std::move(image));
  }

  void AddText(Json& item) {
    if (Json* text = FindString(item, "text")) AddPiece(std::move(text->text));
  }

  void AddImage(Json& item) {
    Json* data = FindString(item, "data");
    if (!data) return AddPiece("[image content could not be attached]");
    const Json* mimeType = FindString(item, "mimeType");
    AddPicture(IsImage(mimeType) ? mimeType->text : "image/png", std::move(data->text));
  }

  void AddResource(Json& item) {
    Json* resource = item.Find("resource");
    if (!resource) return AddPiece("[resource content]");
    if (Json* text = FindString(*resource, "text")) return AddPiece(std::move(text->text));
    Json* blob = FindString(*resource, "blob");
    if (!blob) return AddPiece("[resource content]");
    const Json* mimeType = FindString(*resource, "mimeType");
    if (IsImage(mimeType)) return AddPicture(mimeType->text, std::move(blob->text));
    AddPiece("[binary resource: " + (mimeType ? mimeType->text : "unknown type") + "]");
  }

  void AddLink(Json& item) {
    const Json* name = FindString(item, "name");
    if (name && name->text.empty()) name = nullptr;
    const Json* shown = name ? name : FindString(item, "uri");
    AddPiece("[resource link: " + (shown ? shown->text : "unknown") + "]");
  }

  std::string text_;
  bool hasText_ = false;  // an empty piece counts too
  Json images_ = Json::Array();
};

std::string_view FailureText(Json& error) {
  const Json* message = FindString(error, "message");
  return message ? std::string_view(message->text) : "MCP call failed";
}

}  // namespace

Json ToolResult(Json reply) {
  if (Json* error = reply.Find("error")) return ToolFailure(FailureText(*error));
  Json converted = Json::Object();
  Content content;
  if (Json* result = reply.Find("result")) {
    const Json* isError = FindOfKind(*result, "isError", kJsonBool);
    if (isError && isError->boolean) converted.members.emplace_back("isError", Json(true));
    if (Json* structured = result->Find("structuredContent")) {
      converted.members.emplace_back("structuredContent", std::move(*structured));
    }
    if (Json* items = FindOfKind(*result, "content", kJsonArray)) {
      for (Json& item : items->items) content.Add(item);
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
