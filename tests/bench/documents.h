// Makes JSON documents like those that the program reads and writes. They are the same in each run.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace wendra {

// Ten requests of a page, each of another kind and below 300 bytes.
std::vector<std::string> SmallBridgeRequests();

// A page's request with a file of about `bytes` bytes as one string. The file is program text, with
// line breaks, tabs, quotes and backslashes to escape, or base64, with nothing to escape.
std::string SourceFileRequest(std::size_t bytes);
std::string Base64FileRequest(std::size_t bytes);

// The response of an MCP server that lists `tools` tools, each with its description and schema.
std::string ToolsListResult(std::size_t tools);

// About `bytes` bytes of coordinates, counters and measurements: short integers, short decimals,
// and doubles with all their 17 digits.
std::string NumbersDocument(std::size_t bytes);

// About `bytes` bytes of records with many short strings.
std::string ShortStringsDocument(std::size_t bytes);

// The same as ToolsListResult, indented by two spaces on many lines.
std::string IndentedToolsListResult(std::size_t tools);

}  // namespace wendra
