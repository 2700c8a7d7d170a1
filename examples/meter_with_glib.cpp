// Meters the default input for a second in a GLib main loop, on virtual hardware that hears a tone. A desktop program
// adds the framework's main loop to its own like any other file descriptor.
//
//   meter_with_glib

#include <OrvCoreAudio/OrvAudioDevice.h>
#include <OrvCoreAudio/OrvVUMeterDataProvider.h>
#include <OrvPlatform/NotificationCenter.h>
#include <OrvPlatform/RunLoop.h>
#include <OrvPlatform/VirtualHardware.h>
#include <glib-unix.h>
#include <glib.h>

#include <cstdio>

namespace {

gboolean pump(gint /*descriptor*/, GIOCondition /*condition*/, gpointer /*data*/) {
  orv::RunLoop::main().pump();
  return G_SOURCE_CONTINUE;
}

gboolean quit(gpointer loop) {
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
  return G_SOURCE_REMOVE;
}

}  // namespace

int main() {
  const auto hardware = orv::VirtualHardware::make();
  orv::VirtualDevice interface = orv::virtualStereoInterface();
  interface.source.kind = orv::VirtualInput::Kind::tone;
  hardware->plug(interface);
  orv::installAudioHardware(hardware);

  const auto device = OrvAudioDevice::defaultInputDevice();
  if (device == nullptr) {
    std::fprintf(stderr, "there is no input\n");
    return 1;
  }
  int updates = 0;
  const auto observation = orv::NotificationCenter::defaultCenter().addObserver(
      OrvVUMeterDataProviderNewDataIsAvailableNotification, nullptr, [&](const orv::Notification&) { ++updates; });

  GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
  g_unix_fd_add(orv::RunLoop::main().fileDescriptor(), G_IO_IN, pump, nullptr);
  g_timeout_add(1000, quit, loop);
  const auto meter = device->inputVUMeterDataProvider();
  meter->start();
  g_main_loop_run(loop);
  meter->stop();
  g_main_loop_unref(loop);
  std::printf("%s: %s\n", device->name().value_or("?").c_str(), updates > 0 ? "metered" : "silent");
}
