#pragma once

#include <string>
#include <vector>

#include "accuracy/Sound.h"

namespace orv::accuracy {

/// Parameters are tuned on one half of the pieces, and what is reported comes from the other one.
enum class Half { tuning, report };

const char* nameOf(Half half);

/// A piece of music that an installed package brings.
struct Piece {
  std::string name;  ///< of the file
  std::string path;
  std::string package;
};

/// The pieces of a half, in order of their names. A hash of a piece's name decides which half has it. Throws when a
/// package of the material is not installed.
std::vector<Piece> piecesOf(Half half);

/// How long a piece lasts, by what its file says. Throws when ffprobe cannot read it.
double secondsOfPiece(const Piece& piece);

/// Decoded audio, kept in a folder so that each piece is decoded once.
class PieceStore {
 public:
  explicit PieceStore(std::string folder);

  /// The whole piece, without silence at its ends. Decodes anything that ffmpeg does.
  Sound load(const Piece& piece) const;
  /// A text read aloud by a synthesizer.
  Sound speech(const std::string& textPath) const;

 private:
  std::string folder_;
};

}  // namespace orv::accuracy
