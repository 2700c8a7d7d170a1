#pragma once

#include <memory>

#include "OrvCoreAudio/OrvAudioFileProcessor.h"
#include "ProgressBar.h"

namespace orv::cli {

/// A delegate of long operations that moves the bar, which must outlive it.
std::shared_ptr<OrvObject> progressDelegateOf(ProgressBar& bar);

/// Runs an export that moves the bar and that Ctrl-C ends. Throws `Failure`, its line about `subject`, or `Cancelled`.
void runExport(OrvAudioFileProcessor::ExportRequest request, const std::string& subject, ProgressBar& progress);

}  // namespace orv::cli
