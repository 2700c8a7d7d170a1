extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

#include "kernels/SamplePeer.h"

namespace orv::bench {
namespace {

AVSampleFormat sampleFormat(const simd::SampleLayout& layout) {
  switch (layout.container) {
    case simd::SampleContainer::int8:
      return AV_SAMPLE_FMT_U8;
    case simd::SampleContainer::int16:
      return AV_SAMPLE_FMT_S16;
    case simd::SampleContainer::int32:
      return AV_SAMPLE_FMT_S32;
    case simd::SampleContainer::float32:
      return AV_SAMPLE_FMT_FLT;
    case simd::SampleContainer::float64:
      return AV_SAMPLE_FMT_DBL;
    case simd::SampleContainer::int24:
      break;
  }
  return AV_SAMPLE_FMT_NONE;
}

/// A converter of stereo at one rate.
std::shared_ptr<SwrContext> contextBetween(AVSampleFormat from, AVSampleFormat to) {
  AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
  SwrContext* context = nullptr;
  if (swr_alloc_set_opts2(&context, &stereo, to, 44100, &stereo, from, 44100, 0, nullptr) < 0 ||
      swr_init(context) < 0) {
    fail("libswresample refuses the formats");
  }
  return {context, [](SwrContext* made) { swr_free(&made); }};
}

}  // namespace

PeerRun swresampleRun(const Conversion& conversion) {
  if (!isNative(conversion.from) || !isNative(conversion.to)) {
    return {};
  }
  const auto context = contextBetween(sampleFormat(conversion.from), sampleFormat(conversion.to));
  const auto output = std::make_shared<std::vector<std::uint8_t>>(conversion.outputBytes() + 64);
  const auto frames = static_cast<int>(conversion.count / 2);
  return [context, output, frames, &conversion] {
    const std::uint8_t* from = conversion.input.data();
    std::uint8_t* to = output->data();
    if (swr_convert(context.get(), &to, frames, &from, frames) != frames) {
      fail("libswresample converts another number of frames");
    }
  };
}

}  // namespace orv::bench
