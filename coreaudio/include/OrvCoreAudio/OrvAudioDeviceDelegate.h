#pragma once

#include "OrvPlatform/Export.h"
#include "OrvPlatform/NotificationCenter.h"

/// What a device's delegate may want to be told, each its own interface: a delegate that does not derive from one is
/// not told. Called on the thread that calls the device's operation of the same name, which is the host's choice.

class ORV_API OrvInputStreamFormatDelegate {
 public:
  virtual ~OrvInputStreamFormatDelegate();
  virtual void inputStreamFormatDidChange(const orv::Notification& notification) = 0;
};

class ORV_API OrvOutputStreamFormatDelegate {
 public:
  virtual ~OrvOutputStreamFormatDelegate();
  virtual void outputStreamFormatDidChange(const orv::Notification& notification) = 0;
};

class ORV_API OrvInputDataSourceDelegate {
 public:
  virtual ~OrvInputDataSourceDelegate();
  virtual void inputDataSourceDidChange(const orv::Notification& notification) = 0;
};

class ORV_API OrvOutputDataSourceDelegate {
 public:
  virtual ~OrvOutputDataSourceDelegate();
  virtual void outputDataSourceDidChange(const orv::Notification& notification) = 0;
};

class ORV_API OrvInputVolumeDelegate {
 public:
  virtual ~OrvInputVolumeDelegate();
  virtual void inputVolumeDidChange(const orv::Notification& notification) = 0;
};

class ORV_API OrvOutputVolumeDelegate {
 public:
  virtual ~OrvOutputVolumeDelegate();
  virtual void outputVolumeDidChange(const orv::Notification& notification) = 0;
};
