// How the threads of an MCP server hand what they receive over to the UI thread.
#pragma once

#include <cstdint>
#include <string>

namespace wendra {

// Names one connection to a server. Never used twice: a message for a connection that is gone is
// dropped.
enum class ServerId : std::uint64_t {};

// The HTTP status of a message to a remote server.
struct PostStatus {
  std::uint32_t status = 0;    // 0: there is no status and none will come
  bool sessionIsOver = false;  // the server does not know the session any more
  bool isAwaited = false;      // the message was sent with OutgoingMessage::reportsStatus
};

// The Deliver functions wait while the queue of the UI thread is full, so only worker threads may
// call them. The deliveries of one thread keep their order. False: the UI thread takes no messages
// any more.
class Inbox {
 public:
  virtual ~Inbox() = default;

  // One message of the server: JSON text.
  virtual bool DeliverText(ServerId server, std::string text) = 0;

  // The same without waiting, for any thread. False: the text was dropped, since the queue is full
  // or the UI thread takes no messages any more.
  virtual bool PostText(ServerId server, std::string text) = 0;

  // The output of a local server has ended.
  virtual bool DeliverClosed(ServerId server) = 0;

  virtual bool DeliverStatus(ServerId server, PostStatus status) = 0;
};

}  // namespace wendra
