#include "hardware/pipewire/io/DeviceLinks.h"

#include <algorithm>

#include "OrvPlatform/Log.h"
#include "hardware/pipewire/io/FilterNode.h"

namespace orv::pipewire {

struct DeviceLinks::Link {
  enum class State : std::uint8_t { underWay, up, failed };

  Link(DeviceLinks& owner, bool isOfInput) : links(owner), isInput(isOfInput) {}

  DeviceLinks& links;
  const bool isInput;
  pw_proxy* proxy = nullptr;
  spa_hook proxyHook{};
  spa_hook linkHook{};
  State state = State::underWay;

  void become(State next) {
    if (state != next) {
      state = next;
      links.listener_.linksChanged();
    }
  }
  void forget() {
    spa_hook_remove(&proxyHook);
    spa_hook_remove(&linkHook);
    proxy = nullptr;
  }
  void fail(const char* why) {
    if (state != State::failed) {
      logf("a channel stays silent, the server does not link it: %s", why != nullptr ? why : "no reason given");
      become(State::failed);
    }
  }

  static const pw_proxy_events& proxyEvents() {
    static const pw_proxy_events kEvents = [] {
      pw_proxy_events events = {};
      events.version = PW_VERSION_PROXY_EVENTS;
      events.removed = [](void* data) {
        auto& link = *static_cast<Link*>(data);
        link.links.remove(link);
      };
      // The connection may go before the links do.
      events.destroy = [](void* data) { static_cast<Link*>(data)->forget(); };
      events.error = [](void* data, int /*seq*/, int /*result*/, const char* message) {
        static_cast<Link*>(data)->fail(message);
      };
      return events;
    }();
    return kEvents;
  }
  static const pw_link_events& linkEvents() {
    static const pw_link_events kEvents = [] {
      pw_link_events events = {};
      events.version = PW_VERSION_LINK_EVENTS;
      events.info = [](void* data, const pw_link_info* info) {
        auto& link = *static_cast<Link*>(data);
        if (info->state == PW_LINK_STATE_ERROR) {
          link.fail(info->error);
        } else if (info->state >= PW_LINK_STATE_PAUSED) {
          link.become(State::up);
        }
      };
      return events;
    }();
    return kEvents;
  }
};

DeviceLinks::DeviceLinks(Listener& listener) : listener_(listener) {}

DeviceLinks::~DeviceLinks() {
  for (const auto& link : links_) {
    if (link->proxy != nullptr) {
      pw_proxy_destroy(link->proxy);
    }
  }
}

void DeviceLinks::make(pw_core* core, std::uint32_t filterNode, const DeviceIOSetup& setup) {
  const std::string filter = std::to_string(filterNode);
  const std::string input = std::to_string(setup.input.node);
  for (std::size_t channel = 0; channel < setup.input.ports.size(); ++channel) {
    add(core, true, {input, std::to_string(setup.input.ports[channel]), filter, FilterNode::portName(true, channel)});
  }
  const std::string output = std::to_string(setup.output.node);
  for (std::size_t channel = 0; channel < setup.output.ports.size(); ++channel) {
    add(core, false,
        {filter, FilterNode::portName(false, channel), output, std::to_string(setup.output.ports[channel])});
  }
}

/// `ends`: node and port that the link comes from, node and port that it goes to.
void DeviceLinks::add(pw_core* core, bool isInput, const std::string (&ends)[4]) {
  const spa_dict_item items[] = {{PW_KEY_LINK_OUTPUT_NODE, ends[0].c_str()},
                                 {PW_KEY_LINK_OUTPUT_PORT, ends[1].c_str()},
                                 {PW_KEY_LINK_INPUT_NODE, ends[2].c_str()},
                                 {PW_KEY_LINK_INPUT_PORT, ends[3].c_str()},
                                 {PW_KEY_OBJECT_LINGER, "false"}};
  const spa_dict properties = {0, sizeof items / sizeof *items, items};
  auto link = std::make_unique<Link>(*this, isInput);
  link->proxy = static_cast<pw_proxy*>(
      pw_core_create_object(core, "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &properties, 0));
  if (link->proxy == nullptr) {
    return;
  }
  pw_proxy_add_listener(link->proxy, &link->proxyHook, &Link::proxyEvents(), link.get());
  pw_proxy_add_object_listener(link->proxy, &link->linkHook, &Link::linkEvents(), link.get());
  links_.push_back(std::move(link));
}

/// A single channel that somebody has unlinked is silent from then on; one that was never linked was told already.
void DeviceLinks::remove(Link& link) {
  if (link.state == Link::State::failed) {
    return;
  }
  link.become(Link::State::failed);
  if (std::none_of(links_.begin(), links_.end(), [&](const auto& other) {
        return other->isInput == link.isInput && other->state != Link::State::failed;
      })) {
    listener_.sideGone();
  }
}

bool DeviceLinks::areSettled() const {
  return std::none_of(links_.begin(), links_.end(),
                      [](const auto& link) { return link->state == Link::State::underWay; });
}

bool DeviceLinks::isAnyUp() const {
  return std::any_of(links_.begin(), links_.end(), [](const auto& link) { return link->state == Link::State::up; });
}

}  // namespace orv::pipewire
