#include "FrameSource.h"

#include "Y4mSource.h"

namespace vircamfeed {

std::unique_ptr<FrameSource> OpenFrameSource(const std::string& source, std::string& error) {
    if (source == "pattern") {
        return MakePatternSource();
    }
    return Y4mSource::Open(source, error);
}

}  // namespace vircamfeed
