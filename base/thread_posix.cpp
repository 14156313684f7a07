#include <system_error>
#include <thread>
#include <utility>

#include "base/thread.h"

namespace wendra {

bool StartDetachedThread(std::function<void()> body) {
  try {
    std::thread(std::move(body)).detach();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

}  // namespace wendra
