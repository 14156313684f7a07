#include <string>

#include "json/json.h"
#include "json/path_stack.h"

namespace wendra {

namespace {

void WriteString(const std::string& s, std::string& out) {
  static const char* hex = "0123456789abcdef";
  out += '"';
  for (std::size_t i = 0; i < s.size(); ++i) {
    const char c = s[i];
    switch (c) {
      case '\b': out += "\\b"; break;
      case '\t': out += "\\t"; break;
      case '\n': out += "\\n"; break;
      case '\f': out += "\\f"; break;
      case '\r': out += "\\r"; break;
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          out += "\\u00";
          out += hex[c >> 4];
          out += hex[c & 15];
        } else if (s.size() - i >= 3 && (s.compare(i, 3, "\xE2\x80\xA8") == 0 || s.compare(i, 3, "\xE2\x80\xA9") == 0)) {
          out += s[i + 2] == '\xA8' ? "\\u2028" : "\\u2029";
          i += 2;
        } else {
          out += c;
        }
    }
  }
  out += '"';
}

struct Writing { const Json* container; std::size_t next; };

}  // namespace

void Serialize(const Json& value, std::string& out) {
  PathStack<Writing> open;
  const Json* at = &value;
  for (;;) {
    switch (at->kind) {
      case kJsonBool: out += at->boolean ? "true" : "false"; break;
      case kJsonNumber: out += at->text; break;
      case kJsonString: WriteString(at->text, out); break;
      case kJsonArray: out += '['; open.Push({at, 0}); break;
      case kJsonObject: out += '{'; open.Push({at, 0}); break;
      default: out += "null";
    }
    for (;;) {
      if (open.Empty()) return;
      Writing& w = open.Top();
      if (w.container->kind == kJsonArray) {
        if (w.next == w.container->items.size()) { out += ']'; open.Pop(); continue; }
        if (w.next) out += ',';
        at = &w.container->items[w.next++];
      } else {
        if (w.next == w.container->members.size()) { out += '}'; open.Pop(); continue; }
        if (w.next) out += ',';
        WriteString(w.container->members[w.next].first, out);
        out += ':';
        at = &w.container->members[w.next++].second;
      }
      break;
    }
  }
}

}  // namespace wendra
