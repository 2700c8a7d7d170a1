extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <cstring>

#include "kernels/SamplePeer.h"

namespace orv::bench {
namespace {

using simd::SampleContainer;
using simd::SampleLayout;
using simd::SampleOrder;

/// The codec for bytes in a file, and the native container its samples have.
struct Codec {
  AVCodecID id = AV_CODEC_ID_NONE;
  SampleContainer native = SampleContainer::int16;
};

Codec codecFor(const SampleLayout& layout) {
  const bool isBig = layout.order == SampleOrder::swapped;
  const bool isFull = isFloat(layout.container) || layout.bits == 8 * simd::bytesOf(layout.container);
  if (!isFull) {
    return {};
  }
  switch (layout.container) {
    case SampleContainer::int8:
      return {layout.isUnsigned ? AV_CODEC_ID_PCM_U8 : AV_CODEC_ID_PCM_S8, SampleContainer::int8};
    case SampleContainer::int16:
      return {isBig ? AV_CODEC_ID_PCM_S16BE : AV_CODEC_ID_PCM_S16LE, SampleContainer::int16};
    case SampleContainer::int24:
      return {isBig ? AV_CODEC_ID_PCM_S24BE : AV_CODEC_ID_PCM_S24LE, SampleContainer::int32};
    case SampleContainer::int32:
      return {isBig ? AV_CODEC_ID_PCM_S32BE : AV_CODEC_ID_PCM_S32LE, SampleContainer::int32};
    case SampleContainer::float32:
      return {isBig ? AV_CODEC_ID_PCM_F32BE : AV_CODEC_ID_PCM_F32LE, SampleContainer::float32};
    case SampleContainer::float64:
      return {isBig ? AV_CODEC_ID_PCM_F64BE : AV_CODEC_ID_PCM_F64LE, SampleContainer::float64};
  }
  return {};
}

AVSampleFormat sampleFormat(SampleContainer container) {
  constexpr AVSampleFormat kFormats[simd::kSampleContainers] = {
      AV_SAMPLE_FMT_U8, AV_SAMPLE_FMT_S16, AV_SAMPLE_FMT_NONE, AV_SAMPLE_FMT_S32, AV_SAMPLE_FMT_FLT, AV_SAMPLE_FMT_DBL};
  return kFormats[static_cast<std::size_t>(container)];
}

/// A codec at work, with a packet and a frame to pass to and fro.
struct Session {
  AVCodecContext* context = nullptr;
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();

  explicit Session(const AVCodec* codec) : context(avcodec_alloc_context3(codec)) {
    const AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
    av_channel_layout_copy(&context->ch_layout, &stereo);
    context->sample_rate = 44100;
    context->time_base = {1, 44100};
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() {
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&context);
  }

  void open(const AVCodec* codec) {
    if (avcodec_open2(context, codec, nullptr) < 0) {
      fail("libavcodec refuses the codec");
    }
  }
};

PeerRun decoderRun(const Conversion& conversion, AVCodecID id) {
  const AVCodec* const codec = avcodec_find_decoder(id);
  const auto session = std::make_shared<Session>(codec);
  session->open(codec);
  if (av_new_packet(session->packet, static_cast<int>(conversion.input.size())) < 0) {
    fail("no memory for a packet");
  }
  std::memcpy(session->packet->data, conversion.input.data(), conversion.input.size());
  return [session] {
    if (avcodec_send_packet(session->context, session->packet) < 0 ||
        avcodec_receive_frame(session->context, session->frame) < 0) {
      fail("libavcodec does not decode");
    }
  };
}

PeerRun encoderRun(const Conversion& conversion, AVCodecID id) {
  const AVCodec* const codec = avcodec_find_encoder(id);
  const auto session = std::make_shared<Session>(codec);
  session->context->sample_fmt = sampleFormat(conversion.from.container);
  session->open(codec);
  AVFrame* const frame = session->frame;
  frame->format = session->context->sample_fmt;
  frame->sample_rate = 44100;
  frame->nb_samples = static_cast<int>(conversion.count / 2);
  av_channel_layout_copy(&frame->ch_layout, &session->context->ch_layout);
  if (av_frame_get_buffer(frame, 0) < 0) {
    fail("no memory for a frame");
  }
  std::memcpy(frame->data[0], conversion.input.data(), conversion.input.size());
  return [session] {
    if (avcodec_send_frame(session->context, session->frame) < 0 ||
        avcodec_receive_packet(session->context, session->packet) < 0) {
      fail("libavcodec does not encode");
    }
    av_packet_unref(session->packet);
  };
}

}  // namespace

PeerRun avcodecRun(const Conversion& conversion) {
  const Codec decoder = codecFor(conversion.from);
  const Codec encoder = codecFor(conversion.to);
  if (isNative(conversion.to) && decoder.id != AV_CODEC_ID_NONE && decoder.native == conversion.to.container) {
    return decoderRun(conversion, decoder.id);
  }
  if (isNative(conversion.from) && encoder.id != AV_CODEC_ID_NONE && encoder.native == conversion.from.container) {
    return encoderRun(conversion, encoder.id);
  }
  return {};
}

}  // namespace orv::bench
