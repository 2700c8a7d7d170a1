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

// The framework begins some of its lines with the file that they are about. Of a destination the person knows another
// name: `subject`.
[[noreturn]] void fail(const OrvAudioFileProcessor::ExportRequest& request, const std::string& problem,
                       const std::string& subject) {
  if (problem.starts_with(request.destinationPath + ": ")) {
    throw Failure(subject, problem.substr(request.destinationPath.size() + 2));
  }
  if (problem.starts_with(request.sourcePath + ": ")) {
    throw Failure(request.sourcePath, problem.substr(request.sourcePath.size() + 2));
  }
  throw Failure(subject, problem);
}

}  // namespace

std::shared_ptr<OrvObject> progressDelegateOf(ProgressBar& bar) {
  return std::make_shared<BarDelegate>(bar);
}

void runExport(OrvAudioFileProcessor::ExportRequest request, const std::string& subject, ProgressBar& progress) {
  request.cancel = &interruption();
  request.progressDelegate = progressDelegateOf(progress);
  const OrvAudioFileProcessor::ExportResult result = OrvAudioFileProcessor::exportFrames(request);
  if (result.cancelled) {
    throw Cancelled();
  }
  if (!result.done) {
    fail(request, result.problem.empty() ? describeStatus(result.status) : result.problem, subject);
  }
}

}  // namespace orv::cli
