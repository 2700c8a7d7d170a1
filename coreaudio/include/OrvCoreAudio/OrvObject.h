#pragma once

#include <memory>
#include <string>

#include "OrvPlatform/Export.h"
#include "OrvPlatform/Object.h"

/// The polymorphic root of the framework's classes: what "any object" means.
class ORV_API OrvObject : public orv::Object {
 public:
  ~OrvObject() override;

  /// Whether `other` stands for the same thing. Of objects without a rule of their own only the very same one does;
  /// null never does.
  virtual bool isEqual(const std::shared_ptr<const OrvObject>& other) const;

  /// One line for people.
  virtual std::string description() const;

 protected:
  OrvObject() = default;
  OrvObject(const OrvObject&) = default;
  OrvObject& operator=(const OrvObject&) = default;
};
