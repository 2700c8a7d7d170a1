#include "SvgElements.h"

#include "OrvPlatform/Log.h"
#include "Text.h"

namespace orv::cli {

std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::string textAt(double x, double y, const char* kind, const std::string& text) {
  return formatText(R"(<text class="%s" x="%.1f" y="%.1f">)", kind, x, y) + escaped(text) + "</text>\n";
}

std::string lineFrom(double x1, double y1, double x2, double y2, const char* kind) {
  return formatText("<line class=\"%s\" x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\"/>\n", kind, x1, y1, x2, y2);
}

std::string rectangle(double x, double y, double width, double height, const char* kind, const std::string& title) {
  const std::string start =
      formatText(R"(<rect class="%s" x="%.1f" y="%.1f" width="%.1f" height="%.1f")", kind, x, y, width, height);
  return start + (title.empty() ? "/>\n" : "><title>" + escaped(title) + "</title></rect>\n");
}

double smallTextWidth(std::string_view text) {
  constexpr double character = 7.2;
  constexpr double mark = 4;
  double width = 0;
  for (const char c : text) {
    const bool isMark = c == ':' || c == '.';
    const bool isContinuation = (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
    width += isContinuation ? 0 : isMark ? mark : character;
  }
  return width;
}

}  // namespace orv::cli
