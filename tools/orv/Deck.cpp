#include "Deck.h"

#include <algorithm>
#include <cmath>

#include "Failure.h"
#include "OrvCoreAudio/OrvAUAudioPlayer.h"
#include "OrvCoreAudio/OrvAudioPlayer.h"
#include "RangeOptions.h"

namespace orv::cli {
namespace {

template <typename Player>
std::shared_ptr<Player> made(std::shared_ptr<Player> player) {
  return player != nullptr ? player : throw Failure("out of memory");
}

class DirectDeck final : public Deck {
 public:
  DirectDeck(const std::shared_ptr<OrvAudioDevice>& device, const std::string& path, std::optional<double> decibels)
      : player_(made(OrvAudioPlayer::initWithAudioDevice_pathToFile(device, path))) {
    player_->setVolumeControl(volumeFor(decibels));
    player_->setNotificationInterval(0);
  }

  bool play(std::uint32_t from, std::uint32_t to) override { return player_->playExactlyFromFrame_endFrame(from, to); }
  void stop() override { player_->stop(); }
  bool isPlaying() const override { return player_->isPlaying(); }
  std::uint32_t position() const override { return player_->exactFrameOffset(); }
  bool wasComplete(std::uint32_t /*to*/) const override { return player_->missingFrames() == 0; }
  std::uint64_t lateCycles() const override { return player_->lateCycles(); }
  bool isAhead() const noexcept override { return player_->isConvertedAhead(); }

 private:
  const std::shared_ptr<OrvAudioPlayer> player_;
};

class GraphDeck final : public Deck {
 public:
  GraphDeck(const std::shared_ptr<OrvAudioDevice>& device, const std::string& path, std::optional<double> decibels)
      : player_(made(OrvAUAudioPlayer::initWithAudioDevice_pathToFile(device, path))) {
    if (decibels) {
      player_->setVolumeScalar(static_cast<float>(std::pow(10.0, *decibels / 20.0)));
    }
  }

  bool play(std::uint32_t from, std::uint32_t to) override { return player_->playExactlyFromFrame_endFrame(from, to); }
  void stop() override { player_->stop(); }
  bool isPlaying() const override { return player_->isPlaying(); }
  std::uint32_t position() const override { return player_->currentFrameOffset(); }
  bool wasComplete(std::uint32_t to) const override { return position() >= to; }
  std::uint64_t lateCycles() const override { return player_->lateCycles(); }
  bool isAhead() const noexcept override { return player_->isReadAhead(); }

 private:
  const std::shared_ptr<OrvAUAudioPlayer> player_;
};

}  // namespace

std::shared_ptr<Deck> Deck::make(Kind kind, const std::shared_ptr<OrvAudioDevice>& device, const std::string& path,
                                 std::optional<double> decibels) {
  if (kind == Kind::graph) {
    return std::make_shared<GraphDeck>(device, path, decibels);
  }
  return std::make_shared<DirectDeck>(device, path, decibels);
}

}  // namespace orv::cli
