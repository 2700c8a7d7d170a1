#include "NodeMaker.h"

#include <pipewire/pipewire.h>

namespace orv::test {
namespace {

/// A client that asks for one node, waits for the answer, and leaves.
class Client {
 public:
  Client() {
    pw_init(nullptr, nullptr);
    loop_ = pw_main_loop_new(nullptr);
    context_ = pw_context_new(pw_main_loop_get_loop(loop_), nullptr, 0);
    core_ = pw_context_connect(context_, nullptr, 0);
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
  ~Client() {
    if (node_ != nullptr) {
      pw_proxy_destroy(node_);
    }
    pw_context_destroy(context_);
    pw_main_loop_destroy(loop_);
  }

  bool make(pw_properties* properties) {
    if (core_ == nullptr) {
      return false;
    }
    node_ = static_cast<pw_proxy*>(
        pw_core_create_object(core_, "adapter", PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, &properties->dict, 0));
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.done = [](void* self, std::uint32_t /*id*/, int sequence) {
      auto& client = *static_cast<Client*>(self);
      if (sequence == client.question_) {
        client.isAnswered_ = true;
        pw_main_loop_quit(client.loop_);
      }
    };
    events.error = [](void* self, std::uint32_t /*id*/, int /*sequence*/, int /*result*/, const char* /*message*/) {
      pw_main_loop_quit(static_cast<Client*>(self)->loop_);
    };
    spa_hook listener{};
    pw_core_add_listener(core_, &listener, &events, this);
    question_ = pw_core_sync(core_, PW_ID_CORE, 0);
    pw_main_loop_run(loop_);
    spa_hook_remove(&listener);
    return isAnswered_;
  }

 private:
  pw_main_loop* loop_ = nullptr;
  pw_context* context_ = nullptr;
  pw_core* core_ = nullptr;
  pw_proxy* node_ = nullptr;  // the node itself stays when this goes
  int question_ = 0;
  bool isAnswered_ = false;
};

}  // namespace

bool addNodeWithBytes(const std::string& name, const std::string& description) {
  pw_properties* const properties =
      pw_properties_new(PW_KEY_FACTORY_NAME, "support.null-audio-sink", PW_KEY_MEDIA_CLASS, "Audio/Source/Virtual",
                        "audio.position", "[ FL FR ]", PW_KEY_OBJECT_LINGER, "true", "adapter.auto-port-config",
                        "{ mode = dsp monitor = true position = preserve }", nullptr);
  pw_properties_set(properties, PW_KEY_NODE_NAME, name.c_str());
  pw_properties_set(properties, PW_KEY_NODE_DESCRIPTION, description.c_str());
  const bool isMade = Client().make(properties);
  pw_properties_free(properties);
  return isMade;
}

}  // namespace orv::test
