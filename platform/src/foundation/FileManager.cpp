#include "OrvPlatform/FileManager.h"

#include "foundation/PosixFileManager.h"
#include "foundation/ServiceSlot.h"

namespace orv {
namespace {

ServiceSlot<FileManager>& slot() {
  static auto* const instance = new ServiceSlot<FileManager>(std::make_shared<PosixFileManager>());
  return *instance;
}

}  // namespace

FileManager::~FileManager() = default;
FileManagerHandler::~FileManagerHandler() = default;

std::shared_ptr<FileManager> fileManager() {
  return slot().get();
}

std::shared_ptr<FileManager> installFileManager(std::shared_ptr<FileManager> manager) {
  return slot().install(std::move(manager));
}

}  // namespace orv
