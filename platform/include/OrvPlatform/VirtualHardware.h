#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "OrvPlatform/AudioHardwareBackend.h"
#include "OrvPlatform/ChannelLayout.h"

/// Audio hardware without a sound card: devices that are described in code or in a JSON file, with everything that real
/// ones have and every fault that they can have. For testing recording software on any machine, and for hearing it.
///
///   auto hardware = orv::VirtualHardware::make({.clock = orv::VirtualClock::byHand});
///   hardware->plug(orv::virtualStereoInterface());
///   orv::installAudioHardware(hardware);
///   …                       // start the host's recorder
///   hardware->step(100);    // a hundred cycles, on this thread's time
///   hardware->unplug(id);   // and now?
///
/// `docs/virtual-hardware.md` describes the JSON file.
namespace orv {

/// What makes the cycles go by.
enum class VirtualClock {
  realTime,        ///< the machine's clock
  accelerated,     ///< the machine's clock, faster by a factor
  asFastAsItGoes,  ///< no waiting: the next cycle begins when the procs have returned
  byHand,          ///< `step`
};

struct VirtualHardwareOptions {
  VirtualClock clock = VirtualClock::realTime;
  double acceleration = 1.0;  ///< for `accelerated`: seconds of audio a second, 0.001 to 1000000
};

/// A group of channels with formats in common.
struct VirtualStream {
  /// What the converter can do; linear PCM. A sample rate of 0 stands for every nominal rate of the device. The first
  /// is the one to begin with. All have the same number of channels.
  std::vector<AudioStreamBasicDescription> physicalFormats;
  std::uint32_t terminalType = 0;
};

/// Volume and mute of one channel; channel 0 is the master.
struct VirtualControl {
  std::uint32_t channel = 0;
  bool hasVolume = true;
  bool hasMute = true;
  float volume = 1.0F;  ///< scalar, 0.0 to 1.0
  bool isMuted = false;
  bool isWritable = true;
};

struct VirtualDataSource {
  std::uint32_t id = 0;  ///< not 0; a four-character code: 'line', 'imic'
  std::optional<std::string> name;
};

/// Where the input's samples come from.
struct VirtualInput {
  enum class Kind { silence, tone, files, loopback };
  Kind kind = Kind::silence;
  double toneHertz = 997.0;
  double toneLevel = 0.5;          ///< amplitude, 1.0 is full scale
  std::vector<std::string> files;  ///< played one after the other; any type and format that can be opened
  double gapSeconds = 2.0;         ///< silence between files
  bool repeats = false;            ///< from the begin again after the last file; otherwise silence follows
  std::string loopbackUID;         ///< the device whose output is heard, one cycle later
};

/// Where the output's samples go to.
struct VirtualOutput {
  std::optional<std::string> file;  ///< captured as 32-bit float AIFC or WAVE, by its name; otherwise discarded
};

/// The input or the output section of a device.
struct VirtualSection {
  std::vector<VirtualStream> streams;  ///< none: the device lacks this section
  std::vector<VirtualControl> controls;
  float quietestDecibels = -60.0F;  ///< volume range; scalar 0 is silence all the same
  float loudestDecibels = 0.0F;
  std::vector<VirtualDataSource> dataSources;
  std::uint32_t currentDataSource = 0;
  bool jackIsConnected = true;
  std::optional<std::uint32_t> preferredStereo[2];  ///< channel numbers; both or none
  std::vector<AudioChannelLabel> channelLabels;     ///< one for each channel, or none: no layout
  std::uint32_t latency = 0;                        ///< frames
  std::uint32_t safetyOffset = 0;                   ///< frames
};

struct VirtualDevice {
  AudioDeviceID id = 0;  ///< 0: one is given out
  std::string uid;
  std::optional<std::string> name;
  std::optional<std::string> manufacturer;
  FourCharCode transport = fourCC("virt");
  std::vector<AudioValueRange> nominalSampleRates = {{44100.0, 44100.0}, {48000.0, 48000.0}, {96000.0, 96000.0}};
  double nominalSampleRate = 44100.0;
  std::uint32_t bufferFrameSize = 512;
  AudioValueRange bufferFrameSizes = {16.0, 4096.0};
  bool canBeDefault = true;
  bool canBeSystemDefault = true;
  bool supportsMixing = true;
  bool hasPlayThru = false;  ///< the property 'thru' is writable, and the output then carries the input
  VirtualSection input;
  VirtualSection output;
  VirtualInput source;
  VirtualOutput sink;
};

/// A stereo interface, 44.1 kHz and more at 16 and 24 bits, in and out, with line and microphone sources.
ORV_API VirtualDevice virtualStereoInterface();
/// An interface of eight channels in and out.
ORV_API VirtualDevice virtualEightChannelInterface();
/// Six channels out, no input, with a layout.
ORV_API VirtualDevice virtualSixChannelOutput();

/// A fault that is to come about. Faults are kept by device and used up one by one, in the order in which they came.
struct VirtualFault {
  enum class Kind { start, stop, propertyRead, propertyWrite };
  Kind kind = Kind::start;
  OSStatus status = kAudioHardwareUnspecifiedError;
  AudioDevicePropertyID property = kAudioPropertyWildcardPropertyID;  ///< for property calls: which
  std::uint32_t times = 1;                                            ///< how often, 0: until `clearFaults`
};

/// The backend. Every operation is thread-safe. None is real-time safe unless it says so; where one is called from a
/// cycle all the same, it does not wait for that cycle: what it ends then ends with it.
class ORV_API VirtualHardware : public AudioHardware {
 public:
  ~VirtualHardware() override;
  static std::shared_ptr<VirtualHardware> make(const VirtualHardwareOptions& options = {});
  /// With the three default devices, the first of them being the default one.
  static std::shared_ptr<VirtualHardware> makeDefaultSet(const VirtualHardwareOptions& options = {});
  /// By a JSON text. Null, and one line in `*problem`, when the text is not understood as a whole.
  static std::shared_ptr<VirtualHardware> fromJSON(const std::string& text, std::string* problem);
  static std::shared_ptr<VirtualHardware> fromJSONFile(const std::string& path, std::string* problem);

  virtual VirtualClock clock() const = 0;

  /// Plugs a device in; the first that can be the default of its direction becomes it. Its ID is returned, 0 with one
  /// line in `*problem` (may be null) when the description makes no sense or the UID or ID is there already.
  virtual AudioDeviceID plug(const VirtualDevice& device, std::string* problem = nullptr) = 0;
  /// Takes a device away, in the middle of a cycle if need be: its cycles stop, its properties answer
  /// `kAudioHardwareBadDeviceError`. False when it is not there. Another becomes the default, if there is one.
  virtual bool unplug(AudioDeviceID device) = 0;
  /// One goes and one comes, told as one change. Returns as `plug`.
  virtual AudioDeviceID swap(AudioDeviceID device, const VirtualDevice& with, std::string* problem = nullptr) = 0;
  virtual AudioDeviceID deviceForUID(const std::string& uid) = 0;

  /// By hand: makes `cycles` cycles of every device that runs, one of each in the order of plugging and then the next
  /// one of each, on the calling thread, which counts as their I/O thread meanwhile. Returns how many cycles there were
  /// in all; none when it is called from a cycle.
  virtual std::size_t step(std::size_t cycles = 1) = 0;
  /// By hand: of this device only.
  virtual std::size_t stepDevice(AudioDeviceID device, std::size_t cycles = 1) = 0;
  /// Any clock: cycles of the device since it was plugged in. Real-time safe.
  virtual std::uint64_t cycles(AudioDeviceID device) = 0;

  /// What its input is fed from, and where its output goes to, from the next cycle on. False, and one line in
  /// `*problem`, when a file can't be opened.
  virtual bool setInput(AudioDeviceID device, const VirtualInput& source, std::string* problem = nullptr) = 0;
  virtual bool setOutput(AudioDeviceID device, const VirtualOutput& sink, std::string* problem = nullptr) = 0;
  /// Whether every file of the input has been delivered to its last frame.
  virtual bool inputIsAtEnd(AudioDeviceID device) = 0;

  virtual void addFault(AudioDeviceID device, const VirtualFault& fault) = 0;
  virtual void clearFaults(AudioDeviceID device) = 0;
  /// Tells an overload, and lets the next cycle begin a whole cycle too late: the sample time jumps.
  virtual void overload(AudioDeviceID device) = 0;
  /// From now on cycles begin up to so many nanoseconds too late, at random; 0 ends it.
  virtual void setJitter(AudioDeviceID device, std::uint64_t nanoseconds) = 0;
  /// How much faster than nominal the device's clock runs, in parts per million; the actual sample rate tells.
  virtual void setDrift(AudioDeviceID device, double partsPerMillion) = 0;
  /// As if somebody had turned a knob at the device: the change is told.
  virtual OSStatus setNominalSampleRate(AudioDeviceID device, double rate) = 0;
  virtual OSStatus setBufferFrameSize(AudioDeviceID device, std::uint32_t frames) = 0;
  virtual OSStatus setJack(AudioDeviceID device, bool isInput, bool isConnected) = 0;
};

}  // namespace orv
