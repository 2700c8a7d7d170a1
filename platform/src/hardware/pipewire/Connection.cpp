#include "hardware/pipewire/Connection.h"

#include <pipewire/pipewire.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace orv::pipewire {
namespace {

/// With the configuration that gives the I/O thread a real-time priority, where it is installed.
pw_context* makeContext(pw_loop* loop) {
  pw_context* const context = pw_context_new(loop, pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0);
  return context != nullptr ? context : pw_context_new(loop, nullptr, 0);
}

std::string errorText(int error) {
  return std::generic_category().message(error);
}

}  // namespace

Connection::Connection(Loop& loop, std::function<void()> lost) : loop_(loop), lost_(std::move(lost)) {}

Connection::~Connection() {
  close();
  if (context_ != nullptr) {
    pw_context_destroy(context_);
  }
}

bool Connection::open(std::string* problem) {
  if (context_ == nullptr) {
    context_ = makeContext(loop_.plain());
  }
  if (context_ == nullptr) {
    *problem = "PipeWire can't be used: " + errorText(errno);
    return false;
  }
  core_ = pw_context_connect(context_, pw_properties_new(PW_KEY_APP_NAME, "OrvCoreAudio", nullptr), 0);
  if (core_ == nullptr) {
    *problem = "no PipeWire server answers: " + errorText(errno);
    return false;
  }
  static constexpr pw_core_events kEvents = [] {
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.done = &Connection::onDone;
    events.error = &Connection::onError;
    return events;
  }();
  isLost_ = false;
  listener_ = {};
  pw_core_add_listener(core_, &listener_, &kEvents, this);
  return true;
}

void Connection::close() {
  waiting_.clear();
  if (core_ != nullptr) {
    spa_hook_remove(&listener_);
    pw_core_disconnect(std::exchange(core_, nullptr));
  }
}

void Connection::whenAnswered(std::function<void()> done) {
  if (core_ != nullptr) {
    waiting_[pw_core_sync(core_, PW_ID_CORE, 0)] = std::move(done);
  }
}

void Connection::onDone(void* self, std::uint32_t id, int sequence) {
  auto& connection = *static_cast<Connection*>(self);
  if (id != PW_ID_CORE) {
    return;
  }
  if (auto found = connection.waiting_.extract(sequence)) {
    found.mapped()();
  }
}

void Connection::onError(void* self, std::uint32_t id, int /*sequence*/, int result, const char* /*message*/) {
  auto& connection = *static_cast<Connection*>(self);
  if (id == PW_ID_CORE && result == -EPIPE && !std::exchange(connection.isLost_, true)) {
    connection.lost_();
  }
}

}  // namespace orv::pipewire
