#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "OrvPlatform/AudioHardwareBackend.h"
#include "OrvPlatform/Export.h"

/// The machine's real audio devices, through a PipeWire server.
namespace orv {

/// Connects to the server of the session, and answers once its devices are known: a backend for `installAudioHardware`.
/// Null when there is no server, when it does not answer within `limit`, or when this build has no PipeWire; `problem`,
/// which may be null, then says why in one line of plain words.
///
/// The devices have the server's names for them as UIDs, and the same ID again whenever the process sees the same UID.
/// What records a sink, its monitor, is an input device of its own with `.monitor` behind the sink's UID. When the
/// server goes every device is gone; once it is back, so are they. Thread-safe.
ORV_API std::shared_ptr<AudioHardware> connectToPipeWire(std::chrono::milliseconds limit, std::string* problem);

}  // namespace orv
