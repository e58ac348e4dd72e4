#include "agent/source.h"

#include "agent/access_log_source.h"
#include "agent/file_source.h"

namespace wkagent {

std::unique_ptr<Source> MakeSource(const Options& options) {
  if (options.feedKind == FeedKind::kAccesslog) {
    return std::make_unique<AccessLogSource>(options.feedPath, options.caFile);
  }
  return std::make_unique<FileSource>(options);
}

}  // namespace wkagent
