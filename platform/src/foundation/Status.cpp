#include "OrvPlatform/Status.h"

#include <cerrno>
#include <cstring>

#include "OrvPlatform/Log.h"

namespace orv {
namespace {

const char* wordsFor(OSStatus status) {
  switch (status) {
    case noErr:
      return "no error";
    case kEndOfFileStatus:
      return "end of file";
    case kDiskFullStatus:
      return "disk full";
    case kInputOutputErrorStatus:
      return "input/output error";
    case kFileNotFoundStatus:
      return "no such file or directory";
    case kFileExistsStatus:
      return "file exists";
    case kOutOfMemoryStatus:
      return "out of memory";
    case kWrongFileKindStatus:
      return "is a directory, or not one";
    case statusCC("prm?"):
      return "permission denied";
    case statusCC("typ?"):
      return "not an audio file of a known type";
    case statusCC("fmt?"):
      return "unsupported data format";
    case statusCC("dta?"):
      return "not a valid audio file";
    case statusCC("chk?"):
      return "invalid chunk";
    case statusCC("off?"):
      return "too large for this type of file";
    case statusCC("op??"):
      return "operation not supported";
    case statusCC("pck?"):
      return "packet out of range";
    case statusCC("wht?"):
      return "unspecified error";
    default:
      return nullptr;
  }
}

}  // namespace

std::string fourCCText(FourCharCode code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const auto byte = static_cast<char>((code >> shift) & 0xFF);
    text += byte >= 0x20 && byte < 0x7F ? byte : '.';
  }
  return text;
}

std::string fourCCInMemoryOrder(FourCharCode code) {
  char bytes[5] = {};
  std::memcpy(bytes, &code, sizeof code);
  return formatText("%-4.4s", bytes);
}

std::string describeStatus(OSStatus status) {
  if (const char* words = wordsFor(status)) {
    return words;
  }
  return formatText("status '%s' (%d)", fourCCText(static_cast<FourCharCode>(status)).c_str(), status);
}

OSStatus statusFromErrno(int error) {
  switch (error) {
    case 0:
      return noErr;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return kDiskFullStatus;
    case ENOENT:
      return kFileNotFoundStatus;
    case EEXIST:
    case ENOTEMPTY:
      return kFileExistsStatus;
    case EACCES:
    case EPERM:
    case EROFS:
      return statusCC("prm?");
    case EISDIR:
    case ENOTDIR:
      return kWrongFileKindStatus;
    case ENOMEM:
      return kOutOfMemoryStatus;
    default:
      return kInputOutputErrorStatus;
  }
}

}  // namespace orv
