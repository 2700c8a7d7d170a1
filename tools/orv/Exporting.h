#pragma once

#include "OrvCoreAudio/OrvAudioFileProcessor.h"
#include "ProgressBar.h"

namespace orv::cli {

/// Runs an export that moves the bar and that Ctrl-C ends. Throws `Failure`, its line about `subject`, or `Cancelled`.
void runExport(OrvAudioFileProcessor::ExportRequest request, const std::string& subject, ProgressBar& progress);

}  // namespace orv::cli
