#pragma once

#include <string>
#include <string_view>

/// Elements of an SVG document. Positions and sizes are pixels; `kind` is a class of the document's style.
namespace orv::cli {

/// Text made fit for what stands between tags.
std::string escaped(std::string_view text);

std::string textAt(double x, double y, const char* kind, const std::string& text);
std::string lineFrom(double x1, double y1, double x2, double y2, const char* kind);
/// `title` shows when the pointer rests on the rectangle; empty: nothing does.
std::string rectangle(double x, double y, double width, double height, const char* kind, const std::string& title = "");

/// A generous guess at the width of a text in the picture's 11 pixel style, to know beforehand what has room.
double smallTextWidth(std::string_view text);

}  // namespace orv::cli
