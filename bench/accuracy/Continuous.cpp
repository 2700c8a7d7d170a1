#include "accuracy/Continuous.h"

#include <algorithm>
#include <utility>

#include "accuracy/Applause.h"

namespace orv::accuracy {
namespace {

constexpr double kLongest = 20 * 60;

// Cuts off what lies more than 20 dB below the RMS of the whole at both ends: what is left of fades.
Sound withoutFaintEnds(const Sound& sound) {
  const double limit = rmsOf(sound) * fromDecibels(-20);
  const std::size_t step = framesIn(0.1);
  const auto isFaint = [&](std::size_t frame) { return rmsOf(sound.excerpt(frame, step)) < limit; };
  std::size_t begin = 0;
  std::size_t end = sound.frames();
  while (begin + step < end && isFaint(begin)) {
    begin += step;
  }
  while (begin + step < end && isFaint(end - step)) {
    end -= step;
  }
  return sound.excerpt(begin, end - begin);
}

// Mixes a passage in so that it begins `overlap` seconds before the end; both fade across the overlap.
void crossFade(Sound passage, double overlap, Sound& sound) {
  if (sound.frames() == 0) {
    sound = std::move(passage);
    return;
  }
  fadeIn(passage, overlap);
  fadeOut(sound, overlap);
  sound.mix(passage, sound.frames() - std::min(framesIn(overlap * 0.75), sound.frames()));
}

// Pauses, where a reader takes breath: at least 0.1 s below -50 dBFS. Returns the frame in the middle, or the end.
std::size_t nextPause(const Sound& sound, std::size_t frame) {
  const std::size_t step = framesIn(0.1);
  for (; frame + step < sound.frames(); frame += step) {
    if (rmsOf(sound.excerpt(frame, step)) < fromDecibels(-50)) {
      return frame + step / 2;
    }
  }
  return sound.frames();
}

}  // namespace

Sound makeWhole(Half half, std::size_t rank, const PieceStore& store) {
  const std::vector<Piece> pieces = piecesOf(half);
  std::vector<std::pair<double, std::size_t>> lengths;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    lengths.emplace_back(-secondsOfPiece(pieces[i]), i);
  }
  std::sort(lengths.begin(), lengths.end());
  Sound piece = store.load(pieces[lengths[rank % lengths.size()].second]);
  piece = piece.excerpt(0, framesIn(kLongest));
  normalise(piece, -20);
  return piece;
}

Sound makeMedley(const std::vector<Excerpt>& excerpts) {
  Sound medley;
  for (const Excerpt& excerpt : excerpts) {
    crossFade(withoutFaintEnds(excerpt.sound), 4, medley);
  }
  return medley.excerpt(0, framesIn(kLongest));
}

Sound makeConcert(const std::vector<Excerpt>& excerpts, Random& random) {
  Sound concert;
  double overlap = 0;
  for (const Excerpt& excerpt : excerpts) {
    concert.mix(withoutFaintEnds(excerpt.sound), concert.frames() - framesIn(overlap));
    const ApplauseShape shape{random.uniform(0.3, 1), random.uniform(6, 15), random.uniform(3, 5)};
    const Sound applause = makeApplause(shape, random.uniform(-28, -22), random);
    concert.mix(applause, concert.frames() - framesIn(random.uniform(1, 2)));
    overlap = shape.decay + random.uniform(-1, 1);
  }
  return concert;
}

Sound makeSpeech(Half half, const PieceStore& store, Random& random) {
  // The texts are on every Debian system.
  const Sound spoken =
      store.speech(half == Half::tuning ? "/usr/share/common-licenses/GPL-2" : "/usr/share/common-licenses/GPL-3");
  Sound speech;
  for (std::size_t frame = 0; frame < spoken.frames() && speech.seconds() < 600;) {
    const std::size_t pause = nextPause(spoken, frame + framesIn(4));
    speech.mix(spoken.excerpt(frame, pause - frame), speech.frames());
    if (random.chance(0.5)) {
      speech.appendSilence(random.uniform(0.2, 0.8));
    }
    frame = pause;
  }
  normalise(speech, -23);
  trimSilence(speech);
  return speech;
}

}  // namespace orv::accuracy
