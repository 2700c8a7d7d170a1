#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "OrvPlatform/AudioTypes.h"
#include "OrvPlatform/Export.h"
#include "OrvPlatform/Status.h"

/// Audio units: pieces that render audio when they are asked for it, and graphs of them.
///
///   render callback ─► unit ─► unit ─► whoever renders the last one
///                      (each pulls from the one before, at most a slice at a time)
///
/// There are two kinds: the converter unit ('aufc', 'conv'), which turns any format that the converter service knows
/// into any other, and the default output unit ('auou', 'def '), which plays on the default output device or on the one
/// that it is told: in each of the device's cycles it pulls what is due, converts it to the device's format where its
/// input has another one, and leaves it in the device's first stream. While it runs, nothing of it can be set.
///
/// Audio is interleaved: a list has one buffer. `mDataByteSize` is the room in it before a call and the bytes of audio
/// afterwards; what lies behind these, up to the frames asked for, is silence.
///
/// `kEndOfFileStatus` says that the audio ended: what was still inside comes first, the status with the render call
/// that runs out of it.

using AudioUnitPropertyID = std::uint32_t;
using AudioUnitScope = std::uint32_t;
using AudioUnitElement = std::uint32_t;
using AudioUnitRenderActionFlags = std::uint32_t;  ///< none is defined: 0

inline constexpr AudioUnitScope kAudioUnitScope_Global = 0;
inline constexpr AudioUnitScope kAudioUnitScope_Input = 1;
inline constexpr AudioUnitScope kAudioUnitScope_Output = 2;

/// AudioStreamBasicDescription of an input or output. Setting it on an initialized unit starts the unit afresh.
inline constexpr AudioUnitPropertyID kAudioUnitProperty_StreamFormat = 8;
/// uint32, global: frames that the unit pulls at once at most. 1 to `kMostFramesPerSlice`.
inline constexpr AudioUnitPropertyID kAudioUnitProperty_MaximumFramesPerSlice = 14;
/// AURenderCallbackStruct, input: where the input comes from. Takes the place of a connection.
inline constexpr AudioUnitPropertyID kAudioUnitProperty_SetRenderCallback = 23;
/// uint32, global: quality of the resampling, 0 to 127 as the converter's. Setting it starts the resampler afresh.
inline constexpr AudioUnitPropertyID kAudioUnitProperty_SampleRateConverterQuality = orv::fourCC("srcq");
/// AudioDeviceID, global, of the output unit: the device to play on. Until it is set, the default one.
inline constexpr AudioUnitPropertyID kAudioOutputUnitProperty_CurrentDevice = 2000;
/// uint32, global, of the output unit: whether it was started, not stopped since, and its device is there.
inline constexpr AudioUnitPropertyID kAudioOutputUnitProperty_IsRunning = 2001;
/// double, input of the output unit: the device's nominal sample rate.
inline constexpr AudioUnitPropertyID kAudioUnitProperty_NominalSampleRate = orv::fourCC("nsrt");

inline constexpr std::uint32_t kMostFramesPerSlice = 8192;

inline constexpr OSStatus kAudioUnitErr_InvalidProperty = orv::statusCC("prop");
inline constexpr OSStatus kAudioUnitErr_InvalidPropertyValue = orv::statusCC("!siz");  ///< of the wrong size, or range
inline constexpr OSStatus kAudioUnitErr_InvalidParameter = orv::statusCC("parm");  ///< no such bus, no room, no unit
inline constexpr OSStatus kAudioUnitErr_FormatNotSupported = orv::statusCC("fmt?");
inline constexpr OSStatus kAudioUnitErr_Uninitialized = orv::statusCC("unin");
inline constexpr OSStatus kAudioUnitErr_NoConnection = orv::statusCC("ncon");  ///< nothing to pull from
inline constexpr OSStatus kAudioUnitErr_OperationNotSupported = orv::statusCC("op??");
inline constexpr OSStatus kAudioUnitErr_ComponentNotFound = orv::statusCC("comp");
inline constexpr OSStatus kAUGraphErr_NodeNotFound = orv::statusCC("node");
inline constexpr OSStatus kAUGraphErr_GraphNotOpen = orv::statusCC("open");
inline constexpr OSStatus kAUGraphErr_InvalidConnection = orv::statusCC("cycl");  ///< audio would go round in a circle

/// Says which kind of unit is meant. Where one is looked for, 0 stands for anything.
struct ComponentDescription {
  FourCharCode componentType;
  FourCharCode componentSubType;
  FourCharCode componentManufacturer;
  std::uint32_t componentFlags;      ///< 0
  std::uint32_t componentFlagsMask;  ///< 0
};

inline constexpr FourCharCode kAudioUnitType_FormatConverter = orv::fourCC("aufc");
inline constexpr FourCharCode kAudioUnitSubType_Converter = orv::fourCC("conv");
inline constexpr FourCharCode kAudioUnitType_Output = orv::fourCC("auou");
inline constexpr FourCharCode kAudioUnitSubType_DefaultOutput = orv::fourCC("def ");
inline constexpr FourCharCode kAudioUnitManufacturer = orv::fourCC("appl");

/// Supplies `frames` frames, by filling the list's buffer or by pointing it elsewhere; memory that it is pointed at
/// must last until the next call. May supply less, in whole packets; nothing at all is the end of the audio, with or
/// without `kEndOfFileStatus`.
using AURenderCallback = OSStatus (*)(void* refCon, AudioUnitRenderActionFlags* flags, const AudioTimeStamp* timeStamp,
                                      std::uint32_t bus, std::uint32_t frames, AudioBufferList* data);

struct AURenderCallbackStruct {
  AURenderCallback inputProc;
  void* inputProcRefCon;
};

namespace orv {

/// One audio unit. One thread at a time.
class ORV_API RenderUnit {
 public:
  RenderUnit() = default;
  RenderUnit(const RenderUnit&) = delete;
  RenderUnit& operator=(const RenderUnit&) = delete;
  virtual ~RenderUnit();

  /// Makes ready to render, by the formats that were set. Does nothing when it is done already. Not real-time safe.
  virtual OSStatus initialize() = 0;
  virtual OSStatus uninitialize() = 0;

  /// `*size`: capacity of `data` in bytes, then bytes filled in.
  virtual OSStatus property(AudioUnitPropertyID property, AudioUnitScope scope, AudioUnitElement element, void* data,
                            std::uint32_t* size) = 0;
  virtual OSStatus setProperty(AudioUnitPropertyID property, AudioUnitScope scope, AudioUnitElement element,
                               const void* data, std::uint32_t size) = 0;

  /// From now on input `element` comes from output `bus` of `source`, which must outlive the connection; null ends it.
  /// Takes the place of a render callback.
  virtual OSStatus connect(AudioUnitElement element, RenderUnit* source, std::uint32_t bus) = 0;

  /// Renders `frames` frames of output `bus`, any number of them. Statuses of the input are passed on, and what is
  /// missing is silence. A unit that can't render leaves the samples alone and sets the buffer's size to 0.
  virtual OSStatus render(AudioUnitRenderActionFlags* flags, const AudioTimeStamp& timeStamp, std::uint32_t bus,
                          std::uint32_t frames, AudioBufferList* data) = 0;

  /// Units that pull by themselves begin and end here; the others have nothing to do.
  virtual OSStatus start();
  virtual OSStatus stop();
};

/// Makes audio units. A host or a test may install its own. Thread-safe.
class ORV_API AudioUnitService {
 public:
  virtual ~AudioUnitService();
  /// What there is, constant while the service is installed.
  virtual std::vector<ComponentDescription> components() const = 0;
  /// Makes the unit at `index` of `components`.
  virtual OSStatus make(std::size_t index, std::unique_ptr<RenderUnit>* unit) = 0;
};

/// The audio unit service in force. Thread-safe.
ORV_API std::shared_ptr<AudioUnitService> audioUnitService();
/// Installs a service and returns the one before. Null restores the built-in one. Thread-safe.
ORV_API std::shared_ptr<AudioUnitService> installAudioUnitService(std::shared_ptr<AudioUnitService> service);

class AudioUnitGraph;

}  // namespace orv

/// Handle of a kind of unit; 0 is none. Valid while the service that it came from is installed.
using Component = std::uintptr_t;
/// Handle of a unit; owned by its graph, or by whoever opened it until `CloseComponent`.
using AudioUnit = orv::RenderUnit*;
/// Handle of a graph; owned by whoever made it until `DisposeAUGraph`. One thread at a time.
using AUGraph = orv::AudioUnitGraph*;
/// A node of a graph, from 1 on.
using AUNode = std::int32_t;

// Null handles are answered with `kAudioUnitErr_InvalidParameter`. What a host's own service throws becomes one log
// line and `kAudioUnitErr_OperationNotSupported`.
extern "C" {

/// The next component behind `previous` (0: the first) that fits the description; 0 when there is none.
ORV_API Component FindNextComponent(Component previous, const ComponentDescription* description);
ORV_API OSStatus OpenAComponent(Component component, AudioUnit* unit);
ORV_API OSStatus CloseComponent(AudioUnit unit);

ORV_API OSStatus AudioUnitInitialize(AudioUnit unit);
ORV_API OSStatus AudioUnitUninitialize(AudioUnit unit);
ORV_API OSStatus AudioUnitGetProperty(AudioUnit unit, AudioUnitPropertyID property, AudioUnitScope scope,
                                      AudioUnitElement element, void* data, std::uint32_t* size);
ORV_API OSStatus AudioUnitSetProperty(AudioUnit unit, AudioUnitPropertyID property, AudioUnitScope scope,
                                      AudioUnitElement element, const void* data, std::uint32_t size);
/// `flags` may be null.
ORV_API OSStatus AudioUnitRender(AudioUnit unit, AudioUnitRenderActionFlags* flags, const AudioTimeStamp* timeStamp,
                                 std::uint32_t bus, std::uint32_t frames, AudioBufferList* data);

ORV_API OSStatus NewAUGraph(AUGraph* graph);
/// Makes the units of all nodes. Nodes that are added to an open graph get theirs at once.
ORV_API OSStatus AUGraphOpen(AUGraph graph);
ORV_API OSStatus AUGraphNewNode(AUGraph graph, const ComponentDescription* description, AUNode* node);
/// `description` and `unit` may be null. The unit of a graph that is not open is null.
ORV_API OSStatus AUGraphGetNodeInfo(AUGraph graph, AUNode node, ComponentDescription* description, AudioUnit* unit);
/// Input `input` of `destination` is to come from output `output` of `source`. Takes effect with `AUGraphUpdate` or
/// `AUGraphInitialize`; the destination's input then also takes on the format of the source's output.
ORV_API OSStatus AUGraphConnectNodeInput(AUGraph graph, AUNode source, std::uint32_t output, AUNode destination,
                                         std::uint32_t input);
ORV_API OSStatus AUGraphUpdate(AUGraph graph);
ORV_API OSStatus AUGraphInitialize(AUGraph graph);
ORV_API OSStatus AUGraphUninitialize(AUGraph graph);
ORV_API OSStatus AUGraphStart(AUGraph graph);
ORV_API OSStatus AUGraphStop(AUGraph graph);
ORV_API OSStatus AUGraphIsRunning(AUGraph graph, bool* isRunning);
/// Stops the graph and disposes of its units; the nodes stay.
ORV_API OSStatus AUGraphClose(AUGraph graph);
ORV_API OSStatus DisposeAUGraph(AUGraph graph);

}  // extern "C"
