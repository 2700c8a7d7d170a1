#include "Exporting.h"

#include "Failure.h"
#include "Interruption.h"
#include "OrvPlatform/Status.h"

namespace orv::cli {
namespace {

class BarDelegate : public OrvObject, public OrvProgressDelegate {
 public:
  explicit BarDelegate(ProgressBar& bar) : bar_(bar) {}
  void progressUpdate(float progress) override { bar_.update(double{progress}); }

 private:
  ProgressBar& bar_;
};

}  // namespace

void runExport(OrvAudioFileProcessor::ExportRequest request, const std::string& subject, ProgressBar& progress) {
  request.cancel = &interruption();
  request.progressDelegate = std::make_shared<BarDelegate>(progress);
  const OrvAudioFileProcessor::ExportResult result = OrvAudioFileProcessor::exportFrames(request);
  if (result.cancelled) {
    throw Cancelled();
  }
  if (!result.done) {
    throw Failure(subject, result.problem.empty() ? describeStatus(result.status) : result.problem);
  }
}

}  // namespace orv::cli
