#pragma once

#include <string>

#include "Picture.h"

namespace orv::cli {

/// Where things are in the picture, in pixels from its upper left corner.
///
///     header
///     ┌ band top: numbers and begins of the tracks
///     │ waveform lane
///     │ level lane
///     └ band bottom: time axis
///     legend
struct SvgLayout {
  static constexpr double kWidth = 1600;
  static constexpr double kHeight = 520;
  static constexpr double kPlotLeft = 50;
  static constexpr double kPlotRight = 1550;
  static constexpr double kHeaderBaseline = 25;
  static constexpr double kBandTop = 38;
  static constexpr double kNumberBaseline = 53;
  static constexpr double kTimeBaseline = 67;
  static constexpr double kWaveTop = 74;
  static constexpr double kWaveBottom = 254;
  static constexpr double kLevelTop = 276;
  static constexpr double kLevelBottom = 456;
  static constexpr double kBandBottom = 460;
  static constexpr double kAxisBaseline = 478;
  static constexpr double kLegendBaseline = 508;
};

/// A picture and its scales: time across, samples and levels upward.
class SvgPlot {
 public:
  /// `picture` must outlive the plot.
  explicit SvgPlot(const Picture& picture);

  const Picture& picture() const { return picture_; }
  double seconds() const { return seconds_; }  ///< that the recording lasts
  double secondsAt(std::uint64_t frame) const { return static_cast<double>(frame) / picture_.sampleRate; }
  double pixelsPerSecond() const;
  /// How much larger than life the waveform is drawn: powers of two, for what is quiet.
  double gain() const { return gain_; }
  double lowestLevel() const { return lowestLevel_; }  ///< dB at the bottom of the level lane; its top is 0 dB

  double x(std::uint64_t frame) const;
  double waveY(double sample) const;
  /// Levels outside the lane are drawn at its edge.
  double levelY(double level) const;

 private:
  const Picture& picture_;
  const double seconds_;
  const double gain_;
  const double lowestLevel_;
};

/// The waveform of all channels together, and the middle line.
std::string drawWaveform(const SvgPlot& plot);
/// The dB scale, and between the quietest and the loudest block of each column its levels; the noise floor over them.
std::string drawLevels(const SvgPlot& plot);
/// Cuts and doubtful places, with their confidence where they have one and where there is room.
std::string drawMarks(const SvgPlot& plot);

}  // namespace orv::cli
