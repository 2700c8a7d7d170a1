#include "LiveLine.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

#include "Commands.h"
#include "Text.h"

namespace orv::cli {
namespace {

constexpr int kUsualColumns = 80;
constexpr const char* kEraseLine = "\r\x1B[K";

}  // namespace

LiveLine::LiveLine(bool isWanted) : isShown_(isWanted && isatty(STDOUT_FILENO) != 0) {}

LiveLine::~LiveLine() {
  if (isDrawn_) {
    std::fputs(kEraseLine, stdout);
    std::fflush(stdout);
  }
}

int LiveLine::columns() {
  winsize size{};
  const bool isTold = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isTold ? size.ws_col : kUsualColumns;
}

void LiveLine::show(const std::string& text) {
  if (isShown_) {
    // The last column stays free: a terminal would go on to the next line there.
    print(kEraseLine + shortened(text, static_cast<std::size_t>(columns() > 1 ? columns() - 1 : 1)));
    isDrawn_ = true;
  }
}

void LiveLine::clear() {
  if (isDrawn_) {
    print(kEraseLine);
    isDrawn_ = false;
  }
}

}  // namespace orv::cli
