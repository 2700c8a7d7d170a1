#include <algorithm>

#include "OrvPlatform/Log.h"
#include "SplitReport.h"
#include "Table.h"
#include "Text.h"
#include "TimeText.h"

namespace orv::cli {
namespace {

constexpr std::size_t kMostDoubtful = 5;

class TableReport {
 public:
  explicit TableReport(const SplitReport& report) : report_(report), found_(report.detection) {}

  std::string text() const { return tracks() + summary() + doubtful() + written(); }

 private:
  std::string time(std::uint64_t frames) const {
    return timeText(seconds(frames), {.hours = seconds(report_.lengthInFrames) >= 3600});
  }
  double seconds(std::uint64_t frames) const { return static_cast<double>(frames) / report_.sampleRate; }

  static std::string counted(std::size_t count) { return formatText(count == 1 ? "%zu track" : "%zu tracks", count); }
  static std::string shown(double confidence) { return formatText("%.2f", confidence); }

  std::string tracks() const {
    std::vector<Table::Column> columns{{"#", Table::Align::right},
                                       {"Name"},
                                       {"Begin", Table::Align::right},
                                       {"End", Table::Align::right},
                                       {"Length", Table::Align::right}};
    const bool withReasons = !found_.boundaries.empty();
    if (withReasons) {
      columns.push_back({"Cut", Table::Align::right});
      columns.push_back({"Reason"});
    }
    Table table(std::move(columns));
    for (std::size_t i = 0; i < found_.tracks.size(); ++i) {
      const Track& track = found_.tracks[i];
      std::vector<std::string> cells{std::to_string(i + 1), printable(track.name), time(track.begin), time(track.end),
                                     time(track.end - track.begin)};
      if (withReasons) {
        const Detection::Boundary* cut = found_.boundaryAt(track.begin);
        cells.push_back(cut == nullptr ? "" : shown(cut->confidence));
        cells.push_back(cut == nullptr ? "" : printable(cut->reason));
      }
      table.addRow(std::move(cells));
    }
    return table.text();
  }

  std::string summary() const { return counted(found_.tracks.size()) + " in " + time(report_.lengthInFrames) + "\n"; }

  std::string doubtful() const {
    if (!report_.withDoubtful || found_.doubtful.empty()) {
      return "";
    }
    std::vector<Detection::Boundary> best = found_.doubtful;
    std::ranges::stable_sort(best, std::ranges::greater(), &Detection::Boundary::confidence);
    const std::size_t count = std::min(best.size(), kMostDoubtful);
    Table table({{"Not cut", Table::Align::right}, {"Confidence", Table::Align::right}, {"Reason"}});
    for (std::size_t i = 0; i < count; ++i) {
      table.addRow({time(best[i].frame), shown(best[i].confidence), printable(best[i].reason)});
    }
    std::string text = table.text();
    if (best.size() > count) {
      text += formatText("and %zu less likely\n", best.size() - count);
    }
    return text;
  }

  std::string written() const {
    std::string text;
    if (report_.exportDirectory) {
      text += "Exported " + counted(report_.exported.size()) + " to " + printable(*report_.exportDirectory) + "\n";
    }
    if (!report_.storedIn.empty()) {
      text += "Stored " + counted(found_.tracks.size()) +
              (report_.storedIn == "internal" ? " in the recording\n" : " beside the recording\n");
    }
    if (report_.picturePath) {
      text += "Drawn in " + printable(*report_.picturePath) + "\n";
    }
    return text;
  }

  const SplitReport& report_;
  const Detection& found_;
};

std::string write(const SplitReport& report) {
  return TableReport(report).text();
}

}  // namespace

const ReportFormat kTableFormat{"table", write, nullptr};

}  // namespace orv::cli
