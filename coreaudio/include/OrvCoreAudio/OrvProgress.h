#pragma once

#include "OrvPlatform/Export.h"

/// A delegate of a long operation over files that derives from this too is told how far it has come. Called on the
/// thread that runs the operation.
class ORV_API OrvProgressDelegate {
 public:
  virtual ~OrvProgressDelegate();
  /// `progress` runs from 0.0 towards 1.0.
  virtual void progressUpdate(float progress) = 0;
};

/// A delegate of the track definition that derives from this too is told how far it has come. Called on the thread that
/// runs the definition; the last value of a run, cancelled or not, is 1.0.
class ORV_API OrvAutoDefineProgressDelegate {
 public:
  virtual ~OrvAutoDefineProgressDelegate();
  /// `progress` runs from 0.0 to 1.0.
  virtual void autoDefineProgress(float progress) = 0;
};
