#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/AudioConverter.h"
#include "OrvPlatform/AudioUnit.h"

/// Supplies the source audio of a converter that is asked for output. Called on the thread that asks.
class ORV_API OrvAudioConverterDelegate {
 public:
  virtual ~OrvAudioConverterDelegate();

  /// `*numPackets`: packets wanted, then packets supplied. The audio is put into the list's buffer, or the buffer is
  /// pointed at it; that memory must last until the next call. The buffer's byte size says how much it is.
  /// `packetDescriptions` is null. `kEndOfFileStatus` when the audio has ended.
  virtual OSStatus audioConverterCallback_data_packetDescription(std::uint32_t* numPackets, AudioBufferList* data,
                                                                 AudioStreamPacketDescription** packetDescriptions) = 0;
};

/// Converts audio from one stream format to another: buffer to buffer, or pulled through a graph of two units.
///
///   convertBuffer:      input ─► platform converter ─► output
///   fillComplexBuffer:  delegate ─► source format to internal format ─► internal to destination format ─► caller
///
/// The two ways have nothing to do with each other: each keeps its own state. The internal format is that of the
/// default output unit, at the rate and with the channels of the source, and in 64-bit floats where 32 bits would not
/// hold every sample.
///
/// One thread at a time. Sizes are bytes.
class ORV_API OrvAudioConverter : public OrvObject, public OrvAudioConverterDelegate {
 public:
  /// Null when the pair of formats can't be converted, or one is missing.
  static std::shared_ptr<OrvAudioConverter> initWithSourceFormat_destinationFormat(
      std::shared_ptr<OrvAudioStreamBasicDescription> source,
      std::shared_ptr<OrvAudioStreamBasicDescription> destination);
  /// The same with a delegate, which is kept alive. One that is no `OrvAudioConverterDelegate` is never asked.
  static std::shared_ptr<OrvAudioConverter> initWithDelegate_sourceFormat_destinationFormat(
      std::shared_ptr<OrvObject> delegate, std::shared_ptr<OrvAudioStreamBasicDescription> source,
      std::shared_ptr<OrvAudioStreamBasicDescription> destination);
  ~OrvAudioConverter() override;

  /// @name Buffer to buffer
  /// The platform's handle, owned by this object.
  AudioConverterRef converter() const { return audioConverter; }

  /// Converts all of the input. `*outputBufferSize`: capacity, then bytes produced. A null input or output is logged
  /// and answered with 0, nothing done. Otherwise the platform's status; a failure is logged.
  OSStatus convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(const void* input, std::uint32_t inputSize,
                                                                       void* output, std::uint32_t* outputSize);
  /// Delivers what the resampler still holds at the end of a stream, until it produces 0 bytes. Without it the last
  /// milliseconds of a stream whose rate is converted are missing.
  OSStatus drainIntoBuffer_outputBufferSize(void* output, std::uint32_t* outputSize);

  /// 0 where it can't be read.
  std::uint32_t minimumInputBufferSize() const;
  std::uint32_t minimumOutputBufferSize() const;
  /// Input bytes that yield `outputSize` bytes; `outputSize` itself where that can't be read.
  std::uint32_t calculateInputBufferSize(std::uint32_t outputSize) const;
  /// Output bytes that `inputSize` bytes yield at most; `inputSize` itself where that can't be read.
  std::uint32_t calculateOutputBufferSize(std::uint32_t inputSize) const;

  /// 0 (fastest) to 127 (best). Of the buffer to buffer way; setting it sets it for both.
  std::uint32_t sampleRateConverterQuality() const;
  void setSampleRateConverterQuality(std::uint32_t quality);
  /// Sets the quality of the buffer to buffer way to 0 and hands nothing to the converter: linear PCM has no cookie.
  void setMagicCookie_length(const void* cookie, std::uint32_t length);
  /// Forgets all that was converted buffer to buffer.
  void reset();

  /// @name Pulled from the delegate
  /// Delivers `*numFrames` frames in the destination format, any number of them, into the one buffer of the list, which
  /// must have room for them. The delegate is asked for the source, at most 8192 frames at a time, in packets. At its
  /// `kEndOfFileStatus` what the resampler still holds is delivered; what is missing then is silence, and the status is
  /// passed on. Other statuses of the delegate likewise. `*numFrames` and the packet descriptions stay as they are.
  /// A list without room is `kAudioUnitErr_InvalidParameter`, and nothing delivered.
  OSStatus fillComplexBuffer_buffer_packetDescription(const std::uint32_t* numFrames, AudioBufferList* data,
                                                      AudioStreamPacketDescription* packetDescriptions);
  /// How many of the frames that the last fill delivered are audio; those behind them are silence.
  std::uint32_t framesFilled() const { return framesFilled_; }
  /// Renders the unit that takes the source: the source at its own rate, in the internal format.
  OSStatus render_numberFrames_ioData(const AudioTimeStamp* timeStamp, std::uint32_t numberFrames,
                                      AudioBufferList* ioData);
  /// Asks the delegate for `numFrames` frames in whole packets. For the graph.
  OSStatus audioUnitCallback_timeStamp_busNumber_numFrames_data(AudioUnitRenderActionFlags* flags,
                                                                const AudioTimeStamp* timeStamp,
                                                                std::uint32_t busNumber, std::uint32_t numFrames,
                                                                AudioBufferList* data);
  /// Passes the question on to the delegate; without one 0, and nothing done.
  OSStatus audioConverterCallback_data_packetDescription(std::uint32_t* numPackets, AudioBufferList* data,
                                                         AudioStreamPacketDescription** packetDescriptions) override;

  std::string description() const override;

  /// Logs one line that names the status.
  static void printOSStatusCode(OSStatus status);

 protected:
  OrvAudioConverter() = default;

 private:
  std::uint32_t property(AudioConverterPropertyID propertyID, std::uint32_t value) const;
  void setBufferQuality(std::uint32_t quality);

  OSStatus setupGraph();
  OSStatus makeGraph();
  void setupInternalStreamFormat();
  OSStatus setupAudioFormats();
  OSStatus connectAudioUnits();

  AudioConverterRef audioConverter = nullptr;
  std::shared_ptr<OrvAudioStreamBasicDescription> mSourceFormat;
  std::shared_ptr<OrvAudioStreamBasicDescription> mDestinationFormat;
  AudioStreamBasicDescription mAUSourceFormat{};
  AudioStreamBasicDescription mAUDestinationFormat{};
  AudioStreamBasicDescription mAUInternalFormat{};
  AUGraph mGraph = nullptr;
  AudioUnit mInputUnit = nullptr;  ///< owned by the graph, like the other one
  AUNode mInputNode = 0;
  AudioUnit mOutputUnit = nullptr;
  AUNode mOutputNode = 0;
  std::shared_ptr<OrvObject> mDelegate;
  OrvAudioConverterDelegate* delegateToAsk_ = nullptr;  ///< mDelegate, where it can be asked
  std::uint32_t framesFilled_ = 0;
};
